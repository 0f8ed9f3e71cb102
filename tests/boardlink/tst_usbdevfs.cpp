// The usbdevfs layer against crafted descriptor files and a scripted ioctl, all through
// the UsbSystemCalls seam: the root is a temporary folder laid out like /dev/bus/usb, open()
// can refuse O_RDWR (the tests run as root), and sleep is recorded instead of slept.

#include "boardlink/usbdevfs.h"

#include <QtTest>

#include <algorithm>
#include <numeric>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#if __has_include(<sanitizer/asan_interface.h>)
#include <sanitizer/asan_interface.h>
#endif
#ifndef ASAN_POISON_MEMORY_REGION
#define ASAN_POISON_MEMORY_REGION(addr, size) ((void)(addr), (void)(size))
#define ASAN_UNPOISON_MEMORY_REGION(addr, size) ((void)(addr), (void)(size))
#endif

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
    void *poisoned = nullptr;
    size_t poisonedSize = 0;
    int claimFailures = 0; // the next N claims fail
    QList<QPair<QByteArray, unsigned>> claims;
    int serialResult = 0;
    QByteArray serialAnswer;
    QList<usbdevfs_ctrltransfer> controls;
    QList<int> bulkScript; // results of the next transfers; an empty script moves everything
    int bulkErrno = EIO;
    QList<BulkCall> bulks;
    QList<QByteArray> written;
    QList<unsigned> sleeps;
};

FakeSystem *fake = nullptr;

void unpoison()
{
    if (fake->poisoned)
        ASAN_UNPOISON_MEMORY_REGION(fake->poisoned, fake->poisonedSize);
    fake->poisoned = nullptr;
    fake->poisonedSize = 0;
}

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

// Hands out exactly the file's bytes and, under AddressSanitizer, poisons the rest of the
// buffer until the caller's next claim or close, so a look past the bytes read is reported.
ssize_t fakeRead(int fd, void *buf, size_t count)
{
    fake->readSizes.append(count);
    const ssize_t n = ::read(fd, buf, count);
    const size_t used = n > 0 ? size_t(n) : 0;
    if (used < count) {
        memset(static_cast<char *>(buf) + used, 0xa5, count - used);
        fake->poisoned = static_cast<char *>(buf) + used;
        fake->poisonedSize = count - used;
        ASAN_POISON_MEMORY_REGION(fake->poisoned, fake->poisonedSize);
    }
    return n;
}

int fakeClose(int fd)
{
    unpoison();
    fake->closes.append(fd);
    return fake->openFiles.remove(fd) ? ::close(fd) : 0;
}

