#pragma once
// A protocol object wired to a virtual board, with a view that records every board
// signal it receives, the way the program's views receive them.

#include "app/globals.h"
#include "boardlink/global.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/virtualboard.h"

#include <QDeadlineTimer>
#include <QTest>

#include <memory>

class SignalRecorder : public QObject
{
    Q_OBJECT
public:
    QStringList events; // connections, sizes, descriptions ("Attached:<text>") and processors, in order
    QStringList logs;   // "level:text"
    QList<bool> finished;
    QList<int> positions;

    void clear() { events.clear(), logs.clear(), finished.clear(), positions.clear(); }

public Q_SLOTS:
    void USBConnected(bool on) { events << (on ? "Connected(true)" : "Connected(false)"); }
    void USBReportLog(int level, QString text) { logs << QString::number(level) + ':' + text; }
    void USBSendFinished(bool ok) { finished << ok; }
    void USBSendMaxSize(int size) { events << QStringLiteral("Max(%1)").arg(size); }
    void USBSendCurrentPos(int pos) { positions << pos; }
    void USBNewDeviceAttached(QString text) { events << "Attached:" + text; }
    void CpuRecognized() { events << QStringLiteral("Cpu"); }
};

struct BoardLink
{
    explicit BoardLink(TUsbDevCommand::TBoardCPU cpu = TUsbDevCommand::CPU_4412)
        : command(new TUsbDevCommand(nullptr)), board(std::make_shared<VirtualBoard>(cpu))
    {
        command->Stop(); // tests drive the once-a-second poll themselves
        command->setTransport(board);
        gUsbDevCommand = command.get();
        Global::connectUSBSlots(&view);
    }
    ~BoardLink() { gUsbDevCommand = nullptr; }

    // One tick of the poll: finds the board, greets it and identifies it.
    void plugIn() { board->plugIn(), command->pollBoard(); }

    // Turns the event loop until `count` outcomes have arrived, and a little longer so
    // that a stray further outcome would be seen.
    bool waitFinished(int count = 1, int timeoutMs = 120000)
    {
        QDeadlineTimer deadline(timeoutMs);
        while (view.finished.size() < count && !deadline.hasExpired())
            QTest::qWait(5);
        QTest::qWait(20);
        return view.finished.size() >= count;
    }

    std::unique_ptr<TUsbDevCommand> command;
    std::shared_ptr<VirtualBoard> board;
    SignalRecorder view;
};
