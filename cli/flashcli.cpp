#include "cli/flashcli.h"

#include "boardlink/usbdevfs.h"
#include "boardlink/usbtransport.h"
#include "boardlink/virtualboard.h"
#include "flashing/flashchoice.h"

#include <QCryptographicHash>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QThread>

namespace {

struct FoundNode
{
    QString node;
    bool writable;
};

void collectNode(const char *node, const usb_ifc_info *info, void *context)
{
    static_cast<QList<FoundNode> *>(context)->append({QString::fromLocal8Bit(node), info->node_writable != 0});
}

QString resultWord(BoardSession::Result result)
{
    switch (result) {
    case BoardSession::Done:
        return QStringLiteral("done");
    case BoardSession::Failed:
        return QStringLiteral("failed");
    case BoardSession::Unusable:
        return QStringLiteral("unusable");
    case BoardSession::NotFound:
        break;
    }
    return QStringLiteral("not found");
}

double megabytesPerSecond(qint64 bytes, qint64 ms)
{
    return ms > 0 ? bytes * 1000.0 / ms / (1024.0 * 1024.0) : 0.0;
}

// Most runs on the bench take seconds: m:ss alone would call them all 0:00.
QString durationText(qint64 ms)
{
    if (ms < 60000)
        return QStringLiteral("%1 s").arg(ms / 1000.0, 0, 'f', 1);
    return TransferRate::formatDuration(int((ms + 500) / 1000));
}

QString sha256Of(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file))
        return QString();
    return QString::fromLatin1(hash.result().toHex());
}

QString nowText()
{
    return QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
}

} // namespace

FlashCli::FlashCli(const FlashCommandLine &options, Output output, FILE *out, FILE *err)
    : options(options), output(output), out(out), err(err)
{
    redrawTimer.setInterval(100);
    connect(&redrawTimer, &QTimer::timeout, this, [this] {
        if (dirty)
            redraw();
    });
}

FlashCli::~FlashCli()
{
    for (QThread *thread : threads) {
        thread->quit();
        thread->wait();
        delete thread;
    }
}

int FlashCli::exec()
{
    started = QDateTime::currentDateTimeUtc();
    const bool flashing = options.command == FlashCommandLine::Flash || options.command == FlashCommandLine::UserBin;
    if (flashing) {
        // Checked before any board is looked for, as the page does before it sends a
        // byte: every image there and not empty, every item asked for listed.
        const FlashPlan plan = options.choice.planFor(TUsbDevCommand::CPU_Unknown, QString());
        if (!plan.isValid()) {
            std::fprintf(err, "ostrakit-flash: %s\n", qPrintable(plan.error));
            return FlashExit::BadInput;
        }
    }

    if (!findBoards()) {
        const QString text = options.waitSeconds > 0
                                 ? QStringLiteral("no board in download mode within %1 s").arg(options.waitSeconds)
                                 : QStringLiteral("no board in download mode (give --wait SECONDS to wait for one)");
        if (output == Output::Json)
            jsonEvent({{QStringLiteral("event"), QStringLiteral("run-done")}, {QStringLiteral("exit"), FlashExit::NoBoard},
                   {QStringLiteral("error"), text}});
        else
            std::fprintf(err, "ostrakit-flash: %s\n", qPrintable(text));
        writeReport(FlashExit::NoBoard);
        return FlashExit::NoBoard;
    }
    runSessions();
    return finish();
}

