#pragma once
// A protocol object wired to a virtual board, with a view that records every board
// signal it receives in order, the way the program's views receive them.

#include "app/globals.h"
#include "boardlink/global.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/virtualboard.h"

#include <QObject>
#include <QSignalSpy>
#include <QStringList>
#include <QEventLoop>
#include <QTest>
#include <QTimer>

#include <memory>

class SignalRecorder : public QObject
{
    Q_OBJECT
public:
    QStringList events;
    QStringList logs;         // "level:text"
    QList<bool> finished;
    QList<int> positions;
    QList<int> maxSizes;
    QStringList attached;
    int connectedTrue = 0;
    int connectedFalse = 0;
    int cpuRecognized = 0;

    void clear()
    {
        events.clear();
        logs.clear();
        finished.clear();
        positions.clear();
        maxSizes.clear();
        attached.clear();
        connectedTrue = connectedFalse = cpuRecognized = 0;
    }

public Q_SLOTS:
    void USBConnected(bool on)
    {
        events << QStringLiteral("Connected(%1)").arg(on ? "true" : "false");
        (on ? connectedTrue : connectedFalse)++;
    }
    void USBReportLog(int level, QString text)
    {
        events << QStringLiteral("Log(%1,%2)").arg(level).arg(text);
        logs << QStringLiteral("%1:%2").arg(level).arg(text);
    }
    void USBSendFinished(bool ok)
    {
        events << QStringLiteral("Finished(%1)").arg(ok ? "true" : "false");
        finished << ok;
    }
    void USBSendMaxSize(int size)
    {
        events << QStringLiteral("Max(%1)").arg(size);
        maxSizes << size;
    }
    void USBSendCurrentPos(int pos)
    {
        positions << pos;
    }
    void USBNewDeviceAttached(QString text)
    {
        events << QStringLiteral("Attached");
        attached << text;
    }
    void CpuRecognized()
    {
        events << QStringLiteral("Cpu");
        ++cpuRecognized;
    }

};

struct BoardLink
{
    explicit BoardLink(TUsbDevCommand::TBoardCPU cpu = TUsbDevCommand::CPU_4412)
        : command(new TUsbDevCommand(nullptr)), board(std::make_shared<VirtualBoard>(cpu))
    {
        // Tests drive the once-a-second poll themselves.
        command->Stop();
        command->setTransport(board);
        gUsbDevCommand = command.get();
        Global::connectUSBSlots(&view);
    }
    ~BoardLink() { gUsbDevCommand = nullptr; }

    // One tick of the poll: finds the board, greets it and identifies it.
    void plugIn()
    {
        board->plugIn();
        command->pollBoard();
    }

    // Runs the event loop until the running request has reported `count` outcomes, then
    // a little longer so that a stray further outcome would be seen.
    bool waitFinished(int count = 1, int timeoutMs = 120000)
    {
        if (view.finished.size() < count) {
            QEventLoop loop;
            QTimer timeout;
            timeout.setSingleShot(true);
            QObject::connect(&timeout, &QTimer::timeout, &loop, &QEventLoop::quit);
            QObject::connect(command.get(), &TUsbDevCommand::SendFinished, &loop, [&] {
                // Connected after the view, so the view has counted this outcome already.
                if (view.finished.size() >= count)
                    QTimer::singleShot(0, &loop, &QEventLoop::quit);
            });
            timeout.start(timeoutMs);
            loop.exec();
        }
        if (view.finished.size() < count)
            return false;
        QTest::qWait(20);
        return true;
    }

    std::unique_ptr<TUsbDevCommand> command;
    std::shared_ptr<VirtualBoard> board;
    SignalRecorder view;
};
