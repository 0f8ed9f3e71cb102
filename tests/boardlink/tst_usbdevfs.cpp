// Boards on the real usbdevfs path, through its system-call seam: the root is a temporary
// folder laid out like /dev/bus/usb whose nodes hold crafted descriptors; opens, claims and
// transfers are refused or scripted (the tests run as root). What the search chooses, how
// bytes move, which failures end a transfer at once, the worker's connection over it, and
// the window telling the user once per plug why a board it sees cannot be used. That no
// descriptor is read outside what a node gave is the fuzzer's.

#include "fakeusbsystem.h"

#include "app/globals.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/usbtransport.h"
#include "cli/flashcli.h"
#include "shell/boardstatus.h"
#include "shell/resourceonlybrowser.h"
#include "shell/thomeview.h"
#include "shell/tmainwidget.h"

#include <QLabel>
#include <QtTest>

namespace {

QStringList offered; // vendor, product, class, bulk endpoints, writable, serial of each interface shown
int recordingMatch(usb_ifc_info *i)
{
    offered << QStringLiteral("%1:%2:%3:%4%5:%6:%7").arg(i->vendor_id, 0, 16).arg(i->product_id, 0, 16)
                   .arg(i->interface_class, 0, 16).arg(i->bulk_in_present).arg(i->bulk_out_present)
                   .arg(i->node_writable).arg(i->serial);
    return match_android_fastboot_driver(i);
}

} // namespace

class TestUsbDevfs : public QObject
{
    Q_OBJECT
    std::unique_ptr<QTemporaryDir> dir;
    std::unique_ptr<FakeUsbSystem> fake;
    QByteArray sysfs;

    QByteArray node(const char *relative) const { return fake->root + '/' + relative; }
    QString path(const char *relative) const { return QString::fromLocal8Bit(node(relative)); }
    void add(const char *relative, const QByteArray &data) { QVERIFY(writeFile(path(relative), data)); }

private Q_SLOTS:
    void init()
    {
        dir = std::make_unique<QTemporaryDir>();
        fake = std::make_unique<FakeUsbSystem>();
        sysfs = QFile::encodeName(dir->filePath(QStringLiteral("sys")));
        fake->install(QFile::encodeName(dir->filePath(QStringLiteral("usb"))), sysfs.constData());
    }

    // Only digit-named buses and devices are searched; an unopenable node is skipped; a
    // failed claim closes the node and skips the rest of it; foreign interfaces are shown to
    // the rule and refused. A read-only node is still looked at: its download interface is
    // offered with what it is, claimed and closed again.
    void findsTheBoard()
    {
        offered.clear();
        QCOMPARE(usb_open(recordingMatch), nullptr); // no root is no board
        for (const char *name : {"usb1/001", "001/devices", "001/1a", "002x/003", "004" /* a file, not a bus */})
            add(name, downloadDevice());
        const QByteArray good = downloadDevice();
        const auto with = [&](int offset, char value) { return QByteArray(good).replace(offset, 1, &value, 1); };
        add("002/001", device(0x0bb4, 0, 2) + downloadInterface(0) + downloadInterface(1));
        fake->refuseClaim[node("002/001")] = EBUSY;
        add("002/002", good);
        fake->refuseReadWrite[node("002/002")] = fake->refuseReadOnly[node("002/002")] = EACCES;
        const QList<QByteArray> refused = {good.left(30), with(1, 2), device(0x18d1, 0, 0), with(34, 1),
                                           with(33, 0x43), with(32, 0xfe)};
        for (int i = 0; i < refused.size(); ++i)
            add(qPrintable(QStringLiteral("005/%1").arg(i)), refused[i]);
        QCOMPARE(usb_open(recordingMatch), nullptr);
        QCOMPARE(fake->claims.size(), 1);
        offered.sort(); // in the order the folders list them
        QCOMPARE(offered, QStringList({"18d1:4ee0:fe:11:1:", "18d1:4ee0:ff:11:1:", "18d1:4ee0:ff:11:1:", "bb4:4ee0:ff:11:1:"}));
        QVERIFY(fake->open.isEmpty());

        QVERIFY(QFile::remove(path("002/001")) && QDir(path("005")).removeRecursively());
        offered.clear();
        add("003/009", device(0x18d1, 7, 4)
                           + interface(0, 0, 0x09, 0, 0) // hub-like, no endpoints
                           + interface(1, 1, 0x03, 0, 0) + endpoint(0x83, 3) // HID, interrupt only
                           + interface(2, 2, 0x08, 0x06, 0x50) + endpoint(0x86) + endpoint(0x06)
                           // a later bulk endpoint of a direction replaces an earlier one
                           + interface(3, 5) + endpoint(0x84) + endpoint(0x87, 3) + endpoint(0x85)
                           + endpoint(0x03) + endpoint(0x04, 3));
        fake->refuseReadWrite[node("003/009")] = EACCES;
        for (int serialResult : {10, -1}) { // a failed serial number read does not stop the board from being used
            fake->serialResult = serialResult;
            usb_handle *h = usb_open(recordingMatch);
            QVERIFY(h);
            QCOMPARE(QByteArray(h->fname), node("003/009"));
            QCOMPARE(QList<int>({h->ep_in, h->ep_out}), QList<int>({0x85, 0x03}));
            QCOMPARE(fake->claims.last(), (QPair<QByteArray, unsigned>{node("003/009"), 3u}));
            usb_close(h);
            QVERIFY(fake->open.isEmpty());
            free(h);
        }
        QCOMPARE(offered, QStringList({"18d1:4ee0:9:00:0:SN42", "18d1:4ee0:3:00:0:SN42", "18d1:4ee0:8:11:0:SN42",
                                       "18d1:4ee0:ff:11:0:SN42", "18d1:4ee0:9:00:0:", "18d1:4ee0:3:00:0:",
                                       "18d1:4ee0:8:11:0:", "18d1:4ee0:ff:11:0:"}));
    }

