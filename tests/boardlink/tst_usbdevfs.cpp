// The usbdevfs layer against folders of crafted descriptor files and a scripted ioctl.
//
// The tests stand in for the operating system through the UsbSystemCalls seam: the root
// folder is a QTemporaryDir laid out like /dev/bus/usb (bus folders holding device
// files), open() can refuse O_RDWR on chosen nodes (the tests run as root, so a
// read-only node has to be simulated), ioctl answers claims, the string descriptor and
// bulk transfers from a script, and sleep is recorded instead of slept.

#include "boardlink/usbdevfs.h"

#include <QByteArray>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QList>
#include <QSet>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QtTest>

#include <algorithm>
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

// ---------------------------------------------------------------------------------------
// Descriptor bytes

QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray out;
    for (int v : values)
        out.append(char(v));
    return out;
}

QByteArray deviceDescriptor(uint16_t vendor = 0x18d1, uint8_t serialIndex = 0)
{
    return bytes({18, 1, 0x00, 0x02, 0, 0, 0, 64, vendor & 0xff, vendor >> 8, 0xe0, 0x4e,
                  0x00, 0x01, 1, 2, serialIndex, 1});
}

QByteArray configDescriptor(uint8_t interfaces)
{
    return bytes({9, 2, 0, 0, interfaces, 1, 0, 0x80, 50});
}

QByteArray interfaceDescriptor(uint8_t number, uint8_t endpoints, uint8_t cls = 0xff,
                               uint8_t subclass = 0x42, uint8_t protocol = 0x03)
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

// ---------------------------------------------------------------------------------------
// The stand-in operating system

struct BulkCall {
    unsigned ep;
    unsigned len;
    unsigned timeout;
    const void *data;
};

struct FakeSystem {
    QByteArray root;
    QSet<QByteArray> readOnly;   // open(O_RDWR) fails, open(O_RDONLY) works
    QSet<QByteArray> unopenable; // every open fails
    QList<QPair<QByteArray, int>> opens;  // path and access mode of every open call
    QHash<int, QByteArray> openFiles;     // real descriptors of the crafted files
    QList<int> closes;
    QList<size_t> readSizes;

    void *poisoned = nullptr;
    size_t poisonedSize = 0;

    int claimFailures = 0; // the next N claims fail
    QList<QPair<QByteArray, unsigned>> claims;

    int serialResult = 0;
    QByteArray serialAnswer;
    QList<usbdevfs_ctrltransfer> controls;
    bool controlBufferWasZeroed = true;

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
    // The crafted files are only ever read.
    const int fd = ::open(path, O_RDONLY);
    if (fd >= 0)
        fake->openFiles.insert(fd, path);
    return fd;
}

// Hands out exactly the file's bytes. The rest of the caller's buffer was never written, so
// under AddressSanitizer it is poisoned until the caller is done with the descriptors (its
// next claim or close): a look past the bytes read is then reported, not silently allowed.
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
    if (fake->openFiles.remove(fd))
        return ::close(fd);
    return 0;
}

int fakeIoctl(int fd, unsigned long request, void *arg)
{
    if (request == USBDEVFS_CLAIMINTERFACE) {
        unpoison();
        fake->claims.append({fake->openFiles.value(fd), *static_cast<unsigned *>(arg)});
        if (fake->claimFailures > 0) {
            --fake->claimFailures;
            errno = EBUSY;
            return -1;
        }
        return 0;
    }
    if (request == USBDEVFS_CONTROL) {
        auto *ctrl = static_cast<usbdevfs_ctrltransfer *>(arg);
        fake->controls.append(*ctrl);
        const auto *data = static_cast<const unsigned char *>(ctrl->data);
        for (int i = 0; i < ctrl->wLength; ++i)
            fake->controlBufferWasZeroed = fake->controlBufferWasZeroed && data[i] == 0;
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
        if (result < 0) {
            errno = fake->bulkErrno;
            return result;
        }
        if (bulk->ep & 0x80)
            memset(bulk->data, 'r', size_t(result));
        else
            fake->written.append(QByteArray(static_cast<const char *>(bulk->data), int(bulk->len)));
        return result;
    }
    errno = ENOTTY;
    return -1;
}

void fakeSleep(unsigned seconds)
{
    fake->sleeps.append(seconds);
}

QList<usb_ifc_info> offered;

