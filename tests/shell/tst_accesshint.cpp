// A board in download mode whose node this user may not open, or whose interface another
// program holds: the real usbdevfs search (through its system-call seam) finds it, and the
// window says so once per plug on the status bar, in the home view and in the log, until
// the board can be used.

#include "app/globals.h"
#include "boardlink/boardaccess.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/usbdevfs.h"
#include "shell/boardstatus.h"
#include "shell/resourceonlybrowser.h"
#include "shell/thomeview.h"
#include "shell/tmainwidget.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <fcntl.h>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

// What the seam lets through: the errno an open of the node fails with, read-write and
// read-only, and the errno of the claim (0: it works).
struct Refusals {
    int readWrite = 0;
    int readOnly = 0;
    int claim = 0;
} refuse;
QByteArray nodeRoot;

int fakeOpen(const char *path, int flags)
{
    if (QByteArray(path).startsWith(nodeRoot)) {
        const int refusal = (flags & O_ACCMODE) == O_RDWR ? refuse.readWrite : refuse.readOnly;
        if (refusal) {
            errno = refusal;
            return -1;
        }
    }
    return ::open(path, flags);
}
ssize_t fakeRead(int fd, void *buf, size_t count) { return ::read(fd, buf, count); }
int fakeClose(int fd) { return ::close(fd); }
int fakeIoctl(int, unsigned long request, void *arg)
{
    if (request == USBDEVFS_CLAIMINTERFACE && refuse.claim) {
        errno = refuse.claim;
        return -1;
    }
    if (request == USBDEVFS_BULK) {
        // Every command is taken; the board answers nothing, which ends its description.
        const auto *transfer = static_cast<usbdevfs_bulktransfer *>(arg);
        return (transfer->ep & 0x80) ? 0 : int(transfer->len);
    }
    return request == USBDEVFS_CLAIMINTERFACE ? 0 : -1;
}
void fakeSleep(unsigned) {}

// A download interface (ff/42/03, one bulk endpoint each way) of a listed vendor.
QByteArray downloadDevice()
{
    const unsigned char bytes[] = {18, 1, 0, 2, 0, 0, 0, 64, 0xd1, 0x18, 0xe0, 0x4e, 0, 1, 1, 2, 0, 1,
                                   9, 2, 32, 0, 1, 1, 0, 0x80, 50,
                                   9, 4, 0, 0, 2, 0xff, 0x42, 0x03, 0,
                                   7, 5, 0x81, 2, 0, 2, 0,
                                   7, 5, 0x01, 2, 0, 2, 0};
    return QByteArray(reinterpret_cast<const char *>(bytes), sizeof bytes);
}

bool writeFile(const QString &path, const QByteArray &data)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}

} // namespace

class TstAccessHint : public QObject
{
    Q_OBJECT
private Q_SLOTS:
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
        nodeRoot = QFile::encodeName(dir.filePath(QStringLiteral("usb")));
        const QByteArray sysfs = QFile::encodeName(dir.filePath(QStringLiteral("sys")));
        const QString node = dir.filePath(QStringLiteral("usb/002/005"));
        // Bus 2, device 5: minor (2 - 1) * 128 + 5 - 1.
        QVERIFY(writeFile(node, downloadDevice()));
        QVERIFY(writeFile(dir.filePath(QStringLiteral("sys/189:132/descriptors")), downloadDevice()));
        refuse = {readWrite, readOnly, claim};
        usb_set_system_calls({nodeRoot.constData(), fakeOpen, fakeRead, fakeClose, fakeIoctl, fakeSleep,
                              sysfs.constData()});

        // What a command line asks without any window.
        bool usable = true;
        const BoardAccessProblem probed = BoardAccess::probe(&usable);
        QVERIFY(!usable);
        QCOMPARE(probed.node, node);
        QCOMPARE(probed.error, error);
        QCOMPARE(probed.vendorId, quint16(0x18d1));

