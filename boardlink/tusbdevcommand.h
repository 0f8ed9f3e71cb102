#pragma once

#include "boardlink/tusbdevice.h"

#include <QByteArray>
#include <QString>

class QIODevice;
class QTimer;

// The command protocol of the Halvorn boot loader: one request of the flashing workflow
// becomes a short exchange of ASCII commands, files stream in "A" packets, and the
// outcome arrives as exactly one SendFinished(bool) per request.
class TUsbDevCommand : public TUsbDevice
{
    Q_OBJECT
public:
    enum TBoardCPU {
        CPU_Unknown = 0,
        CPU_210,
        CPU_6410,
        CPU_2440,
        CPU_2451,
        CPU_2416,
        CPU_4412,
        CPU_5250,
        CPU_3358,
    };
    Q_ENUM(TBoardCPU)

    enum TOS {
        OS_Android = 0,
        OS_UTagged,
        OS_Linux,
        OS_WinCE,
        OS_NoOS,
        OS_None,
    };
    Q_ENUM(TOS)

    explicit TUsbDevCommand(QObject *parent = nullptr);

    bool IsBusy() override;
    virtual void RecognizeCPU(QString text);

    void SetCPU(TBoardCPU cpu);
    void SetOS(TOS os);

    TBoardCPU boardCpu() const { return cpu; }
    TOS targetOs() const { return os; }
    int currentPacketSize() const { return packetSize; }
    // Bytes of file data in one "A" packet for the board now attached.
    int chunkSize() const;

    // The processor names the boot loader puts in its "CPU:" line, indexed by TBoardCPU
    // (index 0 is empty).
    static QString cpuName(TBoardCPU cpu);

    // SendMaxSize and SendCurrentPos carry the transfer's bytes divided by this (a power
    // of two), so that an image of 2 GiB or more still fits their int; 1 for smaller ones.
    qint64 progressUnit() const { return qint64(1) << progressShift; }
    // The characters of a text that cannot go to the board in its one-byte encoding,
    // each once, in order of appearance; empty when all can.
    static QString unsendableCharacters(const QString &text);

    // The file system and format tags for a processor and operating system.
    static const char *fileSystemTag(TBoardCPU cpu, TOS os);
    static const char *formatTag(TBoardCPU cpu, TOS os);

Q_SIGNALS:
    void SendFinished(bool);
    void SendMaxSize(int MaxSize);
    void SendCurrentPos(int Pos);
    void NewDeviceAttached(QString HwInfo);
    void CpuRecognized();

public Q_SLOTS:
    void LowFormat();
    void Boot();
    void SendHalvorn(QString HalvornFile);
    void SendKernel(QString KernelFile);
    void SendRamdisk(QString RamdiskFile);
    void SendCmdLine(QString CmdLine);
    void SendLinuxFs(QString FsImageFile);
    void SendUserDataFs(QString UserDataFs);
    void SendCeLogo(QString LogoFile);
    void SendCeNk(QString NkFile);
    void SendLcdType(QString LcdType);
    void SendUserBin(QString UserBinFile, bool FlashIt);
    void SendAddrOfUserBin(QString Addr);

private Q_SLOTS:
    void SendLoop();
    void slotSendFinished(bool ok);
    void WaitDevIdle();
    void HwInfoPooling(bool connected);

private:
    void Send(const char *tag);
    void SendFile(const char *tag, QString path, bool inMemory);
    // A command without a file that the board confirms with "o".
    void sendConfirmedCommand(const QByteArray &command, const QString &busyText,
                              const QString &okText, const QString &failText);
    void fail(const QString &text);

    QByteArray memData;
    QIODevice *source = nullptr;
    bool busy = false;
    bool boardLeaves = false;
    bool leaveConfirmed = false; // the early outcome of a leaving transfer was given
    TBoardCPU cpu = CPU_Unknown;
    TOS os = OS_None;
    int packetSize = 63;
    int progressShift = 0;
    QByteArray packet; // reused for every "A" packet of a transfer
    // Posts the next packet. One zero-delay timer kept for the object's life costs less
    // per packet than a fresh single shot each time, which a 61-byte chunk feels.
    QTimer *nextPacket = nullptr;
};