// The system's own rule, with a record of every interface it was shown.
int recordingMatch(usb_ifc_info *info)
{
    offered.append(*info);
    return match_android_fastboot_driver(info);
}

// Captures what a call writes to standard error.
class StderrCapture
{
public:
    StderrCapture()
    {
        m_file.open();
        fflush(stderr);
        m_saved = dup(STDERR_FILENO);
        dup2(m_file.handle(), STDERR_FILENO);
    }
    ~StderrCapture() { restore(); }
    QByteArray text()
    {
        restore();
        m_file.seek(0);
        return m_file.readAll();
    }

private:
    void restore()
    {
        if (m_saved < 0)
            return;
        fflush(stderr);
        dup2(m_saved, STDERR_FILENO);
        ::close(m_saved);
        m_saved = -1;
    }
    QTemporaryFile m_file;
    int m_saved = -1;
};

} // namespace

class TestUsbDevfs : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void matchRule_data();
    void matchRule();

    void acceptsDownloadInterface();
    void readOnlyNodeIsStillExamined();
    void unopenableNodeIsSkipped();
    void rejectedDescriptors_data();
    void rejectedDescriptors();
    void lengthsPastTheBytesRead_data();
    void lengthsPastTheBytesRead();
    void endpointWalk_data();
    void endpointWalk();
    void laterInterfaceAndEndpointsCount();
    void serialNumber_data();
    void serialNumber();
    void noSerialWithoutIndex();
    void nonDigitNamesAreSkipped();
    void failedClaimMovesToNextNode();
    void failedClaimSkipsRestOfDevice();
    void missingRootGivesNull();

    void writeInPieces_data();
    void writeInPieces();
    void writeShortPieceFails();
    void writeFailedPieceFails();
    void writeWithoutOutEndpoint();
    void zeroLengthWrite();
    void zeroLengthWriteFailure();

    void readShortAnswer();
    void readInPieces();
    void readStopsAtShortPiece();
    void readRetriesFailedTransfers();
    void readGivesUpAfterSixFailures();
    void readWithoutInEndpoint();
    void readNothing_data();
    void readNothing();

    void closeAndKick();

private:
    // Writes one device file below the root, making the bus folder as needed.
    void addNode(const QString &relative, const QByteArray &data);
    QByteArray nodePath(const QString &relative) const;
    usb_handle *openWithRecording() { return usb_open(recordingMatch); }
    usb_handle handle(unsigned char in, unsigned char out) const;
    int openDescriptors() const { return int(fake->openFiles.size()); }

    QTemporaryDir *m_dir = nullptr;
    FakeSystem m_fake;
};

void TestUsbDevfs::init()
{
    m_dir = new QTemporaryDir;
    QVERIFY(m_dir->isValid());
    m_fake = FakeSystem();
    m_fake.root = QFile::encodeName(m_dir->path());
    fake = &m_fake;
    offered.clear();
    usb_set_system_calls({m_fake.root.constData(), fakeOpen, fakeRead, fakeClose, fakeIoctl, fakeSleep});
}

void TestUsbDevfs::cleanup()
{
    unpoison();
    usb_reset_system_calls();
    for (int fd : m_fake.openFiles.keys())
        ::close(fd);
    fake = nullptr;
    delete m_dir;
    m_dir = nullptr;
}

void TestUsbDevfs::addNode(const QString &relative, const QByteArray &data)
{
    const QString path = m_dir->filePath(relative);
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(data), data.size());
}

QByteArray TestUsbDevfs::nodePath(const QString &relative) const
{
    return m_fake.root + '/' + QFile::encodeName(relative);
}

usb_handle TestUsbDevfs::handle(unsigned char in, unsigned char out) const
{
    usb_handle h;
    memset(&h, 0, sizeof h);
    h.desc = 42;
    h.ep_in = in;
    h.ep_out = out;
    return h;
}

// ---------------------------------------------------------------------------------------
// Match rule

