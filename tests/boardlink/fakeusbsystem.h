#pragma once
// The operating system under the usbdevfs layer, for tests: device nodes are real files
// (descriptor bytes) under a temporary folder; opening them, claiming the interface and the
// bulk transfers are refused or scripted by the test.

#include "boardlink/usbdevfs.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QList>

#include <cerrno>
#include <fcntl.h>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

struct FakeUsbSystem
{
    // errno by node path; the empty path stands for every node (sysfs is never refused).
    QHash<QByteArray, int> refuseReadWrite, refuseReadOnly, refuseClaim;
    QList<int> bulk;          // scripted results, -errno for a failure; then every transfer moves...
    int idleRead = -1;        // ...its whole length, or this many bytes for a read (-1: whole)
    QList<unsigned> timeouts; // of every bulk transfer
    int sleeps = 0;
    QHash<int, QByteArray> open; // fd -> node
    QByteArray root;

    static FakeUsbSystem *&current()
    {
        static FakeUsbSystem *fake = nullptr;
        return fake;
    }
    static int refusal(const QHash<QByteArray, int> &by, const QByteArray &path)
    {
        return by.value(path, by.value(QByteArray()));
    }
    void install(const QByteArray &nodes, const char *sysfs = nullptr)
    {
        current() = this;
        root = nodes;
        usb_set_system_calls({root.constData(), fakeOpen, [](int fd, void *buf, size_t n) { return ::read(fd, buf, n); },
                              fakeClose, fakeIoctl, [](unsigned) { ++current()->sleeps; }, sysfs});
    }
    ~FakeUsbSystem()
    {
        usb_reset_system_calls();
        current() = nullptr;
    }

    static int fakeOpen(const char *path, int flags)
    {
        FakeUsbSystem *f = current();
        const int error = !QByteArray(path).startsWith(f->root) ? 0 : refusal((flags & O_ACCMODE) == O_RDWR ? f->refuseReadWrite : f->refuseReadOnly, path);
        if (error) {
            errno = error;
            return -1;
        }
        const int fd = ::open(path, O_RDONLY);
        if (fd >= 0)
            f->open.insert(fd, path);
        return fd;
    }
    static int fakeClose(int fd) { return current()->open.remove(fd) ? ::close(fd) : 0; }
    static int fakeIoctl(int fd, unsigned long request, void *arg)
    {
        FakeUsbSystem *f = current();
        int result = 0;
        if (request == USBDEVFS_CLAIMINTERFACE) {
            result = -refusal(f->refuseClaim, f->open.value(fd));
        } else if (request == USBDEVFS_BULK) {
            const auto *transfer = static_cast<usbdevfs_bulktransfer *>(arg);
            f->timeouts << transfer->timeout;
            result = !f->bulk.isEmpty() ? f->bulk.takeFirst()
                   : (transfer->ep & 0x80) && f->idleRead >= 0 ? f->idleRead : int(transfer->len);
        } else {
            result = -ENOTTY;
        }
        if (result >= 0)
            return result;
        errno = -result;
        return -1;
    }
};

// A device with the download interface (ff/42/03, one bulk endpoint each way).
inline QByteArray downloadDevice(quint16 vendor = 0x18d1)
{
    QByteArray bytes = QByteArray::fromHex("12 01 0002 00 00 00 40 0000 e04e 0001 01 02 00 01"
                                           "09 02 2000 01 01 00 80 32  09 04 00 00 02 ff 42 03 00"
                                           "07 05 81 02 0002 00  07 05 01 02 0002 00");
    bytes[8] = char(vendor & 0xff);
    bytes[9] = char(vendor >> 8);
    return bytes;
}

inline bool writeFile(const QString &path, const QByteArray &data)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}