    // Pieces of at most 16384 bytes without time-out; a short piece ends the transfer. The
    // answer lands in the buffer, and nothing past it. A missing endpoint fails at once; a
    // handle closed twice, or kicked twice, closes its node once.
    void transfersAndClosing()
    {
        QByteArray data(40001, '\0');
        std::iota(data.begin(), data.end(), char(1));
        usb_handle h{"", 42, 0x81, 0x02, 0}, k{"", 43, 0x81, 0x02, 0}, noOut{"", 42, 0x81, 0, 0}, noIn{"", 42, 0, 0x02, 0};
        QCOMPARE(usb_write(&h, data.constData(), 40000), 40000);
        QCOMPARE(fake->written, data.left(40000));
        fake->bulk = {16384, 100};
        QCOMPARE(usb_write(&h, data.constData(), 40000), -1);
        fake->bulk = {16384, 0};
        QCOMPARE(usb_read(&h, data.data(), 40000), 16384);
        QCOMPARE(data.left(16385), QByteArray(16384, 'r') + char(16384 + 1));
        QCOMPARE(QList<int>({usb_read(&h, data.data(), -5), usb_write(&noOut, data.data(), 100), usb_read(&noIn, data.data(), 100),
                             usb_write(&noOut, data.data(), 0), usb_close(&h), usb_close(&h)}), QList<int>({0, -1, -1, -1, 0, 0}));
        usb_kick(&k);
        usb_kick(&k);
        const unsigned out = 0x02u << 16, in = 0x81u << 16;
        QCOMPARE(fake->transfers, QList<unsigned>({out | 16384, out | 16384, out | 7232, out | 16384, out | 16384,
                                                   in | 16384, in | 16384}));
        QCOMPARE(fake->timeouts, QList<unsigned>(7, 0));
        QCOMPARE(fake->closes, (QList<int>{42, 43}));
    }

    // Gone or stalled: no second attempt and no sleep. Otherwise six attempts a second apart.
    void failedRead()
    {
        const struct { const char *what; QList<int> results; bool unplugged; unsigned stallTimeout; int result, transfers; } cases[] = {
            {"device gone", {-ENODEV}, false, 0, -1, 1},
            {"cut short, node removed", {-EPROTO}, true, 0, -1, 1},
            {"shut down, node removed", {-ESHUTDOWN}, true, 0, -1, 1},
            {"protocol errors, board still there", {-EPROTO, -ESHUTDOWN, 2}, false, 0, 2, 3},
            {"I/O error, node removed", {-EIO, -EIO, 2}, true, 0, 2, 3},
            {"six I/O errors", QList<int>(6, -EIO), false, 0, -1, 6},
            {"stalled board", {-ETIMEDOUT}, false, 1500, -1, 1},
            {"time-outs, no stall limit", {-ETIMEDOUT, -ETIMEDOUT, 2}, false, 0, 2, 3}};
        for (const auto &c : cases) {
            add("009/001", downloadDevice());
            UsbDevfsTransport transport(node("009/001"));
            transport.setStallTimeout(int(c.stallTimeout));
            QVERIFY(transport.open());
            fake->bulk = c.results;
            fake->timeouts.clear();
            fake->sleeps = 0;
            if (c.unplugged)
                QFile::remove(path("009/001"));
            char buffer[512];
            const int result = transport.read(buffer, sizeof buffer);
            QVERIFY2(result == c.result && fake->timeouts == QList<unsigned>(c.transfers, c.stallTimeout)
                         && fake->sleeps == c.transfers - 1 && transport.stalled() == (c.stallTimeout > 0), c.what);
            if (transport.stalled())
                QVERIFY(transport.open() && !transport.stalled()); // a new connection starts afresh
        }
    }

