#include "cli/flashcommandline.h"

#include "app/commandline.h"
#include "flashing/configpage.h"

#include <QCommandLineParser>
#include <QRegularExpression>

namespace {

const char kHelp[] = R"(Usage: ostrakit-flash COMMAND [OPTIONS]
Flashes ARM development boards whose Halvorn boot loader is in USB download
mode, one or many at once.

Commands:
  list                     every board in download mode: node, processor, RAM,
                           eMMC, and whether it can be used (and why not)
  flash --system SYSTEM    flash android, linux or wince from an images folder
  userbin FILE --address HEX
                           download a user bin and run it from RAM, or write it
                           to flash with --install
  boot                     Quick Boot: start the system already in flash

Flash options:
  --system SYSTEM          android, linux or wince
  --images DIR             the folder with "Velkaro.ini" (default: the images
                           folder shipped with the program)
  --only ITEM,...          only these items; default: every item "Velkaro.ini"
                           lists. Items:
                           %1
  --low-format             low-format the flash first
  --skip-cali              add skipcali=y to the kernel command line
  --hdmi MODE              set the HDMI resolution, one of:
                           %2
  --cmdline TEXT           the kernel command line instead of the file's
User bin options:
  --address HEX            RAM address to load the user bin at, e.g. 30000000
  --install                write it to flash instead of running it

Boards:
  --board NODE             this board, e.g. /dev/bus/usb/001/007 (repeatable)
  --all                    every board in download mode, all at once
                           (default: the first board found)
  --wait SECONDS           wait this long for the boards to appear (default 0)
  --stall-timeout SECONDS  fail a board that stops answering for this long
                           (default %3; 0 waits for ever)

Output:
  --json                   one JSON object per line for each event
  --report FILE            append a JSON record of the run (boards, images with
                           SHA-256, steps, board log) to FILE

Without hardware:
  --virtual-board CPU[:FAULT@N]
                           an emulated board (repeatable; each is one board).
                           CPU: %4.
                           FAULT: refuse, vanish or stall at data packet N,
                           for trying out failures
  --emmc SIZE              eMMC size the virtual boards report, e.g. 8GB
  --board-trace FILE       write the virtual boards' commands and replies to
                           FILE (FILE.2, FILE.3 ... for further boards)
  --virtual-delay USEC     each exchange with a virtual board takes this long
  --virtual-store DIR      write the images the virtual boards received to DIR

  -h, --help               this help;  -v, --version  the version

Exit status: 0 every board done; 1 a board failed; 2 bad usage or bad input
(unknown option, missing "Velkaro.ini" item, missing or empty image); 3 no board
within --wait; 4 a board is present but may not be used (permission, busy).
)";

QStringList cpuNames()
{
    QStringList names;
    for (int cpu = TUsbDevCommand::CPU_210; cpu <= TUsbDevCommand::CPU_3358; ++cpu)
        names << TUsbDevCommand::cpuName(TUsbDevCommand::TBoardCPU(cpu));
    return names;
}

// Words in the help's right-hand column, wrapped to 80 columns.
QString column(const QStringList &words)
{
    QString text;
    int width = 0;
    for (const QString &word : words) {
        if (width > 0 && width + 1 + word.size() > 80 - 27) {
            text += QStringLiteral("\n") + QString(27, QLatin1Char(' '));
            width = 0;
        } else if (width > 0) {
            text += QLatin1Char(' ');
            ++width;
        }
        text += word;
        width += int(word.size());
    }
    return text;
}

QString helpText()
{
    QStringList items;
    for (ConfigPage::Kind kind : {ConfigPage::Android, ConfigPage::Linux, ConfigPage::WinCE}) {
        for (const QString &name : itemShortNames(kind)) {
            if (!items.contains(name))
                items << name;
        }
    }
    return QString::fromLatin1(kHelp)
        .arg(column(items), column(ConfigPage::hdmiResolutions()))
        .arg(FlashCommandLine::kDefaultStallTimeoutSeconds)
        .arg(column(cpuNames()));
}

std::optional<VirtualBoardChoice> virtualBoardChoice(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("^(\\d+)(?::(refuse|vanish|stall)@(\\d+))?$"));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    VirtualBoardChoice choice;
    choice.cpu = VirtualBoard::cpuFromName(match.captured(1));
    if (choice.cpu == TUsbDevCommand::CPU_Unknown)
        return std::nullopt;
    const QString fault = match.captured(2);
    choice.faultPacket = match.captured(3).toInt();
    if (fault == QLatin1String("refuse"))
        choice.fault = VirtualBoard::Fault::RefusePacket;
    else if (fault == QLatin1String("vanish"))
        choice.fault = VirtualBoard::Fault::VanishAfterPackets;
    else if (fault == QLatin1String("stall"))
        choice.fault = VirtualBoard::Fault::StallAfterPackets;
    return choice;
}

} // namespace

