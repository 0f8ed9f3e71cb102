// Pushes 16 MiB through a pty pair into an open serial assistant as fast as the line
// takes it, and reports the CPU time the receive side spends per MiB, how much of the data
// the box shows and whether it ends with exactly what was sent last, the peak memory and
// the longest stall of the event loop.
//
//   bench_serial             runs both cases, each in a child process of its own
//   bench_serial --case X    runs one case: "lines" (text with line breaks) or "endless"
//   bench_serial --versus-cutecom
//                            runs both cases through Ostrakit and through CuteCom on the X
//                            display of DISPLAY and prints them side by side. Needs an X
//                            server and two Debian packages:
//                              apt-get install -y cutecom xdotool
//                              xvfb-run -a -s "-screen 0 1280x1024x24" bench/bench_serial --versus-cutecom
//                            CuteCom shows an error box about modem lines on a pty; it keeps
//                            reading behind it, so the box is left open. What CuteCom shows
//                            cannot be read from outside: for it, the bytes are those it took
//                            from the pty.
//
// Lines that the box's 800-line cap would drop in the same read as they arrive need never
// be shown; the check accepts such a gap only where it covers whole lines, and requires the
// box to end with the stream's last character.

#include "serial/serialportdialog.h"

#include <QApplication>
#include <QComboBox>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTextCursor>
#include <QTextDocument>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <cstdio>
#include <ctime>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <termios.h>
#include <unistd.h>

