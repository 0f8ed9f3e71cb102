// The board link on a real Linux USB stack: TUsbDevCommand over the usbdevfs transport,
// inside a virtual machine whose kernel runs the emulated board as a USB gadget
// (run-in-guest starts this program there; it is not meant to run on a desktop).

#include "boardlink/tusbdevcommand.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

#include <csignal>
#include <ctime>
#include <grp.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace {

constexpr int kMiB = 1024 * 1024;
const QString kOut = QStringLiteral("/tmp/board");

qint64 nowNs()
{
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return qint64(t.tv_sec) * 1000000000 + t.tv_nsec;
}

QByteArray randomBytes(int size)
{
    QByteArray data(size, '\0');
    QRandomGenerator(size).fillRange(reinterpret_cast<quint32 *>(data.data()), size / 4);
    return data;
}

QString writeFile(const QString &name, const QByteArray &data)
{
    const QString path = QStringLiteral("/tmp/") + name;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size())
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

QByteArray boardImage(const QByteArray &tag)
{
    QFile file(kOut + '/' + QString::fromLatin1(tag));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The emulated board as a separate process: starting it plugs the cable in, ending it
// pulls it out.
struct Gadget
{
    explicit Gadget(const QStringList &args)
    {
        QDir(kOut).removeRecursively();
        QDir().mkpath(kOut);
        process.setProcessChannelMode(QProcess::ForwardedChannels);
        process.start(qEnvironmentVariable("OSTRAKIT_GADGET"), args);
        process.waitForStarted();
    }
    ~Gadget()
    {
        process.kill();
        process.waitForFinished();
    }
    void plugBack() { ::kill(pid_t(process.processId()), SIGUSR1); }
    QProcess process;
};

// A link that has found and identified the board.
struct Link
{
    Link() : connected(&link, &TUsbDevice::Connected), attached(&link, &TUsbDevCommand::NewDeviceAttached),
             finished(&link, &TUsbDevCommand::SendFinished), log(&link, &TUsbDevice::ReportLog) {}
    bool waitAttached() { return attached.count() > 0 || attached.wait(8000); }
    // The outcome of the next request, and when it arrived (guest clock).
    bool outcome(qint64 *at = nullptr)
    {
        if (finished.isEmpty() && !finished.wait(60000))
            return false;
        if (at)
            *at = nowNs();
        return finished.takeFirst().at(0).toBool();
    }
    QStringList errors() const
    {
        QStringList texts;
        for (const auto &entry : log)
            if (entry.at(0).toInt() == 1)
                texts << entry.at(1).toString();
        return texts;
    }
    TUsbDevCommand link;
    QSignalSpy connected, attached, finished, log;
};

QString boardNode()
{
    const QStringList nodes = QDir(QStringLiteral("/dev/bus/usb/001")).entryList({QStringLiteral("0*")}, QDir::System);
    return nodes.size() == 2 ? QStringLiteral("/dev/bus/usb/001/") + nodes.last() : QString();
}

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

    // Each board is found, identified and takes whole images; a 210's 511-byte packets
    // cross the 512-byte packet edge thousands of times.
    void identifiesAndDownloads_data()
    {
        QTest::addColumn<QString>("cpu");
        QTest::addColumn<int>("chunk");
        QTest::addColumn<QString>("line");
        QTest::addColumn<QList<int>>("sizesMiB");
        QTest::newRow("4412") << "4412" << 65534 << "EMMC: 8GB" << QList<int>{4, 64};
        QTest::newRow("210") << "210" << 510 << "NAND: 1GB SLC" << QList<int>{1};
    }
    void identifiesAndDownloads()
    {
        QFETCH(QString, cpu);
        QFETCH(QString, line);
        QFETCH(QList<int>, sizesMiB);
        Gadget board({cpu, kOut});
        Link link;
        QVERIFY(link.waitAttached());
        QCOMPARE(link.connected.count(), 1);
        QCOMPARE(TUsbDevCommand::cpuName(link.link.boardCpu()), cpu);
        QCOMPARE(link.link.currentPacketSize(), 512);
        QTEST(link.link.chunkSize(), "chunk");
        const QString text = link.attached.first().at(0).toString();
        QVERIFY2(text.contains(QStringLiteral("CPU: ")) && text.contains(line), qPrintable(text));
        for (int size : sizesMiB) {
            const QByteArray image = randomBytes(size * kMiB);
            link.link.SendKernel(writeFile(QStringLiteral("kernel.img"), image));
            QVERIFY(link.outcome());
            QVERIFY(boardImage("kern") == image);
            qInfo("%s: %lld bytes compared", qPrintable(cpu), qint64(image.size()));
        }
        QVERIFY(link.errors().isEmpty());
    }

    // A pulled cable ends the transfer at once and says so; plugged back, the board is
    // found, identified and takes a whole image again.
    void pulledCableEndsTheTransferAtOnce_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::newRow("cable pulled mid-transfer") << "vanish";
        QTest::newRow("board stops answering, then the cable is pulled") << "silent";
    }
    void pulledCableEndsTheTransferAtOnce()
    {
        QFETCH(QString, fault);
        Gadget board({QStringLiteral("4412"), kOut, fault, QStringLiteral("8")});
        Link link;
        QVERIFY(link.waitAttached());
        const QString path = writeFile(QStringLiteral("kernel.img"), randomBytes(4 * kMiB));
        link.link.SendKernel(path);
        qint64 endedAt = 0;
        QVERIFY(!link.outcome(&endedAt));
        QFile stamp(kOut + QStringLiteral("/unplugged"));
        QVERIFY(stamp.open(QIODevice::ReadOnly));
        const qint64 unpluggedToOutcomeUs = (endedAt - stamp.readAll().toLongLong()) / 1000;
        qInfo("%s: unplug to SendFinished(false): %lld us (guest clock)", qPrintable(fault), unpluggedToOutcomeUs);
        QVERIFY(unpluggedToOutcomeUs >= 0 && unpluggedToOutcomeUs < 500000);
        QCOMPARE(link.connected.count(), 2);
        QCOMPARE(link.connected.last().at(0).toBool(), false);
        QCOMPARE(link.errors(), QStringList({QStringLiteral("Read USB Error"), QStringLiteral("Data not accepted by the board")}));

        board.plugBack();
        link.attached.clear();
        QVERIFY(link.attached.wait(8000));
        QCOMPARE(link.link.boardCpu(), TUsbDevCommand::CPU_4412);
        const QByteArray image = randomBytes(2 * kMiB);
        link.link.SendKernel(writeFile(QStringLiteral("kernel.img"), image));
        QVERIFY(link.outcome());
        QVERIFY(boardImage("kern") == image);
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
        QString node;
        for (int i = 0; i < 80 && (node = boardNode()).isEmpty(); ++i)
            QTest::qWait(100);
        QVERIFY(!node.isEmpty());
        QVERIFY(chmod(QFile::encodeName(node).constData(), mode_t(mode)) == 0);

        QProcess user;
        user.setChildProcessModifier([] {
            setgroups(0, nullptr);
            if (setgid(65534) != 0 || setuid(65534) != 0)
                _exit(3);
        });
        user.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--search-as-user")});
        QVERIFY(user.waitForFinished(30000));
        const QByteArray said = user.readAll();
        QCOMPARE(user.exitStatus(), QProcess::NormalExit);
        QVERIFY2(user.exitCode() == 0, said.constData());
        const QList<QByteArray> lines = said.trimmed().split('\n');
        QCOMPARE(lines.first(), QByteArray("3 searches, no board"));
        QCOMPARE(lines.size(), 2);
        QVERIFY2(lines.at(1).contains(QFile::encodeName(node)) && lines.at(1).contains("70-ostrakit-halvorn.rules"),
                 said.constData());
        qInfo("mode %o, as a user, the log says: %s", mode, lines.at(1).constData());

        QVERIFY(chmod(QFile::encodeName(node).constData(), 0600) == 0);
        Link link;
        QVERIFY(link.waitAttached());
    }
};

// Run as an unprivileged user by nodeTheUserMayNotUse: three ticks of the search.
static int searchAsUser()
{
    TUsbDevCommand link;
    link.Stop();
    QSignalSpy connected(&link, &TUsbDevice::Connected);
    QSignalSpy log(&link, &TUsbDevice::ReportLog);
    for (int tick = 0; tick < 3; ++tick)
        link.pollBoard();
    printf("3 searches, %s\n", connected.isEmpty() && !link.isConnected() ? "no board" : "a board");
    for (const auto &entry : log)
        printf("%s\n", qPrintable(entry.at(1).toString()));
    return 0;
}

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc > 1 && qstrcmp(argv[1], "--search-as-user") == 0)
        return searchAsUser();
    KernelUsbTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_kernelusb.moc"
