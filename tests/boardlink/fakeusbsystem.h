#pragma once
// The operating system under the usbdevfs layer, for tests: device nodes are real files
// (descriptor bytes) under a temporary folder; opening them, claiming the interface and the
// transfers are refused or scripted by the test.

#include "boardlink/usbdevfs.h"

#include <QtCore>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

struct FakeUsbSystem
{
    // errno by node path; the empty path stands for every node (sysfs is never refused).
    QHash<QByteArray, int> refuseReadWrite, refuseReadOnly, refuseClaim;
    QList<int> bulk;           // scripted results, -errno for a failure; then every transfer moves...
    int idleRead = -1;         // ...its whole length, or this many bytes for a read (-1: whole)
    QList<unsigned> timeouts;  // of every bulk transfer
    QList<unsigned> transfers; // endpoint << 16 | length of every bulk transfer
    QByteArray written;
    QList<QPair<QByteArray, unsigned>> claims; // node and interface number, refused ones too
    int serialResult = 10;     // what the serial number's control transfer returns
    int sleeps = 0;
    QList<int> closes;
    QHash<int, QByteArray> open; // fd -> node
    QByteArray root;

    inline static FakeUsbSystem *current = nullptr;
    static int refusal(const QHash<QByteArray, int> &by, const QByteArray &path) { return by.value(path, by.value({})); }
    void install(const QByteArray &nodes, const char *sysfs = nullptr)
    {
        current = this;
        root = nodes;
        // Reads give exactly the file's bytes; the rest of the buffer is garbage that must
        // not be taken for a descriptor.
        const auto read = [](int fd, void *buf, size_t count) {
            const ssize_t n = qMax<ssize_t>(::read(fd, buf, count), 0);
            memset(static_cast<char *>(buf) + n, 0xa5, count - size_t(n));
            return n;
        };
        const auto close = [](int fd) {
            current->closes << fd;
            return current->open.remove(fd) ? ::close(fd) : 0;
        };
        usb_set_system_calls({root.constData(), fakeOpen, read, close, fakeIoctl, [](unsigned) { ++current->sleeps; }, sysfs});
    }
    ~FakeUsbSystem()
    {
        usb_reset_system_calls();
        current = nullptr;
        for (int fd : open.keys())
            ::close(fd);
    }

    static int fakeOpen(const char *path, int flags)
    {
        const int error = !QByteArray(path).startsWith(current->root) ? 0 : refusal((flags & O_ACCMODE) == O_RDWR ? current->refuseReadWrite : current->refuseReadOnly, path);
        if (error)
            return errno = error, -1;
        const int fd = ::open(path, O_RDONLY);
        if (fd >= 0)
            current->open.insert(fd, path);
        return fd;
    }
    static int fakeIoctl(int fd, unsigned long request, void *arg)
    {
        FakeUsbSystem *f = current;
        int result = -ENOTTY;
        if (request == USBDEVFS_CLAIMINTERFACE) {
            f->claims.append({f->open.value(fd), *static_cast<unsigned *>(arg)});
            result = -refusal(f->refuseClaim, f->open.value(fd));
        } else if (request == USBDEVFS_CONTROL) { // string descriptor 7: only the low byte of each unit counts
            auto *ctrl = static_cast<usbdevfs_ctrltransfer *>(arg);
            const bool asked = ctrl->bRequestType == 0x80 && ctrl->bRequest == 6 && ctrl->wValue == 0x0307;
            memcpy(ctrl->data, asked ? "\x0a\x03S\0N\0" "4\x01" "2\0" : "\x04\x03?\0", 10);
            result = f->serialResult;
        } else if (request == USBDEVFS_BULK) {
            auto *transfer = static_cast<usbdevfs_bulktransfer *>(arg);
            f->timeouts << transfer->timeout;
            f->transfers << (transfer->ep << 16 | transfer->len);
            result = !f->bulk.isEmpty() ? f->bulk.takeFirst()
                   : (transfer->ep & 0x80) && f->idleRead >= 0 ? f->idleRead : int(transfer->len);
            if (result >= 0 && (transfer->ep & 0x80))
                memset(transfer->data, 'r', size_t(result));
            else if (result >= 0)
                f->written.append(static_cast<const char *>(transfer->data), int(transfer->len));
        }
        return result >= 0 ? result : (errno = -result, -1);
    }
};

// Descriptors as a device node gives them: the device, its configuration, then each
// interface followed by its endpoints.
inline QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray b;
    for (int v : values)
        b += char(v);
    return b;
}
inline QByteArray device(quint16 vendor = 0x18d1, quint8 serialIndex = 0, quint8 interfaces = 1)
{
    return bytes({18, 1, 0, 2, 0, 0, 0, 64, vendor & 0xff, vendor >> 8, 0xe0, 0x4e, 0, 1, 1, 2, serialIndex, 1})
        + bytes({9, 2, 0, 0, interfaces, 1, 0, 0x80, 50});
}
inline QByteArray interface(quint8 number, quint8 endpoints, quint8 cls = 0xff, quint8 sub = 0x42, quint8 proto = 3)
{
    return bytes({9, 4, number, 0, endpoints, cls, sub, proto, 0});
}
inline QByteArray endpoint(quint8 address, quint8 attributes = 2 /* bulk */) { return bytes({7, 5, address, attributes, 0, 2, 0}); }
inline QByteArray downloadInterface(quint8 number = 0) { return interface(number, 2) + endpoint(0x81) + endpoint(0x01); }
// A device with the download interface (ff/42/03, one bulk endpoint each way).
inline QByteArray downloadDevice(quint16 vendor = 0x18d1) { return device(vendor) + downloadInterface(); }

inline bool writeFile(const QString &path, const QByteArray &data)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}
