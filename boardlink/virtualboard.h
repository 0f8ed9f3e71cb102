#pragma once

#include "boardlink/tusbdevcommand.h"
#include "boardlink/usbtransport.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

class QFile;

// An emulated Halvorn boot loader in USB download mode, on the real wire protocol. It
// answers greetings, hardware questions, "KOVA" headers, data packets, idle polls,
// format, LCD-type, user-bin address and boot commands; it keeps every image it
// receives byte for byte and a transcript of every command and reply. It can be told to
// misbehave, and it leaves download mode (disappears from the bus) after "boot" and after
// a user bin run from RAM, as a real board does.
class VirtualBoard : public UsbTransport
{
public:
    enum class Fault {
        None,
        RefuseHeader,       // answers "E" to every "KOVA <tag> <size>" header
        ShortHeaderReply,   // answers nothing (a zero-length packet) to every header
        RefusePacket,       // answers "E" to data packet number faultPacket (1-based)
        GarbagePacketReply, // answers binary garbage to every data packet
        BigOOnLastPacket,   // answers "O" instead of "o" to the packet that completes the data
        VanishAfterPackets, // disappears from the bus once faultPacket packets were accepted
        GarbageIdleReply,   // answers binary garbage to the idle poll after a download
        ShortIdleReply,     // answers a single "1" to the idle poll after a download
        RefuseCommands,     // answers "E" to format, LCD type and user-bin address
        StallAfterPackets,  // stops answering once faultPacket packets were accepted
    };

    explicit VirtualBoard(TUsbDevCommand::TBoardCPU cpu = TUsbDevCommand::CPU_4412);
    ~VirtualBoard() override;
    VirtualBoard(const VirtualBoard &) = delete;
    VirtualBoard &operator=(const VirtualBoard &) = delete;

    // --- what kind of board it is
    void setCpu(TUsbDevCommand::TBoardCPU cpu);
    TUsbDevCommand::TBoardCPU cpu() const { return boardCpu; }
    // The size on the "EMMC: " line of a 4412, for example "8GB".
    void setEmmcSize(const QString &size);
    // Replaces the lines answered to "GETHW 0" ... "GETHW 9".
    void setHardwareLines(const QStringList &lines);
    QStringList hardwareLines() const { return hwLines; }
    // How many "0 " answers the idle poll gets after a download before "1 ".
    void setWritingRounds(int rounds) { writingRounds = rounds; }
    // What the "0 " answers say while writing; empty: the usual percentage.
    void setWritingText(const QByteArray &text) { writingText = text; }
    // Time each exchange takes before its reply can be read, as on a real bus; 0 (the
    // default) answers at once.
    void setReplyDelayUs(int us) { replyDelayUs = us; }
    // Keep the received bytes (the default) or only count them.
    void setKeepData(bool keep) { keepData = keep; }

    // Accepts a processor number such as "4412"; Unknown for anything else.
    static TUsbDevCommand::TBoardCPU cpuFromName(const QString &name);
    static QStringList defaultHardwareLines(TUsbDevCommand::TBoardCPU cpu, const QString &emmcSize);

    // --- misbehaviour
    void setFault(Fault fault, int packet = 0);
    Fault fault() const { return currentFault; }

    // --- being plugged in and pulled out
    void plugIn();
    void unplug();
    bool isPluggedIn() const { return present; }
    // How often the board has left download mode by itself (boot, user bin run from RAM).
    int timesLeftDownloadMode() const { return leftCount; }

    // --- what it received
    QByteArray image(const QByteArray &tag) const { return images.value(tag); }
    qint64 receivedSize(const QByteArray &tag) const { return receivedSizes.value(tag); }
    QList<QByteArray> receivedTags() const { return tagOrder; }
    QList<QByteArray> formatCommands() const { return formats; }
    QByteArray lcdType() const { return lastLcdType; }
    QByteArray userBinAddress() const { return lastUserBinAddress; }
    int bootCount() const { return boots; }
    int greetingCount() const { return greetings; }
    void forgetReceived();

    // --- transcript: one line per command and per reply; accepted data packets of one
    // download are counted on one line so that the transcript stays small.
    QStringList transcript() const;
    void clearTranscript();
    // Also writes the transcript to this file as it happens; empty stops writing.
    bool setTraceFile(const QString &path);

    // --- UsbTransport
    bool open() override;
    bool isOpen() const override { return opened; }
    int write(const char *data, int len) override;
    int read(char *buffer, int len) override;
    void close() override { opened = false; }
    void setStallTimeout(int ms) override { stallTimeoutMs = ms; }
    bool stalled() const override { return hasStalled; }

private:
    enum class State { Idle, Receiving, Writing };

    QByteArray answer(const QByteArray &command);
    QByteArray answerKova(const QByteArray &command);
    QByteArray answerPacket(const char *data, int len);
    QByteArray answerIdlePoll();
    void leaveDownloadMode();
    void trace(const QString &line);
    void flushPacketRun();
    static QString printable(const QByteArray &bytes);

    TUsbDevCommand::TBoardCPU boardCpu;
    QString emmcSize = QStringLiteral("8GB");
    QStringList hwLines;
    bool customHwLines = false;
    int writingRounds = 3;
    QByteArray writingText;
    bool keepData = true;
    int replyDelayUs = 0;
    int stallTimeoutMs = 0;
    bool hasStalled = false;

    Fault currentFault = Fault::None;
    int faultPacket = 0;

    bool present = true;
    bool opened = false;
    bool leavesAfterReply = false;
    int leftCount = 0;

    State state = State::Idle;
    QByteArray currentTag;
    qint64 announced = 0;
    qint64 received = 0;
    int packetsAccepted = 0;
    int roundsLeft = 0;

    QHash<QByteArray, QByteArray> images;
    QHash<QByteArray, qint64> receivedSizes;
    QList<QByteArray> tagOrder;
    QList<QByteArray> formats;
    QByteArray lastLcdType;
    QByteArray lastUserBinAddress;
    int boots = 0;
    int greetings = 0;

    QByteArray pendingReply;
    bool replyPending = false;

    QStringList lines;
    int runPackets = 0;
    qint64 runBytes = 0;
    std::unique_ptr<QFile> traceFile;
};
