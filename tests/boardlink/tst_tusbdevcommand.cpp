// The download protocol and board identification, end to end against the virtual board.

#include "boardlinkfixture.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>

using Cpu = TUsbDevCommand::TBoardCPU;
using Fault = VirtualBoard::Fault;

namespace {

QByteArray randomBytes(qsizetype size, quint32 seed)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator gen(seed);
    for (qsizetype i = 0; i < size; ++i)
        bytes[i] = char(gen.generate() & 0xff);
    return bytes;
}

int countLines(const QStringList &lines, const QString &needle)
{
    int n = 0;
    for (const QString &line : lines)
        n += line.contains(needle) ? 1 : 0;
    return n;
}

} // namespace

class TstTUsbDevCommand : public QObject
{
    Q_OBJECT
private:
    QTemporaryDir dir;

    QString writeFile(const QString &name, const QByteArray &bytes)
    {
        const QString path = dir.filePath(name);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("cannot write %s", qPrintable(path));
        return path;
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(dir.isValid()); }

    // --- connection and identification

    void noBoardMeansNothingHappens()
    {
        BoardLink link;
        link.board->unplug();
        link.command->pollBoard();
        link.command->pollBoard();
        QVERIFY(link.view.events.isEmpty());
        QVERIFY(!link.command->isConnected());
    }

    void connectsOnceAfterThreeGreetings()
    {
        BoardLink link;
        link.command->pollBoard();
        QCOMPARE(link.view.connectedTrue, 1);
        QCOMPARE(link.board->greetingCount(), 3);
        const QStringList t = link.board->transcript();
        // The three greetings come first, then the hardware questions.
        QCOMPARE(t.value(0), QStringLiteral("> \"SKIPINFO\""));
        QCOMPARE(t.value(2), QStringLiteral("> \"SKIPINFO\""));
        QCOMPARE(t.value(4), QStringLiteral("> \"SKIPINFO\""));
        QCOMPARE(t.value(6), QStringLiteral("> \"GETHW 0\""));
        // The next tick only polls.
        link.command->pollBoard();
        QCOMPARE(link.view.connectedTrue, 1);
        QCOMPARE(link.board->transcript().constLast(), QStringLiteral("< \"1 \""));
    }

    void identifiesEachProcessor_data()
    {
        QTest::addColumn<int>("cpu");
        QTest::addColumn<int>("packetSize");
        QTest::addColumn<int>("chunk");
        QTest::newRow("210") << int(TUsbDevCommand::CPU_210) << 512 << 510;
        QTest::newRow("6410") << int(TUsbDevCommand::CPU_6410) << 512 << 510;
        QTest::newRow("2440") << int(TUsbDevCommand::CPU_2440) << 63 << 65534;
        QTest::newRow("2451") << int(TUsbDevCommand::CPU_2451) << 512 << 510;
        QTest::newRow("2416") << int(TUsbDevCommand::CPU_2416) << 512 << 510;
        QTest::newRow("4412") << int(TUsbDevCommand::CPU_4412) << 512 << 65534;
        QTest::newRow("5250") << int(TUsbDevCommand::CPU_5250) << 512 << 510;
        QTest::newRow("3358") << int(TUsbDevCommand::CPU_3358) << 512 << 510;
    }
    void identifiesEachProcessor()
    {
        QFETCH(int, cpu);
        QFETCH(int, packetSize);
        QFETCH(int, chunk);
        BoardLink link{Cpu(cpu)};
        link.command->pollBoard();
        QCOMPARE(int(link.command->boardCpu()), cpu);
        QCOMPARE(link.command->currentPacketSize(), packetSize);
        QCOMPARE(link.command->chunkSize(), chunk);
        QCOMPARE(link.view.cpuRecognized, 1);
        // The protocol object's own handler runs first and identifies the board, so a view
        // hears of the processor and the description before the connection itself.
        QCOMPARE(link.view.events, QStringList({"Cpu", "Attached", "Connected(true)"}));
        QCOMPARE(link.view.attached.value(0), link.board->hardwareLines().join('\n') + '\n');
    }