int fakeIoctl(int fd, unsigned long request, void *arg)
{
    if (request == USBDEVFS_CLAIMINTERFACE) {
        unpoison();
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
            errno = fake->bulkErrno;
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

// What `call` writes to standard error.
template<class Call>
QByteArray stderrOf(Call call)
{
    QTemporaryFile file;
    file.open();
    fflush(stderr);
    const int saved = dup(STDERR_FILENO);
    dup2(file.handle(), STDERR_FILENO);
    call();
    fflush(stderr);
    dup2(saved, STDERR_FILENO);
    ::close(saved);
    file.seek(0);
    return file.readAll();
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
        unpoison();
        usb_reset_system_calls();
        for (int fd : m_fake.openFiles.keys())
            ::close(fd);
        fake = nullptr;
        delete m_dir;
        m_dir = nullptr;
    }

    // The twelve vendors with the download interface class; nothing else of the interface counts.
    void matchRule()
    {
        usb_ifc_info info;
        memset(&info, 0xff, sizeof info);
        info.interface_class = 0xff, info.interface_subclass = 0x42, info.interface_protocol = 0x03;
        info.serial[0] = 0;
        for (int vendor : {0x8087, 0x18d1, 0x0451, 0x0502, 0x0fce, 0x05c6, 0x22b8, 0x0955, 0x413c, 0x2314, 0x0b05, 0x0bb4}) {
            info.vendor_id = uint16_t(vendor);
            QCOMPARE(match_android_fastboot_driver(&info), 0);
        }
        for (int vendor : {0x0000, 0x1234}) {
            info.vendor_id = uint16_t(vendor);
            QCOMPARE(match_android_fastboot_driver(&info), -1);
        }
    }

    void acceptsDownloadInterface()
    {
        addNode("001/004", deviceDescriptor(0x0bb4) + configDescriptor(1) + interfaceDescriptor(3, 2)
                               + endpointDescriptor(0x82) + endpointDescriptor(0x02));
        usb_handle *h = usb_open(recordingMatch);
        QVERIFY(h);
        QCOMPARE(QByteArray(h->fname), nodePath("001/004"));
        QVERIFY(h->desc >= 0);
        QCOMPARE(int(h->ep_in), 0x82);
        QCOMPARE(int(h->ep_out), 0x02);
        QCOMPARE(m_fake.opens.size(), 1);
        QCOMPARE(m_fake.opens[0].second, O_RDWR);
        QCOMPARE(m_fake.readSizes, QList<size_t>{1024});
        QCOMPARE(m_fake.claims, (QList<QPair<QByteArray, unsigned>>{{nodePath("001/004"), 3u}}));

        QCOMPARE(offered.size(), 1);
        const usb_ifc_info &i = offered[0]; // vendor, product, class, subclass, protocol, IN, OUT, writable, serial
        QCOMPARE((QList<int>{i.vendor_id, i.product_id, i.interface_class, i.interface_subclass, i.interface_protocol,
                             i.bulk_in_present, i.bulk_out_present, i.node_writable, i.serial[0]}),
                 (QList<int>{0x0bb4, 0x4ee0, 0xff, 0x42, 0x03, 1, 1, 1, 0}));

        QCOMPARE(usb_close(h), 0);
        QCOMPARE(h->desc, -1);
        QCOMPARE(openDescriptors(), 0);
        free(h);
    }

    // A node that opens only for reading is still examined; one that does not open is skipped.
    void nodeAccess_data()
    {
        QTest::addColumn<bool>("readable");
        QTest::newRow("read-only") << true;
        QTest::newRow("unopenable") << false;
    }
    void nodeAccess()
    {
        QFETCH(bool, readable);
        addNode("002/001", downloadDevice());
        (readable ? m_fake.readOnly : m_fake.unopenable).insert(nodePath("002/001"));
        Opened h{usb_open(recordingMatch)};
        QCOMPARE(h.h != nullptr, readable);
        QCOMPARE(m_fake.opens, (QList<QPair<QByteArray, int>>{{nodePath("002/001"), O_RDWR}, {nodePath("002/001"), O_RDONLY}}));
        QCOMPARE(offered.size(), readable ? 1 : 0);
        if (readable)
            QCOMPARE(offered[0].node_writable, uint8_t(0));
    }

    // Nodes that are refused, malformed ones included; under AddressSanitizer the poisoned
    // buffer also catches any look past the bytes read.
    void rejectedDescriptors_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<int>("offers"); // interfaces shown to the match rule
        const QByteArray good = downloadDevice();
        QTest::newRow("empty node") << QByteArray() << 0;
        QTest::newRow("17 bytes") << good.left(17) << 0;
        QTest::newRow("device only") << good.left(18) << 0;
        QTest::newRow("8 bytes after device") << good.left(26) << 0;
        // Lengths too short, past the data and far past it (255), and a wrong descriptor type.
        const struct { const char *name; int at; int lengths[4]; int type; } fields[] = {
            {"device", Device, {0, 17, 51, 255}, 2}, {"config", Config, {0, 8, 33, 255}, 4},
            {"interface", Interface, {0, 8, 24, 255}, 5}};
        for (const auto &f : fields) {
            for (int length : f.lengths)
                QTest::addRow("%s bLength %d", f.name, length) << with(good, f.at, length) << 0;
            QTest::addRow("%s type %d", f.name, f.type) << with(good, f.at + 1, f.type) << 0;
        }
        QTest::newRow("no interfaces") << deviceDescriptor() + configDescriptor(0) << 0;
        QTest::newRow("interface missing") << good.left(27) << 0;
        QTest::newRow("interface cut short") << good.left(30) << 0;
        QTest::newRow("protocol 0x01") << with(good, Interface + 7, 0x01) << 1;
        QTest::newRow("subclass 0x43") << with(good, Interface + 6, 0x43) << 1;
        QTest::newRow("class 0xfe") << with(good, Interface + 5, 0xfe) << 1;

        const QByteArray foreign = downloadDevice(0x1234); // offered, never accepted
        QTest::newRow("unknown vendor") << foreign << 1;
        QTest::newRow("device bLength 255, 18 bytes") << with(foreign.left(18), Device, 255) << 0;
        QTest::newRow("config bLength 255, 9 bytes") << with(foreign.left(27), Config, 255) << 0;
        QTest::newRow("endpoint bLength 255") << with(foreign, FirstEndpoint, 255) << 1;
        QTest::newRow("last endpoint bLength 8") << with(foreign, SecondEndpoint, 8) << 1;
        QTest::newRow("255 interfaces") << with(foreign, Config + 4, 255) << 1;
        QTest::newRow("255 endpoints") << with(foreign, Interface + 4, 255) << 1;
        QTest::newRow("255 interfaces, 9 bytes each")
            << deviceDescriptor(0x1234) + configDescriptor(255) + interfaceDescriptor(0, 0) + interfaceDescriptor(1, 0)
            << 2;
        QTest::newRow("header only after device") << foreign.left(20) << 0;
        QTest::newRow("one byte after interface") << foreign.left(37) << 1;
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
        QTest::newRow("both endpoints") << good << 0x81 << 0x01;
        QTest::newRow("device descriptor of 20 bytes")
            << with(deviceDescriptor(), Device, 20) + bytes({0, 0}) + good.mid(18) << 0x81 << 0x01;
        QTest::newRow("audio endpoint of 9 bytes")
            << deviceDescriptor() + configDescriptor(1) + interfaceDescriptor(0, 2)
                   + with(endpointDescriptor(0x81), 0, 9) + bytes({0, 0}) + endpointDescriptor(0x01)
            << 0x81 << 0x01;
        QTest::newRow("no endpoints") << deviceDescriptor() + configDescriptor(1) + interfaceDescriptor(0, 0) << 0 << 0;
        QTest::newRow("endpoints missing") << good.left(36) << 0 << 0;
        QTest::newRow("second endpoint missing") << good.left(43) << 0x81 << 0;
        QTest::newRow("second endpoint cut short") << good.left(47) << 0x81 << 0;
        for (int length : {0, 6, 15 /* beyond the data */})
            QTest::addRow("first endpoint bLength %d", length) << with(good, FirstEndpoint, length) << 0 << 0;
        QTest::newRow("second endpoint bLength beyond data") << with(good, SecondEndpoint, 8) << 0x81 << 0;
        QTest::newRow("second endpoint type 4") << with(good, SecondEndpoint + 1, 4) << 0x81 << 0;
        QTest::newRow("interrupt endpoints only")
            << deviceDescriptor() + configDescriptor(1) + interfaceDescriptor(0, 2)
                   + endpointDescriptor(0x81, kInterrupt) + endpointDescriptor(0x01, kInterrupt)
            << 0 << 0;

        // Only the first 1024 bytes of a node count: four long interfaces end at 1007, the
        // download interface and its IN endpoint fit, its OUT endpoint (1023..1029) does not.
        QByteArray longInterface = with(interfaceDescriptor(0, 0, 0x08, 0x06, 0x50), 0, 245);
        longInterface.append(QByteArray(245 - 9, '\0'));
        QByteArray big = deviceDescriptor() + configDescriptor(5);
        for (int i = 0; i < 4; ++i)
            big += longInterface;
        big += downloadInterface(4);
        QCOMPARE(big.size(), 1030);
        QTest::newRow("node longer than 1024 bytes") << big << 0x81 << 0;
    }

    void endpointWalk()
    {
        QFETCH(QByteArray, data);
        QFETCH(int, in);
        QFETCH(int, out);
        addNode("001/001", data);
        Opened h{usb_open(recordingMatch)};
        QVERIFY(h.h);
        QCOMPARE(int(h->ep_in), in);
        QCOMPARE(int(h->ep_out), out);
        QCOMPARE(offered.last().bulk_in_present, uint8_t(in != 0));
        QCOMPARE(offered.last().bulk_out_present, uint8_t(out != 0));
        QCOMPARE(m_fake.readSizes, QList<size_t>{1024});
    }

    void laterInterfaceAndEndpointsCount()
    {
        addNode("003/009", deviceDescriptor(0x18d1, 0) + configDescriptor(4)
                               + interfaceDescriptor(0, 0, 0x09, 0x00, 0x00) // hub-like, no endpoints
                               + interfaceDescriptor(1, 1, 0x03, 0x00, 0x00) // HID, interrupt only
                               + endpointDescriptor(0x83, kInterrupt)
                               + interfaceDescriptor(2, 2, 0x08, 0x06, 0x50) // mass storage, own bulk pair
                               + endpointDescriptor(0x86) + endpointDescriptor(0x06)
                               // download: a later bulk endpoint of a direction replaces an
                               // earlier one, interrupt endpoints are not taken
                               + interfaceDescriptor(3, 5) + endpointDescriptor(0x84)
                               + endpointDescriptor(0x87, kInterrupt) + endpointDescriptor(0x85)
                               + endpointDescriptor(0x03) + endpointDescriptor(0x04, kInterrupt));
        Opened h{usb_open(recordingMatch)};
        QVERIFY(h.h);
        QCOMPARE(int(h->ep_in), 0x85);
        QCOMPARE(int(h->ep_out), 0x03);
        QCOMPARE(m_fake.claims, (QList<QPair<QByteArray, unsigned>>{{nodePath("003/009"), 3u}}));
        QStringList seen; // class and bulk endpoints of each interface offered
        for (const usb_ifc_info &i : std::as_const(offered))
            seen << QStringLiteral("%1:%2%3").arg(i.interface_class, 0, 16).arg(i.bulk_in_present).arg(i.bulk_out_present);
        QCOMPARE(seen, QStringList({"9:00", "3:00", "8:11", "ff:11"}));
    }

    void serialNumber_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<int>("result");
        QTest::addColumn<QByteArray>("serial");
        // Header unit, then UTF-16LE units of which only the low byte is kept.
        const QByteArray sn42 = bytes({10, 3, 'S', 0, 'N', 0, '4', 0x01, '2', 0});
        QTest::newRow("four characters") << 7 << sn42 << 10 << QByteArray("SN42");
        QTest::newRow("count shorter than header") << 7 << sn42 << 6 << QByteArray("SN");
        QTest::newRow("odd count") << 7 << sn42 << 7 << QByteArray("SN");
        QTest::newRow("header only") << 7 << sn42 << 2 << QByteArray();
        QTest::newRow("transfer failed") << 7 << sn42 << -1 << QByteArray();
        QTest::newRow("no serial index: not asked") << 0 << bytes({4, 3, 'X', 0}) << 4 << QByteArray();
        QByteArray full = bytes({0xfe, 3});
        for (int i = 0; i < 127; ++i)
            full += bytes({'a' + i % 26, 0x30});
        QTest::newRow("full 256 bytes") << 7 << full << 256 << full.mid(2).replace(char(0x30), QByteArray());
    }

    void serialNumber()
    {
        QFETCH(int, index);
        QFETCH(QByteArray, answer);
        QFETCH(int, result);
        addNode("001/001", downloadDevice(0x18d1, uint8_t(index)));
        m_fake.serialAnswer = answer;
        m_fake.serialResult = result;

        Opened h{usb_open(recordingMatch)};
        QVERIFY(h.h); // a missing serial number does not stop the device from being used
        QCOMPARE(offered.size(), 1);
        QTEST(QByteArray(offered[0].serial), "serial");
        QCOMPARE(m_fake.controls.size(), index ? 1 : 0);
        if (!index)
            return;
        const usbdevfs_ctrltransfer &c = m_fake.controls[0]; // GET_DESCRIPTOR of string 7, 256 bytes, 50 ms
        QCOMPARE((QList<int>{c.bRequestType, c.bRequest, c.wValue, c.wIndex, c.wLength, int(c.timeout)}),
                 (QList<int>{0x80, 6, 0x0307, 0, 256, 50}));
    }

    // Only folders and files named by digits are buses and devices; a missing root is no board.
    void searchedNodes()
    {
        m_fake.root = QFile::encodeName(m_dir->filePath("no-such-folder"));
        setCalls();
        QCOMPARE(usb_open(recordingMatch), nullptr);
        m_fake.root = QFile::encodeName(m_dir->path());
        setCalls();
        for (const char *name : {"usb1/001", "001/devices", "001/1a", "002x/003", "004" /* a file, not a bus */})
            addNode(name, downloadDevice());
        QCOMPARE(usb_open(recordingMatch), nullptr);
        QVERIFY(m_fake.opens.isEmpty());

        addNode("005/017", downloadDevice());
        Opened h{usb_open(recordingMatch)};
        QVERIFY(h.h);
        QCOMPARE(QByteArray(h->fname), nodePath("005/017"));
        QCOMPARE(m_fake.opens.size(), 1);
    }

    void failedClaimMovesToNextNode()
    {
        addNode("001/001", downloadDevice());
        addNode("001/002", downloadDevice());
        m_fake.claimFailures = 1;
        Opened h{usb_open(recordingMatch)};
        QVERIFY(h.h);
        QCOMPARE(m_fake.claims.size(), 2);
        QVERIFY(m_fake.claims[0].first != m_fake.claims[1].first);
        QCOMPARE(QByteArray(h->fname), m_fake.claims[1].first);
        QCOMPARE(openDescriptors(), 1); // the node whose claim failed is closed again
    }

    void failedClaimSkipsRestOfDevice()
    {
        addNode("001/001", deviceDescriptor() + configDescriptor(2) + downloadInterface(0) + downloadInterface(1));
        m_fake.claimFailures = 1;
        QCOMPARE(usb_open(recordingMatch), nullptr);
        QCOMPARE(m_fake.claims.size(), 1);
        QCOMPARE(offered.size(), 1);
        QCOMPARE(openDescriptors(), 0);
    }

    // Pieces of at most 16384 bytes, no timeout. `script`: results of the transfers
    // (empty: each moves everything); `pieces`: the lengths asked for.
    void write_data()
    {
        QTest::addColumn<int>("length");
        QTest::addColumn<QList<int>>("script");
        QTest::addColumn<int>("error");
        QTest::addColumn<int>("result");
        QTest::addColumn<QList<unsigned>>("pieces");
        QTest::addColumn<QByteArray>("printed"); // null: not checked
        const QByteArray quiet(""); // empty, not null
        QTest::newRow("16384") << 16384 << QList<int>{} << EIO << 16384 << QList<unsigned>{16384} << quiet;
        QTest::newRow("16385") << 16385 << QList<int>{} << EIO << 16385 << QList<unsigned>{16384, 1} << quiet;
        QTest::newRow("40000") << 40000 << QList<int>{} << EIO << 40000 << QList<unsigned>{16384, 16384, 7232} << quiet;
        QTest::newRow("zero length") << 0 << QList<int>{} << EIO << 0 << QList<unsigned>{0} << quiet;
        QTest::newRow("short piece") << 40000 << QList<int>{16384, 100} << EIO << -1 << QList<unsigned>{16384, 16384}
                                     << quiet;
        QTest::newRow("failed piece") << 100 << QList<int>{-1} << EIO << -1 << QList<unsigned>{100} << QByteArray();
        QTest::newRow("zero length failed")
            << 0 << QList<int>{-1} << EPIPE << -1 << QList<unsigned>{0}
            << "ERROR: n = -1, errno = " + QByteArray::number(EPIPE) + " (" + strerror(EPIPE) + ")\n";
    }

    void write()
    {
        QFETCH(int, length);
        QFETCH(QList<int>, script);
        QFETCH(int, result);
        QFETCH(QList<unsigned>, pieces);
        QFETCH(QByteArray, printed);
        QByteArray data(length, '\0');
        for (int i = 0; i < length; ++i)
            data[i] = char(i * 7);
        m_fake.bulkScript = script;
        QFETCH(int, error);
        m_fake.bulkErrno = error;
        usb_handle h = handle(0x81, 0x02);
        int written = 0;
        const QByteArray text = stderrOf([&] { written = usb_write(&h, data.constData(), length); });
        QCOMPARE(written, result);
        if (!printed.isNull())
            QCOMPARE(text, printed);
        QCOMPARE(m_fake.bulks.size(), pieces.size());
        for (int i = 0; i < pieces.size(); ++i) {
            QCOMPARE(m_fake.bulks[i].ep, 0x02u);
            QCOMPARE(m_fake.bulks[i].len, pieces[i]);
            QCOMPARE(m_fake.bulks[i].timeout, 0u);
        }
        if (result >= 0) {
            QCOMPARE(m_fake.written.join(), data);
            QVERIFY(m_fake.sleeps.isEmpty());
        }
    }

    // A failed transfer is retried after a second, five times at most; a short piece ends the read.
    void read_data()
    {
        QTest::addColumn<int>("length");
        QTest::addColumn<QList<int>>("script");
        QTest::addColumn<int>("result");
        QTest::addColumn<QList<unsigned>>("pieces");
        QTest::addColumn<QList<unsigned>>("sleeps");
        const QList<unsigned> none, five{1, 1, 1, 1, 1};
        QTest::newRow("short answer") << 512 << QList<int>{2} << 2 << QList<unsigned>{512} << none;
        QTest::newRow("in pieces") << 40000 << QList<int>{} << 40000 << QList<unsigned>{16384, 16384, 7232} << none;
        QTest::newRow("stops at short piece") << 40000 << QList<int>{16384, 0} << 16384
                                              << QList<unsigned>{16384, 16384} << none;
        QTest::newRow("five failures retried") << 64 << QList<int>{-1, -1, -1, -1, -1, 13} << 13
                                               << QList<unsigned>(6, 64) << five;
        QTest::newRow("gives up after six failures") << 64 << QList<int>{-1, -1, -1, -1, -1, -1, 64} << -1
                                                     << QList<unsigned>(6, 64) << five;
        QTest::newRow("nothing asked") << 0 << QList<int>{} << 0 << QList<unsigned>{} << none;
        QTest::newRow("negative length") << -5 << QList<int>{} << 0 << QList<unsigned>{} << none;
    }

    void read()
    {
        QFETCH(int, length);
        QFETCH(QList<int>, script);
        QFETCH(int, result);
        QFETCH(QList<unsigned>, pieces);
        QByteArray buffer(qMax(length, 0) + 1, '\0');
        m_fake.bulkScript = script;
        usb_handle h = handle(0x81, 0x02);
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(usb_read(&h, buffer.data(), length), result);
        QVERIFY(timer.elapsed() < 1000); // sleeps are recorded through the seam, not slept
        QTEST(m_fake.sleeps, "sleeps");
        QCOMPARE(m_fake.bulks.size(), pieces.size());
        for (int i = 0, offset = 0; i < pieces.size(); ++i) {
            QCOMPARE(m_fake.bulks[i].ep, 0x81u);
            QCOMPARE(m_fake.bulks[i].len, pieces[i]);
            QCOMPARE(m_fake.bulks[i].timeout, 0u);
            QCOMPARE(m_fake.bulks[i].data, static_cast<const void *>(buffer.constData() + offset));
            offset += qMax(script.value(i, int(pieces[i])), 0);
        }
        if (result >= 0) // the answer lands in the buffer, and nothing past it
            QCOMPARE(buffer.left(result + 1), QByteArray(result, 'r') + '\0');
    }

    void missingEndpointRefusesTransfers()
    {
        QByteArray buffer(100, 'w');
        usb_handle noOut = handle(0x81, 0), noIn = handle(0, 0x02);
        for (int length : {100, 0}) {
            QCOMPARE(usb_write(&noOut, buffer.constData(), length), -1);
            QCOMPARE(usb_read(&noIn, buffer.data(), length), -1);
        }
        QVERIFY(m_fake.bulks.isEmpty());
    }

    void closeAndKick()
    {
        usb_handle h = handle(0x81, 0x02), k = handle(0x81, 0x02);
        k.desc = 43;
        QCOMPARE(usb_close(&h), 0);
        usb_kick(&k);
        QCOMPARE(QList<int>({h.desc, k.desc}), QList<int>({-1, -1}));
        QCOMPARE(usb_close(&h), 0); // already closed: nothing more to close
        usb_kick(&k);
        QCOMPARE(m_fake.closes, (QList<int>{42, 43}));
    }
};

QTEST_GUILESS_MAIN(TestUsbDevfs)
#include "tst_usbdevfs.moc"
