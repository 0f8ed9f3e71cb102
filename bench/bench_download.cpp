// Streams an image through the virtual board (instant answers) and prints what the
// protocol object's posted steps and progress signals cost against a bare loop over the
// same transport with the same chunking, and how much memory a transfer takes.
//
//   bench_download                 64 MiB at 61-, 510- and 65534-byte chunks, then memory
//   bench_download --memory MIB    (internal) one transfer of MIB MiB; prints peak RSS
//   bench_download --window        host CPU per packet of one kernel flashed from the Linux
//                                  page of the real main window (all pages wired as in the
//                                  program), beside the protocol object alone and a bare loop

#include "app/globals.h"
#include "boardlink/global.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/virtualboard.h"
#include "flashing/tconfigview.h"
#include "shell/burnsystemwidget.h"
#include "shell/tmainwidget.h"

#include <QApplication>
#include <QCheckBox>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>
#include <ctime>
#include <memory>

namespace {

// Stands in for a view: takes every board signal, does what a progress bar would.
class ProgressView : public QObject
{
    Q_OBJECT
public:
    int pos = 0;
    int max = 0;
    int outcomes = 0;
    bool lastOk = false;
public Q_SLOTS:
    void USBConnected(bool) {}
    void USBReportLog(int, QString) {}
    void USBSendFinished(bool ok)
    {
        ++outcomes;
        lastOk = ok;
    }
    void USBSendMaxSize(int m) { max = m; }
    void USBSendCurrentPos(int p) { pos = p; }
    void USBNewDeviceAttached(QString) {}
    void CpuRecognized() {}
};

// The high-water mark of this process's resident memory. (getrusage's figure would
// include the parent's peak, which a child inherits across fork and exec.)
long peakRssKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toLong();
    }
    return -1;
}

bool makeImage(const QString &path, qint64 size)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    QByteArray block(1 << 20, Qt::Uninitialized);
    for (int i = 0; i < block.size(); ++i)
        block[i] = char((i * 131) ^ (i >> 7));
    for (qint64 done = 0; done < size; done += block.size())
        file.write(block.constData(), qMin<qint64>(block.size(), size - done));
    return file.size() == size;
}

struct Rig
{
    Rig(TUsbDevCommand::TBoardCPU cpu, bool keepData)
        : command(std::make_unique<TUsbDevCommand>()), board(std::make_shared<VirtualBoard>(cpu))
    {
        command->Stop();
        // Keeping the data is the board's one real cost per packet (a copy into its RAM);
        // the memory runs leave it out so that only our side is measured.
        board->setKeepData(keepData);
        board->setWritingRounds(0);
        if (cpu == TUsbDevCommand::CPU_Unknown)
            board->setHardwareLines({"Halvorn", "CPU: unknown"});
        command->setTransport(board);
        gUsbDevCommand = command.get();
        Global::connectUSBSlots(&view);
        command->pollBoard();
    }
    ~Rig() { gUsbDevCommand = nullptr; }

    // Whole request through the protocol object: header, posted packets, idle poll.
    double full(const QString &path)
    {
        QEventLoop loop;
        QObject::connect(command.get(), &TUsbDevCommand::SendFinished, &loop, &QEventLoop::quit);
        QElapsedTimer timer;
        timer.start();
        command->SendKernel(path);
        if (view.outcomes == 0)
            loop.exec();
        return timer.nsecsElapsed() / 1e9;
    }

    // The same bytes over the same transport, in a plain loop.
    double bare(const QString &path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return -1;
        const int chunk = command->chunkSize();
        QElapsedTimer timer;
        timer.start();
        char reply[512];
        const QByteArray header = "KOVA kern " + QByteArray::number(file.size(), 16);
        board->write(header.constData(), int(header.size()));
        board->read(reply, sizeof reply);
        QByteArray packet(1 + chunk, 'A');
        for (;;) {
            const qint64 n = file.read(packet.data() + 1, chunk);
            if (n <= 0)
                break;
            board->write(packet.constData(), int(1 + n));
            const int got = board->read(reply, sizeof reply);
            if (got == 1 && reply[0] == 'o')
                break;
        }
        board->write("GETINFO", 7);
        board->read(reply, sizeof reply);
        return timer.nsecsElapsed() / 1e9;
    }