    // Every board in download mode is listed, the read-only one too, and nothing is held
    // open; opening by node says why one cannot be used, and the flasher told to use those
    // touches neither, says why for each and exits with 4.
    void boardsByNode()
    {
        add("001/002", downloadDevice());
        add("001/003", downloadDevice(0x1234)); // not a listed vendor
        add("002/004", downloadDevice(0x0bb4));
        add("002/005", downloadDevice());
        fake->refuseReadWrite[node("002/004")] = EACCES;
        fake->refuseClaim[node("002/005")] = EBUSY;
        QStringList listed;
        usb_list(match_android_fastboot_driver, [](const char *node, const usb_ifc_info *info, void *context) {
            static_cast<QStringList *>(context)->append(QStringLiteral("%1 %2").arg(QString::fromLatin1(node)).arg(info->node_writable));
        }, &listed);
        listed.sort();
        QCOMPARE(listed, (QStringList{node("001/002") + " 1", node("002/004") + " 0", node("002/005") + " 1"}));
        QVERIFY(fake->open.isEmpty());

        const struct { const char *node; bool opens; int error; } cases[] = {
            {"001/002", true, 0}, {"001/003", false, 0}, {"002/004", false, EACCES}, {"002/005", false, EBUSY},
            {"009/009", false, 0}};
        for (const auto &c : cases) {
            UsbDevfsTransport transport(node(c.node));
            QCOMPARE(transport.open(), c.opens);
            QCOMPARE(transport.openError(), c.error);
        }
        QVERIFY(fake->open.isEmpty());

        FlashCommandLine options;
        options.command = FlashCommandLine::Boot;
        options.boards = QStringList{path("002/004"), path("002/005")};
        char *said = nullptr;
        size_t length = 0;
        FILE *out = open_memstream(&said, &length);
        QCOMPARE(FlashCli(options, FlashCli::Output::Plain, out, out).exec(), 4);
        std::fclose(out);
        const QString text = QString::fromUtf8(said, qsizetype(length));
        free(said);
        QVERIFY2(text.contains(QRegularExpression(QStringLiteral("002/004 +unusable .*no write access: install the udev rule"))), qPrintable(text));
        QVERIFY2(text.contains(QRegularExpression(QStringLiteral("002/005 +unusable .*busy"))), qPrintable(text));
        QVERIFY(fake->timeouts.isEmpty());
    }

    // The worker's connection over this layer. Every failed transfer drops it; a failed
    // write is told only when asked, a failed read always; while quiet neither is, and a
    // new connection lifts the quiet. A board lost during its greeting is never reported
    // connected; without a board a request is told the cable is missing.
    void failedTransfersDropTheConnection()
    {
        struct Worker : TUsbDevice { bool IsBusy() override { return false; } using TUsbDevice::quiet; } worker;
        worker.Stop();
        QStringList told;
        connect(&worker, &TUsbDevice::Connected, this, [&](bool on) { told << (on ? "there" : "gone"); });
        connect(&worker, &TUsbDevice::ReportLog, this, [&](int level, const QString &text) { told << QString::number(level) + ':' + text; });
        worker.pollBoard();
        QVERIFY(worker.Run("GETINFO", true).isEmpty());
        add("001/002", downloadDevice());
        fake->idleRead = 0;
        fake->bulk = {8, 0, 8, 0, -EIO}; // the third greeting ("SKIPINFO") is not taken
        worker.pollBoard();
        worker.pollBoard();
        fake->bulk = {7, -ENODEV}; // the keep-alive's reply fails: told, though it asks for no report
        worker.pollBoard();
        worker.quiet = true;
        fake->bulk = {8, 0, 8, 0, 8, -ENODEV};
        worker.pollBoard();
        worker.pollBoard();
        worker.quiet = true;
        fake->bulk = {12, -ENODEV};
        QVERIFY(worker.Run("KOVA kern 10", true).isEmpty());
        worker.pollBoard();
        fake->bulk = {-EIO};
        QVERIFY(worker.Run("KOVA kern 10", false).isEmpty());
        QCOMPARE(told, QStringList({"1:USB Cable not Connected or else error", "1:Write USB Error", "gone", "there",
                                    "1:Read USB Error", "gone", "1:Read USB Error", "gone", "there", "gone", "there", "gone"}));
        QCOMPARE(fake->sleeps, 0);
    }