    void identificationRules_data()
    {
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<int>("cpu");
        QTest::addColumn<int>("recognized");
        QTest::addColumn<QString>("text");
        QTest::newRow("one line then silence")
            << QStringList{"CPU: Exynos4412"} << int(TUsbDevCommand::CPU_4412) << 1 << "CPU: Exynos4412\n";
        QTest::newRow("CPU line naming no known processor")
            << QStringList{"boot", "CPU: Cortex-A8"} << 0 << 0 << "boot\nCPU: Cortex-A8\n";
        QTest::newRow("number outside a CPU line is not looked at")
            << QStringList{"RAM: 4412 MB", "NAND: 2440"} << 0 << 0 << "RAM: 4412 MB\nNAND: 2440\n";
        QTest::newRow("2440 takes small packets")
            << QStringList{"x", "CPU: S3C2440"} << int(TUsbDevCommand::CPU_2440) << 1 << "x\nCPU: S3C2440\n";
        QTest::newRow("several matches, the last in table order wins")
            << QStringList{"CPU: 6410 or 210"} << int(TUsbDevCommand::CPU_6410) << 2 << "CPU: 6410 or 210\n";
        QTest::newRow("case matters in the CPU tag")
            << QStringList{"cpu: 4412"} << 0 << 0 << "cpu: 4412\n";
        QTest::newRow("silent board gives an empty description") << QStringList{} << 0 << 0 << "";
    }
    void identificationRules()
    {
        QFETCH(QStringList, lines);
        QFETCH(int, cpu);
        QFETCH(int, recognized);
        QFETCH(QString, text);
        BoardLink link;
        link.board->setHardwareLines(lines);
        link.command->pollBoard();
        QCOMPARE(int(link.command->boardCpu()), cpu);
        QCOMPARE(link.view.cpuRecognized, recognized);
        QCOMPARE(link.view.attached, QStringList{text});
        QCOMPARE(link.command->currentPacketSize(), cpu == 0 || cpu == 3 ? 63 : 512);
    }

    void asksTenQuestionsAtMost()
    {
        BoardLink link;
        QStringList lines;
        for (int i = 0; i < 12; ++i)
            lines << QStringLiteral("Line%1: %1").arg(i);
        link.board->setHardwareLines(lines);
        link.command->pollBoard();
        QCOMPARE(countLines(link.board->transcript(), "> \"GETHW "), 10);
        QCOMPARE(link.view.attached.value(0).count('\n'), 10);
    }

    void processorIsKeptAfterDisconnectAndResetOnReconnect()
    {
        BoardLink link(TUsbDevCommand::CPU_210);
        link.command->pollBoard();
        link.board->unplug();
        link.command->pollBoard(); // the keep-alive notices
        QCOMPARE(link.view.connectedFalse, 1);
        QCOMPARE(link.command->boardCpu(), TUsbDevCommand::CPU_210);

        link.board->setCpu(TUsbDevCommand::CPU_2440);
        link.plugIn();
        QCOMPARE(link.view.connectedTrue, 2);
        QCOMPARE(link.command->boardCpu(), TUsbDevCommand::CPU_2440);
        QCOMPARE(link.command->chunkSize(), 65534);
    }

    // --- downloads

