#include "boardlink/virtualboard.h"

#include <QThread>

#include <QFile>

namespace {

const char *const kDownloadTags[] = {"hlvn", "kern", "rmdk", "cmdl", "fsig", "ufsi", "lfsi",
                                     "fuig", "celg", "cenk", "ubin", "rbin"};
const char *const kFormatTags[] = {"lfmt", "fmtu", "fmtl"};
const QByteArray kGarbage("\xfe\x13?x\x00\x81", 6);

template <size_t N>
bool isOneOf(const QByteArray &tag, const char *const (&list)[N])
{
    for (const char *candidate : list) {
        if (tag == candidate)
            return true;
    }
    return false;
}

// The "CPU:" line text of each processor, as the boot loader prints it.
QString processorLine(TUsbDevCommand::TBoardCPU cpu)
{
    switch (cpu) {
    case TUsbDevCommand::CPU_210: return QStringLiteral("CPU: S5PV210 @ 1GHz");
    case TUsbDevCommand::CPU_6410: return QStringLiteral("CPU: S3C6410 @ 667MHz");
    case TUsbDevCommand::CPU_2440: return QStringLiteral("CPU: S3C2440 @ 400MHz");
    case TUsbDevCommand::CPU_2451: return QStringLiteral("CPU: S3C2451 @ 533MHz");
    case TUsbDevCommand::CPU_2416: return QStringLiteral("CPU: S3C2416 @ 400MHz");
    case TUsbDevCommand::CPU_4412: return QStringLiteral("CPU: Exynos4412 Quad @ 1.4GHz");
    case TUsbDevCommand::CPU_5250: return QStringLiteral("CPU: Exynos5250 Dual @ 1.7GHz");
    case TUsbDevCommand::CPU_3358: return QStringLiteral("CPU: AM3358 @ 800MHz");
    default: return QStringLiteral("CPU: unknown");
    }
}

} // namespace

VirtualBoard::VirtualBoard(TUsbDevCommand::TBoardCPU cpu)
    : boardCpu(cpu)
{
    hwLines = defaultHardwareLines(boardCpu, emmcSize);
}

VirtualBoard::~VirtualBoard() = default;

TUsbDevCommand::TBoardCPU VirtualBoard::cpuFromName(const QString &name)
{
    for (int value = TUsbDevCommand::CPU_210; value <= TUsbDevCommand::CPU_3358; ++value) {
        const auto cpu = TUsbDevCommand::TBoardCPU(value);
        if (name == TUsbDevCommand::cpuName(cpu))
            return cpu;
    }
    return TUsbDevCommand::CPU_Unknown;
}

QStringList VirtualBoard::defaultHardwareLines(TUsbDevCommand::TBoardCPU cpu, const QString &emmcSize)
{
    QStringList result;
    result << QStringLiteral("Halvorn 2.6 virtual board, USB download mode");
    result << processorLine(cpu);
    const bool bigBoard = cpu == TUsbDevCommand::CPU_4412 || cpu == TUsbDevCommand::CPU_5250
                          || cpu == TUsbDevCommand::CPU_210;
    result << (bigBoard ? QStringLiteral("RAM: 1024MB DDR3") : QStringLiteral("RAM: 256MB DDR2"));
    if (cpu == TUsbDevCommand::CPU_4412)
        result << QStringLiteral("EMMC: %1").arg(emmcSize);
    else if (cpu == TUsbDevCommand::CPU_5250)
        result << QStringLiteral("EMMC: 16GB");
    else
        result << QStringLiteral("NAND: 1GB SLC");
    return result;
}

void VirtualBoard::setCpu(TUsbDevCommand::TBoardCPU cpu)
{
    boardCpu = cpu;
    if (!customHwLines)
        hwLines = defaultHardwareLines(boardCpu, emmcSize);
}

void VirtualBoard::setEmmcSize(const QString &size)
{
    emmcSize = size;
    if (!customHwLines)
        hwLines = defaultHardwareLines(boardCpu, emmcSize);
}

void VirtualBoard::setHardwareLines(const QStringList &newLines)
{
    hwLines = newLines;
    customHwLines = true;
}

void VirtualBoard::setFault(Fault fault, int packet)
{
    currentFault = fault;
    faultPacket = packet;
}

void VirtualBoard::plugIn()
{
    if (present)
        return;
    present = true;
    opened = false;
    leavesAfterReply = false;
    state = State::Idle;
    trace(QStringLiteral("-- plugged in"));
}

void VirtualBoard::unplug()
{
    if (!present)
        return;
    present = false;
    replyPending = false;
    pendingReply.clear();
    trace(QStringLiteral("-- pulled out"));
}

void VirtualBoard::leaveDownloadMode()
{
    ++leftCount;
    present = false;
    replyPending = false;
    state = State::Idle;
    trace(QStringLiteral("-- left download mode"));
}

