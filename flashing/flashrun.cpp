#include "flashing/flashrun.h"

#include "flashing/flashstep.h"

FlashRun::FlashRun(QObject *parent)
    : QObject(parent)
{
}

void FlashRun::start(TUsbDevCommand *target, const FlashPlan &plan, ConfigPage::Kind kind,
                     ConfigPage::ActionMode actionMode)
{
    if (running)
        return;
    board = target;
    steps = plan;
    mode = actionMode;
    current = 0;
    if (board)
        board->SetOS(ConfigPage::targetOs(kind));
    running = true;
    issueCurrentStep();
}

QString FlashRun::statusText() const
{
    return stepStatusText(steps.keys.value(current), current, steps.size(), mode);
}

void FlashRun::issueCurrentStep()
{
    const int step = current;
    Q_EMIT stepStarted(step);
    bool issued = false;
    if (board) {
        const FlashStep command = FlashStep::forPlanStep(steps.keys.at(step), steps.values.at(step), mode,
                                                         board->boardCpu());
        // The outcome may arrive before this returns and start the next step from inside it.
        issued = command.issueTo(*board);
    }
    if (!issued && running && step == current) {
        Q_EMIT stepFinished(step, false);
        end(Failed);
    }
}

void FlashRun::boardFinished(bool ok)
{
    if (!running)
        return;
    Q_EMIT stepFinished(current, ok);
    if (!ok) {
        end(Failed);
        return;
    }
    ++current;
    if (current >= steps.size()) {
        end(Completed);
        return;
    }
    issueCurrentStep();
}

void FlashRun::boardConnected(bool connected)
{
    if (connected || !running)
        return;
    Q_EMIT stepFinished(current, false);
    end(Disconnected);
}

void FlashRun::end(Outcome outcome)
{
    running = false;
    Q_EMIT finished(outcome);
}
