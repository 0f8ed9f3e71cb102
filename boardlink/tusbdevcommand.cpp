#include "boardlink/tusbdevcommand.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTimer>

#include <cstring>
#include <limits>

namespace {

// Replies are compared as C strings: trailing zero bytes do not count, extra
// characters do.
bool replyIs(const QByteArray &reply, const char *expected)
{
    return std::strcmp(reply.constData(), expected) == 0;
}

// The text a reply carries, up to its first zero byte.
QString replyText(const char *bytes)
{
    return QString::fromLatin1(bytes);
}

constexpr int kLargeChunk = 65534;

} // namespace

TUsbDevCommand::TUsbDevCommand(QObject *parent)
    : TUsbDevice(parent)
{
    // Our own bookkeeping must run before any view hears about the outcome, so these
    // two connections are made before anybody else can connect.
    connect(this, &TUsbDevCommand::SendFinished, this, &TUsbDevCommand::slotSendFinished);
    connect(this, &TUsbDevice::Connected, this, &TUsbDevCommand::HwInfoPooling);
    nextPacket = new QTimer(this);
    nextPacket->setSingleShot(true);
    nextPacket->setInterval(0);
    connect(nextPacket, &QTimer::timeout, this, &TUsbDevCommand::SendLoop);
    SetCPU(CPU_Unknown);
    os = OS_None;
}

bool TUsbDevCommand::IsBusy()
{
    return busy;
}

QString TUsbDevCommand::cpuName(TBoardCPU cpu)
{
    static const char *const names[] = {"", "210", "6410", "2440", "2451", "2416", "4412", "5250", "3358"};
    if (cpu < CPU_Unknown || cpu > CPU_3358)
        return QString();
    return QString::fromLatin1(names[cpu]);
}

void TUsbDevCommand::RecognizeCPU(QString text)
{
    for (int value = CPU_210; value <= CPU_3358; ++value) {
        const auto candidate = TBoardCPU(value);
        if (text.contains(cpuName(candidate), Qt::CaseSensitive))
            SetCPU(candidate);
    }
}

void TUsbDevCommand::SetCPU(TBoardCPU newCpu)
{
    cpu = newCpu;
    if (cpu == CPU_Unknown) {
        packetSize = 63;
        return;
    }
    Q_EMIT CpuRecognized();
    switch (cpu) {
    case CPU_210:
    case CPU_6410:
    case CPU_2451:
    case CPU_2416:
    case CPU_4412:
    case CPU_5250:
    case CPU_3358:
        packetSize = 512;
        break;
    default:
        packetSize = 63;
        break;
    }
}

QString TUsbDevCommand::unsendableCharacters(const QString &text)
{
    QString found;
    for (qsizetype i = 0; i < text.size(); ++i) {
        // A character beyond the basic plane is two code units; it is named whole.
        const qsizetype length = text.at(i).isHighSurrogate() && i + 1 < text.size() ? 2 : 1;
        const QStringView character = QStringView(text).mid(i, length);
        if (character.at(0).unicode() > 0xff && !found.contains(character))
            found += character;
        i += length - 1;
    }
    return found;
}

void TUsbDevCommand::SetOS(TOS newOs)
{
    os = newOs;
}

int TUsbDevCommand::chunkSize() const
{
    // One packet is "A" plus the chunk: one byte short of the endpoint's packet size,
    // or of 64 KiB on the two processors that take large packets.
    if (cpu == CPU_2440 || cpu == CPU_4412)
        return kLargeChunk;
    return packetSize - 2;
}

static bool usesPerOsTags(TUsbDevCommand::TBoardCPU cpu, TUsbDevCommand::TOS os)
{
    const bool newerBoard = cpu == TUsbDevCommand::CPU_4412 || cpu == TUsbDevCommand::CPU_5250
                            || cpu == TUsbDevCommand::CPU_3358;
    return newerBoard && os >= TUsbDevCommand::OS_Android && os < TUsbDevCommand::OS_WinCE;
}

const char *TUsbDevCommand::fileSystemTag(TBoardCPU cpu, TOS os)
{
    static const char *const tags[] = {"fsig", "ufsi", "lfsi"};
    return usesPerOsTags(cpu, os) ? tags[os] : tags[0];
}

const char *TUsbDevCommand::formatTag(TBoardCPU cpu, TOS os)
{
    static const char *const tags[] = {"lfmt", "fmtu", "fmtl"};
    return usesPerOsTags(cpu, os) ? tags[os] : tags[0];
}