        TMainWidget window;
        gUsbDevCommand->Stop();
        QSignalSpy logs(gUsbDevCommand, &TUsbDevice::ReportLog);
        auto *status = window.findChild<QLabel *>(QStringLiteral("statusTextLabel"));
        ResourceOnlyBrowser *home = window.findChild<THomeView *>()->browser();
        const QString helpPage = home->toPlainText();

        gUsbDevCommand->pollBoard();
        QVERIFY2(status->text().contains(node), qPrintable(status->text()));
        QVERIFY(home->toPlainText().contains(node));
        QCOMPARE(logs.size(), 1);
        QCOMPARE(logs.at(0).at(0).toInt(), 1);
        const QString hint = logs.at(0).at(1).toString();
        QVERIFY(hint.contains(node));
        QVERIFY(home->toPlainText().contains(error == EBUSY ? QStringLiteral("another program")
                                                            : QStringLiteral("udevadm control --reload-rules")));
        if (error == EBUSY)
            QVERIFY(hint.contains(QStringLiteral("another program")));
        else
            QVERIFY(hint.contains(QStringLiteral("70-ostrakit-halvorn.rules")) && hint.contains(QStringLiteral("udevadm")));

        // The search goes on every second; the user is told once.
        gUsbDevCommand->pollBoard();
        gUsbDevCommand->pollBoard();
        QCOMPARE(logs.size(), 1);

        // The rule is in place (or the other program has let go): the board is used.
        refuse = {};
        QSignalSpy connected(gUsbDevCommand, &TUsbDevice::Connected);
        gUsbDevCommand->pollBoard();
        QCOMPARE(connected.size(), 1);
        QVERIFY(connected.at(0).at(0).toBool());
        QVERIFY(gUsbDevCommand->boardAccessProblem().isNull());
        QCOMPARE(status->text(), BoardStatus::statusText(true, QString()));
        QVERIFY(!home->toPlainText().contains(node));
        QVERIFY(home->toPlainText() != helpPage); // the board's own page
        for (const QList<QVariant> &log : logs.mid(1))
            QVERIFY(!log.at(1).toString().contains(node));
        usb_reset_system_calls();
    }

    // Unplugged while unusable: the hint goes, and the next plug (a new node) is told again.
    void unplugAndReplug()
    {
        QTemporaryDir dir;
        nodeRoot = QFile::encodeName(dir.filePath(QStringLiteral("usb")));
        refuse = {EACCES, 0, EPERM};
        usb_set_system_calls({nodeRoot.constData(), fakeOpen, fakeRead, fakeClose, fakeIoctl, fakeSleep,
                              nullptr});
        QVERIFY(writeFile(dir.filePath(QStringLiteral("usb/001/004")), downloadDevice()));
        TMainWidget window;
        gUsbDevCommand->Stop();
        QSignalSpy changes(gUsbDevCommand, &TUsbDevice::AccessProblemChanged);
        gUsbDevCommand->pollBoard();
        QVERIFY(QFile::remove(dir.filePath(QStringLiteral("usb/001/004"))));
        gUsbDevCommand->pollBoard();
        QVERIFY(writeFile(dir.filePath(QStringLiteral("usb/001/005")), downloadDevice()));
        gUsbDevCommand->pollBoard();
        QCOMPARE(changes.size(), 3);
        QCOMPARE(changes.at(0).at(1).toInt(), EACCES);
        QCOMPARE(changes.at(1).at(1).toInt(), 0);
        QVERIFY(changes.at(2).at(0).toString().endsWith(QStringLiteral("001/005")));
        QCOMPARE(window.findChild<QLabel *>(QStringLiteral("statusTextLabel"))->text(),
                 BoardAccess::statusText(gUsbDevCommand->boardAccessProblem()));
        usb_reset_system_calls();
    }
};

QTEST_MAIN(TstAccessHint)
#include "tst_accesshint.moc"
