#pragma once

#include <QByteArray>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

class QSocketNotifier;

// Two connected pseudo terminals made by socat: the program under test opens one end
// like a serial device, the test talks on the other.
class PtyPair : public QObject
{
    Q_OBJECT

public:
    PtyPair();
    ~PtyPair() override;

    // Starts socat and opens the far end. On failure `why` says what is missing.
    bool start(QString *why);
    // Ends socat: both pseudo terminals vanish, as a pulled USB adapter does.
    void stop();

    QString deviceEnd() const; // for the program under test
    QString farEnd() const;

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
    QProcess m_socat;
    int m_farFd = -1;
    QSocketNotifier *m_notifier = nullptr;
    QSocketNotifier *m_writeNotifier = nullptr;
    QByteArray m_pending;
    QByteArray m_received;
};