    void downloadsFilesWhole_data()
    {
        QTest::addColumn<int>("cpu");
        QTest::addColumn<int>("size");
        const struct { int cpu; int chunk; const char *name; } kinds[] = {
            {int(TUsbDevCommand::CPU_Unknown), 61, "61"},
            {int(TUsbDevCommand::CPU_6410), 510, "510"},
            {int(TUsbDevCommand::CPU_4412), 65534, "65534"},
        };
        for (const auto &kind : kinds) {
            const int sizes[] = {1, kind.chunk, kind.chunk + 1, 3 * 1024 * 1024 + 17};
            for (int size : sizes)
                QTest::addRow("chunk %s, %d bytes", kind.name, size) << kind.cpu << size;
        }
    }
    void downloadsFilesWhole()
    {
        QFETCH(int, cpu);
        QFETCH(int, size);
        BoardLink link(cpu == 0 ? TUsbDevCommand::CPU_4412 : Cpu(cpu));
        if (cpu == 0) // a board that names no processor gets the smallest packets
            link.board->setHardwareLines({"Halvorn", "CPU: unknown"});
        link.command->pollBoard();
        QCOMPARE(int(link.command->boardCpu()), cpu);

        const QByteArray data = randomBytes(size, quint32(size));
        const QString path = writeFile(QStringLiteral("kernel-%1-%2.img").arg(cpu).arg(size), data);
        link.view.clear();
        link.command->SendKernel(path);
        QVERIFY(link.waitFinished());

        QCOMPARE(link.view.finished, QList<bool>{true});
        QVERIFY(!link.command->IsBusy());
        QCOMPARE(link.board->receivedSize("kern"), qint64(size));
        QVERIFY(link.board->image("kern") == data);
        QCOMPARE(countLines(link.board->transcript(),
                            QStringLiteral("> \"KOVA kern %1\"").arg(size, 0, 16)),
                 1);

        // Progress: 0, the size, then the position after every chunk.
        const int chunk = link.command->chunkSize();
        QCOMPARE(link.view.maxSizes, QList<int>{size});
        QList<int> expected{0};
        for (int pos = chunk; pos < size; pos += chunk)
            expected << pos;
        expected << size;
        QCOMPARE(link.view.positions, expected);
        QVERIFY(link.view.logs.contains("0:Send File completed, Waitting..."));
        // The board's own progress texts are passed on as they come.
        QVERIFY(link.view.logs.contains("0:Writing kern to flash ... 25%"));
    }

    void sizeIsAnnouncedInLowerCaseHex()
    {
        BoardLink link;
        link.command->pollBoard();
        const QString path = writeFile("big.img", QByteArray(0x2f4a00, 'k'));
        link.command->SendKernel(path);
        QVERIFY(link.waitFinished());
        QVERIFY(link.board->transcript().contains("> \"KOVA kern 2f4a00\""));
        QCOMPARE(link.view.finished, QList<bool>{true});
    }

    void emptyOrMissingFileIsRefusedBeforeAnythingGoesOut_data()
    {
        QTest::addColumn<bool>("exists");
        QTest::newRow("empty") << true;
        QTest::newRow("missing") << false;
    }
    void emptyOrMissingFileIsRefusedBeforeAnythingGoesOut()
    {
        QFETCH(bool, exists);
        BoardLink link;
        link.command->pollBoard();
        const QString path = exists ? writeFile("empty.img", QByteArray()) : dir.filePath("nothing.img");
        link.board->clearTranscript();
        link.view.clear();
        link.command->SendKernel(path);
        QCOMPARE(link.view.logs, QStringList{"1:Cannot open file"});
        QVERIFY(link.waitFinished());
        QCOMPARE(link.view.finished, QList<bool>{false});
        QVERIFY(link.board->transcript().isEmpty());
        QVERIFY(!link.command->IsBusy());
    }

    void commandLineIsSentFromMemory()
    {
        BoardLink link;
        link.command->pollBoard();
        const QString line = QStringLiteral("console=ttySAC2,115200 lcd=S70 skipcali=y");
        link.command->SendCmdLine(line);
        QVERIFY(link.waitFinished());
        QCOMPARE(link.board->image("cmdl"), line.toLatin1());
        QCOMPARE(link.view.finished, QList<bool>{true});
    }

