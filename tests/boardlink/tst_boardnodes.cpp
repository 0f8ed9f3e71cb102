// Boards by node, as the command-line flasher reaches them: listing every download
// interface, opening one by its path and saying why it cannot be used, and giving up on
// a board that stalls. Crafted descriptor files stand in for /dev/bus/usb through the
// UsbSystemCalls seam; the ioctls are scripted.

#include "boardlink/usbdevfs.h"
#include "cli/flashcli.h"
#include "boardlink/usbtransport.h"

#include <QtTest>

#include <cerrno>
#include <fcntl.h>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

struct Fake
{
    QSet<QByteArray> readOnly;  // open(O_RDWR) is refused
    QSet<QByteArray> claimed;   // somebody else holds the interface
    QList<int> bulkResults;     // scripted results; empty: the whole length moves
    QList<unsigned> bulkTimeouts;
    int sleeps = 0;
    QHash<int, QByteArray> files;
} *fake = nullptr;

int fakeOpen(const char *path, int flags)
{
    if ((flags & O_ACCMODE) == O_RDWR && fake->readOnly.contains(path)) {
        errno = EACCES;
        return -1;
    }
    const int fd = ::open(path, O_RDONLY);
    if (fd >= 0)
        fake->files.insert(fd, path);
    return fd;
}
ssize_t fakeRead(int fd, void *buf, size_t count) { return ::read(fd, buf, count); }
int fakeClose(int fd) { return fake->files.remove(fd) ? ::close(fd) : 0; }
int fakeIoctl(int fd, unsigned long request, void *arg)
{
    if (request == USBDEVFS_CLAIMINTERFACE) {
        if (!fake->claimed.contains(fake->files.value(fd)))
            return 0;
        errno = EBUSY;
        return -1;
    }
    if (request == USBDEVFS_BULK) {
        auto *bulk = static_cast<usbdevfs_bulktransfer *>(arg);
        fake->bulkTimeouts << bulk->timeout;
        const int result = fake->bulkResults.isEmpty() ? int(bulk->len) : fake->bulkResults.takeFirst();
        if (result < 0)
            errno = ETIMEDOUT;
        return result;
    }
    errno = ENOTTY;
    return -1;
}
void fakeSleep(unsigned) { ++fake->sleeps; }

QByteArray device(uint16_t vendor)
{
    const char bytes[] = {18, 1, 0, 2, 0, 0, 0, 64, char(vendor & 0xff), char(vendor >> 8), 0, 0, 0, 1, 1, 2, 0, 1,
                          9, 2, 32, 0, 1, 1, 0, char(0x80), 50,           // configuration
                          9, 4, 0, 0, 2, char(0xff), 0x42, 0x03, 0,       // download interface
                          7, 5, char(0x81), 2, 0, 2, 0, 7, 5, 0x01, 2, 0, 2, 0}; // bulk IN, bulk OUT
    return QByteArray(bytes, sizeof bytes);
}

void collect(const char *node, const usb_ifc_info *info, void *context)
{
    static_cast<QStringList *>(context)->append(QStringLiteral("%1 %2").arg(QString::fromLatin1(node)).arg(info->node_writable));
}

} // namespace

class BoardNodesTest : public QObject
{
    Q_OBJECT
    QTemporaryDir dir;
    QByteArray root;
    Fake state;

    QByteArray node(const char *relative) const { return root + '/' + relative; }

private Q_SLOTS:
    void initTestCase()
    {
        root = dir.path().toLocal8Bit();
        const struct { const char *path; uint16_t vendor; } nodes[] = {
            {"001/002", 0x18d1}, {"001/003", 0x1234}, {"002/004", 0x0bb4}, {"002/005", 0x18d1}};
        for (const auto &entry : nodes) {
            QDir().mkpath(QFileInfo(QString::fromLatin1(node(entry.path))).path());
            QFile file(QString::fromLatin1(node(entry.path)));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(device(entry.vendor));
        }
        fake = &state;
        state.readOnly << node("002/004");
        state.claimed << node("002/005");
        usb_set_system_calls({root.constData(), fakeOpen, fakeRead, fakeClose, fakeIoctl, fakeSleep});
    }
    void cleanupTestCase() { usb_reset_system_calls(); }

    // Every board in download mode is listed, the read-only one too, nothing is claimed;
    // opening by node says for each why it cannot be used.
    void listAndOpenByNode()
    {
        QStringList listed;
        usb_list(match_android_fastboot_driver, collect, &listed);
        listed.sort();
        QCOMPARE(listed, (QStringList{node("001/002") + " 1", node("002/004") + " 0", node("002/005") + " 1"}));
        QVERIFY(fake->files.isEmpty());

        const struct { const char *node; bool opens; int error; } cases[] = {
            {"001/002", true, 0}, {"001/003", false, 0}, {"002/004", false, EACCES}, {"002/005", false, EBUSY},
            {"009/009", false, 0}};
        for (const auto &c : cases) {
            UsbDevfsTransport transport(node(c.node));
            QCOMPARE(transport.open(), c.opens);
            QCOMPARE(transport.openError(), c.error);
        }
        QVERIFY(fake->files.isEmpty());
    }

    // The flasher told to use those two: neither is touched, each says why, exit 4.
    void unusableBoardsEndTheRunWithFour()
    {
        FlashCommandLine options;
        options.command = FlashCommandLine::Boot;
        options.boards = QStringList{QString::fromLatin1(node("002/004")), QString::fromLatin1(node("002/005"))};
        QTemporaryFile output;
        QVERIFY(output.open());
        FILE *out = fdopen(dup(output.handle()), "w");
        const int exitCode = FlashCli(options, FlashCli::Output::Plain, out, out).exec();
        std::fclose(out);
        QCOMPARE(exitCode, 4);
        output.seek(0); // the descriptor shares its offset with the one written through
        const QString text = QString::fromUtf8(output.readAll());
        QVERIFY2(QRegularExpression(QStringLiteral("002/004 +unusable .*no write access: install the udev rule")).match(text).hasMatch(), qPrintable(text));
        QVERIFY2(QRegularExpression(QStringLiteral("002/005 +unusable .*busy")).match(text).hasMatch(), qPrintable(text));
        QVERIFY(fake->bulkTimeouts.isEmpty());
    }

    // With a stall time-out every transfer carries it, and a read that runs out of it
    // fails at once instead of being tried six times; without one, the window's way.
    void stallTimeout()
    {
        UsbDevfsTransport transport(node("001/002"));
        transport.setStallTimeout(1500);
        QVERIFY(transport.open());
        char buffer[512];
        QCOMPARE(transport.write("GETINFO", 7), 7);
        fake->bulkResults = {-1};
        fake->bulkTimeouts.clear();
        QCOMPARE(transport.read(buffer, 512), -1);
        QCOMPARE(fake->bulkTimeouts, (QList<unsigned>{1500}));
        QCOMPARE(fake->sleeps, 0);
        QVERIFY(transport.stalled());
        QVERIFY(transport.open()); // a new connection starts unstalled
        QVERIFY(!transport.stalled());

        transport.setStallTimeout(0);
        fake->bulkTimeouts.clear();
        fake->bulkResults = {-1, -1, 2};
        QCOMPARE(transport.read(buffer, 512), 2);
        QCOMPARE(fake->bulkTimeouts, (QList<unsigned>{0, 0, 0}));
        QCOMPARE(fake->sleeps, 2);
        QVERIFY(!transport.stalled());
    }
};

QTEST_GUILESS_MAIN(BoardNodesTest)
#include "tst_boardnodes.moc"
