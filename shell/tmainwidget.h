#pragma once

#include <QString>
#include <QWidget>

class QLabel;

// The program's window. For now a plain window that owns the board link and says
// whether a board is connected.
class TMainWidget : public QWidget
{
    Q_OBJECT
public:
    explicit TMainWidget(QWidget *parent = nullptr);

    QString statusText() const;

public Q_SLOTS:
    void USBConnected(bool connected);
    void USBSendFinished(bool result);
    void USBReportLog(int logCatalog, QString msg);
    void USBSendMaxSize(int MaxSize);
    void USBSendCurrentPos(int Pos);
    void USBNewDeviceAttached(QString HwInfo);
    void CpuRecognized();

private:
    void updateStatus(bool connected);

    QLabel *status = nullptr;
    QString hwInfo;
};
