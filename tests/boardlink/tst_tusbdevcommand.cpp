// The download protocol and board identification, end to end against the virtual board.

#include "boardlinkfixture.h"

#include <QFile>
#include <QRandomGenerator>
#include <QRegularExpression>
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
    return int(std::count_if(lines.begin(), lines.end(), [&](const QString &l) { return l.contains(needle); }));
}

} // namespace

class TstTUsbDevCommand : public QObject
{
    Q_OBJECT
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

    void identifiesTheBoard_data()
    {
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<int>("cpu");
        QTest::addColumn<int>("recognized");
        for (int cpu = TUsbDevCommand::CPU_210; cpu <= TUsbDevCommand::CPU_3358; ++cpu)
            QTest::addRow("board %d", cpu) << VirtualBoard::defaultHardwareLines(Cpu(cpu), "8GB") << cpu << 1;
        QTest::newRow("one line then silence") << QStringList{"CPU: Exynos4412"} << int(TUsbDevCommand::CPU_4412) << 1;
        QTest::newRow("CPU line naming no known processor") << QStringList{"boot", "CPU: Cortex-A8"} << 0 << 0;
        QTest::newRow("number outside a CPU line is not looked at") << QStringList{"RAM: 4412 MB", "NAND: 2440"} << 0 << 0;
        QTest::newRow("2440 takes small packets") << QStringList{"x", "CPU: S3C2440"} << int(TUsbDevCommand::CPU_2440) << 1;
        QTest::newRow("several matches, the last in table order wins")
            << QStringList{"CPU: 6410 or 210"} << int(TUsbDevCommand::CPU_6410) << 2;
        QTest::newRow("case matters in the CPU tag") << QStringList{"cpu: 4412"} << 0 << 0;
        QTest::newRow("silent board gives an empty description") << QStringList{} << 0 << 0;
        QStringList twelve;
        for (int i = 0; i < 12; ++i)
            twelve << QStringLiteral("Line%1: %1").arg(i);
        QTest::newRow("ten lines at most") << twelve << 0 << 0;
    }
    void identifiesTheBoard()
    {
        QFETCH(QStringList, lines);
        QFETCH(int, cpu);
        QFETCH(int, recognized);
        BoardLink link;
        link.board->setHardwareLines(lines);
        link.command->pollBoard();
        const QStringList t = link.board->transcript(); // three greetings, then the questions
        QCOMPARE(QStringList({t.value(0), t.value(2), t.value(4), t.value(6)}),
                 QStringList({"> \"SKIPINFO\"", "> \"SKIPINFO\"", "> \"SKIPINFO\"", "> \"GETHW 0\""}));
        // Asked until the first answer that is no line, ten times at most.
        QCOMPARE(countLines(t, "> \"GETHW "), qMin(int(lines.size()) + 1, 10));

        QCOMPARE(int(link.command->boardCpu()), cpu);
        const int packet = cpu == 0 || cpu == 3 ? 63 : 512;
        QCOMPARE(link.command->currentPacketSize(), packet);
        QCOMPARE(link.command->chunkSize(), cpu == 3 || cpu == 6 ? 65534 : packet - 2);
        // The protocol object's own handler runs first and identifies the board, so a view
        // hears of the processor and the description before the connection itself.
        QCOMPARE(link.view.events, QStringList(recognized, QStringLiteral("Cpu")) << "Attached" << "Connected(true)");
        QCOMPARE(link.view.attached.value(0), lines.mid(0, 10).join('\n') + (lines.isEmpty() ? "" : "\n"));
        QVERIFY(link.view.logs.isEmpty());
        // The next tick only polls.
        link.command->pollBoard();
        QCOMPARE(link.view.events.size(), recognized + 2);
        QCOMPARE(link.board->transcript().constLast(), QStringLiteral("< \"1 \""));
    }

    void pulledCableIsNoticedAndTheNextBoardIdentified()
    {
        BoardLink link(TUsbDevCommand::CPU_210);
        link.command->pollBoard();
        link.board->unplug();
        link.view.clear();
        link.command->pollBoard();
        link.command->pollBoard();
        // The keep-alive writes without reporting errors: the user only sees the board go.
        QCOMPARE(link.view.events, QStringList{"Connected(false)"});
        QVERIFY(link.view.logs.isEmpty());
        QCOMPARE(link.command->boardCpu(), TUsbDevCommand::CPU_210);

        link.board->setCpu(TUsbDevCommand::CPU_2440);
        link.plugIn();
        QCOMPARE(link.view.count("Connected(true)"), 1);
        QCOMPARE(link.command->boardCpu(), TUsbDevCommand::CPU_2440);
        QCOMPARE(link.command->chunkSize(), 65534);
    }