    void eachSlotUsesItsTag_data()
    {
        QTest::addColumn<QString>("slot");
        QTest::addColumn<QByteArray>("tag");
        QTest::newRow("halvorn") << "SendHalvorn" << QByteArray("hlvn");
        QTest::newRow("kernel") << "SendKernel" << QByteArray("kern");
        QTest::newRow("ramdisk") << "SendRamdisk" << QByteArray("rmdk");
        QTest::newRow("userdata") << "SendUserDataFs" << QByteArray("fuig");
        QTest::newRow("logo") << "SendCeLogo" << QByteArray("celg");
        QTest::newRow("nk") << "SendCeNk" << QByteArray("cenk");
        QTest::newRow("fs") << "SendLinuxFs" << QByteArray("fsig");
    }
    void eachSlotUsesItsTag()
    {
        QFETCH(QString, slot);
        QFETCH(QByteArray, tag);
        BoardLink link;
        link.command->pollBoard();
        const QByteArray data = randomBytes(70000, 7);
        const QString path = writeFile(tag + ".bin", data);
        QVERIFY(QMetaObject::invokeMethod(link.command.get(), slot.toLatin1().constData(), Q_ARG(QString, path)));
        QVERIFY(link.waitFinished());
        QCOMPARE(link.view.finished, QList<bool>{true});
        QCOMPARE(link.board->receivedTags(), QList<QByteArray>{tag});
        QVERIFY(link.board->image(tag) == data);
    }

    void userBinInstalledToFlash()
    {
        BoardLink link;
        link.command->pollBoard();
        const QByteArray data = randomBytes(5000, 3);
        link.command->SendUserBin(writeFile("app.bin", data), true);
        QVERIFY(link.waitFinished());
        QCOMPARE(link.view.finished, QList<bool>{true});
        QVERIFY(link.board->image("ubin") == data);
        QVERIFY(link.board->isPluggedIn());
    }

    void userBinRunFromMemoryLeavesDownloadMode()
    {
        BoardLink link;
        link.command->pollBoard();
        const QByteArray data = randomBytes(5000, 4);
        link.view.clear();
        link.command->SendUserBin(writeFile("run.bin", data), false);
        // The data is in: that is confirmed at once. The board is gone before it can
        // answer the idle poll, which ends the request a second time, unreported.
        QVERIFY(link.waitFinished(2));
        QCOMPARE(link.view.finished, QList<bool>({true, false}));
        QVERIFY(link.board->image("rbin") == data);
        QCOMPARE(link.board->timesLeftDownloadMode(), 1);
        QCOMPARE(link.view.connectedFalse, 1);
        QVERIFY(!link.view.logs.join('|').contains("1:"));
        QVERIFY(!link.command->IsBusy());

        // Once the board is back in download mode it connects and downloads again.
        link.plugIn();
        QCOMPARE(link.view.connectedTrue, 1);
        link.view.clear();
        link.command->SendKernel(writeFile("after.img", data));
        QVERIFY(link.waitFinished());
        QCOMPARE(link.view.finished, QList<bool>{true});
        // Reports are no longer silenced after a new connection.
        QVERIFY(link.view.logs.contains("0:Send File completed, Waitting..."));
    }

    void ramdiskKeepsWhetherTheBoardLeaves()
    {
        BoardLink link;
        link.command->pollBoard();
        // A run-from-memory request the board refuses leaves the "board leaves" flag set...
        link.board->setFault(Fault::RefuseHeader);
        link.command->SendUserBin(writeFile("r.bin", "abc"), false);
        QVERIFY(link.waitFinished());
        link.board->setFault(Fault::None);
        link.view.clear();
        // ...and the ramdisk after it takes it over: confirmed once the data is in,
        // and again when the board reports idle.
        link.command->SendRamdisk(writeFile("ramdisk.img", randomBytes(3000, 5)));
        QVERIFY(link.waitFinished(2));
        QCOMPARE(link.view.finished, QList<bool>({true, true}));

        // After a kernel the flag is clear again: one confirmation.
        link.view.clear();
        link.command->SendKernel(writeFile("k.img", "kernel"));
        QVERIFY(link.waitFinished());
        link.view.clear();
        link.command->SendRamdisk(writeFile("ramdisk2.img", randomBytes(3000, 6)));
        QVERIFY(link.waitFinished());
        QCOMPARE(link.view.finished, QList<bool>{true});
    }

    // --- file system and format tags

