#include "boardlink/usbdevfs.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <endian.h>
#include <fcntl.h>
#include <linux/usb/ch9.h>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr int kMaxTransfer = 16384;
constexpr int kReadAttempts = 6;
constexpr size_t kDescriptorCapacity = 1024;

int systemOpen(const char *path, int flags)
{
    return ::open(path, flags);
}

ssize_t systemRead(int fd, void *buf, size_t count)
{
    return ::read(fd, buf, count);
}

int systemClose(int fd)
{
    return ::close(fd);
}

int systemIoctl(int fd, unsigned long request, void *arg)
{
    return ::ioctl(fd, request, arg);
}

void systemSleep(unsigned seconds)
{
    ::sleep(seconds);
}

const UsbSystemCalls kSystemCalls = {"/dev/bus/usb", systemOpen, systemRead, systemClose,
                                     systemIoctl, systemSleep};

UsbSystemCalls &calls()
{
    static UsbSystemCalls current = kSystemCalls;
    return current;
}

bool allDigits(const char *name)
{
    if (*name == '\0')
        return false;
    for (; *name; ++name) {
        if (!isdigit(static_cast<unsigned char>(*name)))
            return false;
    }
    return true;
}

// Reads the serial number string descriptor; the text keeps the low byte of each
// UTF-16 unit, which is all a boot loader's serial ever uses.
void readSerial(int fd, uint8_t index, char *serial, size_t capacity)
{
    unsigned char buffer[256];
    memset(buffer, 0, sizeof buffer);

    usbdevfs_ctrltransfer ctrl;
    memset(&ctrl, 0, sizeof ctrl);
    ctrl.bRequestType = USB_DIR_IN | USB_TYPE_STANDARD | USB_RECIP_DEVICE;
    ctrl.bRequest = USB_REQ_GET_DESCRIPTOR;
    ctrl.wValue = (USB_DT_STRING << 8) | index;
    ctrl.wIndex = 0;
    ctrl.wLength = sizeof buffer;
    ctrl.data = buffer;
    ctrl.timeout = 50;

    const int n = calls().ioctl(fd, USBDEVFS_CONTROL, &ctrl);
    if (n <= 0)
        return;
    const int count = n > int(sizeof buffer) ? int(sizeof buffer) : n;
    size_t out = 0;
    for (int unit = 1; unit < count / 2 && out + 1 < capacity; ++unit)
        serial[out++] = char(buffer[unit * 2]);
    serial[out] = '\0';
}

// Takes the descriptor at `pos` when its header is there, its bLength is at least the
// minimum for its type and does not run past the bytes the node gave us, and its type is
// the expected one. Only the fields of the minimum size are copied, so nothing at or past
// `total` is ever looked at: the rest of the buffer was never written.
template <typename Descriptor>
bool takeDescriptor(const unsigned char *data, size_t total, size_t pos, uint8_t type,
                    size_t minLength, Descriptor *out)
{
    if (pos > total || total - pos < minLength)
        return false;
    const uint8_t length = data[pos];
    if (length < minLength || length > total - pos || data[pos + 1] != type)
        return false;
    memset(out, 0, sizeof *out);
    memcpy(out, data + pos, minLength);
    return true;
}

// What to do with an accepted interface: claim it and stop (the search), or tell the
// lister about it and go on.
struct Acceptance {
    usb_found_func found = nullptr;
    void *context = nullptr;
    int error = ENOENT; // why the device yielded no handle
};

