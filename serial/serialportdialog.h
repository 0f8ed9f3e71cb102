#pragma once

#include "serial/trecvdisplay.h"

#include <QDialog>

#include <memory>

class QDataStream;
class QFile;
class QTimer;
class TSerialPort;

namespace Ui {
class SerialPortDialogBase;
}

// The serial assistant: a terminal for the board's console on a PC serial port, with
// text, hex, timed and file sending. The window owns the port; the receive box is told
// what arrived and knows nothing of the port.
class SerialPortDialog : public QDialog
{
    Q_OBJECT

public:
    explicit SerialPortDialog(QWidget *parent = nullptr);
    ~SerialPortDialog() override;

protected:
    void changeEvent(QEvent *event) override;

private slots:
    void onPortNameChanged(const QString &name);
    void onBaudRateChanged(int index);
    void onParityChanged(int index);
    void onDataBitsChanged(int index);
    void onStopBitsChanged(int index);
    void onQueryModeChanged(int index);
    void onTimeoutChanged(int milliseconds);
    void onOpenCloseButtonClicked();
    void onSendButtonClicked();
    void onReadyRead();
    void on_sendFileBrowerBtn_clicked();
    void on_sendFileBtn_clicked();
    void on_clearSendEditBtn_clicked();
    void on_clearRecvEditBoxBtn_clicked();
    void sendFileTimerTimeout();
    void on_sendHEXCheckBox_clicked();
    void on_autoSendCheckBox_clicked();
    void autoSendTimerTimeout();

private:
    // What the auto send repeats; the type box carries these as item data.
    enum AutoSendType { AutoSendNone = -1, AutoSendText = 0, AutoSendFile = 1 };

    // Not a slot: Qt 6 combo boxes no longer announce the new index as text, so the
    // constructor wires it to currentIndexChanged(int) by hand.
    void on_autoSendComboBox_currentIndexChanged(const QString &text);

    void fillSettingBoxes();
    void connectControls();
    void onDeviceLost();
    // The port has just been closed, whatever closed it.
    void portClosed();
    void onPortBytesWritten(qint64 bytes);

    void appendTextToRecvText(const QString &text);
    void appendHTMLToRecvText(const QString &html);
    TRecvDisplay::Options recvOptions() const;
    QString echoLine(const QString &what, const QString &data) const;

    bool doSendText();
    bool doSendFile();
    void sendFileDone();
    int currentAutoSendMiscSecs() const;
    void enableSendEditAndFileEdit(bool on);
    AutoSendType autoSendType() const;
    void showMessage(const QString &text);

    std::unique_ptr<Ui::SerialPortDialogBase> ui;
    QTimer *m_pollTimer = nullptr;
    std::unique_ptr<TSerialPort> m_port;
    std::unique_ptr<QFile> m_sendFile;
    std::unique_ptr<QDataStream> m_sendFileStream;
    qint64 m_sentFileBytes = 0; // taken by the device during the running file send
    QTimer *m_sendFileTimer = nullptr;
    QTimer *m_autoSendTimer = nullptr;
    TRecvDisplay *m_recvDisplay = nullptr;
};
