#pragma once

#include "boardlink/tusbdevcommand.h"

#include <QString>
#include <QStringList>

// What the program was asked for on its command line. Everything else it is given
// belongs to Qt or to the Serial assistant (which looks for "--debug" by itself).
struct CommandLineOptions
{
    enum Action {
        Run,         // start the program
        ShowHelp,    // print `message` on standard output and exit 0
        ShowVersion, // likewise
        Fail,        // print `message` on standard error and exit 2
    };
    Action action = Run;
    QString message;

    // A virtual board in place of the USB bus; CPU_Unknown means none.
    TUsbDevCommand::TBoardCPU virtualBoard = TUsbDevCommand::CPU_Unknown;
    QString emmcSize;  // empty: the virtual board's own default
    QString traceFile; // the virtual board's transcript; empty: none
};

// `arguments` as QCoreApplication::arguments() gives them, the program name first.
CommandLineOptions parseCommandLine(const QStringList &arguments);

// "1.8a build140317", the status bar's release without its "v".
QString commandLineVersion();
