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

} // namespace

class TstTUsbDevCommand : public QObject
{
    Q_OBJECT
    QTemporaryDir dir;

    QString writeFile(const QString &name, const QByteArray &bytes)
    {
        QFile file(dir.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("cannot write %s", qPrintable(name));
        return file.fileName();
    }

private Q_SLOTS:
    void identifiesTheBoard_data()
    {
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<int>("cpu");
        QTest::addColumn<int>("recognized");
        for (int cpu = TUsbDevCommand::CPU_210; cpu <= TUsbDevCommand::CPU_3358; ++cpu)
            QTest::addRow("board %d", cpu) << VirtualBoard::defaultHardwareLines(Cpu(cpu), "8GB") << cpu << 1;
        QTest::newRow("CPU line naming no known processor") << QStringList{"boot", "cpu: 4412", "CPU: Cortex-A8"} << 0 << 0;
        QTest::newRow("number outside a CPU line") << QStringList{"RAM: 4412 MB", "NAND: 2440"} << 0 << 0;
        QTest::newRow("the last match in table order wins") << QStringList{"CPU: 6410 or 210"} << int(TUsbDevCommand::CPU_6410) << 2;
        QTest::newRow("silent board") << QStringList{} << 0 << 0;
        QStringList twelve;
        for (int i = 0; i < 12; ++i)
            twelve << QStringLiteral("Line%1: %1").arg(i);
        QTest::newRow("ten lines at most") << twelve << 0 << 0;
    }
    // Greeted three times, asked for lines until the first non-answer; the views hear of the
    // processor and the description before the connection itself; the next tick only polls.
    void identifiesTheBoard()
    {
        QFETCH(QStringList, lines);
        QFETCH(int, cpu);
        QFETCH(int, recognized);
        BoardLink link;
        link.board->setHardwareLines(lines);
        link.command->pollBoard();
        const QStringList t = link.board->transcript();
        QCOMPARE(QStringList({t.value(0), t.value(2), t.value(4), t.value(6)}),
                 QStringList({"> \"SKIPINFO\"", "> \"SKIPINFO\"", "> \"SKIPINFO\"", "> \"GETHW 0\""}));
        QCOMPARE(int(t.filter("> \"GETHW ").size()), qMin(int(lines.size()) + 1, 10));
        QCOMPARE(int(link.command->boardCpu()), cpu);
        const int packet = cpu == 0 || cpu == 3 ? 63 : 512;
        QCOMPARE(link.command->currentPacketSize(), packet);
        QCOMPARE(link.command->chunkSize(), cpu == 3 || cpu == 6 ? 65534 : packet - 2);
        QCOMPARE(link.view.events, QStringList(recognized, QStringLiteral("Cpu")) << "Attached" << "Connected(true)");
        QCOMPARE(link.view.attached.value(0), lines.mid(0, 10).join('\n') + (lines.isEmpty() ? "" : "\n"));
        QVERIFY(link.view.logs.isEmpty());
        link.command->pollBoard();
        QCOMPARE(link.view.events.size(), recognized + 2);
        QCOMPARE(link.board->transcript().constLast(), QStringLiteral("< \"1 \""));

        // Pulled out: the keep-alive notices quietly; the next board is identified anew.
        link.board->unplug();
        link.view.clear();
        link.command->pollBoard();
        link.command->pollBoard();
        QCOMPARE(link.view.events, QStringList{"Connected(false)"});
        QVERIFY(link.view.logs.isEmpty());
        link.board->setCpu(TUsbDevCommand::CPU_2440);
        link.board->setHardwareLines(VirtualBoard::defaultHardwareLines(TUsbDevCommand::CPU_2440, "8GB"));
        link.plugIn();
        QCOMPARE(link.command->boardCpu(), TUsbDevCommand::CPU_2440);
    }

    void downloadsFilesWhole_data()
    {
        QTest::addColumn<int>("cpu");
        QTest::addColumn<int>("size");
        const struct { Cpu cpu; int chunk; } kinds[] = {
            {TUsbDevCommand::CPU_Unknown, 61}, {TUsbDevCommand::CPU_6410, 510}, {TUsbDevCommand::CPU_4412, 65534}};
        for (const auto &kind : kinds)
            for (int size : {kind.chunk, kind.chunk + 1, 0x2f4a00})
                QTest::addRow("chunk %d, %d bytes", kind.chunk, size) << int(kind.cpu) << size;
    }
    // Announced in bare lower-case hex; progress 0, then after every chunk; the board's own texts passed on.
    void downloadsFilesWhole()
    {
        QFETCH(int, cpu);
        QFETCH(int, size);
        BoardLink link(cpu == 0 ? TUsbDevCommand::CPU_4412 : Cpu(cpu));
        if (cpu == 0) // a board that names no processor gets the smallest packets
            link.board->setHardwareLines({"Halvorn", "CPU: unknown"});
        link.command->pollBoard();
        const QByteArray data = randomBytes(size, quint32(size));
        link.view.clear();
        link.command->SendKernel(writeFile(QStringLiteral("kernel-%1-%2.img").arg(cpu).arg(size), data));
        QVERIFY(link.waitFinished());
        QCOMPARE(link.view.finished, QList<bool>{true});
        QVERIFY(!link.command->IsBusy());
        QVERIFY(link.board->image("kern") == data);
        QVERIFY(link.board->transcript().contains("> \"KOVA kern " + QString::number(size, 16) + '"'));
        QCOMPARE(link.view.events, QStringList{QStringLiteral("Max(%1)").arg(size)});
        QList<int> expected{0};
        for (int pos = link.command->chunkSize(); pos < size; pos += link.command->chunkSize())
            expected << pos;
        QCOMPARE(link.view.positions, expected << size);
        QVERIFY(link.view.logs.contains("0:Send File completed, Waitting..."));
        QVERIFY(link.view.logs.contains("0:Writing kern to flash ... 25%"));
    }

    // The tags of the root file system and of low format follow the processor and the
    // system (each page's own tags are the end-to-end test's); refusals before anything goes out.
    void tagsAndRefusals()
    {
        BoardLink link;
        link.command->pollBoard();
        link.board->clearTranscript();
        link.view.clear();
        link.command->SendKernel(writeFile("empty.img", QByteArray()));
        link.command->SendKernel(dir.filePath("nothing.img"));
        QVERIFY(link.waitFinished(2));
        for (const char *addr : {"0x30000000", "", "3000 0000", "3000000g"})
            link.command->SendAddrOfUserBin(QString::fromLatin1(addr));
        QCOMPARE(link.view.logs, QStringList(2, "1:Cannot open file") + QStringList(4, "1:Bad format of User-Bin's Address"));
        QCOMPARE(link.view.finished, QList<bool>(6, false));
        QVERIFY(link.board->transcript().isEmpty());

        const QList<std::tuple<int, int, QByteArray, QByteArray>> tags = {
            {7, 2, "lfsi", "fmtl"}, {8, 2, "lfsi", "fmtl"}, {6, 0, "fsig", "lfmt"}, {6, 1, "ufsi", "fmtu"},
            {6, 3, "fsig", "lfmt"}, {2, 2, "fsig", "lfmt"}};
        for (const auto &[cpu, os, fsTag, formatTag] : tags) {
            BoardLink board{Cpu(cpu)};
            board.command->pollBoard();
            board.command->SetOS(TUsbDevCommand::TOS(os));
            board.command->LowFormat();
            QCOMPARE(board.board->formatCommands(), QList<QByteArray>{formatTag});
            board.command->SendLinuxFs(writeFile("rootfs.img", "root file system"));
            QVERIFY(board.waitFinished(2));
            QCOMPARE(board.board->receivedTags().value(0), fsTag);
        }
    }

    // A user bin run from memory is confirmed once its data is in; the board is gone before
    // the idle poll, which ends the request a second time, unreported. Back in download mode
    // it downloads again and its reports are heard. A refused run leaves the "board leaves"
    // mark for the ramdisk after it, confirmed twice; a kernel clears it.
    void leavingDownloadMode()
    {
        BoardLink link;
        link.command->pollBoard();
        const QByteArray data = randomBytes(5000, 4);
        link.command->SendUserBin(writeFile("run.bin", data), false);
        QVERIFY(link.waitFinished(2));
        QCOMPARE(link.view.finished, QList<bool>({true, false}));
        QVERIFY(link.board->image("rbin") == data);
        QCOMPARE(link.view.count("Connected(false)"), 1);
        QVERIFY(!link.view.logs.join('|').contains("1:"));
        link.plugIn();
        link.view.clear();
        link.command->SendKernel(writeFile("after.img", data));
        QVERIFY(link.waitFinished());
        QCOMPARE(link.view.finished, QList<bool>{true});
        QVERIFY(link.view.logs.contains("0:Send File completed, Waitting..."));

        link.board->setFault(Fault::RefuseHeader);
        link.command->SendUserBin(writeFile("r.bin", "abc"), false);
        QVERIFY(link.waitFinished(2));
        link.board->setFault(Fault::None);
        link.view.clear();
        link.command->SendRamdisk(writeFile("ramdisk.img", randomBytes(3000, 5)));
        QVERIFY(link.waitFinished(2));
        QCOMPARE(link.view.finished, QList<bool>({true, true}));
        link.command->SendKernel(writeFile("k.img", "kernel"));
        QVERIFY(link.waitFinished(3));
        link.view.clear();
        link.command->SendRamdisk(writeFile("ramdisk2.img", randomBytes(3000, 6)));
        QVERIFY(link.waitFinished());
        QCOMPARE(link.view.finished, QList<bool>{true});
    }

    // Commands without a file end before the call returns; boot makes the board go quietly;
    // without a board, a command is told the cable is missing.
    void commands()
    {
        BoardLink link;
        link.command->pollBoard();
        link.view.clear();
        link.command->SendLcdType("S70");
        link.command->SendAddrOfUserBin("30000000");
        link.command->LowFormat();
        link.board->setFault(Fault::RefuseCommands);
        link.command->SendLcdType("S70");
        link.command->LowFormat();
        link.board->setFault(Fault::None);
        link.command->Boot();
        link.command->pollBoard();
        link.command->Boot();
        link.command->SendLcdType("S70");
        QCOMPARE(link.view.logs, QStringList({"0:Set LCD-Type Succeeded", "0:Set User-Bin's Address Succeeded",
                                              "0:Low Format Succeeded", "1:Set LCD-Type Failed", "1:Low Format Failed",
                                              "0:Boot Succeeded", "1:Boot Failed", "1:USB Cable not Connected or else error",
                                              "1:Set LCD-Type Failed"}));
        QCOMPARE(link.view.finished, QList<bool>({true, true, true, false, false, true, false, false}));
        QCOMPARE(link.view.events, QStringList{"Connected(false)"});
        QCOMPARE(link.board->lcdType(), QByteArray("S70"));
        QVERIFY(link.board->transcript().contains("> \"KOVA abin 30000000\""));
        QCOMPARE(link.board->bootCount(), 1);
    }

    // Refused at once while a transfer runs, and nothing goes to the board; the refusal drops
    // the running transfer's file, which then ends with an outcome of its own.
    void requestsWhileBusyAreRefused()
    {
        const QStringList messages = {"Device busy now", "Low Format error: Device busy", "Boot error: Device busy",
                                      "Set LCD type error: Device busy", "Set LCD type error: Device busy"};
        for (int request = 0; request < messages.size(); ++request) {
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
            QCOMPARE(link.view.logs, QStringList{"1:" + messages[request]});
            QVERIFY(link.board->transcript().isEmpty());
            QVERIFY(link.waitFinished(2));
            QCOMPARE(link.view.finished, QList<bool>({false, false}));
            QCOMPARE(link.view.logs.constLast(), QStringLiteral("1:Read file error"));
            QVERIFY(!link.command->IsBusy());
        }
    }

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
        QTest::newRow("vanishes mid-transfer") << int(Fault::VanishAfterPackets) << 5 << QStringList{"1:Write USB Error", packet.at(0)};
    }
    // One failure, its reason, and the next request works once the board behaves (and is back).
    void misbehavingBoard()
    {
        QFETCH(int, fault);
        QFETCH(int, packet);
        const bool vanishes = Fault(fault) == Fault::VanishAfterPackets;
        BoardLink link(TUsbDevCommand::CPU_6410);
        link.command->pollBoard();
        link.board->setFault(Fault(fault), packet);
        link.view.clear();
        link.command->SendKernel(writeFile("victim.img", randomBytes(5000, 11)));
        QVERIFY(link.waitFinished());
        QTest::qWait(50);
        QCOMPARE(link.view.finished, QList<bool>{false});
        QTEST(link.view.logs.filter(QRegularExpression("^1:")), "errors");
        QVERIFY(!link.command->IsBusy());
        QCOMPARE(link.view.count("Connected(false)"), vanishes ? 1 : 0);
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

    // A view that starts the next download from its SendFinished slot finds the link idle again.
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