void TestUsbDevfs::matchRule_data()
{
    QTest::addColumn<int>("vendor");
    QTest::addColumn<int>("cls");
    QTest::addColumn<int>("subclass");
    QTest::addColumn<int>("protocol");
    QTest::addColumn<int>("result");

    for (int vendor : {0x8087, 0x18d1, 0x0451, 0x0502, 0x0fce, 0x05c6, 0x22b8, 0x0955, 0x413c,
                       0x2314, 0x0b05, 0x0bb4})
        QTest::addRow("vendor %04x", vendor) << vendor << 0xff << 0x42 << 0x03 << 0;
    QTest::newRow("unknown vendor") << 0x1234 << 0xff << 0x42 << 0x03 << -1;
    QTest::newRow("vendor 0") << 0x0000 << 0xff << 0x42 << 0x03 << -1;
    QTest::newRow("protocol 0x01") << 0x18d1 << 0xff << 0x42 << 0x01 << -1;
    QTest::newRow("subclass 0x43") << 0x18d1 << 0xff << 0x43 << 0x03 << -1;
    QTest::newRow("class 0xfe") << 0x18d1 << 0xfe << 0x42 << 0x03 << -1;
}

void TestUsbDevfs::matchRule()
{
    QFETCH(int, vendor);
    QFETCH(int, cls);
    QFETCH(int, subclass);
    QFETCH(int, protocol);
    QFETCH(int, result);

    usb_ifc_info info;
    memset(&info, 0, sizeof info);
    info.vendor_id = uint16_t(vendor);
    info.interface_class = uint8_t(cls);
    info.interface_subclass = uint8_t(subclass);
    info.interface_protocol = uint8_t(protocol);
    QCOMPARE(match_android_fastboot_driver(&info), result);

    // Product id, device class, endpoints and serial number play no part.
    info.product_id = 0xffff;
    info.device_class = 0x09;
    info.device_subclass = 0x01;
    info.device_protocol = 0x02;
    info.bulk_in_present = 0;
    info.bulk_out_present = 0;
    qstrcpy(info.serial, "anything");
    QCOMPARE(match_android_fastboot_driver(&info), result);
}

// ---------------------------------------------------------------------------------------
// Device search

void TestUsbDevfs::acceptsDownloadInterface()
{
    addNode("001/004", deviceDescriptor(0x0bb4) + configDescriptor(1)
                           + interfaceDescriptor(3, 2) + endpointDescriptor(0x82)
                           + endpointDescriptor(0x02));

    usb_handle *h = openWithRecording();
    QVERIFY(h);
    QCOMPARE(QByteArray(h->fname), nodePath("001/004"));
    QVERIFY(h->desc >= 0);
    QCOMPARE(int(h->ep_in), 0x82);
    QCOMPARE(int(h->ep_out), 0x02);

    QCOMPARE(m_fake.opens.size(), 1);
    QCOMPARE(m_fake.opens[0].second, O_RDWR);
    QCOMPARE(m_fake.readSizes, QList<size_t>{1024});
    QCOMPARE(m_fake.claims.size(), 1);
    QCOMPARE(m_fake.claims[0].first, nodePath("001/004"));
    QCOMPARE(m_fake.claims[0].second, 3u);

    QCOMPARE(offered.size(), 1);
    const usb_ifc_info &info = offered[0];
    QCOMPARE(info.vendor_id, uint16_t(0x0bb4));
    QCOMPARE(info.product_id, uint16_t(0x4ee0));
    QCOMPARE(info.interface_class, uint8_t(0xff));
    QCOMPARE(info.interface_subclass, uint8_t(0x42));
    QCOMPARE(info.interface_protocol, uint8_t(0x03));
    QCOMPARE(info.bulk_in_present, uint8_t(1));
    QCOMPARE(info.bulk_out_present, uint8_t(1));
    QCOMPARE(info.node_writable, uint8_t(1));
    QCOMPARE(info.serial[0], '\0');

    QCOMPARE(usb_close(h), 0);
    QCOMPARE(h->desc, -1);
    QCOMPARE(openDescriptors(), 0);
    free(h);
}

void TestUsbDevfs::readOnlyNodeIsStillExamined()
{
    addNode("002/001", downloadDevice());
    m_fake.readOnly.insert(nodePath("002/001"));

    usb_handle *h = openWithRecording();
    QVERIFY(h);
    QCOMPARE(QByteArray(h->fname), nodePath("002/001"));
    QCOMPARE(m_fake.opens.size(), 2);
    QCOMPARE(m_fake.opens[0].second, O_RDWR);
    QCOMPARE(m_fake.opens[1].second, O_RDONLY);
    QCOMPARE(offered.size(), 1);
    QCOMPARE(offered[0].node_writable, uint8_t(0));

    usb_close(h);
    free(h);
}