bool FlashCli::findBoards()
{
    if (!options.virtualBoards.isEmpty()) {
        addVirtualBoards();
        return true;
    }
    QElapsedTimer waited;
    waited.start();
    for (;;) {
        QList<FoundNode> found;
        usb_list(match_android_fastboot_driver, collectNode, &found);
        QList<FoundNode> chosen;
        if (!options.boards.isEmpty()) {
            for (const QString &node : options.boards) {
                for (const FoundNode &candidate : found) {
                    if (QFileInfo(candidate.node).canonicalFilePath() == QFileInfo(node).canonicalFilePath())
                        chosen << candidate;
                }
            }
        } else if (options.allBoards || options.command == FlashCommandLine::List) {
            chosen = found;
        } else if (!found.isEmpty()) {
            // As the window does: the first board in download mode.
            chosen << found.constFirst();
        }
        const bool complete = options.boards.isEmpty() ? !chosen.isEmpty() : chosen.size() == options.boards.size();
        if (complete || waited.elapsed() >= options.waitSeconds * 1000LL) {
            for (const FoundNode &node : chosen) {
                Board board;
                board.node = node.node;
                board.transport = std::make_shared<UsbDevfsTransport>(node.node.toLocal8Bit());
                if (!node.writable)
                    board.problem = QStringLiteral("no write access: install the udev rule "
                                                   "70-ostrakit-halvorn.rules (README, Access to the board)");
                boards << board;
            }
            if (!options.boards.isEmpty() && chosen.size() < options.boards.size()) {
                for (const QString &node : options.boards) {
                    bool seen = false;
                    for (const Board &board : boards)
                        seen = seen || QFileInfo(board.node).canonicalFilePath() == QFileInfo(node).canonicalFilePath();
                    if (!seen)
                        std::fprintf(err, "ostrakit-flash: %s: no board in download mode there\n", qPrintable(node));
                }
                return false;
            }
            return !boards.isEmpty();
        }
        QThread::msleep(200);
    }
}

void FlashCli::addVirtualBoards()
{
    for (int i = 0; i < options.virtualBoards.size(); ++i) {
        const VirtualBoardChoice &choice = options.virtualBoards.at(i);
        auto virtualBoard = std::make_shared<VirtualBoard>(choice.cpu);
        if (!options.emmcSize.isEmpty())
            virtualBoard->setEmmcSize(options.emmcSize);
        virtualBoard->setFault(choice.fault, choice.faultPacket);
        virtualBoard->setReplyDelayUs(options.virtualDelayUs);
        virtualBoard->setKeepData(!options.virtualStore.isEmpty());
        if (!options.traceFile.isEmpty())
            virtualBoard->setTraceFile(i == 0 ? options.traceFile : QStringLiteral("%1.%2").arg(options.traceFile).arg(i + 1));
        Board board;
        board.node = QStringLiteral("virtual-%1").arg(i + 1);
        board.transport = virtualBoard;
        board.virtualBoard = virtualBoard;
        boards << board;
    }
}

void FlashCli::runSessions()
{
    BoardJob job;
    switch (options.command) {
    case FlashCommandLine::Flash:
    case FlashCommandLine::UserBin:
        job.kind = BoardJob::Flash;
        break;
    case FlashCommandLine::Boot:
        job.kind = BoardJob::Boot;
        break;
    default:
        job.kind = BoardJob::Identify;
        break;
    }
    job.choice = options.choice;

    QEventLoop events;
    loop = &events;
    for (int i = 0; i < boards.size(); ++i) {
        Board &board = boards[i];
        if (!board.problem.isEmpty()) {
            sessionFinished(i, BoardSession::Unusable, board.problem, 0, 0);
            continue;
        }
        auto *thread = new QThread;
        thread->setObjectName(board.node);
        auto *session = new BoardSession(i, board.transport, job, options.stallTimeoutSeconds * 1000);
        session->moveToThread(thread);
        connect(thread, &QThread::started, session, &BoardSession::begin);
        connect(thread, &QThread::finished, session, &QObject::deleteLater);
        connect(session, &BoardSession::identified, this, &FlashCli::identified);
        connect(session, &BoardSession::stepStarted, this, &FlashCli::stepStarted);
        connect(session, &BoardSession::progress, this, &FlashCli::progress);
        connect(session, &BoardSession::logLine, this, &FlashCli::logLine);
        connect(session, &BoardSession::stepFinished, this, &FlashCli::stepFinished);
        connect(session, &BoardSession::finished, this, &FlashCli::sessionFinished);
        threads << thread;
        ++running;
    }
    if (running == 0)
        return;
    if (output == Output::Terminal)
        redrawTimer.start();
    for (QThread *thread : threads)
        thread->start();
    events.exec();
    loop = nullptr;
    redrawTimer.stop();
    for (QThread *thread : threads) {
        thread->quit();
        thread->wait();
    }
}