void TUsbDevCommand::fail(const QString &text)
{
    ReportLogWithCheck(1, text);
    Q_EMIT SendFinished(false);
}

// ---------------------------------------------------------------------------
// File downloads

void TUsbDevCommand::SendFile(const char *tag, QString path, bool inMemory)
{
    if (IsBusy()) {
        fail(QStringLiteral("Device busy now"));
        return;
    }
    if (inMemory) {
        // One byte per character: anything beyond Latin-1 would silently become "?".
        const QString unsendable = unsendableCharacters(path);
        if (!unsendable.isEmpty()) {
            fail(QStringLiteral("Cannot send the characters \"%1\": the board takes Latin-1 only").arg(unsendable));
            return;
        }
        memData = path.toLatin1();
        auto *buffer = new QBuffer(this);
        buffer->setBuffer(&memData);
        source = buffer;
    } else {
        // Opening a FIFO or a device would block for good or never end; images are files.
        if (!QFileInfo(path).isFile()) {
            fail(QStringLiteral("Cannot open file"));
            return;
        }
        source = new QFile(path, this);
    }
    Send(tag);
}

void TUsbDevCommand::Send(const char *tag)
{
    busy = true;
    leaveConfirmed = false;
    if (!source->open(QIODevice::ReadOnly) || source->size() == 0) {
        fail(QStringLiteral("Cannot open file"));
        return;
    }
    const qint64 size = source->size();
    progressShift = 0;
    while ((size >> progressShift) > std::numeric_limits<int>::max())
        ++progressShift;
    Q_EMIT SendCurrentPos(0);
    Q_EMIT SendMaxSize(int(size >> progressShift));

    const QByteArray header = QByteArray("KOVA ") + tag + ' ' + QByteArray::number(size, 16);
    if (replyIs(Run(header, true), "O")) {
        nextPacket->start();
        return;
    }
    fail(QStringLiteral("Data not accept by the board"));
}

void TUsbDevCommand::SendLoop()
{
    const int len = chunkSize();
    packet.resize(1 + len);
    packet[0] = 'A';
    // A request refused while this transfer ran has already dropped the source; the
    // transfer then ends like one whose file ran dry.
    const qint64 n = source ? source->read(packet.data() + 1, len) : 0;
    if (n <= 0) {
        fail(QStringLiteral("Read file error"));
        return;
    }
    packet.resize(1 + int(n));
    Q_EMIT SendCurrentPos(int(source->pos() >> progressShift));

    const QByteArray reply = Run(packet, true);
    if (replyIs(reply, "O")) {
        nextPacket->start();
    } else if (replyIs(reply, "o")) {
        // The boot loader answers "o" once it holds all the data; it now writes it.
        ReportLogWithCheck(0, QStringLiteral("Send File completed, Waitting..."));
        QTimer::singleShot(0, this, &TUsbDevCommand::WaitDevIdle);
    } else {
        fail(QStringLiteral("Data not accepted by the board"));
    }
}

void TUsbDevCommand::WaitDevIdle()
{
    if (boardLeaves && !leaveConfirmed) {
        // A user bin started from RAM takes the board out of download mode: the data
        // is in, which is all we can confirm, and what follows is the board rebooting.
        // Said once per transfer, however many rounds the idle poll takes.
        leaveConfirmed = true;
        quiet = true;
        Q_EMIT SendFinished(true);
    }
    const QByteArray reply = Run(QByteArrayLiteral("GETINFO"), true);
    const bool idle = reply.startsWith("1 ");
    const bool working = reply.startsWith("0 ");
    if (!idle && !working) {
        fail(QStringLiteral("Waitting idle bad response format"));
        return;
    }
    const QString progress = replyText(reply.constData() + 2);
    if (!progress.isEmpty())
        ReportLogWithCheck(0, progress);

    if (idle) {
        busy = false;
        Q_EMIT SendFinished(true);
    } else {
        QTimer::singleShot(0, this, &TUsbDevCommand::WaitDevIdle);
    }
}

void TUsbDevCommand::slotSendFinished(bool ok)
{
    if (!ok)
        busy = false;
    delete source;
    source = nullptr;
}

void TUsbDevCommand::SendHalvorn(QString HalvornFile)
{
    boardLeaves = false;
    SendFile("hlvn", HalvornFile, false);
}

void TUsbDevCommand::SendKernel(QString KernelFile)
{
    boardLeaves = false;
    SendFile("kern", KernelFile, false);
}

