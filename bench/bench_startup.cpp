// How long Ostrakit takes from process start to its main window on screen, beside the
// same for a bare Qt window (and one that shows a line of text, which also loads the
// fonts) as the floor that no Qt program can beat here.
//
//   bench_startup [RUNS]           runs each case RUNS times (default 15), each run a fresh
//                                  process on the offscreen platform, and prints the medians
//   bench_startup --child CASE     (internal) one start: "bare", "label" or "ostrakit"; prints
//                                  "shown" and its CPU milliseconds once the window has been
//                                  shown and painted
//
// The parent's clock runs from just before the child is started until the line "shown"
// arrives, so it counts exec, loading the libraries, the application object, settings,
// language, building the window and its first paint. On a busy machine that clock also
// counts waiting for a core, so the CPU time each start used is printed beside it.

#include "app/globals.h"
#include "app/startup.h"
#include "shell/tmainwidget.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QLabel>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <vector>

namespace {

// Reports once the first paint of `window` is done. A zero-delay timer started right after
// show() is not enough: the platform asks for the first paint a few milliseconds later, so
// such a timer fires before anything is drawn. The report waits for the window's own paint
// event and goes out once that event has been handled.
class FirstPaint : public QObject
{
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && !seen) {
            seen = true;
            QTimer::singleShot(0, this, [] {
                timespec used {};
                clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
                std::printf("shown %.3f\n", used.tv_sec * 1e3 + used.tv_nsec / 1e6);
                std::fflush(stdout);
                QCoreApplication::quit();
            });
        }
        return QObject::eventFilter(watched, event);
    }

private:
    bool seen = false;
};

int showAndReport(QWidget &window)
{
    FirstPaint report;
    window.installEventFilter(&report);
    window.show();
    return QApplication::exec();
}

int child(int argc, char *argv[], const char *which)
{
    QApplication app(argc, argv);
    if (std::strcmp(which, "bare") == 0) {
        QWidget window;
        window.resize(900, 723);
        return showAndReport(window);
    }
    if (std::strcmp(which, "label") == 0) {
        QLabel window(QStringLiteral("Ostrakit"));
        window.resize(900, 723);
        return showAndReport(window);
    }
    // What the program does before its event loop, with a settings file of its own so that
    // the build's settings are not touched.
    QTemporaryDir folder;
    QSettings settings(folder.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat);
    settings.beginGroup(QStringLiteral("General"));
    Startup::applyLanguage(app, Startup::programFolder(QCoreApplication::applicationDirPath()), settings);
    TMainWidget window;
    return showAndReport(window);
}

// Milliseconds from starting one child to its "shown", and the CPU milliseconds it used;
// negative when it failed.
double timeOneStart(const QString &program, const QString &which, double *cpuMs = nullptr)
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    process.setProcessEnvironment(env);
    QElapsedTimer clock;
    clock.start();
    process.start(program, {QStringLiteral("--child"), which});
    while (!process.canReadLine()) {
        if (!process.waitForReadyRead(30000))
            return -1;
    }
    const double ms = clock.nsecsElapsed() / 1e6;
    const QList<QByteArray> line = process.readLine().trimmed().split(' ');
    const bool shown = line.value(0) == "shown";
    if (cpuMs)
        *cpuMs = line.value(1).toDouble();
    process.waitForFinished(30000);
    return shown ? ms : -1;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc == 3 && std::strcmp(argv[1], "--child") == 0)
        return child(argc, argv, argv[2]);

    const int runs = argc > 1 ? std::max(3, std::atoi(argv[1])) : 15;
    QCoreApplication app(argc, argv);
    const QString program = QCoreApplication::applicationFilePath();

    std::printf("process start to main window shown, offscreen, median of %d runs\n", runs);
    double medians[3] = {0, 0, 0};
    double cpuMedians[3] = {0, 0, 0};
    const char *cases[3] = {"bare", "label", "ostrakit"};
    for (int c = 0; c < 3; ++c) {
        // One start that is not counted, so that both cases find the libraries in the page cache.
        timeOneStart(program, QString::fromLatin1(cases[c]));
        std::vector<double> times;
        std::vector<double> cpuTimes;
        for (int i = 0; i < runs; ++i) {
            double cpuMs = 0;
            const double ms = timeOneStart(program, QString::fromLatin1(cases[c]), &cpuMs);
            if (ms < 0) {
                std::fprintf(stderr, "bench_startup: the %s child did not report its window\n", cases[c]);
                return 1;
            }
            times.push_back(ms);
            cpuTimes.push_back(cpuMs);
        }
        medians[c] = median(times);
        cpuMedians[c] = median(cpuTimes);
        std::printf("%-9s median %7.1f ms   (min %.1f, max %.1f)   CPU median %7.1f ms\n", cases[c], medians[c],
                    *std::min_element(times.begin(), times.end()), *std::max_element(times.begin(), times.end()),
                    cpuMedians[c]);
    }
    std::printf("ostrakit/bare %.2f   ostrakit/label %.2f   CPU: ostrakit/bare %.2f   ostrakit/label %.2f\n",
                medians[2] / medians[0], medians[2] / medians[1], cpuMedians[2] / cpuMedians[0],
                cpuMedians[2] / cpuMedians[1]);
    return 0;
}
