// Boards on the real usbdevfs path (through its system-call seam): a pulled cable or a
// stalled board ends a transfer at once while other failures are tried again; boards are
// listed and opened by node with the reason one cannot be used; and the window tells the
// user once per plug why a board it sees cannot be used, until it can.

#include "fakeusbsystem.h"

#include "app/globals.h"
#include "boardlink/boardaccess.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/usbtransport.h"
#include "cli/flashcli.h"
#include "shell/boardstatus.h"
#include "shell/resourceonlybrowser.h"
#include "shell/thomeview.h"
#include "shell/tmainwidget.h"

#include <QLabel>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTest>

namespace {

void collect(const char *node, const usb_ifc_info *info, void *context)
{
    static_cast<QStringList *>(context)->append(QStringLiteral("%1 %2").arg(QString::fromLatin1(node)).arg(info->node_writable));
}

} // namespace

class TestBoardAccess : public QObject
{
    Q_OBJECT
    QTemporaryDir dir;
    QByteArray root;
    QByteArray node(const char *relative) const { return root + '/' + relative; }

private Q_SLOTS:
    void initTestCase()
    {
        root = QFile::encodeName(dir.filePath(QStringLiteral("usb")));
        QVERIFY(writeFile(QString::fromLatin1(node("001/002")), downloadDevice()));
        QVERIFY(writeFile(QString::fromLatin1(node("001/003")), downloadDevice(0x1234))); // not a listed vendor
        QVERIFY(writeFile(QString::fromLatin1(node("002/004")), downloadDevice(0x0bb4)));
        QVERIFY(writeFile(QString::fromLatin1(node("002/005")), downloadDevice()));
    }

    void failedRead_data()
    {
        QTest::addColumn<QList<int>>("results");
        QTest::addColumn<bool>("unplugged");
        QTest::addColumn<unsigned>("stallTimeout");
        QTest::addColumn<int>("result");
        QTest::addColumn<int>("transfers");
        QTest::newRow("device gone") << QList<int>{-ENODEV} << false << 0u << -1 << 1;
        QTest::newRow("cut short, node removed") << QList<int>{-EPROTO} << true << 0u << -1 << 1;
        QTest::newRow("shut down, node removed") << QList<int>{-ESHUTDOWN} << true << 0u << -1 << 1;
        QTest::newRow("protocol errors, board still there") << QList<int>{-EPROTO, -ESHUTDOWN, 2} << false << 0u << 2 << 3;
        QTest::newRow("I/O error, node removed") << QList<int>{-EIO, -EIO, 2} << true << 0u << 2 << 3;
        QTest::newRow("six I/O errors") << QList<int>(6, -EIO) << false << 0u << -1 << 6;
        QTest::newRow("stalled board") << QList<int>{-ETIMEDOUT} << false << 1500u << -1 << 1;
        QTest::newRow("time-outs, no stall limit") << QList<int>{-ETIMEDOUT, -ETIMEDOUT, 2} << false << 0u << 2 << 3;
    }
    // Gone or stalled: no second attempt and no sleep. Otherwise six attempts a second apart.
    void failedRead()
    {
        QFETCH(QList<int>, results);
        QFETCH(bool, unplugged);
        QFETCH(unsigned, stallTimeout);
        QFETCH(int, transfers);
        const QString path = QString::fromLatin1(node("009/001"));
        QVERIFY(writeFile(path, downloadDevice()));
        FakeUsbSystem fake;
        fake.install(root);
        UsbDevfsTransport transport(node("009/001"));
        transport.setStallTimeout(stallTimeout);
        QVERIFY(transport.open());
        fake.timeouts.clear();
        fake.bulk = results;
        if (unplugged)
            QFile::remove(path);
        char buffer[512];
        QTEST(int(transport.read(buffer, sizeof buffer)), "result");
        QCOMPARE(fake.timeouts, QList<unsigned>(transfers, stallTimeout));
        QCOMPARE(fake.sleeps, transfers - 1);
        QCOMPARE(transport.stalled(), stallTimeout > 0);
        if (transport.stalled()) {
            QVERIFY(transport.open()); // a new connection starts afresh
            QVERIFY(!transport.stalled());
        }
        QFile::remove(path);
    }

    // Every board in download mode is listed, the read-only one too, and nothing is held
    // open; opening by node says why one cannot be used, and the flasher told to use those
    // touches neither, says why for each and exits with 4.
    void boardsByNode()
    {
        FakeUsbSystem fake;
        fake.refuseReadWrite[node("002/004")] = EACCES;
        fake.refuseClaim[node("002/005")] = EBUSY;
        fake.install(root);
        QStringList listed;
        usb_list(match_android_fastboot_driver, collect, &listed);
        listed.sort();
        QCOMPARE(listed, (QStringList{node("001/002") + " 1", node("002/004") + " 0", node("002/005") + " 1"}));
        QVERIFY(fake.open.isEmpty());

        const struct { const char *node; bool opens; int error; } cases[] = {
            {"001/002", true, 0}, {"001/003", false, 0}, {"002/004", false, EACCES}, {"002/005", false, EBUSY},
            {"009/009", false, 0}};
        for (const auto &c : cases) {
            UsbDevfsTransport transport(node(c.node));
            QCOMPARE(transport.open(), c.opens);
            QCOMPARE(transport.openError(), c.error);
        }
        QVERIFY(fake.open.isEmpty());

        FlashCommandLine options;
        options.command = FlashCommandLine::Boot;
        options.boards = QStringList{QString::fromLatin1(node("002/004")), QString::fromLatin1(node("002/005"))};
        QTemporaryFile output;
        QVERIFY(output.open());
        FILE *out = fdopen(dup(output.handle()), "w");
        const int exitCode = FlashCli(options, FlashCli::Output::Plain, out, out).exec();
        std::fclose(out);
        QCOMPARE(exitCode, 4);
        output.seek(0);
        const QString text = QString::fromUtf8(output.readAll());
        QVERIFY2(text.contains(QRegularExpression(QStringLiteral("002/004 +unusable .*no write access: install the udev rule"))), qPrintable(text));
        QVERIFY2(text.contains(QRegularExpression(QStringLiteral("002/005 +unusable .*busy"))), qPrintable(text));
        QVERIFY(fake.timeouts.isEmpty());
    }