void TUsbDevCommand::SendRamdisk(QString RamdiskFile)
{
    // Leaves boardLeaves as the previous command set it.
    SendFile("rmdk", RamdiskFile, false);
}

void TUsbDevCommand::SendCmdLine(QString CmdLine)
{
    boardLeaves = false;
    SendFile("cmdl", CmdLine, true);
}

void TUsbDevCommand::SendLinuxFs(QString FsImageFile)
{
    boardLeaves = false;
    SendFile(fileSystemTag(cpu, os), FsImageFile, false);
}

void TUsbDevCommand::SendUserDataFs(QString UserDataFs)
{
    boardLeaves = false;
    SendFile("fuig", UserDataFs, false);
}

void TUsbDevCommand::SendCeLogo(QString LogoFile)
{
    boardLeaves = false;
    SendFile("celg", LogoFile, false);
}

void TUsbDevCommand::SendCeNk(QString NkFile)
{
    boardLeaves = false;
    SendFile("cenk", NkFile, false);
}

void TUsbDevCommand::SendUserBin(QString UserBinFile, bool FlashIt)
{
    boardLeaves = !FlashIt;
    SendFile(FlashIt ? "ubin" : "rbin", UserBinFile, false);
}

// ---------------------------------------------------------------------------
// Commands without a file

void TUsbDevCommand::sendConfirmedCommand(const QByteArray &command, const QString &busyText,
                                          const QString &okText, const QString &failText)
{
    if (IsBusy()) {
        fail(busyText);
        return;
    }
    if (replyIs(Run(command, true), "o")) {
        ReportLogWithCheck(0, okText);
        Q_EMIT SendFinished(true);
    } else {
        fail(failText);
    }
}

void TUsbDevCommand::LowFormat()
{
    boardLeaves = false;
    sendConfirmedCommand(QByteArray("KOVA ") + formatTag(cpu, os) + ' ',
                         QStringLiteral("Low Format error: Device busy"),
                         QStringLiteral("Low Format Succeeded"), QStringLiteral("Low Format Failed"));
}

void TUsbDevCommand::Boot()
{
    boardLeaves = true;
    if (IsBusy()) {
        fail(QStringLiteral("Boot error: Device busy"));
        return;
    }
    if (!isConnected()) {
        fail(QStringLiteral("Boot Failed"));
        return;
    }
    // The board starts its system at once; whatever it answers does not matter.
    Run(QByteArrayLiteral("KOVA boot "), false);
    ReportLogWithCheck(0, QStringLiteral("Boot Succeeded"));
    Q_EMIT SendFinished(true);
}

void TUsbDevCommand::SendLcdType(QString LcdType)
{
    boardLeaves = false;
    sendConfirmedCommand("KOVA lcdt " + LcdType.toLatin1(),
                         QStringLiteral("Set LCD type error: Device busy"),
                         QStringLiteral("Set LCD-Type Succeeded"), QStringLiteral("Set LCD-Type Failed"));
}

void TUsbDevCommand::SendAddrOfUserBin(QString Addr)
{
    boardLeaves = false;
    // Refused with the LCD command's busy text: users know this message by its wording.
    if (IsBusy()) {
        fail(QStringLiteral("Set LCD type error: Device busy"));
        return;
    }
    // Anchored on the whole text: "$" alone would also let a trailing newline through.
    static const QRegularExpression hexDigits(
        QRegularExpression::anchoredPattern(QStringLiteral("[0-9A-Fa-f]+")));
    if (!hexDigits.match(Addr).hasMatch()) {
        fail(QStringLiteral("Bad format of User-Bin's Address"));
        return;
    }
    sendConfirmedCommand("KOVA abin " + Addr.toLatin1(), QString(),
                         QStringLiteral("Set User-Bin's Address Succeeded"),
                         QStringLiteral("Set User-Bin's Address Failed"));
}

// ---------------------------------------------------------------------------
// Board identification

void TUsbDevCommand::HwInfoPooling(bool connected)
{
    boardLeaves = false;
    if (!connected)
        return;

    SetCPU(CPU_Unknown);
    QString text;
    for (char digit = '0'; digit <= '9'; ++digit) {
        const QByteArray reply = Run(QByteArray("GETHW ") + digit, true);
        if (reply.size() < 2 || reply.at(0) != ' ')
            break;
        text += replyText(reply.constData() + 1);
        text += QLatin1Char('\n');
        const QString line = replyText(reply.constData());
        if (line.contains(QLatin1String("CPU:")))
            RecognizeCPU(line);
    }
    if (isConnected())
        Q_EMIT NewDeviceAttached(text);
}
