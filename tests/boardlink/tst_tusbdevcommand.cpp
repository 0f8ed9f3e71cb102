// The download protocol and board identification, against the virtual board. Each page's
// run byte for byte, quick boot and a board lost mid-run are the end-to-end test's.

#include "boardlinkfixture.h"

#include <QtCore>

using Cpu = TUsbDevCommand::TBoardCPU;
using Fault = VirtualBoard::Fault;

class TstTUsbDevCommand : public QObject
{
    Q_OBJECT
    QTemporaryDir dir;
    int files = 0;

    QString writeFile(const QByteArray &bytes)
    {
        QFile file(dir.filePath(QString::number(++files)));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("cannot write %s", qPrintable(file.fileName()));
        return file.fileName();
    }
    static QByteArray randomBytes(int size)
    {
        QByteArray bytes(size, Qt::Uninitialized);
        std::generate(bytes.begin(), bytes.end(), [] { return char(QRandomGenerator::global()->generate()); });
        return bytes;
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
        QTest::newRow("ten lines at most") << QStringLiteral("0 1 2 3 4 5 6 7 8 9 10 11").split(' ') << 0 << 0;
    }
    // Greeted three times, asked for lines until the first non-answer; the views hear of the
    // processor and the description before the connection itself; the next tick only polls.
    // A file then goes whole in packets of the processor's size, announced in bare lower-case
    // hex, with progress at 0 and after every packet.
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
        QCOMPARE(link.view.events, QStringList(recognized, QStringLiteral("Cpu"))
                                       << "Attached:" + lines.mid(0, 10).join('\n') + (lines.isEmpty() ? "" : "\n")
                                       << "Connected(true)");
        link.command->pollBoard();
        QCOMPARE(link.board->transcript().constLast(), QStringLiteral("< \"1 \""));

