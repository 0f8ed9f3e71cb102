// The usbdevfs layer against crafted descriptor files and a scripted ioctl, all through
// the UsbSystemCalls seam: the root is a temporary folder laid out like /dev/bus/usb, open()
// can refuse O_RDWR (the tests run as root), and sleep is recorded instead of slept.

#include "boardlink/usbdevfs.h"

#include <QtTest>

#include <numeric>

#include <fcntl.h>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <unistd.h>


namespace {

QByteArray bytes(std::initializer_list<int> values)
{
    return std::accumulate(values.begin(), values.end(), QByteArray(), [](QByteArray b, int v) { return b += char(v); });
}

QByteArray deviceDescriptor(uint16_t vendor = 0x18d1, uint8_t serialIndex = 0)
{
    return bytes({18, 1, 0x00, 0x02, 0, 0, 0, 64, vendor & 0xff, vendor >> 8, 0xe0, 0x4e, 0x00, 0x01, 1, 2,
                  serialIndex, 1});
}
QByteArray configDescriptor(uint8_t interfaces) { return bytes({9, 2, 0, 0, interfaces, 1, 0, 0x80, 50}); }
QByteArray interfaceDescriptor(uint8_t number, uint8_t endpoints, uint8_t cls = 0xff, uint8_t subclass = 0x42,
                               uint8_t protocol = 0x03)
{
    return bytes({9, 4, number, 0, endpoints, cls, subclass, protocol, 0});
}
constexpr int kBulk = 2;
constexpr int kInterrupt = 3;
QByteArray endpointDescriptor(uint8_t address, uint8_t attributes = kBulk)
{
    return bytes({7, 5, address, attributes, 0x00, 0x02, 0});
}
QByteArray downloadInterface(uint8_t number = 0)
{
    return interfaceDescriptor(number, 2) + endpointDescriptor(0x81) + endpointDescriptor(0x01);
}
// Device (0..17), configuration (18..26), interface (27..35), bulk IN 0x81 (36..42),
// bulk OUT 0x01 (43..49): 50 bytes.
QByteArray downloadDevice(uint16_t vendor = 0x18d1, uint8_t serialIndex = 0)
{
    return deviceDescriptor(vendor, serialIndex) + configDescriptor(1) + downloadInterface();
}
enum Offset { Device = 0, Config = 18, Interface = 27, FirstEndpoint = 36, SecondEndpoint = 43 };
QByteArray with(QByteArray data, int offset, int value)
{
    data[offset] = char(value);
    return data;
}

struct BulkCall {
    unsigned ep, len, timeout;
    const void *data;
};

struct FakeSystem {
    QByteArray root;
    QSet<QByteArray> readOnly;           // open(O_RDWR) fails, open(O_RDONLY) works
    QSet<QByteArray> unopenable;         // every open fails
    QList<QPair<QByteArray, int>> opens; // path and access mode of every open call
    QHash<int, QByteArray> openFiles;    // real descriptors of the crafted files
    QList<int> closes;
    QList<size_t> readSizes;
    int claimFailures = 0; // the next N claims fail
    QList<QPair<QByteArray, unsigned>> claims;
    int serialResult = 0;
    QByteArray serialAnswer;
    QList<usbdevfs_ctrltransfer> controls;
    QList<int> bulkScript; // results of the next transfers; an empty script moves everything
    QList<BulkCall> bulks;
    QList<QByteArray> written;
    QList<unsigned> sleeps;
};

FakeSystem *fake = nullptr;

int fakeOpen(const char *path, int flags)
{
    const int mode = flags & O_ACCMODE;
    fake->opens.append({QByteArray(path), mode});
    if (fake->unopenable.contains(path) || (mode == O_RDWR && fake->readOnly.contains(path))) {
        errno = EACCES;
        return -1;
    }
    const int fd = ::open(path, O_RDONLY); // the crafted files are only ever read
    if (fd >= 0)
        fake->openFiles.insert(fd, path);
    return fd;
}

// Exactly the file's bytes; the rest of the buffer is garbage that must not be taken for a descriptor.
ssize_t fakeRead(int fd, void *buf, size_t count)
{
    fake->readSizes.append(count);
    const ssize_t n = ::read(fd, buf, count);
    const size_t used = n > 0 ? size_t(n) : 0;
    memset(static_cast<char *>(buf) + used, 0xa5, count - used);
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
        if (fake->claimFailures <= 0)
            return 0;
        --fake->claimFailures;
        errno = EBUSY;
        return -1;
    }
    if (request == USBDEVFS_CONTROL) {
        auto *ctrl = static_cast<usbdevfs_ctrltransfer *>(arg);
        fake->controls.append(*ctrl);
        memcpy(ctrl->data, fake->serialAnswer.constData(),
               std::min<size_t>(size_t(fake->serialAnswer.size()), ctrl->wLength));
        if (fake->serialResult < 0)
            errno = ETIMEDOUT;
        return fake->serialResult;
    }
    if (request == USBDEVFS_BULK) {
        auto *bulk = static_cast<usbdevfs_bulktransfer *>(arg);
        fake->bulks.append({bulk->ep, bulk->len, bulk->timeout, bulk->data});
        const int result = fake->bulkScript.isEmpty() ? int(bulk->len) : fake->bulkScript.takeFirst();
        if (result < 0)
            errno = EIO;
        else if (bulk->ep & 0x80)
            memset(bulk->data, 'r', size_t(result));
        else
            fake->written.append(QByteArray(static_cast<const char *>(bulk->data), int(bulk->len)));
        return result;
    }
    errno = ENOTTY;
    return -1;
}