    void hintUntilUsable_data()
    {
        QTest::addColumn<int>("readWrite");
        QTest::addColumn<int>("readOnly");
        QTest::addColumn<int>("claim");
        QTest::addColumn<int>("error");
        // Mode 0644 without the rule: read-only works, the claim on it is refused.
        QTest::newRow("EACCES, read-only node") << EACCES << 0 << EPERM << EACCES;
        // Mode 0000: nothing opens; sysfs shows what the device is.
        QTest::newRow("EPERM, node closed to us") << EPERM << EPERM << 0 << EPERM;
        QTest::newRow("EBUSY, claimed elsewhere") << 0 << 0 << EBUSY << EBUSY;
    }
    void hintUntilUsable()
    {
        QFETCH(int, readWrite);
        QFETCH(int, readOnly);
        QFETCH(int, claim);
        QFETCH(int, error);
        QTemporaryDir dir;
        const QByteArray usb = QFile::encodeName(dir.filePath(QStringLiteral("usb")));
        const QByteArray sysfs = QFile::encodeName(dir.filePath(QStringLiteral("sys")));
        const QString node = dir.filePath(QStringLiteral("usb/002/005"));
        QVERIFY(writeFile(node, downloadDevice()));
        // Bus 2, device 5 and 6: minors (2 - 1) * 128 + 5 - 1 and one more.
        QVERIFY(writeFile(dir.filePath(QStringLiteral("sys/189:132/descriptors")), downloadDevice()));
        QVERIFY(writeFile(dir.filePath(QStringLiteral("sys/189:133/descriptors")), downloadDevice()));
        FakeUsbSystem fake;
        fake.refuseReadWrite[{}] = readWrite;
        fake.refuseReadOnly[{}] = readOnly;
        fake.refuseClaim[{}] = claim;
        fake.idleRead = 0; // the board answers nothing, which ends its description
        fake.install(usb, sysfs.constData());

        // What a command line asks without any window.
        bool usable = true;
        const BoardAccessProblem probed = BoardAccess::probe(&usable);
        QVERIFY(!usable);
        QCOMPARE(probed.node, node);
        QCOMPARE(probed.error, error);

        TMainWidget window;
        gUsbDevCommand->Stop();
        QSignalSpy logs(gUsbDevCommand, &TUsbDevice::ReportLog);
        auto *status = window.findChild<QLabel *>(QStringLiteral("statusTextLabel"));
        ResourceOnlyBrowser *home = window.findChild<THomeView *>()->browser();

        gUsbDevCommand->pollBoard();
        QVERIFY2(status->text().contains(node), qPrintable(status->text()));
        QCOMPARE(logs.size(), 1);
        QCOMPARE(logs.at(0).at(0).toInt(), 1);
        const QString hint = logs.at(0).at(1).toString();
        QVERIFY(hint.contains(node));
        const QString todo = error == EBUSY ? QStringLiteral("another program") : QStringLiteral("udevadm control --reload-rules");
        QVERIFY(home->toPlainText().contains(node) && home->toPlainText().contains(todo));
        QVERIFY(hint.contains(error == EBUSY ? todo : QStringLiteral("70-ostrakit-halvorn.rules")));

        // The search goes on every second; the user is told once per plug.
        gUsbDevCommand->pollBoard();
        gUsbDevCommand->pollBoard();
        QCOMPARE(logs.size(), 1);
        QVERIFY(QFile::rename(node, dir.filePath(QStringLiteral("usb/002/006"))));
        gUsbDevCommand->pollBoard();
        QCOMPARE(logs.size(), 2);
        QVERIFY(status->text().contains(QStringLiteral("usb/002/006")));

        // The rule is in place (or the other program has let go): the board is used.
        fake.refuseReadWrite.clear();
        fake.refuseReadOnly.clear();
        fake.refuseClaim.clear();
        QSignalSpy connected(gUsbDevCommand, &TUsbDevice::Connected);
        gUsbDevCommand->pollBoard();
        QCOMPARE(connected.size(), 1);
        QVERIFY(connected.at(0).at(0).toBool());
        QCOMPARE(status->text(), BoardStatus::statusText(true, QString()));
        QVERIFY(!home->toPlainText().contains(QStringLiteral("usb/002/")));
        for (const QList<QVariant> &log : logs.mid(2))
            QVERIFY(!log.at(1).toString().contains(QStringLiteral("usb/002/")));
    }
};

QTEST_MAIN(TestBoardAccess)
#include "tst_boardaccess.moc"