int FlashCli::finish()
{
    if (output == Output::Terminal)
        redraw();
    bool failed = false;
    bool unusable = false;
    bool missing = false;
    for (const Board &board : boards) {
        failed = failed || board.result == BoardSession::Failed;
        unusable = unusable || board.result == BoardSession::Unusable;
        missing = missing || board.result == BoardSession::NotFound;
    }
    const int exitCode = failed      ? FlashExit::BoardFailed
                         : unusable ? FlashExit::BoardUnusable
                         : missing  ? FlashExit::NoBoard
                                    : FlashExit::Done;
    if (options.command == FlashCommandLine::List)
        printList();
    else
        printSummary();
    if (output == Output::Json) {
        QJsonArray summary;
        for (const Board &board : boards) {
            summary.append(QJsonObject{{QStringLiteral("board"), board.node},
                                       {QStringLiteral("result"), resultWord(board.result)},
                                       {QStringLiteral("reason"), board.reason},
                                       {QStringLiteral("seconds"), board.ms / 1000.0},
                                       {QStringLiteral("mbps"), megabytesPerSecond(board.bytes, board.ms)}});
        }
        jsonEvent({{QStringLiteral("event"), QStringLiteral("run-done")},
               {QStringLiteral("exit"), exitCode},
               {QStringLiteral("boards"), summary}});
    }
    storeVirtualImages();
    writeReport(exitCode);
    return exitCode;
}

// ---------------------------------------------------------------------------
// What the sessions report

void FlashCli::identified(int index, int cpu, const QString &hwInfo)
{
    Board &board = boards[index];
    board.cpu = cpu;
    board.hwInfo = hwInfo;
    const QString processor = TUsbDevCommand::cpuName(TUsbDevCommand::TBoardCPU(cpu));
    if (options.command == FlashCommandLine::List)
        return; // the listing says it all at the end
    if (output == Output::Json) {
        jsonEvent({{QStringLiteral("event"), QStringLiteral("board")},
               {QStringLiteral("board"), board.node},
               {QStringLiteral("processor"), processor},
               {QStringLiteral("ram"), hardwareValue(hwInfo, QStringLiteral("RAM"))},
               {QStringLiteral("emmc"), hardwareValue(hwInfo, QStringLiteral("EMMC"))}});
    } else {
        line(QStringLiteral("%1: found a %2 board").arg(board.node, processor.isEmpty() ? QStringLiteral("unknown") : processor));
    }
}

void FlashCli::stepStarted(int index, int step, int steps, const QString &key, const QString &value,
                           const QString &status)
{
    Board &board = boards[index];
    board.step = step;
    board.steps = steps;
    board.status = status;
    board.position = 0;
    board.total = 0;
    board.transferClock.invalidate();
    board.currentStep = QJsonObject{{QStringLiteral("step"), step + 1},
                                    {QStringLiteral("item"), key},
                                    {QStringLiteral("value"), value},
                                    {QStringLiteral("start"), nowText()}};
    board.stepLog = QJsonArray();
    if (output == Output::Json)
        jsonEvent({{QStringLiteral("event"), QStringLiteral("step")}, {QStringLiteral("board"), board.node},
               {QStringLiteral("step"), step + 1}, {QStringLiteral("steps"), steps},
               {QStringLiteral("item"), key}, {QStringLiteral("status"), status}});
    else if (output == Output::Plain)
        line(QStringLiteral("%1: %2").arg(board.node, status));
    dirty = true;
}

