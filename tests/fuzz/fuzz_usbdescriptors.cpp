// The device search's descriptor walk over whatever a node under /dev/bus/usb may hand
// back. The input is what read() gives for the one device node; the serial number's
// string descriptor is read from the same bytes, and the claim fails when the last byte
// is odd. Nothing may be read outside what the node gave, and the serial must stay a
// terminated string.

#include "boardlink/usbdevfs.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const uint8_t *input;
size_t inputSize;
char root[] = "/tmp/ostrakit-fuzz-usb-XXXXXX";
char bus[sizeof root + 2];
char node[sizeof root + 4];
constexpr int kNode = 1000;

ssize_t readNode(int, void *buf, size_t count)
{
    const size_t n = inputSize < count ? inputSize : count;
    memcpy(buf, input, n);
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

void removeFolder()
{
    unlink(node);
    rmdir(bus);
    rmdir(root);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // A folder laid out like /dev/bus/usb with one bus and one device node.
    if (!mkdtemp(root))
        abort();
    snprintf(bus, sizeof bus, "%s/1", root);
    snprintf(node, sizeof node, "%s/1", bus);
    if (mkdir(bus, 0700) != 0 || fclose(fopen(node, "w")) != 0)
        abort();
    atexit(removeFolder);
    usb_set_system_calls({root, [](const char *, int) { return kNode; }, readNode, [](int) { return 0; },
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