        const int chunk = cpu == 3 || cpu == 6 ? 65534 : cpu == 0 ? 61 : 510;
        const QByteArray data = randomBytes(2 * chunk + 1);
        link.view.clear();
        link.command->SendKernel(writeFile(data));
        QVERIFY(link.waitFinished());
        QCOMPARE(link.view.finished, QList<bool>{true});
        QVERIFY(link.board->image("kern") == data);
        QVERIFY(link.board->transcript().contains("> \"KOVA kern " + QString::number(data.size(), 16) + '"'));
        QCOMPARE(link.view.events, QStringList{QStringLiteral("Max(%1)").arg(data.size())});
        QCOMPARE(link.view.positions, QList<int>({0, chunk, 2 * chunk, 2 * chunk + 1}));
        QVERIFY(link.view.logs.contains("0:Send File completed, Waitting...") && link.view.logs.contains("0:Writing kern to flash ... 25%"));
        QVERIFY(!link.view.logs.join('|').contains("1:"));
    }
    // Refusals before anything goes out; commands without a file end before the call
    // returns, each with its own word; boot makes the board go quietly; without a board a
    // command is told the cable is missing. The tags of the root file system and of low format
    // follow the processor and the system (that the commands use them is the end-to-end test's).
    void commandsAndTags()
    {
        BoardLink link;
        link.command->pollBoard();
        link.board->clearTranscript();
        link.view.clear();
        link.command->SendKernel(writeFile(QByteArray()));
        link.command->SendKernel(dir.filePath("nothing.img"));
        QVERIFY(link.waitFinished(2));
        for (const char *addr : {"0x30000000", "", "3000 0000", "3000000g"})
            link.command->SendAddrOfUserBin(QString::fromLatin1(addr));
        QVERIFY(link.board->transcript().isEmpty());
        link.command->SendLcdType("S70");
        link.board->setFault(Fault::RefuseCommands);
        link.command->SendLcdType("S70");
        link.command->LowFormat();
        link.board->setFault(Fault::None);
        link.command->Boot();
        link.command->pollBoard();
        link.command->Boot();
        link.command->SendLcdType("S70");
        QCOMPARE(link.view.logs, QStringList(2, "1:Cannot open file") + QStringList(4, "1:Bad format of User-Bin's Address")
                                     + QStringList({"0:Set LCD-Type Succeeded", "1:Set LCD-Type Failed", "1:Low Format Failed",
                                                    "0:Boot Succeeded", "1:Boot Failed", "1:USB Cable not Connected or else error",
                                                    "1:Set LCD-Type Failed"}));
        QCOMPARE(link.view.finished, QList<bool>(6, false) + QList<bool>({true, false, false, true, false, false}));
        QCOMPARE(link.view.events, QStringList{"Connected(false)"});

        const QList<std::tuple<int, int, QByteArray, QByteArray>> tags = {
            {7, 2, "lfsi", "fmtl"}, {8, 2, "lfsi", "fmtl"}, {6, 0, "fsig", "lfmt"}, {6, 1, "ufsi", "fmtu"},
            {6, 3, "fsig", "lfmt"}, {2, 2, "fsig", "lfmt"}};
        for (const auto &[cpu, os, fsTag, formatTag] : tags) {
            QCOMPARE(TUsbDevCommand::fileSystemTag(Cpu(cpu), TUsbDevCommand::TOS(os)), fsTag);
            QCOMPARE(TUsbDevCommand::formatTag(Cpu(cpu), TUsbDevCommand::TOS(os)), formatTag);
        }
    }

    // One board through requests that end unusually. A request while a transfer runs is
    // refused at once, and nothing goes to the board; the refusal drops the running
    // transfer's file, which then ends with an outcome of its own. Each fault of the board
    // fails its transfer for its own reason, and the next request works once the board
    // behaves. A user bin run from memory is confirmed once its data is in; the board is gone
    // before the idle poll, which ends the request a second time, unreported (its content and
    // the board's return are the end-to-end test's). A refused run leaves the "board leaves"
    // mark for the ramdisk after it, confirmed twice; a kernel clears it.
    void unusualEnds()
    {
        BoardLink link(TUsbDevCommand::CPU_6410);
        link.command->pollBoard();
        const QString path = writeFile(randomBytes(200000));
        const QList<std::pair<std::function<void()>, QString>> requests = {
            {[&] { link.command->SendKernel(path); }, "Device busy now"},
            {[&] { link.command->LowFormat(); }, "Low Format error: Device busy"},
            {[&] { link.command->Boot(); }, "Boot error: Device busy"},
            {[&] { link.command->SendLcdType("S70"); }, "Set LCD type error: Device busy"},
            {[&] { link.command->SendAddrOfUserBin("30000000"); }, "Set LCD type error: Device busy"}};
        for (const auto &[request, message] : requests) {
            link.command->SendKernel(path);
            link.board->clearTranscript();
            link.view.clear();
            link.command->pollBoard(); // the keep-alive stays off
            request();
            QCOMPARE(link.view.logs, QStringList{"1:" + message});
            QVERIFY(link.board->transcript().isEmpty());
            QVERIFY(link.waitFinished(2));
            QCOMPARE(link.view.finished, QList<bool>({false, false}));
            QCOMPARE(link.view.logs.constLast(), QStringLiteral("1:Read file error"));
        }

        const QString header = "1:Data not accept by the board", packet = "1:Data not accepted by the board",
                      idle = "1:Waitting idle bad response format";
        const QList<std::tuple<Fault, int, QString>> faults = {
            {Fault::RefuseHeader, 0, header}, {Fault::ShortHeaderReply, 0, header}, {Fault::RefusePacket, 3, packet},
            {Fault::GarbagePacketReply, 0, packet}, {Fault::BigOOnLastPacket, 0, "1:Read file error"},
            {Fault::GarbageIdleReply, 0, idle}, {Fault::ShortIdleReply, 0, idle}};
        for (const auto &[fault, packetNumber, error] : faults) {
            link.board->setFault(fault, packetNumber);
            link.view.clear();
            link.command->SendKernel(writeFile(randomBytes(5000)));
            QVERIFY(link.waitFinished());
            QCOMPARE(link.view.logs.filter(QRegularExpression("^1:")), QStringList{error});
            link.board->setFault(Fault::None);
            const QByteArray data = randomBytes(4000);
            link.command->SendKernel(writeFile(data));
            QVERIFY(link.waitFinished(2));
            QCOMPARE(link.view.finished, QList<bool>({false, true}));
            QVERIFY(link.board->image("kern") == data && !link.view.events.contains("Connected(false)"));
        }

        link.view.clear();
        link.command->SendUserBin(writeFile(randomBytes(5000)), false);
        QVERIFY(link.waitFinished(2));
        QCOMPARE(link.view.finished, QList<bool>({true, false}));
        QCOMPARE(link.view.events.count("Connected(false)"), 1);
        QVERIFY(!link.view.logs.join('|').contains("1:"));
        link.plugIn();

        link.board->setFault(Fault::RefuseHeader);
        link.command->SendUserBin(writeFile("abc"), false);
        QVERIFY(link.waitFinished(2));
        link.board->setFault(Fault::None);
        link.view.clear();
        link.command->SendRamdisk(writeFile(randomBytes(3000)));
        QVERIFY(link.waitFinished(2));
        QCOMPARE(link.view.finished, QList<bool>({true, true}));
        link.command->SendKernel(writeFile("kernel"));
        QVERIFY(link.waitFinished(3));
        link.view.clear();
        link.command->SendRamdisk(writeFile(randomBytes(3000)));
        QVERIFY(link.waitFinished());
        QCOMPARE(link.view.finished, QList<bool>{true});
    }
};

QTEST_GUILESS_MAIN(TstTUsbDevCommand)
#include "tst_tusbdevcommand.moc"
