// The usbdevfs layer against crafted descriptor files and a scripted ioctl, all through
// the UsbSystemCalls seam: the root is a temporary folder laid out like /dev/bus/usb, open()
// can refuse O_RDWR (the tests run as root). That no descriptor is read outside what a node
// gave is the fuzzer's, retries after a failed read are tst_usbunplug's; here is what is chosen.

#include "boardlink/usbdevfs.h"

#include <QtTest>

#include <fcntl.h>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray b;
    for (int v : values)
        b += char(v);
    return b;
}
QByteArray device(uint16_t vendor = 0x18d1, uint8_t serialIndex = 0, uint8_t interfaces = 1)
{
    return bytes({18, 1, 0, 2, 0, 0, 0, 64, vendor & 0xff, vendor >> 8, 0xe0, 0x4e, 0, 1, 1, 2, serialIndex, 1})
        + bytes({9, 2, 0, 0, interfaces, 1, 0, 0x80, 50});
}
QByteArray interface(uint8_t number, uint8_t endpoints, uint8_t cls = 0xff, uint8_t sub = 0x42, uint8_t proto = 3)
{
    return bytes({9, 4, number, 0, endpoints, cls, sub, proto, 0});
}
QByteArray endpoint(uint8_t address, uint8_t attributes = 2 /* bulk */) { return bytes({7, 5, address, attributes, 0, 2, 0}); }
QByteArray downloadInterface(uint8_t number = 0) { return interface(number, 2) + endpoint(0x81) + endpoint(0x01); }
QByteArray downloadDevice() { return device() + downloadInterface(); }

struct FakeSystem {
    QByteArray root;
    QSet<QByteArray> readOnly;   // open(O_RDWR) fails, open(O_RDONLY) works
    QSet<QByteArray> unopenable; // every open fails
    int opens = 0;
    QHash<int, QByteArray> openFiles;
    QList<int> closes;
    int claimFailures = 0; // the next N claims fail
    QList<QPair<QByteArray, unsigned>> claims;
    int serialResult = 10;
    QList<int> bulkScript;        // results of the next transfers; an empty script moves everything
    QList<unsigned> bulks;        // endpoint << 16 | length of every transfer, all without timeout
    QByteArray written;
} *fake = nullptr;

