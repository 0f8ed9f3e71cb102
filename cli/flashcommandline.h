#pragma once

#include "boardlink/tusbdevcommand.h"
#include "boardlink/virtualboard.h"
#include "flashing/flashchoice.h"

#include <QList>
#include <QString>
#include <QStringList>

// An emulated board asked for with --virtual-board CPU[:FAULT@PACKET].
struct VirtualBoardChoice
{
    TUsbDevCommand::TBoardCPU cpu = TUsbDevCommand::CPU_4412;
    VirtualBoard::Fault fault = VirtualBoard::Fault::None;
    int faultPacket = 0;
};

// Everything ostrakit-flash was asked for on its command line.
struct FlashCommandLine
{
    enum Command {
        Usage,   // bad usage: `message` to standard error, exit 2
        Help,    // `message` to standard output, exit 0
        Version, // likewise
        List,
        Flash,
        UserBin,
        Boot,
    };
    Command command = Usage;
    QString message;

    FlashChoice choice;     // flash and userbin
    QStringList boards;     // --board nodes, in the order given
    bool allBoards = false; // --all
    int waitSeconds = 0;
    int stallTimeoutSeconds = 0;
    bool json = false;
    QString reportFile;

    QList<VirtualBoardChoice> virtualBoards;
    QString emmcSize;
    QString traceFile;
    int virtualDelayUs = 0;
    QString virtualStore; // folder the virtual boards' received images are written to

    // The default stall time-out. The boot loader answers a low format only when the
    // format is done, which on the largest eMMC parts takes a few minutes; a board that
    // has said nothing for five is not coming back.
    static constexpr int kDefaultStallTimeoutSeconds = 300;
};

// `arguments` with the program name first. `programFolder` is the program's data folder,
// where the shipped images folder is looked for when --images is not given.
FlashCommandLine parseFlashCommandLine(const QStringList &arguments, const QString &programFolder);

// The exit codes, as the manual page lists them.
namespace FlashExit {
constexpr int Done = 0;
constexpr int BoardFailed = 1;
constexpr int BadInput = 2;
constexpr int NoBoard = 3;
constexpr int BoardUnusable = 4;
} // namespace FlashExit
