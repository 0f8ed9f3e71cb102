// Several boards at once against one alone: virtual boards whose every exchange takes
// 250 µs, as on a real USB bus, each flashed with the same Linux root file system by the
// command-line flasher's own code (one link and one thread per board). Prints each run's
// wall time and aggregate MB/s, and the ratio of four boards to one.
//
//   bench_multiboard [IMAGE_MIB] [DELAY_US]     defaults 4 and 250

#include "cli/flashcli.h"
#include "cli/flashcommandline.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>

namespace {

// Wall time and aggregate rate of flashing `boards` boards at once.
double aggregateMBps(const QString &images, int boards, int delayUs, qint64 imageBytes)
{
    FlashCommandLine options;
    options.command = FlashCommandLine::Flash;
    options.choice.kind = ConfigPage::Linux;
    options.choice.imagesFolder = images;
    options.choice.only = QStringList{QStringLiteral("rootfs")};
    options.virtualDelayUs = delayUs;
    options.stallTimeoutSeconds = 0;
    for (int i = 0; i < boards; ++i)
        options.virtualBoards << VirtualBoardChoice{TUsbDevCommand::CPU_210, VirtualBoard::Fault::None, 0};

    FILE *sink = std::fopen("/dev/null", "w");
    QElapsedTimer clock;
    clock.start();
    const int exitCode = FlashCli(options, FlashCli::Output::Plain, sink, stderr).exec();
    const double seconds = clock.nsecsElapsed() / 1e9;
    std::fclose(sink);
    const double rate = boards * imageBytes / seconds / (1024.0 * 1024.0);
    std::printf("%d board%s  exit %d  %7.2f s  %6.2f MB/s aggregate\n", boards, boards == 1 ? " " : "s", exitCode,
                seconds, rate);
    return exitCode == 0 ? rate : 0.0;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const int mib = argc > 1 ? std::atoi(argv[1]) : 4;
    const int delayUs = argc > 2 ? std::atoi(argv[2]) : 250;

    QTemporaryDir dir;
    QFile ini(dir.filePath(QStringLiteral("Velkaro.ini")));
    QFile image(dir.filePath(QStringLiteral("rootfs.img")));
    if (!ini.open(QIODevice::WriteOnly) || !image.open(QIODevice::WriteOnly))
        return 1;
    ini.write("Linux-RootFs-InstallImage = rootfs.img\n");
    const QByteArray block(1024 * 1024, 'r');
    for (int i = 0; i < mib; ++i)
        image.write(block);
    ini.close();
    image.close();

    std::printf("Linux root file system of %d MiB to 210 boards (510-byte packets), %d us per exchange\n", mib,
                delayUs);
    const double one = aggregateMBps(dir.path(), 1, delayUs, image.size());
    const double four = aggregateMBps(dir.path(), 4, delayUs, image.size());
    std::printf("ratio four boards / one board: %.2fx\n", one > 0 ? four / one : 0.0);
    return 0;
}