    std::unique_ptr<TUsbDevCommand> command;
    std::shared_ptr<VirtualBoard> board;
    ProgressView view;
};

int memoryRun(int mib)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("image.bin");
    if (!makeImage(path, qint64(mib) << 20))
        return 1;
    const long before = peakRssKiB();
    Rig rig(TUsbDevCommand::CPU_4412, false);
    rig.full(path);
    std::printf("%ld %ld %d\n", before, peakRssKiB(), rig.view.lastOk ? 1 : 0);
    return rig.view.lastOk ? 0 : 1;
}

double cpuSeconds()
{
    timespec now {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

// The whole program's window on the virtual board: the Linux page flashes one kernel, the
// way a user starts it, while the other pages, the menu, the home view and the window take
// the board's signals as they do in the program.
struct WindowRig
{
    WindowRig(TUsbDevCommand::TBoardCPU cpu, const QString &folder)
        : board(std::make_shared<VirtualBoard>(cpu))
    {
        board->setKeepData(false);
        board->setWritingRounds(0);
        if (cpu == TUsbDevCommand::CPU_Unknown)
            board->setHardwareLines({"Halvorn", "CPU: unknown"});
        gUsbDevCommand->Stop();
        gUsbDevCommand->setTransport(board);
        gUsbDevCommand->pollBoard();
        tab = window.findChild<BurnSystemWidget *>();
        tab->switchView(QStringLiteral("linuxView"));
        page = tab->configView(1);
        gImagesPath = folder;
        page->imagesPathUpdatedSlot();
        for (QCheckBox *box : page->findChildren<QCheckBox *>())
            box->setChecked(box == page->findCheckboxControler(QStringLiteral("Linux Kernel: ")));
        page->buttonSelectStatusChanged();
        window.show();
        QCoreApplication::processEvents();
    }

    // CPU seconds of one run of the page; negative when the run did not complete.
    double run()
    {
        QEventLoop loop;
        bool ended = false;
        const auto ending = QObject::connect(page, &TConfigView::needEnableControler, &loop, [&](bool enable) {
            if (enable) {
                ended = true;
                loop.quit();
            }
        });
        const double before = cpuSeconds();
        page->oneKeyBurnButtonClicked_Func();
        if (!ended)
            loop.exec();
        const double used = cpuSeconds() - before;
        QObject::disconnect(ending);
        return ended && page->burnPlan().size() == 1 ? used : -1;
    }

    TMainWidget window;
    std::shared_ptr<VirtualBoard> board;
    BurnSystemWidget *tab = nullptr;
    TConfigView *page = nullptr;
};

int windowRun(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir dir;
    const struct { TUsbDevCommand::TBoardCPU cpu; int chunk; int mib; } kinds[] = {
        {TUsbDevCommand::CPU_Unknown, 61, 16}, {TUsbDevCommand::CPU_6410, 510, 64}, {TUsbDevCommand::CPU_4412, 65534, 512}};
    std::printf("host CPU per packet, virtual board (instant answers, data not kept), best of 3; what a run\n"
                "costs besides its packets (starting, the log, the pages' state) is taken off by also\n"
                "timing a one-packet image\n");
    std::printf("%-8s %9s %12s %12s %10s %14s %14s\n", "chunk", "packets", "window us", "protocol us", "bare us",
                "window-bare", "protocol-bare");
    int failures = 0;
    for (const auto &kind : kinds) {
        const QString path = dir.filePath(QStringLiteral("zImage-linux"));
        QFile ini(dir.filePath(QStringLiteral("Velkaro.ini")));
        if (!ini.open(QIODevice::WriteOnly)) {
            std::fprintf(stderr, "cannot write to %s\n", qPrintable(dir.path()));
            return 1;
        }
        ini.write("LowFormat = No\nLinux-Kernel = zImage-linux\n");
        ini.close();

        // CPU seconds of the three ways for one image size, each the best of three rounds.
        struct Costs { double window = 1e9, protocol = 1e9, bare = 1e9; };
        const auto measure = [&](qint64 size) {
            Costs costs;
            if (!makeImage(path, size)) {
                ++failures;
                return costs;
            }
            {
                WindowRig rig(kind.cpu, dir.path());
                if (gUsbDevCommand->chunkSize() != kind.chunk) {
                    std::fprintf(stderr, "unexpected chunk size %d\n", gUsbDevCommand->chunkSize());
                    ++failures;
                    return costs;
                }
                for (int round = 0; round < 3; ++round) {
                    const double used = rig.run();
                    if (used < 0 || rig.board->receivedSize("kern") != size)
                        ++failures;
                    else
                        costs.window = qMin(costs.window, used);
                    rig.board->forgetReceived();
                }
            }
            Rig rig(kind.cpu, false);
            for (int round = 0; round < 3; ++round) {
                rig.view.outcomes = 0;
                double before = cpuSeconds();
                rig.full(path);
                costs.protocol = qMin(costs.protocol, cpuSeconds() - before);
                if (!rig.view.lastOk)
                    ++failures;
                before = cpuSeconds();
                rig.bare(path);
                costs.bare = qMin(costs.bare, cpuSeconds() - before);
            }
            return costs;
        };
        const qint64 size = qint64(kind.mib) << 20;
        const Costs one = measure(kind.chunk);
        const Costs all = measure(size);
        const double packets = double((size + kind.chunk - 1) / kind.chunk);
        const double us = 1e6 / (packets - 1);
        const double window = (all.window - one.window) * us;
        const double protocol = (all.protocol - one.protocol) * us;
        const double bare = (all.bare - one.bare) * us;
        std::printf("%-8d %9.0f %12.2f %12.2f %10.2f %14.2f %14.2f\n", kind.chunk, packets, window, protocol, bare,
                    window - bare, protocol - bare);
    }
    if (failures)
        std::printf("%d runs did not deliver the whole image\n", failures);
    return failures == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc == 2 && QByteArray(argv[1]) == "--window")
        return windowRun(argc, argv);
    QCoreApplication app(argc, argv);
    if (argc == 3 && QByteArray(argv[1]) == "--memory")
        return memoryRun(atoi(argv[2]));

    QTemporaryDir dir;
    const QString path = dir.filePath("image.bin");
    const qint64 size = 64LL << 20;
    if (!makeImage(path, size)) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
        return 1;
    }
    const double mib = double(size) / (1 << 20);

    std::printf("64 MiB through the virtual board (instant answers, data kept), best of 3\n");
    std::printf("%-8s %12s %12s %10s\n", "chunk", "full MB/s", "bare MB/s", "full/bare");
    const struct { TUsbDevCommand::TBoardCPU cpu; int chunk; } kinds[] = {
        {TUsbDevCommand::CPU_Unknown, 61}, {TUsbDevCommand::CPU_6410, 510}, {TUsbDevCommand::CPU_4412, 65534}};
    int failures = 0;
    for (const auto &kind : kinds) {
        Rig rig(kind.cpu, true);
        if (rig.command->chunkSize() != kind.chunk) {
            std::fprintf(stderr, "unexpected chunk size %d\n", rig.command->chunkSize());
            return 1;
        }
        // Best of three for each, so that one hiccup of the machine does not decide.
        double full = 1e9, bare = 1e9;
        for (int round = 0; round < 3; ++round) {
            rig.view.outcomes = 0;
            rig.board->forgetReceived();
            full = qMin(full, rig.full(path));
            if (!rig.view.lastOk || rig.board->receivedSize("kern") != size)
                ++failures;
            rig.board->forgetReceived();
            bare = qMin(bare, rig.bare(path));
        }
        std::printf("%-8d %12.1f %12.1f %10.2f\n", kind.chunk, mib / full, mib / bare, full / bare);
    }

    std::printf("\npeak memory of one transfer at 65534-byte chunks (own process each)\n");
    for (int image : {16, 256}) {
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), {"--memory", QString::number(image)});
        child.waitForFinished(-1);
        const QList<QByteArray> fields = child.readAllStandardOutput().trimmed().split(' ');
        if (child.exitCode() != 0 || fields.size() != 3) {
            std::printf("%4d MiB image: failed\n", image);
            ++failures;
            continue;
        }
        std::printf("%4d MiB image: peak RSS %6.1f MiB (%.1f MiB before the transfer)\n", image,
                    fields.at(1).toLong() / 1024.0, fields.at(0).toLong() / 1024.0);
    }
    return failures == 0 ? 0 : 1;
}

#include "bench_download.moc"