void FlashCli::progress(int index, qint64 position, qint64 total)
{
    Board &board = boards[index];
    if (position == 0 || !board.transferClock.isValid()) {
        board.transferClock.start();
        board.rate.start(total, 0);
    }
    board.position = position;
    board.total = total;
    board.rate.update(position, board.transferClock.elapsed());
    dirty = true;
    const int percent = total > 0 ? int(position * 100 / total) : 0;
    if (output == Output::Json) {
        jsonEvent({{QStringLiteral("event"), QStringLiteral("progress")}, {QStringLiteral("board"), board.node},
               {QStringLiteral("step"), board.step + 1}, {QStringLiteral("bytes"), position},
               {QStringLiteral("total"), total}, {QStringLiteral("percent"), percent},
               {QStringLiteral("bytesPerSecond"), board.rate.bytesPerSecond()}});
    } else if (output == Output::Plain) {
        // A log is read later: one progress line a second per board is plenty.
        if (board.plainProgressClock.isValid() && board.plainProgressClock.elapsed() < 1000)
            return;
        board.plainProgressClock.start();
        const QString rate = board.rate.text();
        line(QStringLiteral("%1: step %2/%3 %4%%5").arg(board.node).arg(board.step + 1).arg(board.steps).arg(percent)
                 .arg(rate.isEmpty() ? QString() : QStringLiteral(" ") + rate));
    }
}

void FlashCli::logLine(int index, int level, const QString &text)
{
    Board &board = boards[index];
    board.stepLog.append(QJsonObject{{QStringLiteral("level"), level}, {QStringLiteral("text"), text}});
    if (output == Output::Json)
        jsonEvent({{QStringLiteral("event"), QStringLiteral("log")}, {QStringLiteral("board"), board.node},
               {QStringLiteral("level"), level}, {QStringLiteral("text"), text}});
    // On a terminal the live lines show the progress; what stays above them is what
    // went wrong. A log or a report keeps every line.
    else if (output == Output::Plain || level == 1)
        line(QStringLiteral("%1: %2%3").arg(board.node, level == 1 ? QStringLiteral("error: ") : QString(), text));
}

void FlashCli::stepFinished(int index, int step, bool ok)
{
    Board &board = boards[index];
    board.currentStep.insert(QStringLiteral("end"), nowText());
    board.currentStep.insert(QStringLiteral("outcome"), ok ? QStringLiteral("done") : QStringLiteral("failed"));
    board.currentStep.insert(QStringLiteral("log"), board.stepLog);
    board.stepRecords.append(board.currentStep);
    board.stepLog = QJsonArray();
    if (output == Output::Json)
        jsonEvent({{QStringLiteral("event"), QStringLiteral("step-done")}, {QStringLiteral("board"), board.node},
               {QStringLiteral("step"), step + 1}, {QStringLiteral("ok"), ok}});
}

void FlashCli::sessionFinished(int index, BoardSession::Result result, const QString &reason, qint64 bytes, qint64 ms)
{
    Board &board = boards[index];
    if (board.finished)
        return;
    board.finished = true;
    board.result = result;
    board.reason = reason;
    board.bytes = bytes;
    board.ms = ms;
    dirty = true;
    if (options.command != FlashCommandLine::List) {
        if (output == Output::Json)
            jsonEvent({{QStringLiteral("event"), QStringLiteral("done")}, {QStringLiteral("board"), board.node},
                   {QStringLiteral("result"), resultWord(result)}, {QStringLiteral("reason"), reason},
                   {QStringLiteral("seconds"), ms / 1000.0}});
        else if (result == BoardSession::Done)
            line(QStringLiteral("%1: all operations completed").arg(board.node));
        else
            line(QStringLiteral("%1: %2: %3").arg(board.node, resultWord(result).toUpper(), reason));
    }
    if (board.problem.isEmpty() && --running == 0 && loop)
        loop->quit();
}

// ---------------------------------------------------------------------------
// Output

