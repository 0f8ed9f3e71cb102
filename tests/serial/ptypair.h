#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTemporaryDir>

class QSocketNotifier;

// A pseudo terminal standing in for a USB serial adapter: the program under test opens the
// device end like a serial device, the test talks on the far (master) end.
class PtyPair : public QObject
{
    Q_OBJECT

public:
    ~PtyPair() override { stop(); }

    // Makes the terminal; on failure `why` says what went wrong.
    bool start(QString *why);
    // Hangs up and removes the device, as a pulled USB adapter does.
    void stop();

    QString deviceEnd() const { return m_dir.filePath(QStringLiteral("device")); }
    // The descriptor the pair itself keeps on the device end, so the far end never sees a hang-up.
    int ownDeviceFd() const { return m_deviceFd; }

    // Everything the far end has read so far (read as it arrives, on the event loop).
    const QByteArray &received() const { return m_received; }
    void clearReceived() { m_received.clear(); }
    // Stops reading at the far end, so the line fills up and the writer is held back.
    void setReading(bool on);
    // Writes `data` to the far end, the rest as the line takes it while the event loop runs.
    bool send(const QByteArray &data);
    bool allSent() const { return m_pending.isEmpty(); }

private:
    void readFar();
    bool writeFar();

    QTemporaryDir m_dir;
    int m_farFd = -1;
    int m_deviceFd = -1;
    QSocketNotifier *m_notifier = nullptr;
    QSocketNotifier *m_writeNotifier = nullptr;
    QByteArray m_pending;
    QByteArray m_received;
};
