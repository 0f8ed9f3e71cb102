// The lines a board sends about itself (a banner, then "CPU:", "RAM:", "EMMC:" and the
// like) as they reach the status bar, the choice of the user-data image and the processor
// recognition.

#include "boardlink/tusbdevcommand.h"
#include "flashing/velkaroini.h"
#include "shell/boardstatus.h"

#include <QCoreApplication>

#include <cstdint>
#include <cstdlib>

namespace {
TUsbDevCommand *board;
}

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static QCoreApplication app(*argc, *argv);
    board = new TUsbDevCommand(&app);
    board->Stop();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString info = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    BoardStatus::statusText(true, info);
    VelkaroIni::userDataForBoard(TUsbDevCommand::CPU_4412, ConfigPage::Android, info);

    board->SetCPU(TUsbDevCommand::CPU_Unknown);
    for (const QString &line : info.split(QLatin1Char('\n')))
        board->RecognizeCPU(line);
    const TUsbDevCommand::TBoardCPU cpu = board->boardCpu();
    if (cpu != TUsbDevCommand::CPU_Unknown && !info.contains(TUsbDevCommand::cpuName(cpu)))
        abort();
    return 0;
}