void fakeSleep(unsigned seconds) { fake->sleeps.append(seconds); }

QList<usb_ifc_info> offered;

// The system's own rule, with a record of every interface it was shown.
int recordingMatch(usb_ifc_info *info)
{
    offered.append(*info);
    return match_android_fastboot_driver(info);
}

// Closes and frees what usb_open() handed out.
struct Opened {
    usb_handle *h;
    ~Opened()
    {
        if (h) {
            usb_close(h);
            free(h);
        }
    }
    usb_handle *operator->() const { return h; }
};

usb_handle handle(unsigned char in, unsigned char out)
{
    usb_handle h;
    memset(&h, 0, sizeof h);
    h.desc = 42;
    h.ep_in = in;
    h.ep_out = out;
    return h;
}

int openDescriptors() { return int(fake->openFiles.size()); }

} // namespace

class TestUsbDevfs : public QObject
{
    Q_OBJECT

    QTemporaryDir *m_dir = nullptr;
    FakeSystem m_fake;

    // Writes one device file below the root, making the bus folder as needed.
    void addNode(const QString &relative, const QByteArray &data)
    {
        const QString path = m_dir->filePath(relative);
        QVERIFY(QDir().mkpath(QFileInfo(path).path()));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(data), data.size());
    }
    QByteArray nodePath(const QString &relative) const { return m_fake.root + '/' + QFile::encodeName(relative); }
    void setCalls() { usb_set_system_calls({m_fake.root.constData(), fakeOpen, fakeRead, fakeClose, fakeIoctl, fakeSleep}); }