    void tagsFollowProcessorAndSystem_data()
    {
        QTest::addColumn<int>("cpu");
        QTest::addColumn<int>("os");
        QTest::addColumn<QByteArray>("fsTag");
        QTest::addColumn<QByteArray>("formatTag");
        QTest::newRow("5250 linux") << 7 << 2 << QByteArray("lfsi") << QByteArray("fmtl");
        QTest::newRow("6410 linux") << 2 << 2 << QByteArray("fsig") << QByteArray("lfmt");
        QTest::newRow("4412 android") << 6 << 0 << QByteArray("fsig") << QByteArray("lfmt");
        QTest::newRow("4412 utagged") << 6 << 1 << QByteArray("ufsi") << QByteArray("fmtu");
        QTest::newRow("3358 linux") << 8 << 2 << QByteArray("lfsi") << QByteArray("fmtl");
        QTest::newRow("4412 wince") << 6 << 3 << QByteArray("fsig") << QByteArray("lfmt");
        QTest::newRow("4412 none set") << 6 << 5 << QByteArray("fsig") << QByteArray("lfmt");
        QTest::newRow("210 linux") << 1 << 2 << QByteArray("fsig") << QByteArray("lfmt");
    }
    void tagsFollowProcessorAndSystem()
    {
        QFETCH(int, cpu);
        QFETCH(int, os);
        QFETCH(QByteArray, fsTag);
        QFETCH(QByteArray, formatTag);
        BoardLink link{Cpu(cpu)};
        link.command->pollBoard();
        link.command->SetOS(TUsbDevCommand::TOS(os));

        link.command->LowFormat();
        QCOMPARE(link.view.finished, QList<bool>{true});
        QCOMPARE(link.board->formatCommands(), QList<QByteArray>{formatTag});
        QVERIFY(link.board->transcript().contains("> \"KOVA " + formatTag + " \""));

        link.command->SendLinuxFs(writeFile("rootfs.img", "root file system"));
        QVERIFY(link.waitFinished(2));
        QCOMPARE(link.board->receivedTags(), QList<QByteArray>{fsTag});
    }

    // --- commands without a file: each one ends before the call returns

    void commandsReportTheirOutcome()
    {
        BoardLink link;
        link.command->pollBoard();
        link.view.clear();
        link.command->SendLcdType("S70");
        link.command->SendAddrOfUserBin("30000000");
        link.command->LowFormat();
        QCOMPARE(link.view.logs, QStringList({"0:Set LCD-Type Succeeded", "0:Set User-Bin's Address Succeeded",
                                              "0:Low Format Succeeded"}));
        QCOMPARE(link.view.finished, QList<bool>({true, true, true}));
        QCOMPARE(link.board->lcdType(), QByteArray("S70"));
        QCOMPARE(link.board->userBinAddress(), QByteArray("30000000"));
        QVERIFY(link.board->transcript().contains("> \"KOVA abin 30000000\""));

        link.board->setFault(Fault::RefuseCommands);
        link.view.clear();
        link.command->SendLcdType("S70");
        link.command->SendAddrOfUserBin("30000000");
        link.command->LowFormat();
        QCOMPARE(link.view.logs, QStringList({"1:Set LCD-Type Failed", "1:Set User-Bin's Address Failed",
                                              "1:Low Format Failed"}));
        QCOMPARE(link.view.finished, QList<bool>({false, false, false}));
    }

    void userBinAddressMustBeBareHex_data()
    {
        QTest::addColumn<QString>("addr");
        QTest::newRow("0x prefix") << "0x30000000";
        QTest::newRow("empty") << "";
        QTest::newRow("blank") << "3000 0000";
        QTest::newRow("trailing newline") << "30000000\n";
        QTest::newRow("not hex") << "3000000g";
    }
    void userBinAddressMustBeBareHex()
    {
        QFETCH(QString, addr);
        BoardLink link;
        link.command->pollBoard();
        link.board->clearTranscript();
        link.view.clear();
        link.command->SendAddrOfUserBin(addr);
        QCOMPARE(link.view.logs, QStringList{"1:Bad format of User-Bin's Address"});
        QCOMPARE(link.view.finished, QList<bool>{false});
        QVERIFY(link.board->transcript().isEmpty());
    }