FlashCommandLine parseFlashCommandLine(const QStringList &arguments, const QString &programFolder)
{
    FlashCommandLine result;
    auto usage = [&result](const QString &text) {
        result.command = FlashCommandLine::Usage;
        result.message =
            QStringLiteral("ostrakit-flash: %1\nTry 'ostrakit-flash --help' for more information.\n").arg(text);
        return result;
    };

    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, QString());
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")}, QString());
    auto valued = [](const char *name) { return QCommandLineOption(QString::fromLatin1(name), QString(), QStringLiteral("V")); };
    auto flag = [](const char *name) { return QCommandLineOption(QString::fromLatin1(name)); };
    const QCommandLineOption system = valued("system"), images = valued("images"), only = valued("only"),
                             hdmi = valued("hdmi"), cmdline = valued("cmdline"), address = valued("address"),
                             board = valued("board"), wait = valued("wait"), stall = valued("stall-timeout"),
                             report = valued("report"), virtualBoard = valued("virtual-board"),
                             emmc = valued("emmc"), trace = valued("board-trace"),
                             delay = valued("virtual-delay"), store = valued("virtual-store");
    const QCommandLineOption lowFormat = flag("low-format"), skipCali = flag("skip-cali"),
                             install = flag("install"), all = flag("all"), json = flag("json");
    parser.addOptions({help, version, system, images, only, hdmi, cmdline, address, board, wait, stall, report,
                       virtualBoard, emmc, trace, delay, store, lowFormat, skipCali, install, all, json});

    if (!parser.parse(arguments))
        return usage(parser.errorText());
    if (parser.isSet(help)) {
        result.command = FlashCommandLine::Help;
        result.message = helpText();
        return result;
    }
    if (parser.isSet(version)) {
        result.command = FlashCommandLine::Version;
        result.message = QStringLiteral("ostrakit-flash %1\n").arg(commandLineVersion());
        return result;
    }

    QStringList positional = parser.positionalArguments();
    if (positional.isEmpty())
        return usage(QStringLiteral("no command given (list, flash, userbin or boot)"));
    const QString command = positional.takeFirst();
    if (command == QLatin1String("list"))
        result.command = FlashCommandLine::List;
    else if (command == QLatin1String("flash"))
        result.command = FlashCommandLine::Flash;
    else if (command == QLatin1String("userbin"))
        result.command = FlashCommandLine::UserBin;
    else if (command == QLatin1String("boot"))
        result.command = FlashCommandLine::Boot;
    else
        return usage(QStringLiteral("unknown command '%1'").arg(command));

    // Options that mean nothing to the command given are refused rather than ignored:
    // a script that passes them expects them to do something.
    const bool flashing = result.command == FlashCommandLine::Flash;
    const bool userBin = result.command == FlashCommandLine::UserBin;
    for (const auto &[option, allowed] : std::initializer_list<std::pair<const QCommandLineOption *, bool>>{
             {&system, flashing}, {&images, flashing}, {&only, flashing}, {&hdmi, flashing}, {&cmdline, flashing},
             {&skipCali, flashing}, {&lowFormat, flashing || userBin}, {&address, userBin}, {&install, userBin},
             {&report, flashing || userBin || result.command == FlashCommandLine::Boot}}) {
        if (parser.isSet(*option) && !allowed)
            return usage(QStringLiteral("--%1 does not go with '%2'").arg(option->names().constLast(), command));
    }

    FlashChoice &choice = result.choice;
    if (flashing) {
        const QString name = parser.value(system);
        static const QStringList systems{QStringLiteral("android"), QStringLiteral("linux"), QStringLiteral("wince")};
        if (name.isEmpty())
            return usage(QStringLiteral("flash needs --system android, linux or wince"));
        if (!systems.contains(name))
            return usage(QStringLiteral("unknown system '%1'; choose android, linux or wince").arg(name));
        choice.kind = ConfigPage::Kind(systems.indexOf(name));
        choice.imagesFolder = parser.isSet(images) ? parser.value(images) : programFolder + QStringLiteral("/images/");
        if (parser.isSet(only)) {
            const QStringList known = itemShortNames(choice.kind);
            for (const QString &item : parser.value(only).split(QLatin1Char(','), Qt::SkipEmptyParts)) {
                if (!known.contains(item.trimmed()))
                    return usage(QStringLiteral("no item '%1' on %2; choose from %3")
                                     .arg(item, name, known.join(QLatin1Char(','))));
                choice.only << item.trimmed();
            }
            if (choice.only.isEmpty())
                return usage(QStringLiteral("--only needs at least one item"));
        }
        choice.skipCali = parser.isSet(skipCali);
        if (parser.isSet(hdmi)) {
            if (!ConfigPage::hasHdmiOption(choice.kind))
                return usage(QStringLiteral("--hdmi is not offered for %1").arg(name));
            choice.hdmiResolution = parser.value(hdmi);
            if (!ConfigPage::hdmiResolutions().contains(choice.hdmiResolution))
                return usage(QStringLiteral("unknown HDMI mode '%1'; choose one of %2")
                                 .arg(choice.hdmiResolution, ConfigPage::hdmiResolutions().join(QLatin1Char(' '))));
        }
        if (parser.isSet(cmdline)) {
            if (!ConfigPage::hasCommandLineItem(choice.kind))
                return usage(QStringLiteral("--cmdline is not offered for %1").arg(name));
            choice.commandLineSet = true;
            choice.commandLine = parser.value(cmdline);
        }
    }
    if (userBin) {
        if (positional.isEmpty())
            return usage(QStringLiteral("userbin needs the FILE to download"));
        choice.userBinFile = positional.takeFirst();
        if (!parser.isSet(address))
            return usage(QStringLiteral("userbin needs --address HEX"));
        choice.ramAddress = parser.value(address);
        if (choice.ramAddress.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
            choice.ramAddress.remove(0, 2);
        // The page leaves the judging to the board; a script is better told before a
        // board is touched.
        if (!QRegularExpression(QStringLiteral("^[0-9A-Fa-f]+$")).match(choice.ramAddress).hasMatch())
            return usage(QStringLiteral("'%1' is not a hexadecimal address such as 30000000").arg(parser.value(address)));
        choice.kind = parser.isSet(install) ? ConfigPage::UserBinInstall : ConfigPage::UserBinRun;
        choice.mode = parser.isSet(install) ? ConfigPage::ActionMode::Install : ConfigPage::ActionMode::Run;
    }
    choice.lowFormat = parser.isSet(lowFormat);
    if (!positional.isEmpty())
        return usage(QStringLiteral("unexpected argument '%1'").arg(positional.constFirst()));

    auto seconds = [&](const QCommandLineOption &option, int fallback, int *out) {
        bool ok = true;
        *out = parser.isSet(option) ? parser.value(option).toInt(&ok) : fallback;
        return ok && *out >= 0;
    };
    if (!seconds(wait, 0, &result.waitSeconds))
        return usage(QStringLiteral("--wait needs a number of seconds"));
    if (!seconds(stall, FlashCommandLine::kDefaultStallTimeoutSeconds, &result.stallTimeoutSeconds))
        return usage(QStringLiteral("--stall-timeout needs a number of seconds"));
    if (!seconds(delay, 0, &result.virtualDelayUs))
        return usage(QStringLiteral("--virtual-delay needs a number of microseconds"));

    result.boards = parser.values(board);
    result.allBoards = parser.isSet(all);
    if (result.allBoards && !result.boards.isEmpty())
        return usage(QStringLiteral("--all and --board exclude each other"));
    result.json = parser.isSet(json);
    result.reportFile = parser.value(report);

    for (const QString &text : parser.values(virtualBoard)) {
        const std::optional<VirtualBoardChoice> board = virtualBoardChoice(text);
        if (!board)
            return usage(QStringLiteral("'%1' is no virtual board; give CPU[:FAULT@N], CPU one of %2, "
                                        "FAULT refuse, vanish or stall")
                             .arg(text, cpuNames().join(QStringLiteral(", "))));
        result.virtualBoards << *board;
    }
    const bool virtualBus = !result.virtualBoards.isEmpty();
    for (const QCommandLineOption *option : {&emmc, &trace, &delay, &store}) {
        if (parser.isSet(*option) && !virtualBus)
            return usage(QStringLiteral("--%1 needs --virtual-board").arg(option->names().constFirst()));
    }
    if (virtualBus && !result.boards.isEmpty())
        return usage(QStringLiteral("--board picks real boards; every virtual board is used"));
    if (parser.isSet(emmc)) {
        const QString size = parser.value(emmc).toUpper();
        if (!QRegularExpression(QStringLiteral("^[1-9][0-9]*GB?$")).match(size).hasMatch())
            return usage(QStringLiteral("'%1' is not an eMMC size such as 8GB").arg(parser.value(emmc)));
        result.emmcSize = size.endsWith(QLatin1Char('B')) ? size : size + QLatin1Char('B');
    }
    result.traceFile = parser.value(trace);
    result.virtualStore = parser.value(store);
    return result;
}
