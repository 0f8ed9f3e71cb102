#include "app/commandline.h"
#include "app/startup.h"

#include <QApplication>

#include <cstdio>

namespace {

QStringList rawArguments(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    return arguments;
}

} // namespace

int main(int argc, char *argv[])
{
    // Help and version are answered before the application object exists: they need no
    // display, and a terminal without one must still get them.
    const CommandLineOptions early = parseCommandLine(rawArguments(argc, argv));
    if (early.action == CommandLineOptions::ShowHelp || early.action == CommandLineOptions::ShowVersion) {
        std::fputs(qPrintable(early.message), stdout);
        return 0;
    }

    QApplication app(argc, argv);
    // Now without the options Qt took for itself (-platform, -style, ...).
    const CommandLineOptions options = parseCommandLine(QCoreApplication::arguments());
    if (options.action == CommandLineOptions::Fail) {
        std::fputs(qPrintable(options.message), stderr);
        return 2;
    }
    return Startup::run(app, options);
}