void TestUsbDevfs::unopenableNodeIsSkipped()
{
    addNode("001/001", downloadDevice());
    m_fake.unopenable.insert(nodePath("001/001"));

    QCOMPARE(openWithRecording(), nullptr);
    QCOMPARE(m_fake.opens.size(), 2);
    QVERIFY(m_fake.readSizes.isEmpty());
    QVERIFY(offered.isEmpty());
}

void TestUsbDevfs::rejectedDescriptors_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<int>("offers"); // interfaces shown to the match rule

    const QByteArray good = downloadDevice();
    QTest::newRow("empty node") << QByteArray() << 0;
    QTest::newRow("17 bytes") << good.left(17) << 0;
    QTest::newRow("device only") << good.left(18) << 0;
    QTest::newRow("8 bytes after device") << good.left(26) << 0;
    QTest::newRow("device bLength 0") << with(good, Device, 0) << 0;
    QTest::newRow("device bLength 17") << with(good, Device, 17) << 0;
    QTest::newRow("device bLength beyond data") << with(good, Device, 51) << 0;
    QTest::newRow("device type 2") << with(good, Device + 1, 2) << 0;
    QTest::newRow("config bLength 0") << with(good, Config, 0) << 0;
    QTest::newRow("config bLength 8") << with(good, Config, 8) << 0;
    QTest::newRow("config bLength beyond data") << with(good, Config, 33) << 0;
    QTest::newRow("config type 4") << with(good, Config + 1, 4) << 0;
    QTest::newRow("no interfaces") << deviceDescriptor() + configDescriptor(0) << 0;
    QTest::newRow("interface missing") << good.left(27) << 0;
    QTest::newRow("interface cut short") << good.left(30) << 0;
    QTest::newRow("interface bLength 0") << with(good, Interface, 0) << 0;
    QTest::newRow("interface bLength 8") << with(good, Interface, 8) << 0;
    QTest::newRow("interface bLength beyond data") << with(good, Interface, 24) << 0;
    QTest::newRow("interface type 5") << with(good, Interface + 1, 5) << 0;
    QTest::newRow("protocol 0x01") << with(good, Interface + 7, 0x01) << 1;
    QTest::newRow("subclass 0x43") << with(good, Interface + 6, 0x43) << 1;
    QTest::newRow("class 0xfe") << with(good, Interface + 5, 0xfe) << 1;
    QTest::newRow("unknown vendor") << downloadDevice(0x1234) << 1;
}

void TestUsbDevfs::rejectedDescriptors()
{
    QFETCH(QByteArray, data);
    QFETCH(int, offers);

    addNode("001/001", data);
    QCOMPARE(openWithRecording(), nullptr);
    QCOMPARE(offered.size(), offers);
    QVERIFY(m_fake.claims.isEmpty());
    QCOMPARE(openDescriptors(), 0);
}

// Descriptors whose lengths or counts point past the bytes the node gave. The fake read
// hands out exactly the file's bytes and poisons the rest of the buffer, so under
// AddressSanitizer any look beyond them fails this test.
void TestUsbDevfs::lengthsPastTheBytesRead_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<int>("offers");

    const QByteArray good = downloadDevice(0x1234); // offered, never accepted
    QTest::newRow("device bLength 255") << with(good, Device, 255) << 0;
    QTest::newRow("device bLength 255, 18 bytes") << with(good.left(18), Device, 255) << 0;
    QTest::newRow("config bLength 255") << with(good, Config, 255) << 0;
    QTest::newRow("config bLength 255, 9 bytes") << with(good.left(27), Config, 255) << 0;
    QTest::newRow("interface bLength 255") << with(good, Interface, 255) << 0;
    QTest::newRow("endpoint bLength 255") << with(good, FirstEndpoint, 255) << 1;
    QTest::newRow("last endpoint bLength 8") << with(good, SecondEndpoint, 8) << 1;
    QTest::newRow("255 interfaces") << with(good, Config + 4, 255) << 1;
    QTest::newRow("255 endpoints") << with(good, Interface + 4, 255) << 1;
    QTest::newRow("255 interfaces, 9 bytes each")
        << deviceDescriptor(0x1234) + configDescriptor(255) + interfaceDescriptor(0, 0)
               + interfaceDescriptor(1, 0)
        << 2;
    QTest::newRow("header only after device") << good.left(20) << 0;
    QTest::newRow("one byte after interface") << good.left(37) << 1;
}