void VirtualBoard::forgetReceived()
{
    images.clear();
    receivedSizes.clear();
    tagOrder.clear();
    formats.clear();
    lastLcdType.clear();
    lastUserBinAddress.clear();
    boots = 0;
    greetings = 0;
}

bool VirtualBoard::open()
{
    if (!present)
        return false;
    opened = true;
    hasStalled = false;
    return true;
}

int VirtualBoard::write(const char *data, int len)
{
    if (!opened || !present)
        return -1;
    if (currentFault == Fault::VanishAfterPackets && state == State::Receiving && packetsAccepted >= faultPacket) {
        flushPacketRun();
        trace(QStringLiteral("> (%1 bytes, not taken)").arg(len));
        unplug();
        return -1;
    }
    if (len > 0 && data[0] == 'A' && state == State::Receiving) {
        pendingReply = answerPacket(data + 1, len - 1);
    } else {
        const QByteArray command(data, len);
        flushPacketRun();
        const bool dataOutOfPlace = command.startsWith('A') && command.size() > 16;
        trace(dataOutOfPlace ? QStringLiteral("> A[%1 bytes] outside a download").arg(len - 1)
                             : QStringLiteral("> ") + printable(command));
        pendingReply = answer(command);
        trace(QStringLiteral("< ") + printable(pendingReply));
    }
    replyPending = present;
    return len;
}

int VirtualBoard::read(char *buffer, int len)
{
    if (currentFault == Fault::StallAfterPackets && state == State::Receiving && packetsAccepted >= faultPacket
        && present) {
        // A hung board: nothing comes back until the host gives up. Without a time-out
        // a real host would wait for ever; a minute is as good as that here.
        flushPacketRun();
        trace(QStringLiteral("< (no answer)"));
        QThread::msleep(stallTimeoutMs > 0 ? unsigned(stallTimeoutMs) : 60000u);
        hasStalled = true;
        replyPending = false;
        return -1;
    }
    if (replyDelayUs > 0 && replyPending)
        QThread::usleep(unsigned(replyDelayUs));
    if (!opened || !replyPending) {
        // The board has gone between the command and its answer.
        if (!present)
            return -1;
        return 0;
    }
    const int n = qMin(len, int(pendingReply.size()));
    memcpy(buffer, pendingReply.constData(), size_t(n));
    replyPending = false;
    if (leavesAfterReply) {
        leavesAfterReply = false;
        leaveDownloadMode();
    }
    return n;
}

QByteArray VirtualBoard::answer(const QByteArray &command)
{
    if (command == "SKIPINFO") {
        ++greetings;
        return QByteArray("O");
    }
    if (command == "GETINFO") {
        if (state == State::Writing && currentFault == Fault::GarbageIdleReply) {
            state = State::Idle;
            return kGarbage;
        }
        if (state == State::Writing && currentFault == Fault::ShortIdleReply) {
            state = State::Idle;
            return QByteArray("1");
        }
        return answerIdlePoll();
    }
    if (command.size() == 7 && command.startsWith("GETHW ") && command.at(6) >= '0' && command.at(6) <= '9') {
        const int index = command.at(6) - '0';
        if (index < hwLines.size())
            return ' ' + hwLines.at(index).toLatin1();
        return QByteArray("E");
    }
    if (command.startsWith("KOVA "))
        return answerKova(command);
    return QByteArray("E");
}

QByteArray VirtualBoard::answerKova(const QByteArray &command)
{
    const QList<QByteArray> parts = command.split(' ');
    const QByteArray tag = parts.value(1);
    // A new command abandons a download that was broken off; a board busy writing to
    // flash takes nothing new until it is done.
    if (state == State::Receiving)
        state = State::Idle;
    const bool idle = state == State::Idle;

    if (parts.size() == 3 && isOneOf(tag, kFormatTags) && parts.at(2).isEmpty()) {
        if (!idle || currentFault == Fault::RefuseCommands)
            return QByteArray("E");
        formats << tag;
        return QByteArray("o");
    }
    if (tag == "boot" && command == "KOVA boot ") {
        ++boots;
        leavesAfterReply = true;
        return QByteArray("o");
    }
    if (tag == "lcdt" || tag == "abin") {
        const QByteArray value = command.mid(10);
        if (!idle || currentFault == Fault::RefuseCommands || value.isEmpty())
            return QByteArray("E");
        (tag == "lcdt" ? lastLcdType : lastUserBinAddress) = value;
        return QByteArray("o");
    }
    if (parts.size() != 3 || !isOneOf(tag, kDownloadTags) || !idle)
        return QByteArray("E");

    // The size is plain lower-case hexadecimal, as the host tool writes it.
    const QByteArray sizeText = parts.at(2);
    bool ok = false;
    const qint64 size = sizeText.toLongLong(&ok, 16);
    if (!ok || size <= 0 || sizeText != QByteArray::number(size, 16) || currentFault == Fault::RefuseHeader)
        return QByteArray("E");
    if (currentFault == Fault::ShortHeaderReply)
        return QByteArray();

    state = State::Receiving;
    currentTag = tag;
    announced = size;
    received = 0;
    packetsAccepted = 0;
    if (!tagOrder.contains(tag))
        tagOrder << tag;
    QByteArray &stored = images[tag];
    stored.clear();
    if (keepData)
        stored.reserve(size);
    receivedSizes[tag] = 0;
    return QByteArray("O");
}