namespace {

const qint64 TotalBytes = 16 * 1024 * 1024;
const int LineLength = 63; // printable characters before each line break in "lines"

// Printable characters in an order that does not repeat within the stream's length, so
// that any run of a few dozen of them says where in the stream it comes from.
char printableAt(qint64 k)
{
    quint64 x = quint64(k) * 0x9E3779B97F4A7C15ULL;
    x ^= x >> 29;
    return char(33 + x % 90);
}

double cpuSeconds(clockid_t clock)
{
    timespec now {};
    clock_gettime(clock, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

long peakRssKiB()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

double mib(qint64 bytes)
{
    return double(bytes) / (1 << 20);
}

// The bytes the far end sends: printable characters, in "lines" with a line feed after
// every LineLength of them. `printable` gets the printable characters alone.
QByteArray makeStream(bool lines, QByteArray *printable)
{
    QByteArray data;
    data.reserve(TotalBytes);
    printable->reserve(TotalBytes);
    qint64 k = 0;
    while (data.size() < TotalBytes) {
        if (lines && k > 0 && k % LineLength == 0 && data.back() != '\n') {
            data += '\n';
            continue;
        }
        const char c = printableAt(k++);
        data += c;
        *printable += c;
    }
    return data;
}

struct PtyPair
{
    bool open()
    {
        device = dir.filePath(QStringLiteral("device"));
        const QString far = dir.filePath(QStringLiteral("far"));
        const QString socatPath = QStandardPaths::findExecutable(QStringLiteral("socat"));
        if (socatPath.isEmpty()) {
            std::fprintf(stderr, "socat is not installed\n");
            return false;
        }
        const QString pty = QStringLiteral("pty,raw,echo=0,link=");
        socat.start(socatPath, {pty + device, pty + far});
        const QDeadlineTimer linkDeadline(10000);
        while (!(QFileInfo::exists(device) && QFileInfo::exists(far)) && !linkDeadline.hasExpired())
            QThread::msleep(10);
        farFd = ::open(QFile::encodeName(far).constData(), O_RDWR | O_NOCTTY);
        if (farFd < 0) {
            std::fprintf(stderr, "no pty pair\n");
            return false;
        }
        termios tio {};
        tcgetattr(farFd, &tio);
        cfmakeraw(&tio);
        tcsetattr(farFd, TCSANOW, &tio);
        return true;
    }
    ~PtyPair()
    {
        if (farFd >= 0)
            ::close(farFd);
        socat.kill();
        socat.waitForFinished();
    }

    QTemporaryDir dir;
    QProcess socat;
    QString device;
    int farFd = -1;
};

// Writes the whole stream into the far end from a thread of its own; its CPU time is
// kept apart so that it can be taken off the receiver's.
struct Writer
{
    Writer(int fd, const QByteArray &stream)
        : thread([this, fd, &stream] {
            qint64 done = 0;
            while (done < stream.size() && !stop) {
                // Waits a little at a time, so that a reader that never comes does not hang us.
                pollfd ready {fd, POLLOUT, 0};
                if (::poll(&ready, 1, 100) <= 0)
                    continue;
                const ssize_t n = ::write(fd, stream.constData() + done, size_t(qMin<qint64>(65536, stream.size() - done)));
                if (n <= 0)
                    break;
                done += n;
            }
            cpu = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
            finished = true;
        })
    {
    }
    ~Writer()
    {
        stop = true;
        thread.join();
    }

    std::atomic<bool> stop {false};
    std::atomic<bool> finished {false};
    double cpu = 0;
    std::thread thread;
};

int runCase(int argc, char *argv[], const QString &which)
{
    // On an X display when there is one, as a user sees it; offscreen otherwise.
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const bool lines = which == QLatin1String("lines");

    PtyPair pty;
    if (!pty.open())
        return 2;

    SerialPortDialog dialog;
    dialog.show();
    dialog.findChild<QComboBox *>(QStringLiteral("portBox"))->setEditText(pty.device);
    dialog.findChild<QPushButton *>(QStringLiteral("openCloseButton"))->click();
    QPlainTextEdit *recv = dialog.findChild<QPlainTextEdit *>(QStringLiteral("recvEdit"));
    QTextDocument *doc = recv->document();

    QByteArray expected;
    const QByteArray stream = makeStream(lines, &expected);
    const long rssBefore = peakRssKiB();

    // What the box shows, followed through the stream: `next` is the index in `expected`
    // of the next printable character due. A run that starts further on is accepted only
    // when it begins a line and the gap before it is whole lines (those the cap dropped).
    qint64 next = 0;
    qint64 shown = 0;
    qint64 skipped = 0;
    qint64 faults = 0;
    bool atLineStart = true;
    // The check's own CPU time, which is not the receive path's and is taken off its figure.
    double checkingCpu = 0;
    QObject::connect(doc, &QTextDocument::contentsChange, &app, [&](int position, int, int added) {
        if (added <= 0)
            return;
        const double checkStart = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
        QTextCursor cursor(doc);
        cursor.setPosition(position);
        cursor.setPosition(qMin(position + added, doc->characterCount() - 1), QTextCursor::KeepAnchor);
        const QString text = cursor.selectedText();
        QByteArray run;
        run.reserve(text.size());
        bool startsLine = atLineStart || position == 0;
        for (const QChar c : text) {
            if (c == QChar::ParagraphSeparator) {
                if (run.isEmpty())
                    startsLine = true;
                atLineStart = true;
                continue;
            }
            atLineStart = false;
            run += char(c.toLatin1());
        }
        if (!run.isEmpty()) {
            if (expected.mid(next, run.size()) != run) {
                const qint64 found = expected.indexOf(run.left(64), next);
                if (found < 0 || !startsLine || expected.mid(found, run.size()) != run)
                    ++faults;
                else
                    skipped += found - next;
                next = found < 0 ? next : found;
            }
            next += run.size();
            shown += run.size();
        }
        checkingCpu += cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - checkStart;
    });

    // The longest time between two turns of the event loop, seen by a timer of a few
    // milliseconds (a zero-delay one would keep the loop spinning and be counted as
    // the receiver's CPU time).
    QElapsedTimer sinceTurn;
    qint64 longestGapNs = 0;
    QTimer turns;
    turns.setTimerType(Qt::PreciseTimer);
    turns.setInterval(5);
    QObject::connect(&turns, &QTimer::timeout, &app, [&] {
        longestGapNs = qMax(longestGapNs, sinceTurn.nsecsElapsed());
        sinceTurn.restart();
    });

    const double cpuStart = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID);
    QElapsedTimer clock;
    clock.start();
    sinceTurn.start();
    turns.start();
    qint64 drainedMs = -1;
    double writerCpu = 0;
    {
        Writer writer(pty.farFd, stream);
        QTimer check;
        QObject::connect(&check, &QTimer::timeout, &app, [&] {
            if (next >= expected.size() && drainedMs < 0) {
                drainedMs = clock.elapsed();
                app.quit();
            } else if (clock.elapsed() > 180000) {
                app.quit();
            }
        });
        check.start(20);
        app.exec();
        turns.stop();
        writerCpu = writer.cpu;
    }
    const double receiveCpu = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - cpuStart - writerCpu - checkingCpu;
    // The box must end with exactly the last characters sent.
    QByteArray inBox = doc->toPlainText().toLatin1();
    inBox.replace('\n', QByteArray());
    const bool tailKept = expected.endsWith(inBox);

    std::printf("%-8s sent %.0f MiB (%lld printable)  shown %lld, %lld in whole lines dropped by the cap, "
                "%lld out of order, box ends with the last sent: %s  drained in %s  lines kept %d  "
                "peak RSS %ld MiB (%ld before the data)  longest event-loop gap %.1f ms  CPU %.3f s/MiB (check %.2f s)\n",
                qPrintable(which), mib(TotalBytes), qint64(expected.size()), shown, skipped, faults,
                tailKept ? "yes" : "NO",
                drainedMs < 0 ? "NEVER (timed out)" : qPrintable(QString::number(drainedMs / 1000.0, 'f', 2) + " s"),
                doc->blockCount(), peakRssKiB() / 1024, rssBefore / 1024, longestGapNs / 1e6,
                receiveCpu / mib(TotalBytes), checkingCpu);
    std::fflush(stdout);
    return drainedMs < 0 || faults > 0 || !tailKept ? 1 : 0;
}

// ---- CuteCom ----

// User plus system CPU seconds and peak resident memory of another process.
bool processFigures(qint64 pid, double *cpu, long *peakKiB)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!stat.open(QIODevice::ReadOnly) || !status.open(QIODevice::ReadOnly))
        return false;
    // The fields after the command name, which is in parentheses and may hold spaces.
    const QByteArray line = stat.readAll();
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    if (fields.size() < 13)
        return false;
    *cpu = double(fields.at(11).toLongLong() + fields.at(12).toLongLong()) / double(sysconf(_SC_CLK_TCK));
    for (const QByteArray &entry : status.readAll().split('\n')) {
        if (entry.startsWith("VmHWM:"))
            *peakKiB = entry.mid(6).trimmed().split(' ').value(0).toLong();
    }
    return true;
}

