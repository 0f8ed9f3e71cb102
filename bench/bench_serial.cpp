// Pushes 16 MiB through a pty pair into an open serial assistant as fast as the line
// takes it, and reports how long the receive box needs to show it all, how much of it it
// shows, the peak memory and the longest stall of the event loop.
//
//   bench_serial             runs both cases, each in a child process of its own
//   bench_serial --case X    runs one case: "lines" (text with line breaks) or "endless"

#include "serial/serialportdialog.h"

#include <QApplication>
#include <QComboBox>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <cstdio>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <termios.h>
#include <unistd.h>

namespace {

const qint64 TotalBytes = 16 * 1024 * 1024;
const int LineLength = 63; // printable characters before each line break in "lines"

char printableAt(qint64 k)
{
    return char(33 + k % 90);
}

long peakRssKiB()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// The bytes the far end sends: printable characters, in "lines" with a line feed after
// every LineLength of them.
QByteArray makeStream(bool lines, qint64 *printable)
{
    QByteArray data;
    data.reserve(TotalBytes);
    qint64 k = 0;
    while (data.size() < TotalBytes) {
        if (lines && k > 0 && k % LineLength == 0 && data.size() > 0 && data.back() != '\n') {
            data += '\n';
            continue;
        }
        data += printableAt(k++);
    }
    *printable = k;
    return data;
}

int runCase(int argc, char *argv[], const QString &which)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const bool lines = which == QLatin1String("lines");

    QTemporaryDir dir;
    const QString device = dir.filePath(QStringLiteral("device"));
    const QString far = dir.filePath(QStringLiteral("far"));
    const QString socatPath = QStandardPaths::findExecutable(QStringLiteral("socat"));
    if (socatPath.isEmpty()) {
        std::fprintf(stderr, "socat is not installed\n");
        return 2;
    }
    QProcess socat;
    const QString pty = QStringLiteral("pty,raw,echo=0,link=");
    socat.start(socatPath, {pty + device, pty + far});
    const QDeadlineTimer linkDeadline(10000);
    while (!(QFileInfo::exists(device) && QFileInfo::exists(far)) && !linkDeadline.hasExpired())
        QThread::msleep(10);
    const int farFd = ::open(QFile::encodeName(far).constData(), O_RDWR | O_NOCTTY);
    if (farFd < 0) {
        std::fprintf(stderr, "no pty pair\n");
        return 2;
    }
    termios tio {};
    tcgetattr(farFd, &tio);
    cfmakeraw(&tio);
    tcsetattr(farFd, TCSANOW, &tio);

    SerialPortDialog dialog;
    dialog.show();
    dialog.findChild<QComboBox *>(QStringLiteral("portBox"))->setEditText(device);
    dialog.findChild<QPushButton *>(QStringLiteral("openCloseButton"))->click();
    QPlainTextEdit *recv = dialog.findChild<QPlainTextEdit *>(QStringLiteral("recvEdit"));
    QTextDocument *doc = recv->document();

    qint64 expectedPrintable = 0;
    const QByteArray stream = makeStream(lines, &expectedPrintable);
    const long rssBefore = peakRssKiB();

    // What the box shows, checked character by character against what was sent.
    qint64 shownPrintable = 0;
    qint64 mismatches = 0;
    QObject::connect(doc, &QTextDocument::contentsChange, &app, [&](int position, int, int added) {
        if (added <= 0)
            return;
        QTextCursor cursor(doc);
        cursor.setPosition(position);
        cursor.setPosition(qMin(position + added, doc->characterCount() - 1), QTextCursor::KeepAnchor);
        const QString text = cursor.selectedText();
        for (const QChar c : text) {
            if (c == QChar::ParagraphSeparator)
                continue;
            if (c.toLatin1() != printableAt(shownPrintable))
                ++mismatches;
            ++shownPrintable;
        }
    });

    // The longest time between two turns of the event loop.
    QElapsedTimer sinceTurn;
    qint64 longestGapNs = 0;
    QTimer turns;
    turns.setInterval(0);
    QObject::connect(&turns, &QTimer::timeout, &app, [&] {
        longestGapNs = qMax(longestGapNs, sinceTurn.nsecsElapsed());
        sinceTurn.restart();
    });

    std::atomic<bool> writerDone {false};
    QElapsedTimer clock;
    clock.start();
    sinceTurn.start();
    turns.start();
    std::thread writer([&] {
        qint64 done = 0;
        while (done < stream.size()) {
            const ssize_t n = ::write(farFd, stream.constData() + done, size_t(qMin<qint64>(65536, stream.size() - done)));
            if (n <= 0)
                break;
            done += n;
        }
        writerDone = true;
    });

    qint64 drainedMs = -1;
    QTimer check;
    QObject::connect(&check, &QTimer::timeout, &app, [&] {
        if (shownPrintable >= expectedPrintable && drainedMs < 0) {
            drainedMs = clock.elapsed();
            app.quit();
        } else if (clock.elapsed() > 180000) {
            app.quit();
        }
    });
    check.start(20);
    app.exec();
    turns.stop();
    writer.join();
    ::close(farFd);
    socat.kill();
    socat.waitForFinished();

    std::printf("%-8s sent %lld bytes (%lld printable)  shown %lld printable, %lld out of order  "
                "drained in %s  lines kept %d  peak RSS %ld MiB (%ld MiB before the data)  "
                "longest event-loop gap %.1f ms\n",
                qPrintable(which), TotalBytes, expectedPrintable, shownPrintable, mismatches,
                drainedMs < 0 ? "NEVER (timed out)" : qPrintable(QString::number(drainedMs / 1000.0, 'f', 2) + " s"),
                doc->blockCount(), peakRssKiB() / 1024, rssBefore / 1024, longestGapNs / 1e6);
    return drainedMs < 0 ? 1 : 0;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc == 3 && qstrcmp(argv[1], "--case") == 0)
        return runCase(argc, argv, QString::fromLatin1(argv[2]));

    // One child per case, so that the peak memory of one does not show in the other.
    int status = 0;
    for (const char *which : {"lines", "endless"}) {
        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedChannels);
        child.start(QString::fromLocal8Bit(argv[0]), {QStringLiteral("--case"), QString::fromLatin1(which)});
        child.waitForFinished(-1);
        status |= child.exitCode();
    }
    return status;
}