void FlashCli::jsonEvent(const QJsonObject &object)
{
    std::fputs(QJsonDocument(object).toJson(QJsonDocument::Compact).constData(), out);
    std::fputc('\n', out);
    std::fflush(out);
}

void FlashCli::line(const QString &text)
{
    if (output == Output::Terminal && liveLines > 0) {
        // Up over the live lines, and clear them: the line goes where they were.
        std::fprintf(out, "\x1b[%dA\r\x1b[J", liveLines);
        liveLines = 0;
        dirty = true;
    }
    std::fprintf(out, "%s\n", qPrintable(text));
    std::fflush(out);
}

QString FlashCli::liveLine(const Board &board) const
{
    QString text = board.node.leftJustified(22) + QLatin1Char(' ');
    if (board.finished) {
        if (board.result == BoardSession::Done)
            return text + QStringLiteral("done in %1, %2 MB/s")
                              .arg(durationText(board.ms))
                              .arg(megabytesPerSecond(board.bytes, board.ms), 0, 'f', 1);
        return text + resultWord(board.result).toUpper() + QStringLiteral(": ") + board.reason;
    }
    if (board.step < 0)
        return text + QStringLiteral("greeting the board ...");
    text += QStringLiteral("step %1/%2 ").arg(board.step + 1).arg(board.steps);
    QString item = board.status;
    const int paren = item.indexOf(QLatin1String(" (Step"));
    if (paren > 0)
        item.truncate(paren);
    text += item;
    if (board.total > 0) {
        text += QStringLiteral("  %1%").arg(board.position * 100 / board.total);
        const QString rate = board.rate.text();
        if (!rate.isEmpty())
            text += QStringLiteral("  ") + rate;
    }
    return text;
}

void FlashCli::redraw()
{
    dirty = false;
    if (output != Output::Terminal || options.command == FlashCommandLine::List)
        return;
    if (liveLines > 0)
        std::fprintf(out, "\x1b[%dA", liveLines);
    for (const Board &board : boards)
        std::fprintf(out, "\r\x1b[K%s\n", qPrintable(liveLine(board).left(qMax(20, terminalWidth - 1))));
    liveLines = int(boards.size());
    std::fflush(out);
}

void FlashCli::printSummary()
{
    if (output == Output::Json)
        return;
    liveLines = 0;
    std::fprintf(out, "\n%-22s %-10s %8s %8s\n", "BOARD", "RESULT", "TIME", "MB/s");
    for (const Board &board : boards) {
        std::fprintf(out, "%-22s %-10s %8s %8.1f%s%s\n", qPrintable(board.node), qPrintable(resultWord(board.result)),
                     qPrintable(durationText(board.ms)),
                     megabytesPerSecond(board.bytes, board.ms), board.reason.isEmpty() ? "" : "  ",
                     qPrintable(board.reason));
    }
    std::fflush(out);
}

void FlashCli::printList()
{
    if (output == Output::Json) {
        for (const Board &board : boards) {
            jsonEvent({{QStringLiteral("event"), QStringLiteral("listed")},
                   {QStringLiteral("board"), board.node},
                   {QStringLiteral("processor"), TUsbDevCommand::cpuName(TUsbDevCommand::TBoardCPU(board.cpu))},
                   {QStringLiteral("ram"), hardwareValue(board.hwInfo, QStringLiteral("RAM"))},
                   {QStringLiteral("emmc"), hardwareValue(board.hwInfo, QStringLiteral("EMMC"))},
                   {QStringLiteral("usable"), board.result == BoardSession::Done},
                   {QStringLiteral("reason"), board.reason}});
        }
        return;
    }
    std::fprintf(out, "%-22s %-9s %-14s %-8s %s\n", "BOARD", "PROCESSOR", "RAM", "EMMC", "USABLE");
    for (const Board &board : boards) {
        const QString usable = board.result == BoardSession::Done ? QStringLiteral("yes")
                                                                  : QStringLiteral("no: ") + board.reason;
        auto orDash = [](const QString &text) { return text.isEmpty() ? QStringLiteral("-") : text; };
        std::fprintf(out, "%-22s %-9s %-14s %-8s %s\n", qPrintable(board.node),
                     qPrintable(orDash(TUsbDevCommand::cpuName(TUsbDevCommand::TBoardCPU(board.cpu)))),
                     qPrintable(orDash(hardwareValue(board.hwInfo, QStringLiteral("RAM")))),
                     qPrintable(orDash(hardwareValue(board.hwInfo, QStringLiteral("EMMC")))), qPrintable(usable));
    }
    std::fflush(out);
}