    // --- downloads

    void downloadsFilesWhole_data()
    {
        QTest::addColumn<int>("cpu");
        QTest::addColumn<int>("size");
        const struct { Cpu cpu; int chunk; } kinds[] = {
            {TUsbDevCommand::CPU_Unknown, 61}, {TUsbDevCommand::CPU_6410, 510}, {TUsbDevCommand::CPU_4412, 65534}};
        for (const auto &kind : kinds) {
            for (int size : {1, kind.chunk, kind.chunk + 1, 0x2f4a00})
                QTest::addRow("chunk %d, %d bytes", kind.chunk, size) << int(kind.cpu) << size;
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
        link.view.clear();
        link.command->SendKernel(writeFile(QStringLiteral("kernel-%1-%2.img").arg(cpu).arg(size), data));
        QVERIFY(link.waitFinished());

        QCOMPARE(link.view.finished, QList<bool>{true});
        QVERIFY(!link.command->IsBusy());
        QVERIFY(link.board->image("kern") == data);
        // Lower-case hexadecimal, no prefix: 0x2f4a00 bytes are announced as 2f4a00.
        QCOMPARE(countLines(link.board->transcript(), "> \"KOVA kern " + QString::number(size, 16) + '"'), 1);

        // Progress: 0, the size, then the position after every chunk.
        QCOMPARE(link.view.events, QStringList{QStringLiteral("Max(%1)").arg(size)});
        QList<int> expected{0};
        for (int pos = link.command->chunkSize(); pos < size; pos += link.command->chunkSize())
            expected << pos;
        QCOMPARE(link.view.positions, expected << size);
        // The board's own progress texts are passed on as they come.
        QVERIFY(link.view.logs.contains("0:Send File completed, Waitting..."));
        QVERIFY(link.view.logs.contains("0:Writing kern to flash ... 25%"));
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
        link.board->clearTranscript();
        link.view.clear();
        link.command->SendKernel(exists ? writeFile("empty.img", QByteArray()) : dir.filePath("nothing.img"));
        QVERIFY(link.waitFinished());
        QCOMPARE(link.view.logs, QStringList{"1:Cannot open file"});
        QCOMPARE(link.view.finished, QList<bool>{false});
        QVERIFY(link.board->transcript().isEmpty());
        QVERIFY(!link.command->IsBusy());
    }

    // Every download request of a board that stays in download mode.
    void eachRequestUsesItsTag_data()
    {
        QTest::addColumn<QString>("slot");
        QTest::addColumn<QByteArray>("tag");
        const char *rows[][2] = {{"SendHalvorn", "hlvn"}, {"SendKernel", "kern"},     {"SendRamdisk", "rmdk"},
                                 {"SendUserDataFs", "fuig"}, {"SendCeLogo", "celg"}, {"SendCeNk", "cenk"},
                                 {"SendLinuxFs", "fsig"},    {"SendUserBin", "ubin"}, {"SendCmdLine", "cmdl"}};
        for (const auto &row : rows)
            QTest::newRow(row[0]) << row[0] << QByteArray(row[1]);
    }
    void eachRequestUsesItsTag()
    {
        QFETCH(QString, slot);
        QFETCH(QByteArray, tag);
        BoardLink link;
        link.command->pollBoard();
        QByteArray data = randomBytes(70000, 7);
        QString argument = writeFile(tag + ".bin", data);
        if (slot == "SendCmdLine") { // the text itself is sent, as if it were a file
            argument = QStringLiteral("console=ttySAC2,115200 lcd=S70 skipcali=y");
            data = argument.toLatin1();
        }
        if (slot == "SendUserBin")
            link.command->SendUserBin(argument, true); // installed to flash
        else
            QVERIFY(QMetaObject::invokeMethod(link.command.get(), qPrintable(slot), Q_ARG(QString, argument)));
        QVERIFY(link.waitFinished());
        QCOMPARE(link.view.finished, QList<bool>{true});
        QCOMPARE(link.board->receivedTags(), QList<QByteArray>{tag});
        QVERIFY(link.board->image(tag) == data);
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
        QCOMPARE(link.view.count("Connected(false)"), 1);
        QVERIFY(!link.view.logs.join('|').contains("1:"));
        QVERIFY(!link.command->IsBusy());

        // Once the board is back in download mode it connects and downloads again, and
        // its reports are no longer silenced.
        link.plugIn();
        link.view.clear();
        link.command->SendKernel(writeFile("after.img", data));
        QVERIFY(link.waitFinished());
        QCOMPARE(link.view.finished, QList<bool>{true});
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
        link.command->SendKernel(writeFile("k.img", "kernel"));
        QVERIFY(link.waitFinished(3));
        link.view.clear();
        link.command->SendRamdisk(writeFile("ramdisk2.img", randomBytes(3000, 6)));
        QVERIFY(link.waitFinished());
        QCOMPARE(link.view.finished, QList<bool>{true});
    }

    void tagsFollowProcessorAndSystem_data()
    {
        QTest::addColumn<int>("cpu");
        QTest::addColumn<int>("os");
        QTest::addColumn<QByteArray>("fsTag");
        QTest::addColumn<QByteArray>("formatTag");
        QTest::newRow("5250 linux") << 7 << 2 << QByteArray("lfsi") << QByteArray("fmtl");
        QTest::newRow("3358 linux") << 8 << 2 << QByteArray("lfsi") << QByteArray("fmtl");
        QTest::newRow("4412 android") << 6 << 0 << QByteArray("fsig") << QByteArray("lfmt");
        QTest::newRow("4412 utagged") << 6 << 1 << QByteArray("ufsi") << QByteArray("fmtu");
        QTest::newRow("4412 wince") << 6 << 3 << QByteArray("fsig") << QByteArray("lfmt");
        QTest::newRow("4412 none set") << 6 << 5 << QByteArray("fsig") << QByteArray("lfmt");
        QTest::newRow("6410 linux") << 2 << 2 << QByteArray("fsig") << QByteArray("lfmt");
    }
    void tagsFollowProcessorAndSystem()
    {
        QFETCH(int, cpu);
        QFETCH(int, os);
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
        QTEST(link.board->receivedTags().value(0), "fsTag");
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
        for (const char *addr : {"0x30000000", "", "3000 0000", "30000000\n", "3000000g"})
            QTest::newRow(addr) << QString::fromLatin1(addr);
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
        QCOMPARE(link.view.events, QStringList{"Connected(false)"});
        QCOMPARE(link.view.logs, QStringList{"0:Boot Succeeded"});

        // Without a board, boot fails by itself; a command that needs the link is told
        // the cable is missing, with no further disconnection.
        link.view.clear();
        link.command->Boot();
        link.command->SendLcdType("S70");
        QCOMPARE(link.view.logs, QStringList({"1:Boot Failed", "1:USB Cable not Connected or else error",
                                              "1:Set LCD-Type Failed"}));
        QCOMPARE(link.view.finished, QList<bool>({false, false}));
        QVERIFY(link.view.events.isEmpty());
    }

    // --- requests while a transfer runs

    void requestsWhileBusyAreRefused_data()
    {
        QTest::addColumn<int>("request");
        QTest::addColumn<QString>("message");
        QTest::newRow("download") << 0 << "Device busy now";
        QTest::newRow("format") << 1 << "Low Format error: Device busy";
        QTest::newRow("boot") << 2 << "Boot error: Device busy";
        QTest::newRow("lcd") << 3 << "Set LCD type error: Device busy";
        QTest::newRow("address") << 4 << "Set LCD type error: Device busy";
    }
    void requestsWhileBusyAreRefused()
    {
        QFETCH(int, request);
        QFETCH(QString, message);
        BoardLink link(TUsbDevCommand::CPU_6410);
        link.command->pollBoard();
        const QString path = writeFile("long.img", randomBytes(200000, 9));
        link.command->SendKernel(path);
        QVERIFY(link.command->IsBusy());
        link.board->clearTranscript();
        link.view.clear();
        link.command->pollBoard(); // the keep-alive stays off
        switch (request) {
        case 0: link.command->SendKernel(path); break;
        case 1: link.command->LowFormat(); break;
        case 2: link.command->Boot(); break;
        case 3: link.command->SendLcdType("S70"); break;
        default: link.command->SendAddrOfUserBin("30000000");
        }
        // Refused at once, and nothing went to the board.
        QCOMPARE(link.view.logs, QStringList{"1:" + message});
        QCOMPARE(link.view.finished, QList<bool>{false});
        QVERIFY(link.board->transcript().isEmpty());
        // The refusal drops the running transfer's file: it ends on its next step, with
        // an outcome of its own.
        QVERIFY(link.waitFinished(2));
        QCOMPARE(link.view.finished, QList<bool>({false, false}));
        QCOMPARE(link.view.logs.constLast(), QStringLiteral("1:Read file error"));
        QVERIFY(!link.command->IsBusy());
        QCOMPARE(link.board->bootCount(), 0);
    }

    // --- a board that misbehaves

    void misbehavingBoard_data()
    {
        QTest::addColumn<int>("fault");
        QTest::addColumn<int>("packet");
        QTest::addColumn<QStringList>("errors");
        const QStringList header{"1:Data not accept by the board"}, packet{"1:Data not accepted by the board"},
            idle{"1:Waitting idle bad response format"};
        QTest::newRow("refuses header") << int(Fault::RefuseHeader) << 0 << header;
        QTest::newRow("answers nothing to header") << int(Fault::ShortHeaderReply) << 0 << header;
        QTest::newRow("refuses a packet") << int(Fault::RefusePacket) << 3 << packet;
        QTest::newRow("garbage to a packet") << int(Fault::GarbagePacketReply) << 0 << packet;
        QTest::newRow("O to the last packet") << int(Fault::BigOOnLastPacket) << 0 << QStringList{"1:Read file error"};
        QTest::newRow("garbage to idle poll") << int(Fault::GarbageIdleReply) << 0 << idle;
        QTest::newRow("short idle reply") << int(Fault::ShortIdleReply) << 0 << idle;
        QTest::newRow("vanishes mid-transfer") << int(Fault::VanishAfterPackets) << 5
                                               << QStringList{"1:Write USB Error", packet.at(0)};
    }
    void misbehavingBoard()
    {
        QFETCH(int, fault);
        QFETCH(int, packet);
        QFETCH(QStringList, errors);
        const bool vanishes = Fault(fault) == Fault::VanishAfterPackets;
        BoardLink link(TUsbDevCommand::CPU_6410);
        link.command->pollBoard();
        link.board->setFault(Fault(fault), packet);
        link.view.clear();
        link.command->SendKernel(writeFile("victim.img", randomBytes(5000, 11)));
        QVERIFY(link.waitFinished());
        QTest::qWait(50);

        QCOMPARE(link.view.finished, QList<bool>{false});
        QCOMPARE(link.view.logs.filter(QRegularExpression("^1:")), errors);
        QVERIFY(!link.command->IsBusy());
        QCOMPARE(link.command->isConnected(), !vanishes);
        QCOMPARE(link.view.count("Connected(false)"), vanishes ? 1 : 0);

        // The next request works once the board behaves (and is back).
        link.board->setFault(Fault::None);
        if (vanishes)
            link.plugIn();
        link.view.clear();
        const QByteArray data = randomBytes(4000, 12);
        link.command->SendKernel(writeFile("good.img", data));
        QVERIFY(link.waitFinished());
        QCOMPARE(link.view.finished, QList<bool>{true});
        QVERIFY(link.board->image("kern") == data);
    }

    // A view that starts the next download from inside its SendFinished slot must find
    // the protocol object idle again.
    void outcomeReachesTheProtocolObjectBeforeTheViews()
    {
        BoardLink link;
        link.command->pollBoard();
        const QString second = writeFile("second.img", randomBytes(1000, 2));
        QObject::connect(link.command.get(), &TUsbDevCommand::SendFinished, link.command.get(), [&](bool ok) {
            if (ok && link.board->receivedTags().size() == 1)
                link.command->SendRamdisk(second);
        });
        link.command->SendKernel(writeFile("first.img", randomBytes(1000, 1)));
        QVERIFY(link.waitFinished(2));
        QCOMPARE(link.view.finished, QList<bool>({true, true}));
        QCOMPARE(link.board->receivedTags(), QList<QByteArray>({"kern", "rmdk"}));
    }
};

QTEST_GUILESS_MAIN(TstTUsbDevCommand)
#include "tst_tusbdevcommand.moc"
