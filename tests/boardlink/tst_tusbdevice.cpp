// The link worker's exchange primitive and its poll, over a scripted transport.

#include "boardlink/tusbdevice.h"
#include "boardlink/usbtransport.h"

#include <QTest>

namespace {

// Answers from a script: a write result of -1 fails a write, a reply "!" fails a read.
struct ScriptedTransport : UsbTransport
{
    bool boardPresent = true;
    bool opened = false;
    QList<int> writeResults;   // empty: every write succeeds
    QList<QByteArray> replies; // empty: nothing is answered
    QList<QByteArray> written;

    bool open() override { return opened = boardPresent; }
    bool isOpen() const override { return opened; }
    void close() override { opened = false; }
    int write(const char *data, int len) override
    {
        written << QByteArray(data, len);
        return writeResults.isEmpty() ? len : writeResults.takeFirst();
    }
    int read(char *buffer, int len) override
    {
        const QByteArray r = replies.isEmpty() ? QByteArray() : replies.takeFirst();
        if (r == "!")
            return -1;
        const int n = qMin(len, int(r.size()));
        memcpy(buffer, r.constData(), size_t(n));
        return n;
    }
};

// The worker, polled by hand, with a settable busy state and a record of what it tells.
struct Rig : TUsbDevice
{
    bool busy = false;
    std::shared_ptr<ScriptedTransport> transport = std::make_shared<ScriptedTransport>();
    QStringList told; // "Connected(true)", "1:Read USB Error", ...

    Rig()
    {
        Stop();
        setTransport(transport);
        connect(this, &TUsbDevice::Connected, [this](bool on) { told << (on ? "Connected(true)" : "Connected(false)"); });
        connect(this, &TUsbDevice::ReportLog, [this](int level, const QString &text) {
            told << QString::number(level) + ':' + text;
        });
    }
    bool IsBusy() override { return busy; }
    void setQuiet(bool on) { quiet = on; }
};

} // namespace

class TstTUsbDevice : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // quiet: 0 never, 1 set while connected, 2 set before connecting (a new connection lifts it).
    void failedTransfersDropTheConnection_data()
    {
        QTest::addColumn<bool>("writeFails");
        QTest::addColumn<bool>("reportErrors");
        QTest::addColumn<int>("quiet");
        QTest::addColumn<QStringList>("told");
        const QString write("1:Write USB Error"), read("1:Read USB Error"), gone("Connected(false)");
        QTest::newRow("write, reported") << true << true << 0 << QStringList{write, gone};
        QTest::newRow("write, not reported") << true << false << 0 << QStringList{gone};
        QTest::newRow("read is reported even when not asked") << false << false << 0 << QStringList{read, gone};
        QTest::newRow("write, quiet") << true << true << 1 << QStringList{gone};
        QTest::newRow("read, quiet") << false << true << 1 << QStringList{gone};
        QTest::newRow("read, quiet before connecting") << false << true << 2 << QStringList{read, gone};
    }
    void failedTransfersDropTheConnection()
    {
        QFETCH(bool, writeFails);
        QFETCH(bool, reportErrors);
        QFETCH(int, quiet);
        Rig rig;
        rig.setQuiet(quiet == 2);
        rig.pollBoard();
        rig.told.clear();
        rig.setQuiet(quiet == 1);
        if (writeFails)
            rig.transport->writeResults << -1;
        else
            rig.transport->replies << "!";
        QVERIFY(rig.Run("KOVA kern 10", reportErrors).isEmpty());
        QTEST(rig.told, "told");
        QVERIFY(!rig.isConnected());
    }

    // Without a board a request is told so; a board lost during its greeting is never
    // reported connected. (Greeting, keep-alive and the timer are the protocol test's and the
    // end-to-end test's.)
    void noBoard()
    {
        Rig rig;
        rig.transport->boardPresent = false;
        rig.pollBoard();
        QVERIFY(rig.Run("GETINFO", false).isEmpty());
        QVERIFY(rig.transport->written.isEmpty());
        rig.transport->boardPresent = true;
        rig.transport->writeResults = {4, -1};
        rig.pollBoard();
        QCOMPARE(rig.told, QStringList({"1:USB Cable not Connected or else error", "1:Write USB Error", "Connected(false)",
                                        "1:USB Cable not Connected or else error"}));
    }
};

QTEST_GUILESS_MAIN(TstTUsbDevice)
#include "tst_tusbdevice.moc"
