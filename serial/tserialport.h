#pragma once

#include <QIODevice>
#include <QObject>
#include <QString>

class QSerialPort;

// The serial assistant's port: line settings, a query mode and raw reads and writes,
// over QSerialPort. Settings are taken at once, open or not; an open device gets them
// immediately and a closed one at the next open.
class TSerialPort : public QObject
{
    Q_OBJECT

public:
    // Values are what the settings boxes carry as item data.
    enum Parity { ParityNone = 0, ParityOdd = 1, ParityEven = 2 };
    Q_ENUM(Parity)
    enum StopBits { StopBits1 = 0, StopBits2 = 1 };
    Q_ENUM(StopBits)
    enum FlowControl { FlowOff = 0, FlowHardware = 1, FlowXonXoff = 2 };
    Q_ENUM(FlowControl)
    // Polling: the owner reads on its own timer and readyRead() stays silent.
    // EventDriven: readyRead() announces every arrival.
    enum QueryMode { Polling = 0, EventDriven = 1 };
    Q_ENUM(QueryMode)

    struct Settings
    {
        qint32 baudRate = 115200;
        int dataBits = 8;
        Parity parity = ParityNone;
        StopBits stopBits = StopBits1;
        FlowControl flowControl = FlowOff;
        int timeoutMs = 10;
    };

    TSerialPort(const QString &portName, const Settings &settings, QueryMode mode,
                QObject *parent = nullptr);
    ~TSerialPort() override;

    QString portName() const;
    void setPortName(const QString &name);

    // Only a character device is opened: a FIFO, a plain file or a folder is refused.
    bool open(QIODevice::OpenMode mode);
    // Why the last open failed, translated, with what the user can do about it.
    QString openFailureReason() const;
    void close();
    bool isOpen() const;

    // The settings as the port holds them now.
    Settings settings() const;
    void setBaudRate(qint32 baudRate);
    void setDataBits(int dataBits);
    void setParity(Parity parity);
    void setStopBits(StopBits stopBits);
    void setFlowControl(FlowControl flowControl);
    // The longest a blocking read may wait; reads here never block, so it is only kept.
    void setTimeout(int milliseconds);

    QueryMode queryMode() const;
    void setQueryMode(QueryMode mode);

    qint64 bytesAvailable() const;
    QByteArray readAll();
    // Queues `data` for the device; returns the number of bytes taken, -1 when closed.
    qint64 write(const QByteArray &data);
    // Bytes taken by write() that have not reached the device yet.
    qint64 bytesToWrite() const;
    // Drops what write() has queued but the device has not taken yet.
    void discardOutput();

    // At most this much received data waits in memory (more while a flood goes on, see
    // MaxReadBufferSize); beyond it the device is not read until the owner reads, so a
    // fast sender is held back by the line instead of filling memory.
    static constexpr qint64 ReadBufferSize = 64 * 1024;
    // While readAll() keeps finding the buffer full, it doubles up to this size.
    static constexpr qint64 MaxReadBufferSize = 256 * 1024;

signals:
    void readyRead();
    void bytesWritten(qint64 bytes);
    // The device went away while open (a USB adapter pulled out); the port is closed.
    void deviceLost();

private:
    void handleError(int error);

    QSerialPort *m_port;
    QString m_refusal; // set when open() refused the device itself
    QueryMode m_queryMode;
    int m_timeoutMs;
};