void TestUsbDevfs::lengthsPastTheBytesRead()
{
    QFETCH(QByteArray, data);
    QFETCH(int, offers);

    addNode("001/001", data);
    QCOMPARE(openWithRecording(), nullptr);
    QCOMPARE(offered.size(), offers);
    QCOMPARE(openDescriptors(), 0);
}

void TestUsbDevfs::endpointWalk_data()
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
    QTest::newRow("no endpoints") << deviceDescriptor() + configDescriptor(1) + interfaceDescriptor(0, 0)
                                  << 0 << 0;
    QTest::newRow("endpoints missing") << good.left(36) << 0 << 0;
    QTest::newRow("second endpoint missing") << good.left(43) << 0x81 << 0;
    QTest::newRow("second endpoint cut short") << good.left(47) << 0x81 << 0;
    QTest::newRow("first endpoint bLength 0") << with(good, FirstEndpoint, 0) << 0 << 0;
    QTest::newRow("first endpoint bLength 6") << with(good, FirstEndpoint, 6) << 0 << 0;
    QTest::newRow("first endpoint bLength beyond data") << with(good, FirstEndpoint, 15) << 0 << 0;
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

void TestUsbDevfs::endpointWalk()
{
    QFETCH(QByteArray, data);
    QFETCH(int, in);
    QFETCH(int, out);

    addNode("001/001", data);
    usb_handle *h = openWithRecording();
    QVERIFY(h);
    QCOMPARE(int(h->ep_in), in);
    QCOMPARE(int(h->ep_out), out);
    QCOMPARE(offered.last().bulk_in_present, uint8_t(in != 0));
    QCOMPARE(offered.last().bulk_out_present, uint8_t(out != 0));
    QCOMPARE(m_fake.readSizes, QList<size_t>{1024});
    usb_close(h);
    free(h);
}

void TestUsbDevfs::laterInterfaceAndEndpointsCount()
{
    addNode("003/009", deviceDescriptor(0x18d1, 0) + configDescriptor(4)
                           // a hub-like interface without endpoints
                           + interfaceDescriptor(0, 0, 0x09, 0x00, 0x00)
                           // a HID interface with interrupt endpoints only
                           + interfaceDescriptor(1, 1, 0x03, 0x00, 0x00)
                           + endpointDescriptor(0x83, kInterrupt)
                           // mass storage with its own bulk pair
                           + interfaceDescriptor(2, 2, 0x08, 0x06, 0x50) + endpointDescriptor(0x86)
                           + endpointDescriptor(0x06)
                           // the download interface: a later bulk endpoint of a direction
                           // replaces an earlier one, interrupt endpoints are not taken
                           + interfaceDescriptor(3, 5) + endpointDescriptor(0x84)
                           + endpointDescriptor(0x87, kInterrupt) + endpointDescriptor(0x85)
                           + endpointDescriptor(0x03) + endpointDescriptor(0x04, kInterrupt));

    usb_handle *h = openWithRecording();
    QVERIFY(h);
    QCOMPARE(int(h->ep_in), 0x85);
    QCOMPARE(int(h->ep_out), 0x03);
    QCOMPARE(m_fake.claims.size(), 1);
    QCOMPARE(m_fake.claims[0].second, 3u);

    QCOMPARE(offered.size(), 4);
    QCOMPARE(offered[0].interface_class, uint8_t(0x09));
    QCOMPARE(offered[0].bulk_in_present + offered[0].bulk_out_present, 0);
    QCOMPARE(offered[1].interface_class, uint8_t(0x03));
    QCOMPARE(offered[1].bulk_in_present + offered[1].bulk_out_present, 0);
    QCOMPARE(offered[2].interface_class, uint8_t(0x08));
    QCOMPARE(offered[2].bulk_in_present + offered[2].bulk_out_present, 2);
    QCOMPARE(offered[3].interface_class, uint8_t(0xff));
    usb_close(h);
    free(h);
}