    void hintUntilUsable_data()
    {
        // The errno of opening read-write, of opening read-only, of the claim; the one told.
        QTest::addColumn<QList<int>>("errors");
        // Mode 0644 without the rule: read-only works, the claim on it is refused.
        QTest::newRow("EACCES, read-only node") << QList<int>{EACCES, 0, EPERM, EACCES};
        // Mode 0000: nothing opens; sysfs shows what the device is.
        QTest::newRow("EPERM, node closed to us") << QList<int>{EPERM, EPERM, 0, EPERM};
        QTest::newRow("EBUSY, claimed elsewhere") << QList<int>{0, 0, EBUSY, EBUSY};
    }
    // The window tells the user once per plug why the board it sees cannot be used, on the
    // status bar, in the home view and in the log, until it can.
    void hintUntilUsable()
    {
        QFETCH(QList<int>, errors);
        const int error = errors[3];
        add("002/005", downloadDevice());
        // Bus 2, device 5 and 6: minors (2 - 1) * 128 + 5 - 1 and one more.
        QVERIFY(writeFile(dir->filePath(QStringLiteral("sys/189:132/descriptors")), downloadDevice()));
        QVERIFY(writeFile(dir->filePath(QStringLiteral("sys/189:133/descriptors")), downloadDevice()));
        fake->refuseReadWrite[{}] = errors[0];
        fake->refuseReadOnly[{}] = errors[1];
        fake->refuseClaim[{}] = errors[2];
        fake->idleRead = 0; // the board answers nothing, which ends its description

        TMainWidget window;
        gUsbDevCommand->Stop();
        QSignalSpy logs(gUsbDevCommand, &TUsbDevice::ReportLog);
        auto *status = window.findChild<QLabel *>(QStringLiteral("statusTextLabel"));
        ResourceOnlyBrowser *home = window.findChild<THomeView *>()->browser();

        gUsbDevCommand->pollBoard();
        QVERIFY2(status->text().contains(path("002/005")), qPrintable(status->text()));
        QCOMPARE(logs.size(), 1);
        QCOMPARE(logs.at(0).at(0).toInt(), 1);
        const QString hint = logs.at(0).at(1).toString();
        const QString todo = error == EBUSY ? QStringLiteral("another program") : QStringLiteral("udevadm control --reload-rules");
        QVERIFY(home->toPlainText().contains(path("002/005")) && home->toPlainText().contains(todo));
        QVERIFY(hint.contains(path("002/005")) && hint.contains(error == EBUSY ? todo : QStringLiteral("70-ostrakit-halvorn.rules")));

        // The search goes on every second; the user is told once per plug.
        gUsbDevCommand->pollBoard();
        gUsbDevCommand->pollBoard();
        QCOMPARE(logs.size(), 1);
        QVERIFY(QFile::rename(path("002/005"), path("002/006")));
        gUsbDevCommand->pollBoard();
        QCOMPARE(logs.size(), 2);
        QVERIFY(status->text().contains(path("002/006")));

        // The rule is in place (or the other program has let go): the board is used.
        fake->refuseReadWrite.clear();
        fake->refuseReadOnly.clear();
        fake->refuseClaim.clear();
        QSignalSpy connected(gUsbDevCommand, &TUsbDevice::Connected);
        gUsbDevCommand->pollBoard();
        QCOMPARE(connected.size(), 1);
        QVERIFY(connected.at(0).at(0).toBool());
        QCOMPARE(status->text(), BoardStatus::statusText(true, QString()));
        QVERIFY(!home->toPlainText().contains(QStringLiteral("usb/002/")));
        QCOMPARE(logs.size(), 2);
    }
};

QTEST_MAIN(TestUsbDevfs)
#include "tst_usbdevfs.moc"