private slots:
    void init()
    {
        m_dir = new QTemporaryDir;
        QVERIFY(m_dir->isValid());
        m_fake = FakeSystem();
        m_fake.root = QFile::encodeName(m_dir->path());
        fake = &m_fake;
        offered.clear();
        setCalls();
    }

    void cleanup()
    {
        usb_reset_system_calls();
        for (int fd : m_fake.openFiles.keys())
            ::close(fd);
        fake = nullptr;
        delete m_dir;
        m_dir = nullptr;
    }

    // Only digit-named buses and devices are searched; an unopenable node is skipped; a
    // failed claim closes the node and skips the rest of it. A read-only node is still
    // looked at: its download interface is offered with what it is, claimed and closed again.
    void findsTheBoard()
    {
        QCOMPARE(usb_open(recordingMatch), nullptr); // an empty root is no board
        for (const char *name : {"usb1/001", "001/devices", "001/1a", "002x/003", "004" /* a file, not a bus */})
            addNode(name, downloadDevice());
        addNode("002/001", deviceDescriptor(0x0bb4) + configDescriptor(2) + downloadInterface(0) + downloadInterface(1));
        addNode("002/002", downloadDevice());
        m_fake.unopenable.insert(nodePath("002/002"));
        m_fake.claimFailures = 1;
        QCOMPARE(usb_open(recordingMatch), nullptr);
        QCOMPARE(m_fake.claims.size(), 1);
        QCOMPARE(offered.size(), 1);
        QCOMPARE(offered[0].node_writable, uint8_t(1));
        QCOMPARE(m_fake.opens.size(), 3); // the unopenable node is tried for reading too
        QCOMPARE(openDescriptors(), 0);

        QVERIFY(QFile::remove(m_dir->filePath("002/001")));
        m_fake.opens.clear();
        offered.clear();
        addNode("003/009", deviceDescriptor(0x18d1, 0) + configDescriptor(4)
                               + interfaceDescriptor(0, 0, 0x09, 0x00, 0x00)   // hub-like, no endpoints
                               + interfaceDescriptor(1, 1, 0x03, 0x00, 0x00)   // HID, interrupt only
                               + endpointDescriptor(0x83, kInterrupt)
                               + interfaceDescriptor(2, 2, 0x08, 0x06, 0x50)   // mass storage, own bulk pair
                               + endpointDescriptor(0x86) + endpointDescriptor(0x06)
                               // a later bulk endpoint of a direction replaces an earlier one
                               + interfaceDescriptor(3, 5) + endpointDescriptor(0x84)
                               + endpointDescriptor(0x87, kInterrupt) + endpointDescriptor(0x85)
                               + endpointDescriptor(0x03) + endpointDescriptor(0x04, kInterrupt));
        m_fake.readOnly.insert(nodePath("003/009"));
        usb_handle *h = usb_open(recordingMatch);
        QVERIFY(h);
        QCOMPARE(QByteArray(h->fname), nodePath("003/009"));
        QCOMPARE(QList<int>({h->ep_in, h->ep_out}), QList<int>({0x85, 0x03}));
        QVERIFY(m_fake.opens.contains({nodePath("003/009"), O_RDONLY}));
        QCOMPARE(m_fake.claims.last(), (QPair<QByteArray, unsigned>{nodePath("003/009"), 3u}));
        QStringList seen; // vendor, product, class, bulk endpoints, writable, serial of each interface offered
        for (const usb_ifc_info &i : std::as_const(offered))
            seen << QStringLiteral("%1:%2:%3:%4%5:%6%7").arg(i.vendor_id, 0, 16).arg(i.product_id, 0, 16)
                        .arg(i.interface_class, 0, 16).arg(i.bulk_in_present).arg(i.bulk_out_present)
                        .arg(i.node_writable).arg(int(i.serial[0]));
        QCOMPARE(seen, QStringList({"18d1:4ee0:9:00:00", "18d1:4ee0:3:00:00", "18d1:4ee0:8:11:00", "18d1:4ee0:ff:11:00"}));
        QCOMPARE(openDescriptors(), 1);
        QCOMPARE(usb_close(h), 0);
        QCOMPARE(h->desc, -1);
        QCOMPARE(openDescriptors(), 0);
        free(h);
        QCOMPARE(m_fake.readSizes.constLast(), size_t(1024));
    }

    // Malformed or foreign nodes are refused without reading past the data; `offers`
    // counts the interfaces shown to the match rule.
    void rejectedDescriptors_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<int>("offers");
        const QByteArray good = downloadDevice();
        for (int cut : {0, 17, 18, 26, 27, 30})
            QTest::addRow("%d bytes", cut) << good.left(cut) << 0;
        // Lengths too short, past the data and far past it, and a wrong descriptor type.
        const struct { const char *name; int at; int lengths[4]; int type; } fields[] = {
            {"device", Device, {0, 17, 51, 255}, 2}, {"config", Config, {0, 8, 33, 255}, 4},
            {"interface", Interface, {0, 8, 24, 255}, 5}};
        for (const auto &f : fields) {
            for (int length : f.lengths)
                QTest::addRow("%s bLength %d", f.name, length) << with(good, f.at, length) << 0;
            QTest::addRow("%s type %d", f.name, f.type) << with(good, f.at + 1, f.type) << 0;
        }
        QTest::newRow("no interfaces") << deviceDescriptor() + configDescriptor(0) << 0;
        QTest::newRow("protocol 0x01") << with(good, Interface + 7, 0x01) << 1;
        QTest::newRow("subclass 0x43") << with(good, Interface + 6, 0x43) << 1;
        QTest::newRow("class 0xfe") << with(good, Interface + 5, 0xfe) << 1;
        const QByteArray foreign = downloadDevice(0x1234); // offered, never accepted
        QTest::newRow("unknown vendor") << foreign << 1;
        QTest::newRow("endpoint bLength 255") << with(foreign, FirstEndpoint, 255) << 1;
        QTest::newRow("255 interfaces, 9 bytes each")
            << deviceDescriptor(0x1234) + configDescriptor(255) + interfaceDescriptor(0, 0) + interfaceDescriptor(1, 0) << 2;
    }
    void rejectedDescriptors()
    {
        QFETCH(QByteArray, data);
        addNode("001/001", data);
        QCOMPARE(usb_open(recordingMatch), nullptr);
        QTEST(int(offered.size()), "offers");
        QVERIFY(m_fake.claims.isEmpty());
        QCOMPARE(openDescriptors(), 0);
    }

    void endpointWalk_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<int>("in");
        QTest::addColumn<int>("out");
        const QByteArray good = downloadDevice();
        QTest::newRow("device descriptor of 20 bytes") << with(deviceDescriptor(), Device, 20) + bytes({0, 0}) + good.mid(18)
                                                       << 0x81 << 0x01;
        QTest::newRow("second endpoint cut short") << good.left(47) << 0x81 << 0;
        for (int length : {6, 15 /* beyond the data */})
            QTest::addRow("first endpoint bLength %d", length) << with(good, FirstEndpoint, length) << 0 << 0;
        QTest::newRow("second endpoint type 4") << with(good, SecondEndpoint + 1, 4) << 0x81 << 0;
        // Only the first 1024 bytes of a node count: four long interfaces end at 1007, the
        // download interface and its IN endpoint fit, its OUT endpoint (1023..1029) does not.
        QByteArray longInterface = with(interfaceDescriptor(0, 0, 0x08, 0x06, 0x50), 0, 245);
        longInterface.append(QByteArray(245 - 9, '\0'));
        QByteArray big = deviceDescriptor() + configDescriptor(5) + longInterface.repeated(4) + downloadInterface(4);
        QTest::newRow("node longer than 1024 bytes") << big << 0x81 << 0;
    }
    void endpointWalk()
    {
        QFETCH(QByteArray, data);
        addNode("001/001", data);
        Opened h{usb_open(recordingMatch)};
        QVERIFY(h.h);
        QTEST(int(h->ep_in), "in");
        QTEST(int(h->ep_out), "out");
        QCOMPARE(offered.last().bulk_in_present, uint8_t(h->ep_in != 0));
        QCOMPARE(offered.last().bulk_out_present, uint8_t(h->ep_out != 0));
    }

    void serialNumber_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("result");
        QTest::addColumn<QByteArray>("serial");
        // Header unit, then UTF-16LE units of which only the low byte is kept.
        QTest::newRow("four characters") << 7 << 10 << QByteArray("SN42");
        QTest::newRow("transfer failed") << 7 << -1 << QByteArray();
        QTest::newRow("no serial index: not asked") << 0 << 10 << QByteArray();
    }
    void serialNumber()
    {
        QFETCH(int, index);
        addNode("001/001", downloadDevice(0x18d1, uint8_t(index)));
        m_fake.serialAnswer = bytes({10, 3, 'S', 0, 'N', 0, '4', 0x01, '2', 0});
        QFETCH(int, result);
        m_fake.serialResult = result;
        Opened h{usb_open(recordingMatch)};
        QVERIFY(h.h); // a missing serial number does not stop the device from being used
        QTEST(QByteArray(offered.value(0).serial), "serial");
        QCOMPARE(m_fake.controls.size(), index ? 1 : 0);
        if (index) { // GET_DESCRIPTOR of string 7, 256 bytes, 50 ms
            const usbdevfs_ctrltransfer &c = m_fake.controls[0];
            QCOMPARE((QList<int>{c.bRequestType, c.bRequest, c.wValue, c.wIndex, c.wLength, int(c.timeout)}),
                     (QList<int>{0x80, 6, 0x0307, 0, 256, 50}));
        }
    }

    // Pieces of at most 16384 bytes without timeout; a failed read is retried after a
    // second, five times at most; a short piece ends the transfer.
    void transfers_data()
    {
        QTest::addColumn<bool>("reading");
        QTest::addColumn<int>("length");
        QTest::addColumn<QList<int>>("script"); // results of the transfers; empty: each moves everything
        QTest::addColumn<int>("result");
        QTest::addColumn<QList<unsigned>>("pieces");
        QTest::addColumn<int>("sleeps");
        QTest::newRow("write 40000") << false << 40000 << QList<int>{} << 40000 << QList<unsigned>{16384, 16384, 7232} << 0;
        QTest::newRow("write nothing") << false << 0 << QList<int>{} << 0 << QList<unsigned>{0} << 0;
        QTest::newRow("write, short piece") << false << 40000 << QList<int>{16384, 100} << -1 << QList<unsigned>{16384, 16384} << 0;
        QTest::newRow("read stops at short piece") << true << 40000 << QList<int>{16384, 0} << 16384 << QList<unsigned>{16384, 16384} << 0;
        QTest::newRow("read, five failures") << true << 64 << QList<int>{-1, -1, -1, -1, -1, 13} << 13 << QList<unsigned>(6, 64) << 5;
        QTest::newRow("read gives up after six") << true << 64 << QList<int>{-1, -1, -1, -1, -1, -1, 64} << -1 << QList<unsigned>(6, 64) << 5;
        QTest::newRow("read, negative length") << true << -5 << QList<int>{} << 0 << QList<unsigned>{} << 0;
    }
    void transfers()
    {
        QFETCH(bool, reading);
        QFETCH(int, length);
        QFETCH(QList<int>, script);
        QFETCH(QList<unsigned>, pieces);
        QFETCH(int, result);
        QByteArray data(qMax(length, 0) + 1, '\0');
        for (int i = 0; i < data.size(); ++i)
            data[i] = char(i * 7);
        m_fake.bulkScript = script;
        usb_handle h = handle(0x81, 0x02);
        QCOMPARE(reading ? usb_read(&h, data.data(), length) : usb_write(&h, data.constData(), length), result);
        QFETCH(int, sleeps); // recorded through the seam, not slept
        QCOMPARE(m_fake.sleeps, QList<unsigned>(sleeps, 1));
        QCOMPARE(m_fake.bulks.size(), pieces.size());
        for (int i = 0, offset = 0; i < pieces.size(); ++i) {
            QCOMPARE(m_fake.bulks[i].ep, reading ? 0x81u : 0x02u);
            QCOMPARE(m_fake.bulks[i].len, pieces[i]);
            QCOMPARE(m_fake.bulks[i].timeout, 0u);
            QCOMPARE(m_fake.bulks[i].data, static_cast<const void *>(data.constData() + offset));
            offset += qMax(script.value(i, int(pieces[i])), 0);
        }
        if (result >= 0 && reading) // the answer lands in the buffer, and nothing past it
            QCOMPARE(data.left(result + 1), QByteArray(result, 'r') + char(result * 7));
        if (result >= 0 && !reading)
            QCOMPARE(m_fake.written.join(), data.left(length));
    }

    void missingEndpointAndClosing()
    {
        QByteArray buffer(100, 'w');
        usb_handle noOut = handle(0x81, 0), noIn = handle(0, 0x02);
        for (int length : {100, 0}) {
            QCOMPARE(usb_write(&noOut, buffer.constData(), length), -1);
            QCOMPARE(usb_read(&noIn, buffer.data(), length), -1);
        }
        QVERIFY(m_fake.bulks.isEmpty());
        usb_handle h = handle(0x81, 0x02), k = handle(0x81, 0x02);
        k.desc = 43;
        QCOMPARE(usb_close(&h), 0);
        usb_kick(&k);
        QCOMPARE(usb_close(&h), 0); // already closed: nothing more to close
        usb_kick(&k);
        QCOMPARE(m_fake.closes, (QList<int>{42, 43}));
    }
};

QTEST_GUILESS_MAIN(TestUsbDevfs)
#include "tst_usbdevfs.moc"
