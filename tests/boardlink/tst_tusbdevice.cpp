// The link worker's exchange primitive and its poll, over a scripted transport.

#include "boardlink/tusbdevice.h"
#include "boardlink/usbtransport.h"

#include <QTest>

namespace {

// Answers from a script: a write result of -1 fails a write, a reply "!" fails a read.
struct ScriptedTransport : UsbTransport
{
    bool boardPresent = true, opened = false;
    QList<int> writeResults;   // empty: every write succeeds
    QList<QByteArray> replies; // empty: nothing is answered

    bool open() override { return opened = boardPresent; }
    bool isOpen() const override { return opened; }
    void close() override { opened = false; }
    int write(const char *, int len) override { return writeResults.isEmpty() ? len : writeResults.takeFirst(); }
    int read(char *, int) override { return replies.isEmpty() || replies.takeFirst() != "!" ? 0 : -1; }
};

// The worker, polled by hand, with a record of what it tells.
struct Rig : TUsbDevice
{
    std::shared_ptr<ScriptedTransport> transport = std::make_shared<ScriptedTransport>();
    QStringList told; // "Connected(true)", "1:Read USB Error", ...

    Rig()
    {
        Stop();
        setTransport(transport);
        connect(this, &TUsbDevice::Connected, [this](bool on) { told << (on ? "Connected(true)" : "Connected(false)"); });
        connect(this, &TUsbDevice::ReportLog, [this](int level, const QString &text) { told << QString::number(level) + ':' + text; });
    }
    bool IsBusy() override { return false; }
    void setQuiet(bool on) { quiet = on; }
};

} // namespace

class TstTUsbDevice : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Every failed transfer drops the connection. A failed write is told only when asked,
    // a failed read always; while quiet neither is, and a new connection lifts the quiet.
    // A board lost during its greeting is never reported connected.
    void failedTransfersDropTheConnection()
    {
        Rig rig;
        rig.transport->boardPresent = false;
        rig.pollBoard();
        QVERIFY(rig.Run("GETINFO", true).isEmpty());
        rig.transport->boardPresent = true;
        rig.transport->writeResults = {4, 4, -1};
        rig.pollBoard();
        rig.pollBoard();
        rig.transport->replies << "!"; // the keep-alive asks for no report
        rig.pollBoard();
        rig.setQuiet(true);
        rig.transport->replies = {"", "", "!"};
        rig.pollBoard();
        rig.pollBoard();
        rig.setQuiet(true);
        rig.transport->replies << "!";
        QVERIFY(rig.Run("KOVA kern 10", true).isEmpty());
        rig.pollBoard();
        rig.transport->writeResults << -1;
        QVERIFY(rig.Run("KOVA kern 10", false).isEmpty());
        QVERIFY(!rig.isConnected());
        const QString gone = "Connected(false)", there = "Connected(true)", read = "1:Read USB Error";
        QCOMPARE(rig.told, QStringList({"1:USB Cable not Connected or else error", "1:Write USB Error", gone, there,
                                        read, gone, read, gone, there, gone, there, gone}));
    }
};

QTEST_GUILESS_MAIN(TstTUsbDevice)
#include "tst_tusbdevice.moc"