void TestUsbDevfs::serialNumber_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<int>("result");
    QTest::addColumn<QByteArray>("serial");

    // Header unit, then UTF-16LE units of which only the low byte is kept.
    const QByteArray sn42 = bytes({10, 3, 'S', 0, 'N', 0, '4', 0x01, '2', 0});
    QTest::newRow("four characters") << sn42 << 10 << QByteArray("SN42");
    QTest::newRow("count shorter than header") << sn42 << 6 << QByteArray("SN");
    QTest::newRow("odd count") << sn42 << 7 << QByteArray("SN");
    QTest::newRow("header only") << sn42 << 2 << QByteArray();
    QTest::newRow("one byte") << sn42 << 1 << QByteArray();
    QTest::newRow("nothing returned") << sn42 << 0 << QByteArray();
    QTest::newRow("transfer failed") << sn42 << -1 << QByteArray();

    QByteArray full = bytes({0xfe, 3});
    for (int i = 0; i < 127; ++i)
        full += bytes({'a' + i % 26, 0x30});
    QTest::newRow("full 256 bytes") << full << 256 << full.mid(2).replace(char(0x30), QByteArray());
}

void TestUsbDevfs::serialNumber()
{
    QFETCH(QByteArray, answer);
    QFETCH(int, result);
    QFETCH(QByteArray, serial);

    addNode("001/001", downloadDevice(0x18d1, 7));
    m_fake.serialAnswer = answer;
    m_fake.serialResult = result;

    usb_handle *h = openWithRecording();
    QVERIFY(h); // a missing serial number does not stop the device from being used
    QCOMPARE(m_fake.controls.size(), 1);
    const usbdevfs_ctrltransfer &ctrl = m_fake.controls[0];
    QCOMPARE(int(ctrl.bRequestType), 0x80);
    QCOMPARE(int(ctrl.bRequest), 6);
    QCOMPARE(int(ctrl.wValue), 0x0307);
    QCOMPARE(int(ctrl.wIndex), 0);
    QCOMPARE(int(ctrl.wLength), 256);
    QCOMPARE(int(ctrl.timeout), 50);
    QVERIFY(m_fake.controlBufferWasZeroed);

    QCOMPARE(offered.size(), 1);
    QCOMPARE(QByteArray(offered[0].serial), serial);
    usb_close(h);
    free(h);
}

void TestUsbDevfs::noSerialWithoutIndex()
{
    addNode("001/001", downloadDevice(0x18d1, 0));
    m_fake.serialAnswer = bytes({4, 3, 'X', 0});
    m_fake.serialResult = 4;

    usb_handle *h = openWithRecording();
    QVERIFY(h);
    QVERIFY(m_fake.controls.isEmpty());
    QCOMPARE(offered[0].serial[0], '\0');
    usb_close(h);
    free(h);
}

void TestUsbDevfs::nonDigitNamesAreSkipped()
{
    addNode("usb1/001", downloadDevice());
    addNode("001/devices", downloadDevice());
    addNode("001/1a", downloadDevice());
    addNode("002x/003", downloadDevice());
    addNode("004", downloadDevice()); // a bus name that is a file, not a folder

    QCOMPARE(openWithRecording(), nullptr);
    QVERIFY(m_fake.opens.isEmpty());

    addNode("005/017", downloadDevice());
    usb_handle *h = openWithRecording();
    QVERIFY(h);
    QCOMPARE(QByteArray(h->fname), nodePath("005/017"));
    QCOMPARE(m_fake.opens.size(), 1);
    usb_close(h);
    free(h);
}

void TestUsbDevfs::failedClaimMovesToNextNode()
{
    addNode("001/001", downloadDevice());
    addNode("001/002", downloadDevice());
    m_fake.claimFailures = 1;

    usb_handle *h = openWithRecording();
    QVERIFY(h);
    QCOMPARE(m_fake.claims.size(), 2);
    QVERIFY(m_fake.claims[0].first != m_fake.claims[1].first);
    QCOMPARE(QByteArray(h->fname), m_fake.claims[1].first);
    QCOMPARE(openDescriptors(), 1); // the node whose claim failed is closed again
    usb_close(h);
    free(h);
}

void TestUsbDevfs::failedClaimSkipsRestOfDevice()
{
    addNode("001/001", deviceDescriptor() + configDescriptor(2) + downloadInterface(0)
                           + downloadInterface(1));
    m_fake.claimFailures = 1;

    QCOMPARE(openWithRecording(), nullptr);
    QCOMPARE(m_fake.claims.size(), 1);
    QCOMPARE(offered.size(), 1);
    QCOMPARE(openDescriptors(), 0);
}