int runCuteCom(const QString &which)
{
    const QString cutecom = QStandardPaths::findExecutable(QStringLiteral("cutecom"));
    const QString xdotool = QStandardPaths::findExecutable(QStringLiteral("xdotool"));
    if (cutecom.isEmpty() || xdotool.isEmpty() || qEnvironmentVariableIsEmpty("DISPLAY")) {
        std::fprintf(stderr, "needs cutecom, xdotool and an X display (see the top of bench_serial.cpp)\n");
        return 2;
    }
    PtyPair pty;
    if (!pty.open())
        return 2;
    QByteArray expected;
    const QByteArray stream = makeStream(which == QLatin1String("lines"), &expected);

    // A session of its own that names the pty, in a configuration folder of its own.
    QTemporaryDir config;
    QDir().mkpath(config.filePath(QStringLiteral("CuteCom")));
    QFile conf(config.filePath(QStringLiteral("CuteCom/CuteCom5.conf")));
    if (!conf.open(QIODevice::WriteOnly))
        return 2;
    conf.write("[CuteCom]\nsession=bench\n\n[sessions]\n1\\BaudRate=115200\n1\\DataBits=8\n1\\Device=");
    conf.write(QFile::encodeName(pty.device));
    conf.write("\n1\\FlowControl=0\n1\\OpenMode=3\n1\\Parity=0\n1\\StopBits=1\n1\\autoReconnect=false\n"
               "1\\name=bench\n1\\showCtrlCharacters=false\n1\\showTimestamp=false\nsize=1\n");
    conf.close();

    QProcess program;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), config.path());
    env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    program.setProcessEnvironment(env);
    program.setStandardOutputFile(QProcess::nullDevice());
    program.setStandardErrorFile(QProcess::nullDevice());
    program.start(cutecom, {QStringLiteral("-s"), QStringLiteral("bench")});
    if (!program.waitForStarted())
        return 2;
    // Its "Open" button is the first control at the top left of its window.
    QProcess search;
    search.start(xdotool, {QStringLiteral("search"), QStringLiteral("--sync"), QStringLiteral("--onlyvisible"),
                           QStringLiteral("--pid"), QString::number(program.processId())});
    search.waitForFinished(20000);
    const QByteArray window = search.readAllStandardOutput().split('\n').value(0).trimmed();
    QThread::msleep(500);
    QProcess::execute(xdotool, {QStringLiteral("mousemove"), QStringLiteral("--window"), QString::fromLatin1(window),
                                QStringLiteral("38"), QStringLiteral("44"), QStringLiteral("click"), QStringLiteral("1")});
    QThread::msleep(1000);

    double cpuBefore = 0;
    double cpu = 0;
    long peakBefore = 0;
    long peak = 0;
    processFigures(program.processId(), &cpuBefore, &peakBefore);
    QElapsedTimer clock;
    clock.start();
    qint64 drainedMs = -1;
    {
        Writer writer(pty.farFd, stream);
        // Done when everything went into the pty and CuteCom's CPU time has not moved for
        // a second (what the pty still held is read by then).
        double last = -1;
        QElapsedTimer still;
        still.start();
        while (clock.elapsed() < 600000) {
            QThread::msleep(100);
            if (!processFigures(program.processId(), &cpu, &peak))
                break;
            if (cpu != last) {
                last = cpu;
                still.restart();
            } else if (writer.finished && still.elapsed() >= 1000) {
                drainedMs = clock.elapsed() - still.elapsed();
                break;
            }
        }
    }
    program.kill();
    program.waitForFinished();
    std::printf("%-8s CuteCom took all %.0f MiB from the pty: %s  drained in %s  peak RSS %ld MiB (%ld before the "
                "data)  CPU %.3f s/MiB\n",
                qPrintable(which), mib(TotalBytes), drainedMs < 0 ? "NO" : "yes",
                drainedMs < 0 ? "NEVER" : qPrintable(QString::number(drainedMs / 1000.0, 'f', 2) + " s"),
                peak / 1024, peakBefore / 1024, (cpu - cpuBefore) / mib(TotalBytes));
    std::fflush(stdout);
    return drainedMs < 0 ? 1 : 0;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc == 3 && qstrcmp(argv[1], "--case") == 0)
        return runCase(argc, argv, QString::fromLatin1(argv[2]));
    if (argc == 3 && qstrcmp(argv[1], "--cutecom") == 0) {
        QCoreApplication app(argc, argv);
        return runCuteCom(QString::fromLatin1(argv[2]));
    }
    const bool versus = argc == 2 && qstrcmp(argv[1], "--versus-cutecom") == 0;

    // One child per case, so that the peak memory of one does not show in the other.
    int status = 0;
    for (const char *which : {"lines", "endless"}) {
        for (const char *mode : {"--case", "--cutecom"}) {
            if (!versus && qstrcmp(mode, "--cutecom") == 0)
                continue;
            QProcess child;
            child.setProcessChannelMode(QProcess::ForwardedChannels);
            child.start(QString::fromLocal8Bit(argv[0]), {QString::fromLatin1(mode), QString::fromLatin1(which)});
            child.waitForFinished(-1);
            status |= child.exitCode();
        }
    }
    return status;
}