    void bootStartsTheSystemAndTheBoardGoes()
    {
        BoardLink link;
        link.command->pollBoard();
        link.view.clear();
        link.command->Boot();
        QCOMPARE(link.view.logs, QStringList{"0:Boot Succeeded"});
        QCOMPARE(link.view.finished, QList<bool>{true});
        QCOMPARE(link.board->bootCount(), 1);
        // The next keep-alive finds it gone, without an error line.
        link.command->pollBoard();
        QCOMPARE(link.view.connectedFalse, 1);
        QCOMPARE(link.view.logs, QStringList{"0:Boot Succeeded"});

        link.view.clear();
        link.command->Boot();
        QCOMPARE(link.view.logs, QStringList{"1:Boot Failed"});
        QCOMPARE(link.view.finished, QList<bool>{false});
    }

    void commandsWithoutBoard()
    {
        BoardLink link;
        link.board->unplug();
        link.command->SendLcdType("S70");
        QCOMPARE(link.view.logs,
                 QStringList({"1:USB Cable not Connected or else error", "1:Set LCD-Type Failed"}));
        QCOMPARE(link.view.finished, QList<bool>{false});
        QCOMPARE(link.view.connectedFalse, 0);
    }

    // --- requests while a transfer runs

    void requestsWhileBusyAreRefused_data()
    {
        QTest::addColumn<QString>("request");
        QTest::addColumn<QString>("message");
        QTest::newRow("download") << "kernel" << "Device busy now";
        QTest::newRow("format") << "format" << "Low Format error: Device busy";
        QTest::newRow("boot") << "boot" << "Boot error: Device busy";
        QTest::newRow("lcd") << "lcd" << "Set LCD type error: Device busy";
        QTest::newRow("address") << "addr" << "Set LCD type error: Device busy";
    }
    void requestsWhileBusyAreRefused()
    {
        QFETCH(QString, request);
        QFETCH(QString, message);
        BoardLink link(TUsbDevCommand::CPU_6410);
        link.command->pollBoard();
        const QString path = writeFile("long.img", randomBytes(200000, 9));
        link.command->SendKernel(path);
        QVERIFY(link.command->IsBusy());
        link.view.clear();
        if (request == "kernel")
            link.command->SendKernel(path);
        else if (request == "format")
            link.command->LowFormat();
        else if (request == "boot")
            link.command->Boot();
        else if (request == "lcd")
            link.command->SendLcdType("S70");
        else
            link.command->SendAddrOfUserBin("30000000");
        // Refused at once, and nothing went to the board for it.
        QCOMPARE(link.view.logs.value(0), "1:" + message);
        QCOMPARE(link.view.finished, QList<bool>{false});
        // The refusal drops the running transfer's file: it ends on its next step, with
        // an outcome of its own.
        QVERIFY(link.waitFinished(2));
        QCOMPARE(link.view.finished, QList<bool>({false, false}));
        QCOMPARE(link.view.logs.constLast(), QStringLiteral("1:Read file error"));
        QVERIFY(!link.command->IsBusy());
        QCOMPARE(link.board->bootCount(), 0);
    }

    void keepAliveStaysOffWhileBusy()
    {
        BoardLink link(TUsbDevCommand::CPU_6410);
        link.command->pollBoard();
        link.command->SendKernel(writeFile("k2.img", randomBytes(100000, 2)));
        link.board->clearTranscript();
        link.command->pollBoard();
        QVERIFY(link.board->transcript().isEmpty());
        QVERIFY(link.waitFinished());
    }

    // --- a board that misbehaves

