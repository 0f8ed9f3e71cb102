#pragma once

#include "cli/boardsession.h"
#include "cli/flashcommandline.h"
#include "flashing/transferrate.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QTimer>

#include <cstdio>
#include <memory>

class QEventLoop;
class QThread;
class VirtualBoard;

// The command-line flasher: finds the boards, gives each its own session in its own
// thread, shows what they do (a live line per board on a terminal, plain lines in a log,
// JSON lines for a program), and ends with a summary, a report and the exit status.
class FlashCli : public QObject
{
    Q_OBJECT
public:
    enum class Output { Terminal, Plain, Json };

    FlashCli(const FlashCommandLine &options, Output output, FILE *out, FILE *err);
    ~FlashCli() override;

    // Live lines are cut to this width: a wrapped one would throw the rewriting off.
    void setTerminalWidth(int columns) { terminalWidth = columns; }

    // Runs the command to its end; the exit status.
    int exec();

private:
    struct Board
    {
        QString node;
        std::shared_ptr<UsbTransport> transport;
        std::shared_ptr<VirtualBoard> virtualBoard;
        QString problem; // set when it cannot be used at all
        int cpu = 0;
        QString hwInfo;
        bool finished = false;
        BoardSession::Result result = BoardSession::NotFound;
        QString reason;
        qint64 bytes = 0;
        qint64 ms = 0;
        int step = -1;
        int steps = 0;
        QString status;
        qint64 position = 0;
        qint64 total = 0;
        TransferRate rate;
        QElapsedTimer transferClock;
        QElapsedTimer plainProgressClock; // since the last progress line in a log
        QJsonArray stepRecords;
        QJsonObject currentStep;
        QJsonArray stepLog;
    };

    bool findBoards();
    void addVirtualBoards();
    void runSessions();
    int finish();

    void identified(int board, int cpu, const QString &hwInfo);
    void stepStarted(int board, int step, int steps, const QString &key, const QString &value, const QString &status);
    void progress(int board, qint64 position, qint64 total);
    void logLine(int board, int level, const QString &text);
    void stepFinished(int board, int step, bool ok);
    void sessionFinished(int board, BoardSession::Result result, const QString &reason, qint64 bytes, qint64 ms);

    // Output
    void jsonEvent(const QJsonObject &object);
    void line(const QString &text); // a line that stays, above the live lines
    void redraw();
    QString liveLine(const Board &board) const;
    void printSummary();
    void printList();
    void writeReport(int exitCode);
    void storeVirtualImages();

    FlashCommandLine options;
    Output output;
    FILE *out;
    FILE *err;
    QList<Board> boards;
    QList<QThread *> threads;
    int running = 0;
    QEventLoop *loop = nullptr;
    int liveLines = 0; // live lines on screen now
    int terminalWidth = 80;
    QTimer redrawTimer;
    bool dirty = false;
    QDateTime started;
};
