#pragma once

#include "flashing/flashchoice.h"
#include "flashing/flashrun.h"

#include <QElapsedTimer>
#include <QObject>
#include <QString>

#include <memory>

class TUsbDevCommand;
class UsbTransport;

// What a session does with its board once it has described itself.
struct BoardJob
{
    enum Kind {
        Identify, // greet it and read its description (list)
        Flash,    // run the plan chosen for it
        Boot,     // "Quick Boot"
    };
    Kind kind = Identify;
    FlashChoice choice;
};

// One board from greeting to outcome. It lives in a thread of its own with its own link,
// so a slow or hung board holds back nobody else, and talks to the rest of the program
// only through its signals, which arrive queued.
class BoardSession : public QObject
{
    Q_OBJECT
public:
    enum Result {
        Done,
        Failed,
        Unusable, // present, but the system would not let us have it
        NotFound,
    };
    Q_ENUM(Result)

    BoardSession(int index, std::shared_ptr<UsbTransport> transport, const BoardJob &job, int stallTimeoutMs);
    ~BoardSession() override;

    // Progress is passed on at most this often (and always at the end of a transfer).
    static constexpr int kProgressIntervalMs = 100;

public Q_SLOTS:
    void begin();

Q_SIGNALS:
    void identified(int board, int cpu, const QString &hwInfo);
    void stepStarted(int board, int step, int steps, const QString &key, const QString &value,
                     const QString &status);
    void progress(int board, qint64 position, qint64 total);
    void logLine(int board, int level, const QString &text);
    void stepFinished(int board, int step, bool ok);
    // `bytes` the image data the board took, `ms` the time from greeting to outcome.
    void finished(int board, BoardSession::Result result, const QString &reason, qint64 bytes, qint64 ms);

private:
    void boardConnected(bool connected);
    void boardDescribed(const QString &hwInfo);
    void positionChanged(int position);
    void runFinished(FlashRun::Outcome outcome);
    void finish(Result result, const QString &reason);

    int index;
    std::shared_ptr<UsbTransport> transport;
    BoardJob job;
    int stallTimeoutMs;
    TUsbDevCommand *board = nullptr;
    FlashRun *run = nullptr;
    bool over = false;
    QString lastError; // the board link's last error line
    QElapsedTimer clock;
    QElapsedTimer progressClock;
    qint64 transferSize = 0;
    qint64 transferPosition = 0;
    qint64 bytesDone = 0;
};