void FlashCli::writeReport(int exitCode)
{
    if (options.reportFile.isEmpty())
        return;
    QJsonArray boardRecords;
    for (const Board &board : boards) {
        boardRecords.append(QJsonObject{
            {QStringLiteral("node"), board.node},
            {QStringLiteral("processor"), TUsbDevCommand::cpuName(TUsbDevCommand::TBoardCPU(board.cpu))},
            {QStringLiteral("ram"), hardwareValue(board.hwInfo, QStringLiteral("RAM"))},
            {QStringLiteral("emmc"), hardwareValue(board.hwInfo, QStringLiteral("EMMC"))},
            {QStringLiteral("result"), resultWord(board.result)},
            {QStringLiteral("reason"), board.reason},
            {QStringLiteral("seconds"), board.ms / 1000.0},
            {QStringLiteral("steps"), board.stepRecords}});
    }
    // The images the boards were sent: a board's own plan may differ from the next one's
    // (the user data follows the eMMC size), so they are taken from the steps.
    QJsonArray imageRecords;
    QStringList seen;
    for (const Board &board : boards) {
        for (const QJsonValue &step : board.stepRecords) {
            const QString item = step.toObject().value(QStringLiteral("item")).toString();
            const QFileInfo file(step.toObject().value(QStringLiteral("value")).toString());
            if (item == ConfigPage::kCommandLineLabel || item == FlashPlan::kLowFormatKey
                || item == FlashPlan::kLcdTypeKey || item == FlashPlan::kRamAddressKey || !file.isFile()
                || seen.contains(file.absoluteFilePath()))
                continue;
            seen << file.absoluteFilePath();
            imageRecords.append(QJsonObject{{QStringLiteral("item"), item},
                                            {QStringLiteral("path"), file.absoluteFilePath()},
                                            {QStringLiteral("size"), file.size()},
                                            {QStringLiteral("sha256"), sha256Of(file.filePath())}});
        }
    }
    static const char *const commands[] = {"", "", "", "list", "flash", "userbin", "boot"};
    const QJsonObject record{{QStringLiteral("start"), started.toString(Qt::ISODateWithMs)},
                             {QStringLiteral("end"), nowText()},
                             {QStringLiteral("command"), QString::fromLatin1(commands[options.command])},
                             {QStringLiteral("images"), imageRecords},
                             {QStringLiteral("boards"), boardRecords},
                             {QStringLiteral("exit"), exitCode}};
    QFile file(options.reportFile);
    // One line per run, appended: a production line keeps one file for a whole shift.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append)
        || file.write(QJsonDocument(record).toJson(QJsonDocument::Compact) + '\n') < 0)
        std::fprintf(err, "ostrakit-flash: cannot write the report %s: %s\n", qPrintable(options.reportFile),
                     qPrintable(file.errorString()));
}

void FlashCli::storeVirtualImages()
{
    if (options.virtualStore.isEmpty())
        return;
    QDir().mkpath(options.virtualStore);
    for (const Board &board : boards) {
        if (!board.virtualBoard)
            continue;
        for (const QByteArray &tag : board.virtualBoard->receivedTags()) {
            QFile file(QStringLiteral("%1/%2-%3").arg(options.virtualStore, board.node, QString::fromLatin1(tag)));
            if (file.open(QIODevice::WriteOnly))
                file.write(board.virtualBoard->image(tag));
        }
    }
}