// Looks at one device node; returns the claimed handle when an interface is accepted.
usb_handle *examineDevice(const char *devname, ifc_match_func callback, Acceptance *accept = nullptr)
{
    usb_ifc_info info;
    memset(&info, 0, sizeof info);

    int fd = calls().open(devname, O_RDWR);
    if (fd < 0) {
        const int rwError = errno;
        fd = calls().open(devname, O_RDONLY);
        if (accept)
            accept->error = fd < 0 ? errno : rwError;
        if (fd < 0)
            return nullptr;
        info.node_writable = 0;
    } else {
        info.node_writable = 1;
    }

    unsigned char desc[kDescriptorCapacity];
    const ssize_t got = calls().read(fd, desc, sizeof desc);
    const size_t total = got <= 0 ? 0 : size_t(got) > sizeof desc ? sizeof desc : size_t(got);

    // The node holds the device descriptor and then the active configuration. A device
    // whose first two descriptors do not hold together is not ours to guess about.
    usb_device_descriptor device;
    usb_config_descriptor config;
    size_t pos = 0;
    if (!takeDescriptor(desc, total, pos, USB_DT_DEVICE, USB_DT_DEVICE_SIZE, &device)) {
        calls().close(fd);
        return nullptr;
    }
    pos += device.bLength;
    if (!takeDescriptor(desc, total, pos, USB_DT_CONFIG, USB_DT_CONFIG_SIZE, &config)) {
        calls().close(fd);
        return nullptr;
    }
    pos += config.bLength;

    info.vendor_id = le16toh(device.idVendor);
    info.product_id = le16toh(device.idProduct);
    info.device_class = device.bDeviceClass;
    info.device_subclass = device.bDeviceSubClass;
    info.device_protocol = device.bDeviceProtocol;
    if (device.iSerialNumber != 0)
        readSerial(fd, device.iSerialNumber, info.serial, sizeof info.serial);

    for (int i = 0; i < config.bNumInterfaces; ++i) {
        // A bad interface descriptor ends the walk of this device.
        usb_interface_descriptor ifc;
        if (!takeDescriptor(desc, total, pos, USB_DT_INTERFACE, USB_DT_INTERFACE_SIZE, &ifc))
            break;
        pos += ifc.bLength;

        info.interface_class = ifc.bInterfaceClass;
        info.interface_subclass = ifc.bInterfaceSubClass;
        info.interface_protocol = ifc.bInterfaceProtocol;

        // A bad endpoint descriptor only ends the walk of this interface's endpoints.
        unsigned char in = 0;
        unsigned char out = 0;
        for (int e = 0; e < ifc.bNumEndpoints; ++e) {
            usb_endpoint_descriptor ept;
            if (!takeDescriptor(desc, total, pos, USB_DT_ENDPOINT, USB_DT_ENDPOINT_SIZE, &ept))
                break;
            pos += ept.bLength;
            if ((ept.bmAttributes & USB_ENDPOINT_XFERTYPE_MASK) != USB_ENDPOINT_XFER_BULK)
                continue;
            if (ept.bEndpointAddress & USB_ENDPOINT_DIR_MASK)
                in = ept.bEndpointAddress;
            else
                out = ept.bEndpointAddress;
        }
        info.bulk_in_present = in != 0;
        info.bulk_out_present = out != 0;

        if (callback(&info) != 0)
            continue;
        if (accept && accept->found) {
            accept->found(devname, &info, accept->context);
            continue;
        }
        if (accept && !info.node_writable)
            break;

        auto *handle = static_cast<usb_handle *>(calloc(1, sizeof(usb_handle)));
        if (!handle)
            break;
        snprintf(handle->fname, sizeof handle->fname, "%s", devname);
        handle->desc = fd;
        handle->ep_in = in;
        handle->ep_out = out;

        unsigned int interfaceNumber = ifc.bInterfaceNumber;
        if (calls().ioctl(fd, USBDEVFS_CLAIMINTERFACE, &interfaceNumber) != 0) {
            // Somebody else holds it (or the node is read-only): try the next device.
            if (accept)
                accept->error = errno;
            calls().close(fd);
            free(handle);
            return nullptr;
        }
        return handle;
    }

    calls().close(fd);
    return nullptr;
}

// "%s/%s" into a 64-character path; false when it does not fit.
bool joinPath(char (&out)[64], const char *dir, const char *name)
{
    const size_t dirLen = strlen(dir);
    const size_t nameLen = strlen(name);
    if (dirLen + 1 + nameLen >= sizeof out)
        return false;
    memcpy(out, dir, dirLen);
    out[dirLen] = '/';
    memcpy(out + dirLen + 1, name, nameLen + 1);
    return true;
}

usb_handle *find_usb_device(const char *base, ifc_match_func callback, Acceptance *accept = nullptr)
{
    DIR *busdir = opendir(base);
    if (!busdir)
        return nullptr;

    usb_handle *found = nullptr;
    while (!found) {
        const dirent *bus = readdir(busdir);
        if (!bus)
            break;
        if (!allDigits(bus->d_name))
            continue;

        char buspath[64];
        if (!joinPath(buspath, base, bus->d_name))
            continue;
        DIR *devdir = opendir(buspath);
        if (!devdir)
            continue;

        while (!found) {
            const dirent *dev = readdir(devdir);
            if (!dev)
                break;
            if (!allDigits(dev->d_name))
                continue;
            char devname[64];
            if (!joinPath(devname, buspath, dev->d_name))
                continue;
            found = examineDevice(devname, callback, accept);
        }
        closedir(devdir);
    }
    closedir(busdir);
    return found;
}