int fakeOpen(const char *path, int flags)
{
    ++fake->opens;
    if (fake->unopenable.contains(path) || ((flags & O_ACCMODE) == O_RDWR && fake->readOnly.contains(path))) {
        errno = EACCES;
        return -1;
    }
    const int fd = ::open(path, O_RDONLY);
    if (fd >= 0)
        fake->openFiles.insert(fd, path);
    return fd;
}
// Exactly the file's bytes; the rest of the buffer is garbage that must not be taken for a descriptor.
ssize_t fakeRead(int fd, void *buf, size_t count)
{
    const ssize_t n = qMax<ssize_t>(::read(fd, buf, count), 0);
    memset(static_cast<char *>(buf) + n, 0xa5, count - size_t(n));
    return n;
}
int fakeClose(int fd)
{
    fake->closes.append(fd);
    return fake->openFiles.remove(fd) ? ::close(fd) : 0;
}
int fakeIoctl(int fd, unsigned long request, void *arg)
{
    if (request == USBDEVFS_CLAIMINTERFACE) {
        fake->claims.append({fake->openFiles.value(fd), *static_cast<unsigned *>(arg)});
        errno = EBUSY;
        return fake->claimFailures-- > 0 ? -1 : 0;
    }
    if (request == USBDEVFS_CONTROL) { // string descriptor 7: only the low byte of each unit counts
        auto *ctrl = static_cast<usbdevfs_ctrltransfer *>(arg);
        const bool asked = ctrl->bRequestType == 0x80 && ctrl->bRequest == 6 && ctrl->wValue == 0x0307;
        memcpy(ctrl->data, asked ? "\x0a\x03S\0N\0" "4\x01" "2\0" : "\x04\x03?\0", 10);
        errno = ETIMEDOUT;
        return fake->serialResult;
    }
    auto *bulk = static_cast<usbdevfs_bulktransfer *>(arg);
    fake->bulks.append(bulk->ep << 16 | bulk->len | (bulk->timeout ? 0x8000'0000u : 0));
    const int result = fake->bulkScript.isEmpty() ? int(bulk->len) : fake->bulkScript.takeFirst();
    errno = EIO;
    if (result >= 0 && (bulk->ep & 0x80))
        memset(bulk->data, 'r', size_t(result));
    else if (result >= 0)
        fake->written.append(static_cast<const char *>(bulk->data), int(bulk->len));
    return result;
}

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
    QTemporaryDir *m_dir = nullptr;
    FakeSystem m_fake;

    void addNode(const QString &relative, const QByteArray &data)
    {
        QVERIFY(QDir().mkpath(QFileInfo(m_dir->filePath(relative)).path()));
        QFile file(m_dir->filePath(relative));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(data) == data.size());
    }
    QByteArray nodePath(const QString &relative) const { return m_fake.root + '/' + QFile::encodeName(relative); }

private slots:
    void init()
    {
        m_dir = new QTemporaryDir;
        m_fake = FakeSystem();
        m_fake.root = QFile::encodeName(m_dir->path());
        fake = &m_fake;
        offered.clear();
        usb_set_system_calls({m_fake.root.constData(), fakeOpen, fakeRead, fakeClose, fakeIoctl, [](unsigned) {}});
    }
    void cleanup()
    {
        usb_reset_system_calls();
        for (int fd : m_fake.openFiles.keys())
            ::close(fd);
        delete m_dir;
    }

    // Only digit-named buses and devices are searched; an unopenable node is skipped; a
    // failed claim closes the node and skips the rest of it; foreign interfaces are shown to
    // the rule and refused. A read-only node is still looked at: its download interface is
    // offered with what it is, claimed and closed again.
    void findsTheBoard()
    {
        QCOMPARE(usb_open(recordingMatch), nullptr); // an empty root is no board
        for (const char *name : {"usb1/001", "001/devices", "001/1a", "002x/003", "004" /* a file, not a bus */})
            addNode(name, downloadDevice());
        const QByteArray good = downloadDevice();
        const auto with = [&](int offset, char value) { return QByteArray(good).replace(offset, 1, &value, 1); };
        addNode("002/001", device(0x0bb4, 0, 2) + downloadInterface(0) + downloadInterface(1));
        addNode("002/002", good);
        m_fake.unopenable.insert(nodePath("002/002"));
        const QList<QByteArray> refused = {good.left(30), with(1, 2), device(0x18d1, 0, 0), with(34, 1),
                                           with(33, 0x43), with(32, 0xfe)};
        for (int i = 0; i < refused.size(); ++i)
            addNode(QStringLiteral("005/%1").arg(i), refused[i]);
        m_fake.claimFailures = 1;
        QCOMPARE(usb_open(recordingMatch), nullptr);
        QCOMPARE(m_fake.claims.size(), 1);
        offered.sort(); // in the order the folders list them
        QCOMPARE(offered, QStringList({"18d1:4ee0:fe:11:1:", "18d1:4ee0:ff:11:1:", "18d1:4ee0:ff:11:1:", "bb4:4ee0:ff:11:1:"}));
        QCOMPARE(m_fake.opens, 3 + refused.size()); // the unopenable node is tried for reading too
        QVERIFY(m_fake.openFiles.isEmpty());

        QVERIFY(QFile::remove(m_dir->filePath("002/001")) && QDir(m_dir->filePath("005")).removeRecursively());
        offered.clear();
        addNode("003/009", device(0x18d1, 7, 4)
                               + interface(0, 0, 0x09, 0, 0) // hub-like, no endpoints
                               + interface(1, 1, 0x03, 0, 0) + endpoint(0x83, 3) // HID, interrupt only
                               + interface(2, 2, 0x08, 0x06, 0x50) + endpoint(0x86) + endpoint(0x06)
                               // a later bulk endpoint of a direction replaces an earlier one
                               + interface(3, 5) + endpoint(0x84) + endpoint(0x87, 3) + endpoint(0x85)
                               + endpoint(0x03) + endpoint(0x04, 3));
        m_fake.readOnly.insert(nodePath("003/009"));
        for (int serialResult : {10, -1}) { // a failed serial number read does not stop the board from being used
            m_fake.serialResult = serialResult;
            usb_handle *h = usb_open(recordingMatch);
            QVERIFY(h);
            QCOMPARE(QByteArray(h->fname), nodePath("003/009"));
            QCOMPARE(QList<int>({h->ep_in, h->ep_out}), QList<int>({0x85, 0x03}));
            QCOMPARE(m_fake.claims.last(), (QPair<QByteArray, unsigned>{nodePath("003/009"), 3u}));
            QCOMPARE(usb_close(h), 0);
            QCOMPARE(h->desc, -1);
            QVERIFY(m_fake.openFiles.isEmpty());
            free(h);
        }
        QCOMPARE(offered, QStringList({"18d1:4ee0:9:00:0:SN42", "18d1:4ee0:3:00:0:SN42", "18d1:4ee0:8:11:0:SN42",
                                       "18d1:4ee0:ff:11:0:SN42", "18d1:4ee0:9:00:0:", "18d1:4ee0:3:00:0:",
                                       "18d1:4ee0:8:11:0:", "18d1:4ee0:ff:11:0:"}));
    }

    // Pieces of at most 16384 bytes without timeout; a short piece ends the transfer. The
    // answer lands in the buffer, and nothing past it.
    void transfers()
    {
        QByteArray data(40001, '\0');
        for (int i = 0; i < data.size(); ++i)
            data[i] = char(i * 7 + 1);
        usb_handle h{"", 42, 0x81, 0x02, 0};
        QCOMPARE(usb_write(&h, data.constData(), 40000), 40000);
        QCOMPARE(m_fake.written, data.left(40000));
        m_fake.bulkScript = {16384, 100};
        QCOMPARE(usb_write(&h, data.constData(), 40000), -1);
        m_fake.bulkScript = {16384, 0};
        QCOMPARE(usb_read(&h, data.data(), 40000), 16384);
        QCOMPARE(data.left(16385), QByteArray(16384, 'r') + char(16384 * 7 + 1));
        QCOMPARE(usb_read(&h, data.data(), -5), 0);
        const unsigned out = 0x02u << 16, in = 0x81u << 16;
        QCOMPARE(m_fake.bulks, QList<unsigned>({out | 16384, out | 16384, out | 7232, out | 16384, out | 16384,
                                                in | 16384, in | 16384}));
    }

    // A handle closed twice, or kicked twice, closes its node once.
    void missingEndpointAndClosing()
    {
        char buffer[100];
        usb_handle noOut{"", 42, 0x81, 0, 0}, noIn{"", 42, 0, 0x02, 0}, h{"", 42, 0x81, 0x02, 0}, k{"", 43, 0x81, 0x02, 0};
        QCOMPARE(QList<int>({usb_write(&noOut, buffer, 100), usb_read(&noIn, buffer, 100), usb_write(&noOut, buffer, 0),
                             usb_close(&h), usb_close(&h)}), QList<int>({-1, -1, -1, 0, 0}));
        usb_kick(&k);
        usb_kick(&k);
        QVERIFY(m_fake.bulks.isEmpty());
        QCOMPARE(m_fake.closes, (QList<int>{42, 43}));
    }
};

QTEST_GUILESS_MAIN(TestUsbDevfs)
#include "tst_usbdevfs.moc"
