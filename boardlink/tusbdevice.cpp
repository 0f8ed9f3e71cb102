#include "boardlink/tusbdevice.h"

#include "app/programpaths.h"
#include "boardlink/usbtransport.h"

#include <QTimerEvent>

namespace {
constexpr int kPollPeriodMs = 1000;
constexpr int kReplyCapacity = 512;
}

TUsbDevice::TUsbDevice(QObject *parent)
    : QObject(parent), link(std::make_shared<UsbDevfsTransport>())
{
    Start();
}

TUsbDevice::~TUsbDevice()
{
    if (link)
        link->close();
    Stop();
}

void TUsbDevice::Start()
{
    if (timerId == 0)
        timerId = startTimer(kPollPeriodMs);
}

void TUsbDevice::Stop()
{
    if (timerId != 0) {
        killTimer(timerId);
        timerId = 0;
    }
}

void TUsbDevice::ReportLogWithCheck(int level, const QString &text)
{
    if (!quiet)
        Q_EMIT ReportLog(level, text);
}

bool TUsbDevice::isConnected() const
{
    return link && link->isOpen();
}

void TUsbDevice::setTransport(std::shared_ptr<UsbTransport> transport)
{
    if (link)
        link->close();
    link = std::move(transport);
}

QByteArray TUsbDevice::Run(const QByteArray &data, bool reportErrors)
{
    if (!isConnected()) {
        ReportLogWithCheck(1, QStringLiteral("USB Cable not Connected or else error"));
        return QByteArray();
    }

    if (link->write(data.constData(), int(data.size())) < 0) {
        if (reportErrors)
            ReportLogWithCheck(1, QStringLiteral("Write USB Error"));
        dropConnection();
        return QByteArray();
    }

    char buffer[kReplyCapacity] = {};
    const int n = link->read(buffer, kReplyCapacity);
    if (n >= 0)
        return QByteArray(buffer, n);

    ReportLogWithCheck(1, QStringLiteral("Read USB Error"));
    dropConnection();
    return QByteArray();
}

void TUsbDevice::dropConnection()
{
    link->close();
    Q_EMIT Connected(false);
}

void TUsbDevice::setAccessProblem(const BoardAccessProblem &problem)
{
    if (problem == accessProblem)
        return;
    accessProblem = problem;
    // Not through ReportLogWithCheck: a board that left download mode quietly and came
    // back unusable is news.
    if (!problem.isNull())
        Q_EMIT ReportLog(1, BoardAccess::hintText(problem, ProgramPaths::udevRuleFile()));
    Q_EMIT AccessProblemChanged(problem.node, problem.error);
}

void TUsbDevice::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != timerId) {
        QObject::timerEvent(event);
        return;
    }
    pollBoard();
}

void TUsbDevice::pollBoard()
{
    if (!link)
        return;
    if (!link->isOpen()) {
        // The search itself stays silent; a board that is there but cannot be used is
        // worth one word per plug, since nothing else would ever tell the user why.
        const bool opened = link->open();
        setAccessProblem(link->accessProblem());
        if (!opened)
            return;
        quiet = false;
        // The boot loader wants three of these before it takes commands; what it says
        // back does not matter.
        for (int i = 0; i < 3; ++i)
            Run(QByteArrayLiteral("SKIPINFO"), true);
        // A board lost during the greeting has been reported gone already; calling it
        // connected now would only send the views after a board that is not there.
        if (link->isOpen())
            Q_EMIT Connected(true);
        return;
    }
    if (IsBusy())
        return;
    // Only here to notice a board that has gone; Run reports that as Connected(false).
    Run(QByteArrayLiteral("GETINFO"), false);
}
