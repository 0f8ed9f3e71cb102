// The device search's descriptor walk over whatever a node under /dev/bus/usb may hand
// back. The input is what read() gives for the one device node; the serial number's
// string descriptor is read from the same bytes, and the claim fails when the last byte
// is odd. Nothing may be read outside what the node gave, and the serial must stay a
// terminated string.

#include "boardlink/usbdevfs.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <sanitizer/asan_interface.h>

#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>

namespace {

const uint8_t *input;
size_t inputSize;
constexpr int kNode = 1000;

// The rest of the caller's buffer is poisoned, so that ASan reports a look past the bytes
// the node gave even where the buffer itself goes on; the frame is unpoisoned on return.
ssize_t readNode(int, void *buf, size_t count)
{
    const size_t n = inputSize < count ? inputSize : count;
    memcpy(buf, input, n);
    ASAN_POISON_MEMORY_REGION(static_cast<char *>(buf) + n, count - n);
    return ssize_t(n);
}

int ioctlNode(int, unsigned long request, void *arg)
{
    if (request == USBDEVFS_CONTROL) {
        auto *control = static_cast<usbdevfs_ctrltransfer *>(arg);
        return int(readNode(kNode, control->data, control->wLength));
    }
    return inputSize && (input[inputSize - 1] & 1) ? -1 : 0;
}

int matchAndCheck(usb_ifc_info *info)
{
    if (strnlen(info->serial, sizeof info->serial) == sizeof info->serial)
        abort();
    return match_android_fastboot_driver(info);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // A folder laid out like /dev/bus/usb with one bus and one device node.
    static QTemporaryDir folder;
    static const QByteArray root = QFile::encodeName(folder.path());
    if (!QDir(folder.path()).mkpath(QStringLiteral("1")) || !QFile(folder.filePath(QStringLiteral("1/1"))).open(QIODevice::WriteOnly))
        abort();
    usb_set_system_calls({root.constData(), [](const char *, int) { return kNode; }, readNode, [](int) { return 0; },
                          ioctlNode, [](unsigned) {}});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    input = data;
    inputSize = size;
    if (usb_handle *handle = usb_open(matchAndCheck)) {
        if (handle->desc != kNode)
            abort();
        usb_close(handle);
        free(handle);
    }
    return 0;
}