QByteArray VirtualBoard::answerPacket(const char *data, int len)
{
    const int number = packetsAccepted + 1;
    auto refuse = [&](const QByteArray &reply) {
        flushPacketRun();
        trace(QStringLiteral("> A[%1 bytes] #%2").arg(len).arg(number));
        trace(QStringLiteral("< ") + printable(reply));
        state = State::Idle;
        return reply;
    };

    if (currentFault == Fault::GarbagePacketReply)
        return refuse(kGarbage);
    if (currentFault == Fault::RefusePacket && number == faultPacket)
        return refuse(QByteArray("E"));
    if (len <= 0 || received + len > announced)
        return refuse(QByteArray("E"));

    if (keepData)
        images[currentTag].append(data, len);
    received += len;
    receivedSizes[currentTag] = received;
    packetsAccepted = number;
    ++runPackets;
    runBytes += len;

    if (received < announced)
        return QByteArray("O");

    flushPacketRun();
    if (currentFault == Fault::BigOOnLastPacket) {
        trace(QStringLiteral("< O (last packet)"));
        return QByteArray("O");
    }
    trace(QStringLiteral("< o"));
    state = State::Writing;
    roundsLeft = writingRounds;
    if (currentTag == "rbin") {
        // The user bin starts from RAM at once: the board leaves download mode.
        state = State::Idle;
        leavesAfterReply = true;
    }
    return QByteArray("o");
}

QByteArray VirtualBoard::answerIdlePoll()
{
    if (state == State::Receiving) {
        // A poll in the middle of a download: the data stream is broken off.
        state = State::Idle;
        return QByteArray("E");
    }
    if (state != State::Writing)
        return QByteArray("1 ");
    if (roundsLeft > 0) {
        const int done = 100 * (writingRounds - roundsLeft + 1) / (writingRounds + 1);
        --roundsLeft;
        if (!writingText.isEmpty())
            return "0 " + writingText;
        return "0 Writing " + currentTag + " to flash ... " + QByteArray::number(done) + '%';
    }
    state = State::Idle;
    return "1 " + currentTag + " written, " + QByteArray::number(received) + " bytes";
}

void VirtualBoard::flushPacketRun()
{
    if (runPackets == 0)
        return;
    const int packets = runPackets;
    const qint64 bytes = runBytes;
    runPackets = 0;
    runBytes = 0;
    trace(QStringLiteral("> A x %1 packets, %2 bytes of %3 (each answered O)")
              .arg(packets)
              .arg(bytes)
              .arg(QString::fromLatin1(currentTag)));
}

QStringList VirtualBoard::transcript() const
{
    QStringList result = lines;
    if (runPackets > 0)
        result << QStringLiteral("> A x %1 packets, %2 bytes of %3 (each answered O)")
                      .arg(runPackets)
                      .arg(runBytes)
                      .arg(QString::fromLatin1(currentTag));
    return result;
}

void VirtualBoard::clearTranscript()
{
    lines.clear();
    runPackets = 0;
    runBytes = 0;
}

bool VirtualBoard::setTraceFile(const QString &path)
{
    traceFile.reset();
    if (path.isEmpty())
        return true;
    auto file = std::make_unique<QFile>(path);
    if (!file->open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text))
        return false;
    traceFile = std::move(file);
    return true;
}

void VirtualBoard::trace(const QString &line)
{
    // The in-memory transcript is for tests and short sessions; a long session writes
    // to the trace file and keeps only the recent past here.
    constexpr int kKeptLines = 20000;
    if (lines.size() >= kKeptLines)
        lines.remove(0, kKeptLines / 2);
    lines << line;
    if (traceFile) {
        const QByteArray bytes = line.toUtf8() + '\n';
        if (traceFile->write(bytes) != bytes.size() || !traceFile->flush()) {
            // A full disk would otherwise fail every line; once is enough to say so, and
            // the transcript in memory goes on.
            qWarning("ostrakit: cannot write the board trace to %s: %s", qPrintable(traceFile->fileName()),
                     qPrintable(traceFile->errorString()));
            traceFile.reset();
        }
    }
}

QString VirtualBoard::printable(const QByteArray &bytes)
{
    QString text;
    for (char c : bytes) {
        const auto u = uchar(c);
        if (u >= 0x20 && u < 0x7f)
            text += QLatin1Char(c);
        else
            text += QStringLiteral("\\x%1").arg(u, 2, 16, QLatin1Char('0'));
    }
    return QLatin1Char('"') + text + QLatin1Char('"');
}
