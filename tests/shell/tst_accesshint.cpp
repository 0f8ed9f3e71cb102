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
const QByteArray kDownloadDevice = QByteArray::fromHex("12 01 0002 00 00 00 40 d118 e04e 0001 01 02 00 01"
                                                       "09 02 2000 01 01 00 80 32"
                                                       "09 04 00 00 02 ff 42 03 00"
                                                       "07 05 81 02 0002 00"
                                                       "07 05 01 02 0002 00");

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
        QVERIFY(writeFile(node, kDownloadDevice));
        QVERIFY(writeFile(dir.filePath(QStringLiteral("sys/189:132/descriptors")), kDownloadDevice));
        QVERIFY(writeFile(dir.filePath(QStringLiteral("sys/189:133/descriptors")), kDownloadDevice));
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

        // Plugged in again: a new node, told again.
        QVERIFY(QFile::rename(node, dir.filePath(QStringLiteral("usb/002/006"))));
        gUsbDevCommand->pollBoard();
        QCOMPARE(logs.size(), 2);
        QVERIFY(status->text().contains(QStringLiteral("usb/002/006")));

        // The rule is in place (or the other program has let go): the board is used.
        // The rule is in place (or the other program has let go): the board is used.
        refuse = {};
        QSignalSpy connected(gUsbDevCommand, &TUsbDevice::Connected);
        gUsbDevCommand->pollBoard();
        QCOMPARE(connected.size(), 1);
        QVERIFY(connected.at(0).at(0).toBool());
        QVERIFY(gUsbDevCommand->boardAccessProblem().isNull());
        QCOMPARE(status->text(), BoardStatus::statusText(true, QString()));
        QVERIFY(!home->toPlainText().contains(QStringLiteral("usb/002/")));
        QVERIFY(home->toPlainText() != helpPage); // the board's own page
        for (const QList<QVariant> &log : logs.mid(2))
            QVERIFY(!log.at(1).toString().contains(QStringLiteral("usb/002/")));
        usb_reset_system_calls();
    }
};

QTEST_MAIN(TstAccessHint)
#include "tst_accesshint.moc"
