#include "app/programpaths.h"
#include "cli/flashcli.h"
#include "cli/flashcommandline.h"

#include <QCoreApplication>
#include <QDir>

#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const FlashCommandLine options = parseFlashCommandLine(QCoreApplication::arguments(),
                                                           QDir::cleanPath(ProgramPaths::dataFolder()));
    switch (options.command) {
    case FlashCommandLine::Usage:
        std::fputs(qPrintable(options.message), stderr);
        return FlashExit::BadInput;
    case FlashCommandLine::Help:
    case FlashCommandLine::Version:
        std::fputs(qPrintable(options.message), stdout);
        return FlashExit::Done;
    default:
        break;
    }
    const FlashCli::Output output = options.json              ? FlashCli::Output::Json
                                    : isatty(STDOUT_FILENO) ? FlashCli::Output::Terminal
                                                            : FlashCli::Output::Plain;
    FlashCli cli(options, output, stdout, stderr);
    winsize size{};
    if (output == FlashCli::Output::Terminal && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        cli.setTerminalWidth(size.ws_col);
    return cli.exec();
}
