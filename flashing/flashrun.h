#pragma once

#include "boardlink/tusbdevcommand.h"
#include "flashing/configpage.h"
#include "flashing/flashplan.h"

#include <QObject>
#include <QPointer>

// Runs a flash plan against one board, one step at a time: the board's SendFinished
// starts the next step, a failed one or a lost board ends the run. Widget-free, so the
// configuration page and the command-line flasher run plans exactly alike; whoever owns
// the run forwards the board's SendFinished and Connected to it.
class FlashRun : public QObject
{
    Q_OBJECT
public:
    enum Outcome {
        Completed,
        Failed,       // a step failed or could not be issued on this board
        Disconnected, // the board went away during the run
    };
    Q_ENUM(Outcome)

    explicit FlashRun(QObject *parent = nullptr);

    // Tells the board which system is flashed and issues step 0. The outcome may arrive
    // before this returns. Ignored while a run is under way.
    void start(TUsbDevCommand *board, const FlashPlan &plan, ConfigPage::Kind kind, ConfigPage::ActionMode mode);

    bool isRunning() const { return running; }
    int currentStep() const { return current; }
    const FlashPlan &plan() const { return steps; }
    ConfigPage::ActionMode actionMode() const { return mode; }
    // The status line of the step running now.
    QString statusText() const;

    // The board's SendFinished(bool); stray outcomes while no run is under way are dropped.
    void boardFinished(bool ok);
    // The board's Connected(bool).
    void boardConnected(bool connected);

Q_SIGNALS:
    // Step `step` is about to be issued.
    void stepStarted(int step);
    void stepFinished(int step, bool ok);
    // The run is over; it is no longer running when this is emitted.
    void finished(FlashRun::Outcome outcome);

private:
    void issueCurrentStep();
    void end(Outcome outcome);

    QPointer<TUsbDevCommand> board;
    FlashPlan steps;
    ConfigPage::ActionMode mode = ConfigPage::ActionMode::Install;
    int current = 0;
    // The one guard against re-entry and late outcomes: a user bin that leaves download
    // mode reports once more after its run has ended.
    bool running = false;
};
