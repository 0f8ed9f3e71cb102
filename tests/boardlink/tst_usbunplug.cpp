// A read that fails because the board has left the bus gives up at once; one that fails
// on a board that is still there is tried again a second later, as always.

#include "boardlink/usbdevfs.h"

#include <QTest>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace {

struct Fake
{
    QList<int> errors; // one per failing transfer, then transfers succeed
    bool nodePresent = true;
    int transfers = 0;
    int sleeps = 0;
} fake;

int fakeOpen(const char *, int)
{
    if (fake.nodePresent)
        return ::open("/dev/null", O_RDONLY);
    errno = ENOENT;
    return -1;
}
ssize_t fakeRead(int, void *, size_t) { return 0; }
int fakeClose(int fd) { return ::close(fd); }
int fakeIoctl(int, unsigned long, void *)
{
    ++fake.transfers;
    if (fake.errors.isEmpty())
        return 2;
    errno = fake.errors.takeFirst();
    return -1;
}
void fakeSleep(unsigned) { ++fake.sleeps; }

} // namespace

class TestUsbUnplug : public QObject
{
    Q_OBJECT
private slots:
    void cleanup() { usb_reset_system_calls(); }

    void read_data()
    {
        QTest::addColumn<QList<int>>("errors");
        QTest::addColumn<bool>("nodePresent");
        QTest::addColumn<int>("result");
        QTest::addColumn<int>("transfers");
        QTest::addColumn<int>("sleeps");
        QTest::newRow("device gone") << QList<int>{ENODEV} << true << -1 << 1 << 0;
        QTest::newRow("cut short, node removed") << QList<int>{EPROTO} << false << -1 << 1 << 0;
        QTest::newRow("shut down, node removed") << QList<int>{ESHUTDOWN} << false << -1 << 1 << 0;
        QTest::newRow("protocol errors, board still there") << QList<int>{EPROTO, ESHUTDOWN} << true << 2 << 3 << 2;
        QTest::newRow("I/O error, node removed") << QList<int>{EIO, EIO} << false << 2 << 3 << 2;
        QTest::newRow("six I/O errors") << QList<int>(6, EIO) << true << -1 << 6 << 5;
    }
    void read()
    {
        QFETCH(QList<int>, errors);
        QFETCH(bool, nodePresent);
        fake = Fake{errors, nodePresent};
        usb_set_system_calls({"/nonexistent", fakeOpen, fakeRead, fakeClose, fakeIoctl, fakeSleep});
        usb_handle h{"/dev/bus/usb/001/002", 3, 0x81, 0x02};
        char buffer[512];
        QTEST(usb_read(&h, buffer, sizeof buffer), "result");
        QTEST(fake.transfers, "transfers");
        QTEST(fake.sleeps, "sleeps");
    }
};

QTEST_GUILESS_MAIN(TestUsbUnplug)
#include "tst_usbunplug.moc"
