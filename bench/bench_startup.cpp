// How long Ostrakit takes from process start to its main window on screen, beside the
// same for a bare Qt window (and one that shows a line of text, which also loads the
// fonts) as the floor that no Qt program can beat here.
//
//   bench_startup [RUNS]           runs each case RUNS times (default 15), each run a fresh
//                                  process on the offscreen platform, and prints the medians
//   bench_startup --child CASE     (internal) one start: "bare", "label" or "ostrakit"; prints
//                                  "shown" once the window has been shown and painted
//
// The parent's clock runs from just before the child is started until the line "shown"
// arrives, so it counts exec, loading the libraries, the application object, settings,
// language, building the window and its first paint.

#include "app/globals.h"
#include "app/startup.h"
#include "shell/tmainwidget.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

// Reports once the first paint of `window` has happened: a zero-delay timer started after
// show() runs after the expose and paint events already queued.
int showAndReport(QWidget &window)
{
    window.show();
    QTimer::singleShot(0, &window, [] {
        std::fputs("shown\n", stdout);
        std::fflush(stdout);
        QCoreApplication::quit();
    });
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

// Milliseconds from starting one child to its "shown"; negative when it failed.
double timeOneStart(const QString &program, const QString &which)
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
    const bool shown = process.readLine().trimmed() == "shown";
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
    const char *cases[3] = {"bare", "label", "ostrakit"};
    for (int c = 0; c < 3; ++c) {
        // One start that is not counted, so that both cases find the libraries in the page cache.
        timeOneStart(program, QString::fromLatin1(cases[c]));
        std::vector<double> times;
        for (int i = 0; i < runs; ++i) {
            const double ms = timeOneStart(program, QString::fromLatin1(cases[c]));
            if (ms < 0) {
                std::fprintf(stderr, "bench_startup: the %s child did not report its window\n", cases[c]);
                return 1;
            }
            times.push_back(ms);
        }
        medians[c] = median(times);
        std::printf("%-9s median %7.1f ms   (min %.1f, max %.1f)\n", cases[c], medians[c],
                    *std::min_element(times.begin(), times.end()), *std::max_element(times.begin(), times.end()));
    }
    std::printf("ostrakit/bare %.2f   ostrakit/label %.2f\n", medians[2] / medians[0], medians[2] / medians[1]);
    return 0;
}
