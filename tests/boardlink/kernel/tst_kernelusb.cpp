// The board link on a real Linux USB stack: TUsbDevCommand over the usbdevfs transport,
// inside a virtual machine whose kernel runs the emulated board as a USB gadget
// (run-in-guest starts this program there; it is not meant to run on a desktop).

#include "boardlink/tusbdevcommand.h"

#include <QtTest>

#include <csignal>
#include <grp.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace {

const QString kOut = QStringLiteral("/tmp/board");

// `mib` MiB of noise, written to the image file that is sent.
QByteArray writeImage(int mib)
{
    QByteArray data(mib * 1024 * 1024, '\0');
    QRandomGenerator(mib).fillRange(reinterpret_cast<quint32 *>(data.data()), data.size() / 4);
    QFile file(QStringLiteral("/tmp/kernel.img"));
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size())
        qFatal("cannot write the image");
    return data;
}

// What the board wrote under `name` (an image tag, or "unplugged": the time it left the bus).
QByteArray fromBoard(const char *name)
{
    QFile file(kOut + '/' + QLatin1String(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The emulated board as a separate process: starting it plugs the cable in, ending it
// pulls it out; SIGUSR1 plugs back a board that left.
struct Gadget : QProcess
{
    explicit Gadget(const QStringList &args)
    {
        QDir(kOut).removeRecursively();
        QDir().mkpath(kOut);
        setProcessChannelMode(QProcess::ForwardedChannels);
        start(qEnvironmentVariable("OSTRAKIT_GADGET"), args);
        waitForStarted();
    }
    ~Gadget() override { kill(), waitForFinished(); }
};

// The link, with what it tells.
struct Link : TUsbDevCommand
{
    QSignalSpy connected{this, &TUsbDevice::Connected}, attached{this, &TUsbDevCommand::NewDeviceAttached},
        finished{this, &TUsbDevCommand::SendFinished}, log{this, &TUsbDevice::ReportLog};
    bool waitAttached() { return attached.count() > 0 || attached.wait(8000); }
    // The outcome of the next request.
    bool outcome()
    {
        if (finished.isEmpty() && !finished.wait(60000))
            return false;
        return finished.takeFirst().at(0).toBool();
    }
    QStringList said(int level = 1) const
    {
        QStringList texts;
        for (const auto &entry : log)
            if (level < 0 || entry.at(0).toInt() == level)
                texts << entry.at(1).toString();
        return texts;
    }
    // Sends a whole image and tells whether the board wrote it byte for byte.
    bool takesWhole(int mib)
    {
        const QByteArray image = writeImage(mib);
        SendKernel(QStringLiteral("/tmp/kernel.img"));
        return outcome() && fromBoard("kern") == image;
    }
};

} // namespace

class KernelUsbTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        if (qEnvironmentVariableIsEmpty("OSTRAKIT_GADGET"))
            QSKIP("runs inside the QEMU guest only: ctest starts it through run-in-guest");
        utsname name{};
        uname(&name);
        qInfo("kernel %s, board link over usbdevfs", name.release);
    }

    // Each board is found and identified; the cable pulled mid-transfer (or the board gone
    // silent, then pulled) ends the transfer at once and says so; plugged back, the board is
    // found and identified again and takes whole images. A 210's 511-byte packets cross the
    // 512-byte packet edge thousands of times.
    void foundLostAndFoundAgain_data()
    {
        QTest::addColumn<QString>("cpu");
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QList<int>>("sizesMiB");
        QTest::newRow("4412, cable pulled mid-transfer") << "4412" << "EMMC: 8GB" << "vanish" << QList<int>{4, 64};
        QTest::newRow("210, silent board, then pulled") << "210" << "NAND: 1GB SLC" << "silent" << QList<int>{1};
    }
    void foundLostAndFoundAgain()
    {
        QFETCH(QString, cpu);
        QFETCH(QString, line);
        QFETCH(QString, fault);
        QFETCH(QList<int>, sizesMiB);
        Gadget board({cpu, kOut, fault, QStringLiteral("8")});
        Link link;
        for (int plug = 0; plug < 2; ++plug) {
            QVERIFY(link.waitAttached());
            QCOMPARE(link.connected.count(), 1 + 2 * plug);
            QCOMPARE(TUsbDevCommand::cpuName(link.boardCpu()), cpu);
            const QString text = link.attached.takeFirst().at(0).toString();
            QVERIFY2(text.contains(QStringLiteral("CPU: ")) && text.contains(line), qPrintable(text));
            if (plug == 1)
                break;
            writeImage(4);
            link.SendKernel(QStringLiteral("/tmp/kernel.img"));
            QVERIFY(!link.outcome());
            const qint64 endedAt = QDeadlineTimer::current(Qt::PreciseTimer).deadlineNSecs(); // guest clock
            const qint64 unpluggedToOutcomeUs = (endedAt - fromBoard("unplugged").toLongLong()) / 1000;
            qInfo("%s: unplug to SendFinished(false): %lld us (guest clock)", qPrintable(fault), unpluggedToOutcomeUs);
            QVERIFY(unpluggedToOutcomeUs >= 0 && unpluggedToOutcomeUs < 500000);
            QCOMPARE(link.connected.last().at(0).toBool(), false);
            ::kill(pid_t(board.processId()), SIGUSR1);
        }
        for (int size : sizesMiB) {
            QVERIFY(link.takesWhole(size));
            qInfo("%s: %d bytes compared", qPrintable(cpu), size * 1024 * 1024);
        }
        QCOMPARE(link.said(), QStringList({QStringLiteral("Read USB Error"), QStringLiteral("Data not accepted by the board")}));
    }

    // A node the user may not open, or may only read: the search goes on, tick after
    // tick, without a crash, and says once which node it is and what to do; root then
    // still finds the board.
    void nodeTheUserMayNotUse_data()
    {
        QTest::addColumn<int>("mode");
        QTest::newRow("no access") << 0000;
        QTest::newRow("read only") << 0444;
    }
    void nodeTheUserMayNotUse()
    {
        QFETCH(int, mode);
        Gadget board({QStringLiteral("210"), kOut});
        QStringList nodes; // the host controller's root hub, then the board
        for (int i = 0; i < 80 && nodes.size() != 2; ++i, QTest::qWait(100))
            nodes = QDir(QStringLiteral("/dev/bus/usb/001")).entryList({QStringLiteral("0*")}, QDir::System);
        QCOMPARE(nodes.size(), 2);
        const QByteArray node = "/dev/bus/usb/001/" + nodes.last().toLatin1();
        QVERIFY(chmod(node.constData(), mode_t(mode)) == 0);

        QProcess user;
        user.setChildProcessModifier([] {
            setgroups(0, nullptr);
            if (setgid(65534) != 0 || setuid(65534) != 0)
                _exit(3);
        });
        user.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--search-as-user")});
        QVERIFY(user.waitForFinished(30000));
        const QByteArray said = user.readAll();
        QVERIFY2(user.exitStatus() == QProcess::NormalExit && user.exitCode() == 0, said.constData());
        const QList<QByteArray> lines = said.trimmed().split('\n');
        QVERIFY2(lines.size() == 2 && lines.first() == "3 searches, no board", said.constData());
        QVERIFY2(lines.at(1).contains(node) && lines.at(1).contains("70-ostrakit-halvorn.rules"), said.constData());
        qInfo("mode %o, as a user, the log says: %s", mode, lines.at(1).constData());

        QVERIFY(chmod(node.constData(), 0600) == 0);
        Link link;
        QVERIFY(link.waitAttached());
    }
};

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc > 1 && qstrcmp(argv[1], "--search-as-user") == 0) {
        // Run as an unprivileged user by nodeTheUserMayNotUse: three ticks of the search.
        Link link;
        link.Stop();
        for (int tick = 0; tick < 3; ++tick)
            link.pollBoard();
        printf("3 searches, %s\n", link.connected.isEmpty() && !link.isConnected() ? "no board" : "a board");
        for (const QString &line : link.said(-1))
            printf("%s\n", qPrintable(line));
        return 0;
    }
    KernelUsbTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_kernelusb.moc"
