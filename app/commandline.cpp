#include "app/commandline.h"

#include "boardlink/virtualboard.h"
#include "shell/versiontext.h"

#include <QCommandLineParser>
#include <QRegularExpression>

QString commandLineVersion()
{
    QString version = versionText();
    if (version.startsWith(QLatin1Char('v')))
        version.remove(0, 1);
    return version;
}

CommandLineOptions parseCommandLine(const QStringList &arguments)
{
    QStringList cpuNames;
    for (int cpu = TUsbDevCommand::CPU_210; cpu <= TUsbDevCommand::CPU_3358; ++cpu)
        cpuNames << TUsbDevCommand::cpuName(TUsbDevCommand::TBoardCPU(cpu));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Flashes ARM development boards whose Halvorn boot loader is in USB download mode."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    const QCommandLineOption virtualBoard(
        QStringLiteral("virtual-board"),
        QStringLiteral("Work with an emulated board with processor CPU instead of the USB bus (one of %1). "
                       "It is plugged in a second after start and again 3 seconds after it leaves "
                       "download mode (Quick Boot, a user bin run from memory).")
            .arg(cpuNames.join(QStringLiteral(", "))),
        QStringLiteral("CPU"));
    const QCommandLineOption emmc(QStringLiteral("emmc"),
                                  QStringLiteral("eMMC size the virtual board reports, e.g. 4GB, 8GB, 16GB."),
                                  QStringLiteral("SIZE"));
    const QCommandLineOption trace(QStringLiteral("board-trace"),
                                   QStringLiteral("Write every command and reply of the virtual board to FILE."),
                                   QStringLiteral("FILE"));
    // Read by the Serial assistant; listed so that it is not taken for a mistake.
    QCommandLineOption debug(QStringLiteral("debug"));
    debug.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOptions({virtualBoard, emmc, trace, debug});

    CommandLineOptions options;
    const bool parsed = parser.parse(arguments);
    if (parser.isSet(help) || parser.isSet(QStringLiteral("help-all"))) {
        options.action = CommandLineOptions::ShowHelp;
        // Help is asked for before the application object exists, and without one the
        // usage line has no program name.
        options.message = parser.helpText().replace(QLatin1String("<executable_name>"), QLatin1String("ostrakit"));
        return options;
    }
    if (parser.isSet(version)) {
        options.action = CommandLineOptions::ShowVersion;
        options.message = QStringLiteral("ostrakit %1\n").arg(commandLineVersion());
        return options;
    }
    auto fail = [&options](const QString &text) {
        options.action = CommandLineOptions::Fail;
        options.message = QStringLiteral("ostrakit: %1\nTry 'ostrakit --help' for more information.\n").arg(text);
        return options;
    };
    if (!parsed)
        return fail(parser.errorText());
    if (!parser.positionalArguments().isEmpty())
        return fail(QStringLiteral("unexpected argument '%1'").arg(parser.positionalArguments().constFirst()));

    if (parser.isSet(virtualBoard)) {
        const QString name = parser.value(virtualBoard);
        options.virtualBoard = VirtualBoard::cpuFromName(name);
        if (options.virtualBoard == TUsbDevCommand::CPU_Unknown)
            return fail(QStringLiteral("unknown processor '%1' for --virtual-board; choose one of %2")
                            .arg(name, cpuNames.join(QStringLiteral(", "))));
    }
    if (parser.isSet(emmc)) {
        if (options.virtualBoard == TUsbDevCommand::CPU_Unknown)
            return fail(QStringLiteral("--emmc needs --virtual-board"));
        const QString size = parser.value(emmc).toUpper();
        if (!QRegularExpression(QStringLiteral("^[1-9][0-9]*GB?$")).match(size).hasMatch())
            return fail(QStringLiteral("'%1' is not an eMMC size such as 8GB").arg(parser.value(emmc)));
        options.emmcSize = size.endsWith(QLatin1Char('B')) ? size : size + QLatin1Char('B');
    }
    if (parser.isSet(trace)) {
        if (options.virtualBoard == TUsbDevCommand::CPU_Unknown)
            return fail(QStringLiteral("--board-trace needs --virtual-board"));
        options.traceFile = parser.value(trace);
        if (options.traceFile.isEmpty())
            return fail(QStringLiteral("--board-trace needs a file name"));
    }
    return options;
}