int bulk(int fd, unsigned char endpoint, void *data, int len, unsigned timeoutMs)
{
    usbdevfs_bulktransfer transfer;
    memset(&transfer, 0, sizeof transfer);
    transfer.ep = endpoint;
    transfer.len = unsigned(len);
    // 0 is no time-out: the boot loader answers every command, a low format only when
    // it is done. Only the command-line flasher gives up on a board that has stalled.
    transfer.timeout = timeoutMs;
    transfer.data = data;
    return calls().ioctl(fd, USBDEVFS_BULK, &transfer);
}

} // namespace

const UsbSystemCalls &usb_system_calls()
{
    return calls();
}

void usb_set_system_calls(const UsbSystemCalls &newCalls)
{
    calls() = newCalls;
}

void usb_reset_system_calls()
{
    calls() = kSystemCalls;
}

int match_android_fastboot_driver(usb_ifc_info *info)
{
    static const uint16_t vendors[] = {0x8087, 0x18d1, 0x0451, 0x0502, 0x0fce, 0x05c6,
                                       0x22b8, 0x0955, 0x413c, 0x2314, 0x0b05, 0x0bb4};
    bool known = false;
    for (uint16_t vendor : vendors)
        known = known || info->vendor_id == vendor;
    if (!known)
        return -1;
    if (info->interface_class != 0xff || info->interface_subclass != 0x42 || info->interface_protocol != 0x03)
        return -1;
    return 0;
}

usb_handle *usb_open(ifc_match_func callback)
{
    return find_usb_device(calls().root, callback);
}

int usb_write(usb_handle *h, const void *data, int len)
{
    if (h->ep_out == 0)
        return -1;

    if (len == 0) {
        const int n = bulk(h->desc, h->ep_out, const_cast<void *>(data), 0, h->timeout_ms);
        if (n != 0) {
            fprintf(stderr, "ERROR: n = %d, errno = %d (%s)\n", n, errno, strerror(errno));
            return -1;
        }
        return 0;
    }

    const auto *bytes = static_cast<const unsigned char *>(data);
    int count = 0;
    while (len > 0) {
        const int piece = len > kMaxTransfer ? kMaxTransfer : len;
        const int n = bulk(h->desc, h->ep_out, const_cast<unsigned char *>(bytes), piece, h->timeout_ms);
        if (n != piece)
            return -1;
        count += n;
        len -= n;
        bytes += n;
    }
    return count;
}

int usb_read(usb_handle *h, void *data, int len)
{
    if (h->ep_in == 0)
        return -1;
    auto *bytes = static_cast<unsigned char *>(data);
    int count = 0;
    while (len > 0) {
        const int piece = len > kMaxTransfer ? kMaxTransfer : len;
        int n = -1;
        for (int attempt = 1; attempt <= kReadAttempts; ++attempt) {
            n = bulk(h->desc, h->ep_in, bytes, piece, h->timeout_ms);
            if (n >= 0)
                break;
            // A board that let its time-out pass has stalled; asking again would only
            // multiply the wait.
            if (h->timeout_ms != 0 && errno == ETIMEDOUT)
                return -1;
            if (attempt == kReadAttempts)
                return -1;
            calls().sleep_seconds(1);
        }
        count += n;
        len -= n;
        bytes += n;
        if (n < piece)
            break;
    }
    return count;
}

void usb_list(ifc_match_func callback, usb_found_func found, void *context)
{
    Acceptance accept;
    accept.found = found;
    accept.context = context;
    find_usb_device(calls().root, callback, &accept);
}

usb_handle *usb_open_node(const char *node, ifc_match_func callback, int *error)
{
    Acceptance accept;
    usb_handle *handle = examineDevice(node, callback, &accept);
    if (!handle && error)
        *error = accept.error;
    return handle;
}

int usb_close(usb_handle *h)
{
    const int fd = h->desc;
    h->desc = -1;
    if (fd >= 0)
        calls().close(fd);
    return 0;
}

void usb_kick(usb_handle *h)
{
    usb_close(h);
}
