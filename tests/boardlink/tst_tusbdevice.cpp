// The link worker's exchange primitive and its poll, over a scripted transport.

#include "boardlink/tusbdevice.h"
#include "boardlink/usbtransport.h"

#include <QSignalSpy>
#include <QTest>

#include <deque>

namespace {

class ScriptedTransport : public UsbTransport
{
public:
    bool boardPresent = true;
    bool opened = false;
    std::deque<int> writeResults;         // -1 fails a write; empty means success
    std::deque<QByteArray> replies;       // "!" fails a read; empty queue answers nothing
    QList<QByteArray> written;

    bool open() override { return opened = boardPresent; }
    bool isOpen() const override { return opened; }
    int write(const char *data, int len) override
    {
        written << QByteArray(data, len);
        if (writeResults.empty())
            return len;
        const int r = writeResults.front();
        writeResults.pop_front();
        return r;
    }
    int read(char *buffer, int len) override
    {
        if (replies.empty())
            return 0;
        const QByteArray r = replies.front();
        replies.pop_front();
        if (r == "!")
            return -1;
        const int n = qMin(len, int(r.size()));
        memcpy(buffer, r.constData(), size_t(n));
        return n;
    }
    void close() override { opened = false; }
};

class ProbeDevice : public TUsbDevice
{
public:
    bool busy = false;
    bool IsBusy() override { return busy; }
    void setQuiet(bool on) { quiet = on; }
};

struct Rig
{
    Rig()
    {
        device.Stop();
        device.setTransport(transport);
    }
    ProbeDevice device;
    std::shared_ptr<ScriptedTransport> transport = std::make_shared<ScriptedTransport>();
    QSignalSpy connected{&device, &TUsbDevice::Connected};
    QSignalSpy logs{&device, &TUsbDevice::ReportLog};

    QStringList logTexts() const
    {
        QStringList texts;
        for (const QList<QVariant> &args : logs)
            texts << QStringLiteral("%1:%2").arg(args.at(0).toInt()).arg(args.at(1).toString());
        return texts;
    }
};

} // namespace

class TstTUsbDevice : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void runWithoutConnectionOnlyComplains()
    {
        Rig rig;
        QVERIFY(rig.device.Run("GETINFO", false).isEmpty());
        QCOMPARE(rig.logTexts(), QStringList{"1:USB Cable not Connected or else error"});
        QCOMPARE(rig.connected.count(), 0);
        QVERIFY(rig.transport->written.isEmpty());
    }

    void runReturnsTheReplyAsRead()
    {
        Rig rig;
        rig.device.pollBoard();
        rig.transport->written.clear();
        rig.transport->replies.push_back(QByteArray("1 done\0\0\0", 9));
        QCOMPARE(rig.device.Run("GETINFO", true), QByteArray("1 done\0\0\0", 9));
        rig.transport->replies.push_back(QByteArray());
        QCOMPARE(rig.device.Run("X", true), QByteArray());
        QCOMPARE(rig.transport->written, QList<QByteArray>({"GETINFO", "X"}));
        QVERIFY(rig.logs.isEmpty());
        QVERIFY(rig.device.isConnected());
    }

    void failedTransfersDropTheConnection_data()
    {
        QTest::addColumn<bool>("writeFails");
        QTest::addColumn<bool>("reportErrors");
        QTest::addColumn<bool>("quiet");
        QTest::addColumn<QStringList>("expectedLogs");
        QTest::newRow("write, reported") << true << true << false << QStringList{"1:Write USB Error"};
        QTest::newRow("write, not reported") << true << false << false << QStringList{};
        QTest::newRow("read, reported") << false << true << false << QStringList{"1:Read USB Error"};
        QTest::newRow("read is reported even when not asked") << false << false << false
                                                               << QStringList{"1:Read USB Error"};
        QTest::newRow("write, quiet") << true << true << true << QStringList{};
        QTest::newRow("read, quiet") << false << true << true << QStringList{};
    }
    void failedTransfersDropTheConnection()
    {
        QFETCH(bool, writeFails);
        QFETCH(bool, reportErrors);
        QFETCH(bool, quiet);
        QFETCH(QStringList, expectedLogs);
        Rig rig;
        rig.device.pollBoard();
        rig.connected.clear();
        rig.device.setQuiet(quiet);
        if (writeFails)
            rig.transport->writeResults.push_back(-1);
        else
            rig.transport->replies.push_back("!");
        QVERIFY(rig.device.Run("KOVA kern 10", reportErrors).isEmpty());
        QCOMPARE(rig.logTexts(), expectedLogs);
        QCOMPARE(rig.connected.count(), 1);
        QCOMPARE(rig.connected.at(0).at(0).toBool(), false);
        QVERIFY(!rig.device.isConnected());
    }

    void pollGreetsANewBoardThenKeepsItAlive()
    {
        Rig rig;
        rig.transport->boardPresent = false;
        rig.device.pollBoard();
        QCOMPARE(rig.connected.count(), 0);
        QVERIFY(rig.transport->written.isEmpty());

        rig.transport->boardPresent = true;
        rig.device.pollBoard();
        QCOMPARE(rig.transport->written, QList<QByteArray>({"SKIPINFO", "SKIPINFO", "SKIPINFO"}));
        QCOMPARE(rig.connected.count(), 1);
        QCOMPARE(rig.connected.at(0).at(0).toBool(), true);

        rig.transport->written.clear();
        rig.device.pollBoard();
        QCOMPARE(rig.transport->written, QList<QByteArray>{"GETINFO"});
        rig.device.busy = true;
        rig.device.pollBoard();
        QCOMPARE(rig.transport->written, QList<QByteArray>{"GETINFO"});
        QCOMPARE(rig.connected.count(), 1);
    }

    void newConnectionLiftsTheQuietFlag()
    {
        Rig rig;
        rig.device.setQuiet(true);
        rig.device.pollBoard();
        rig.transport->replies.push_back("!");
        rig.device.Run("GETINFO", true);
        QCOMPARE(rig.logTexts(), QStringList{"1:Read USB Error"});
    }

    void boardLostDuringTheGreetingIsNotReportedConnected()
    {
        Rig rig;
        rig.transport->writeResults = {4, -1};
        rig.device.pollBoard();
        QCOMPARE(rig.connected.count(), 1);
        QCOMPARE(rig.connected.at(0).at(0).toBool(), false);
        QVERIFY(!rig.device.isConnected());
    }

    void timerPollsOncePerSecond()
    {
        ProbeDevice device;
        auto transport = std::make_shared<ScriptedTransport>();
        device.setTransport(transport);
        QSignalSpy connected(&device, &TUsbDevice::Connected);
        QVERIFY(connected.wait(2500));
        device.Stop();
        device.Stop(); // harmless twice
        transport->written.clear();
        QTest::qWait(1300);
        QVERIFY(transport->written.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TstTUsbDevice)
#include "tst_tusbdevice.moc"
