// How long one page fill takes from a large "Velkaro.ini": the Linux page refilled after
// the user chose an images folder, with the file's keys after MEGABYTES of other lines
// (the worst case: every key is found only at the end).
//
//   bench_velkaroini [MEGABYTES] [RUNS]    defaults 50 and 5; prints the median fill time

#include "app/globals.h"
#include "flashing/tconfigview.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <vector>

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int megabytes = argc > 1 ? std::atoi(argv[1]) : 50;
    const int runs = argc > 2 ? std::atoi(argv[2]) : 5;

    QTemporaryDir dir;
    QFile ini(dir.filePath(QStringLiteral("Velkaro.ini")));
    if (!ini.open(QIODevice::WriteOnly))
        return 1;
    const QByteArray filler = "# a line of notes that names no key, as long as a line of notes is\n";
    for (qint64 written = 0; written < qint64(megabytes) << 20; written += filler.size())
        ini.write(filler);
    ini.write("LowFormat = no\nLinux-BootLoader = u-boot.bin\nLinux-Kernel = zImage\n"
              "Linux-CommandLine = console=ttySAC2,115200\nLinux-RamDisk = ramdisk.img\n"
              "Linux-RootFs-InstallImage = rootfs.img\n");
    ini.close();

    TConfigView page(1);
    gImagesPath = dir.path();
    std::vector<qint64> times;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer clock;
        clock.start();
        page.imagesPathUpdatedSlot();
        times.push_back(clock.elapsed());
    }
    std::sort(times.begin(), times.end());
    std::printf("page fill from a %d MB Velkaro.ini: median %lld ms over %d runs\n", megabytes,
                static_cast<long long>(times[times.size() / 2]), runs);
    return 0;
}