    void misbehavingBoard_data()
    {
        QTest::addColumn<int>("fault");
        QTest::addColumn<int>("packet");
        QTest::addColumn<QStringList>("errors");
        QTest::addColumn<bool>("stillConnected");
        QTest::newRow("refuses header") << int(Fault::RefuseHeader) << 0
                                        << QStringList{"1:Data not accept by the board"} << true;
        QTest::newRow("answers nothing to header") << int(Fault::ShortHeaderReply) << 0
                                                   << QStringList{"1:Data not accept by the board"} << true;
        QTest::newRow("refuses a packet") << int(Fault::RefusePacket) << 3
                                          << QStringList{"1:Data not accepted by the board"} << true;
        QTest::newRow("garbage to a packet") << int(Fault::GarbagePacketReply) << 0
                                             << QStringList{"1:Data not accepted by the board"} << true;
        QTest::newRow("O to the last packet") << int(Fault::BigOOnLastPacket) << 0
                                              << QStringList{"1:Read file error"} << true;
        QTest::newRow("garbage to idle poll") << int(Fault::GarbageIdleReply) << 0
                                              << QStringList{"1:Waitting idle bad response format"} << true;
        QTest::newRow("short idle reply") << int(Fault::ShortIdleReply) << 0
                                          << QStringList{"1:Waitting idle bad response format"} << true;
        QTest::newRow("vanishes mid-transfer")
            << int(Fault::VanishAfterPackets) << 5
            << QStringList{"1:Write USB Error", "1:Data not accepted by the board"} << false;
    }
    void misbehavingBoard()
    {
        QFETCH(int, fault);
        QFETCH(int, packet);
        QFETCH(QStringList, errors);
        QFETCH(bool, stillConnected);
        BoardLink link(TUsbDevCommand::CPU_6410);
        link.command->pollBoard();
        link.board->setFault(Fault(fault), packet);
        link.view.clear();
        link.command->SendKernel(writeFile("victim.img", randomBytes(5000, 11)));
        QVERIFY(link.waitFinished());
        QTest::qWait(50);

        QCOMPARE(link.view.finished, QList<bool>{false});
        QStringList reported;
        for (const QString &line : std::as_const(link.view.logs)) {
            if (line.startsWith("1:"))
                reported << line;
        }
        QCOMPARE(reported, errors);
        QVERIFY(!link.command->IsBusy());
        QCOMPARE(link.command->isConnected(), stillConnected);
        QCOMPARE(link.view.connectedFalse, stillConnected ? 0 : 1);

        // The next request works once the board behaves (and is back).
        link.board->setFault(Fault::None);
        if (!stillConnected)
            link.plugIn();
        link.view.clear();
        const QByteArray data = randomBytes(4000, 12);
        link.command->SendKernel(writeFile("good.img", data));
        QVERIFY(link.waitFinished());
        QCOMPARE(link.view.finished, QList<bool>{true});
        QVERIFY(link.board->image("kern") == data);
    }

    void pulledCableIsNoticedByTheKeepAlive()
    {
        BoardLink link;
        link.command->pollBoard();
        link.board->unplug();
        link.view.clear();
        link.command->pollBoard();
        // The poll writes without reporting errors: the user only sees the board go.
        QCOMPARE(link.view.events, QStringList{"Connected(false)"});
        link.command->pollBoard();
        QCOMPARE(link.view.events, QStringList{"Connected(false)"});
    }

    void outcomeReachesTheProtocolObjectBeforeTheViews()
    {
        // A view that starts the next download from inside its SendFinished slot must
        // find the protocol object idle again.
        BoardLink link;
        link.command->pollBoard();
        const QString first = writeFile("first.img", randomBytes(1000, 1));
        const QString second = writeFile("second.img", randomBytes(1000, 2));
        bool started = false;
        QObject::connect(link.command.get(), &TUsbDevCommand::SendFinished, link.command.get(), [&](bool ok) {
            if (ok && !started) {
                started = true;
                link.command->SendRamdisk(second);
            }
        });
        link.command->SendKernel(first);
        QVERIFY(link.waitFinished(2));
        QCOMPARE(link.view.finished, QList<bool>({true, true}));
        QCOMPARE(link.board->receivedTags(), QList<QByteArray>({"kern", "rmdk"}));
    }
};

QTEST_GUILESS_MAIN(TstTUsbDevCommand)
#include "tst_tusbdevcommand.moc"