void TestUsbDevfs::missingRootGivesNull()
{
    m_fake.root = QFile::encodeName(m_dir->filePath("no-such-folder"));
    usb_set_system_calls({m_fake.root.constData(), fakeOpen, fakeRead, fakeClose, fakeIoctl, fakeSleep});
    QCOMPARE(openWithRecording(), nullptr);
    QVERIFY(m_fake.opens.isEmpty());
}

// ---------------------------------------------------------------------------------------
// Writing

void TestUsbDevfs::writeInPieces_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<QList<unsigned>>("pieces");

    QTest::newRow("1") << 1 << QList<unsigned>{1};
    QTest::newRow("16384") << 16384 << QList<unsigned>{16384};
    QTest::newRow("16385") << 16385 << QList<unsigned>{16384, 1};
    QTest::newRow("40000") << 40000 << QList<unsigned>{16384, 16384, 7232};
}

void TestUsbDevfs::writeInPieces()
{
    QFETCH(int, length);
    QFETCH(QList<unsigned>, pieces);

    QByteArray data(length, '\0');
    for (int i = 0; i < length; ++i)
        data[i] = char(i * 7);
    usb_handle h = handle(0x81, 0x02);
    QCOMPARE(usb_write(&h, data.constData(), length), length);

    QCOMPARE(m_fake.bulks.size(), pieces.size());
    for (int i = 0; i < pieces.size(); ++i) {
        QCOMPARE(m_fake.bulks[i].ep, 0x02u);
        QCOMPARE(m_fake.bulks[i].len, pieces[i]);
        QCOMPARE(m_fake.bulks[i].timeout, 0u);
    }
    QCOMPARE(m_fake.written.join(), data);
    QVERIFY(m_fake.sleeps.isEmpty());
}

void TestUsbDevfs::writeShortPieceFails()
{
    const QByteArray data(40000, 'w');
    usb_handle h = handle(0x81, 0x02);
    m_fake.bulkScript = {16384, 100};
    StderrCapture err;
    QCOMPARE(usb_write(&h, data.constData(), data.size()), -1);
    QCOMPARE(m_fake.bulks.size(), 2);
    QCOMPARE(err.text(), QByteArray());
}

void TestUsbDevfs::writeFailedPieceFails()
{
    const QByteArray data(100, 'w');
    usb_handle h = handle(0x81, 0x02);
    m_fake.bulkScript = {-1};
    QCOMPARE(usb_write(&h, data.constData(), data.size()), -1);
    QCOMPARE(m_fake.bulks.size(), 1);
}

void TestUsbDevfs::writeWithoutOutEndpoint()
{
    const QByteArray data(100, 'w');
    usb_handle h = handle(0x81, 0);
    QCOMPARE(usb_write(&h, data.constData(), data.size()), -1);
    QCOMPARE(usb_write(&h, data.constData(), 0), -1);
    QVERIFY(m_fake.bulks.isEmpty());
}

void TestUsbDevfs::zeroLengthWrite()
{
    usb_handle h = handle(0x81, 0x02);
    StderrCapture err;
    QCOMPARE(usb_write(&h, "", 0), 0);
    QCOMPARE(m_fake.bulks.size(), 1);
    QCOMPARE(m_fake.bulks[0].ep, 0x02u);
    QCOMPARE(m_fake.bulks[0].len, 0u);
    QCOMPARE(m_fake.bulks[0].timeout, 0u);
    QCOMPARE(err.text(), QByteArray());
}

void TestUsbDevfs::zeroLengthWriteFailure()
{
    usb_handle h = handle(0x81, 0x02);
    m_fake.bulkScript = {-1};
    m_fake.bulkErrno = EPIPE;
    StderrCapture err;
    QCOMPARE(usb_write(&h, "", 0), -1);
    QCOMPARE(m_fake.bulks.size(), 1);
    QCOMPARE(err.text(), QByteArray("ERROR: n = -1, errno = ") + QByteArray::number(EPIPE) + " ("
                             + strerror(EPIPE) + ")\n");
}

// ---------------------------------------------------------------------------------------
// Reading

void TestUsbDevfs::readShortAnswer()
{
    usb_handle h = handle(0x81, 0x02);
    QByteArray buffer(512, '\0');
    m_fake.bulkScript = {2};
    QCOMPARE(usb_read(&h, buffer.data(), 512), 2);
    QCOMPARE(m_fake.bulks.size(), 1);
    QCOMPARE(m_fake.bulks[0].ep, 0x81u);
    QCOMPARE(m_fake.bulks[0].len, 512u);
    QCOMPARE(m_fake.bulks[0].timeout, 0u);
    QCOMPARE(buffer.left(3), QByteArray("rr\0", 3));
}

