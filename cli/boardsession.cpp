#include "cli/boardsession.h"

#include "boardlink/tusbdevcommand.h"
#include "boardlink/usbtransport.h"

#include <cerrno>
#include <cstring>

namespace {

// Why a board that is there cannot be had, in words that say what to do about it.
QString accessProblem(int error)
{
    switch (error) {
    case EACCES:
    case EPERM:
        return QStringLiteral("no write access: install the udev rule 70-ostrakit-halvorn.rules");
    case EBUSY:
        return QStringLiteral("busy: another program holds its interface");
    default:
        return QString::fromLocal8Bit(std::strerror(error));
    }
}

} // namespace

BoardSession::BoardSession(int index, std::shared_ptr<UsbTransport> transport, const BoardJob &job,
                           int stallTimeoutMs)
    : index(index), transport(std::move(transport)), job(job), stallTimeoutMs(stallTimeoutMs)
{
}

BoardSession::~BoardSession() = default;

void BoardSession::begin()
{
    clock.start();
    // Made here, in the session's thread, so that its timers and posted steps run here.
    board = new TUsbDevCommand(this);
    run = new FlashRun(this);
    transport->setStallTimeout(stallTimeoutMs);
    board->setTransport(transport);

    connect(board, &TUsbDevice::ReportLog, this, [this](int level, const QString &text) {
        if (level == 1)
            lastError = text;
        Q_EMIT logLine(index, level, text);
    });
    connect(board, &TUsbDevCommand::SendMaxSize, this, [this](int size) {
        transferSize = size;
        transferPosition = 0;
        progressClock.start();
        Q_EMIT progress(index, 0, size);
    });
    connect(board, &TUsbDevCommand::SendCurrentPos, this, &BoardSession::positionChanged);
    connect(board, &TUsbDevCommand::SendFinished, run, &FlashRun::boardFinished);
    connect(board, &TUsbDevice::Connected, this, &BoardSession::boardConnected);
    connect(board, &TUsbDevCommand::NewDeviceAttached, this, &BoardSession::boardDescribed);
    connect(run, &FlashRun::stepStarted, this, [this](int step) {
        const FlashPlan &plan = run->plan();
        Q_EMIT stepStarted(index, step, plan.size(), plan.keys.at(step), plan.values.at(step), run->statusText());
    });
    connect(run, &FlashRun::stepFinished, this, [this](int step, bool ok) { Q_EMIT stepFinished(index, step, ok); });
    connect(run, &FlashRun::finished, this, &BoardSession::runFinished);

    // Greets the board and reads its description at once rather than on the first tick.
    board->pollBoard();
    if (!board->isConnected() && !over) {
        if (const int error = transport->openError())
            finish(Unusable, accessProblem(error));
        else
            finish(NotFound, QStringLiteral("no board in download mode there"));
    }
}

void BoardSession::boardConnected(bool connected)
{
    run->boardConnected(connected);
    if (!connected && !over && job.kind == BoardJob::Identify)
        finish(Failed, QStringLiteral("the board went away"));
}

void BoardSession::boardDescribed(const QString &hwInfo)
{
    if (over)
        return;
    const TUsbDevCommand::TBoardCPU cpu = board->boardCpu();
    Q_EMIT identified(index, cpu, hwInfo);
    switch (job.kind) {
    case BoardJob::Identify:
        finish(Done, QString());
        return;
    case BoardJob::Boot:
        connect(board, &TUsbDevCommand::SendFinished, this, [this](bool ok) {
            if (!over)
                finish(ok ? Done : Failed, ok ? QString() : QStringLiteral("Quick Boot failed"));
        });
        board->Boot();
        return;
    case BoardJob::Flash: {
        const FlashPlan plan = job.choice.planFor(cpu, hwInfo);
        if (!plan.isValid()) {
            finish(Failed, plan.error);
            return;
        }
        run->start(board, plan, job.choice.kind, job.choice.mode);
        return;
    }
    }
}

void BoardSession::positionChanged(int position)
{
    // A transfer starts at 0 (before its size is announced): the one before is over.
    if (position == 0)
        bytesDone += transferPosition;
    transferPosition = position;
    // A packet is a few hundred bytes on most boards: passing every position on would
    // flood the main thread for nothing a person could read.
    if (position < transferSize && progressClock.isValid() && progressClock.elapsed() < kProgressIntervalMs)
        return;
    progressClock.start();
    Q_EMIT progress(index, position, transferSize);
}

void BoardSession::runFinished(FlashRun::Outcome outcome)
{
    switch (outcome) {
    case FlashRun::Completed:
        finish(Done, QString());
        break;
    case FlashRun::Failed:
    {
        // The board's own words say best what went wrong; the step says where.
        QString key = run->plan().keys.value(run->currentStep());
        key.remove(QLatin1Char(':'));
        QString reason = QStringLiteral("step %1/%2 (%3) failed").arg(run->currentStep() + 1).arg(run->plan().size()).arg(key.simplified());
        if (!lastError.isEmpty())
            reason += QStringLiteral(": ") + lastError;
        finish(Failed, reason);
    }
        break;
    case FlashRun::Disconnected:
        finish(Failed, transport->stalled()
                           ? QStringLiteral("stalled: no answer within %1 s").arg(stallTimeoutMs / 1000.0)
                           : QStringLiteral("the board went away"));
        break;
    }
}

void BoardSession::finish(Result result, const QString &reason)
{
    over = true;
    // Nothing more to ask this board: no keep-alive poll, no search once it is gone.
    if (board)
        board->Stop();
    Q_EMIT finished(index, result, reason, bytesDone + transferPosition, clock.elapsed());
}