void TestUsbDevfs::readInPieces()
{
    usb_handle h = handle(0x81, 0x02);
    QByteArray buffer(40000, '\0');
    QCOMPARE(usb_read(&h, buffer.data(), buffer.size()), 40000);
    QCOMPARE(m_fake.bulks.size(), 3);
    QCOMPARE(m_fake.bulks[0].len, 16384u);
    QCOMPARE(m_fake.bulks[1].len, 16384u);
    QCOMPARE(m_fake.bulks[2].len, 7232u);
    QCOMPARE(m_fake.bulks[1].data, static_cast<const void *>(buffer.constData() + 16384));
    QCOMPARE(m_fake.bulks[2].data, static_cast<const void *>(buffer.constData() + 32768));
    QCOMPARE(buffer, QByteArray(40000, 'r'));
}

void TestUsbDevfs::readStopsAtShortPiece()
{
    usb_handle h = handle(0x81, 0x02);
    QByteArray buffer(40000, '\0');
    m_fake.bulkScript = {16384, 0};
    QCOMPARE(usb_read(&h, buffer.data(), buffer.size()), 16384);
    QCOMPARE(m_fake.bulks.size(), 2);
}

void TestUsbDevfs::readRetriesFailedTransfers()
{
    usb_handle h = handle(0x81, 0x02);
    QByteArray buffer(64, '\0');
    m_fake.bulkScript = {-1, -1, -1, -1, -1, 13};
    QCOMPARE(usb_read(&h, buffer.data(), buffer.size()), 13);
    QCOMPARE(m_fake.bulks.size(), 6);
    QCOMPARE(m_fake.sleeps, (QList<unsigned>{1, 1, 1, 1, 1}));
}

void TestUsbDevfs::readGivesUpAfterSixFailures()
{
    usb_handle h = handle(0x81, 0x02);
    QByteArray buffer(64, '\0');
    m_fake.bulkScript = {-1, -1, -1, -1, -1, -1, 64};
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(usb_read(&h, buffer.data(), buffer.size()), -1);
    QCOMPARE(m_fake.bulks.size(), 6);
    QCOMPARE(m_fake.sleeps, (QList<unsigned>{1, 1, 1, 1, 1}));
    QVERIFY(timer.elapsed() < 1000); // recorded through the seam, not slept
}

void TestUsbDevfs::readWithoutInEndpoint()
{
    usb_handle h = handle(0, 0x02);
    QByteArray buffer(64, '\0');
    QCOMPARE(usb_read(&h, buffer.data(), buffer.size()), -1);
    QCOMPARE(usb_read(&h, buffer.data(), 0), -1);
    QVERIFY(m_fake.bulks.isEmpty());
}

void TestUsbDevfs::readNothing_data()
{
    QTest::addColumn<int>("length");
    QTest::newRow("0") << 0;
    QTest::newRow("-5") << -5;
}

void TestUsbDevfs::readNothing()
{
    QFETCH(int, length);
    usb_handle h = handle(0x81, 0x02);
    char buffer[1];
    QCOMPARE(usb_read(&h, buffer, length), 0);
    QVERIFY(m_fake.bulks.isEmpty());
}

// ---------------------------------------------------------------------------------------

void TestUsbDevfs::closeAndKick()
{
    usb_handle h = handle(0x81, 0x02);
    QCOMPARE(usb_close(&h), 0);
    QCOMPARE(h.desc, -1);
    QCOMPARE(m_fake.closes, QList<int>{42});
    QCOMPARE(usb_close(&h), 0); // already closed: nothing more to close
    QCOMPARE(m_fake.closes, QList<int>{42});

    usb_handle k = handle(0x81, 0x02);
    k.desc = 43;
    usb_kick(&k);
    QCOMPARE(k.desc, -1);
    QCOMPARE(m_fake.closes, (QList<int>{42, 43}));
    usb_kick(&k);
    QCOMPARE(m_fake.closes.size(), 2);
}

QTEST_GUILESS_MAIN(TestUsbDevfs)
#include "tst_usbdevfs.moc"
