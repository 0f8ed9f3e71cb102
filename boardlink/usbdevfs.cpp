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
constexpr int kGoneLooks = 10;
constexpr useconds_t kGoneLookIntervalUs = 20000;

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
                                     systemIoctl, systemSleep, "/sys/dev/char"};

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

struct AcceptedInterface {
    unsigned int number;
    unsigned char in;
    unsigned char out;
};

// Walks the device's descriptors as the node gave them, fills `info` and offers each
// interface to `callback`; true with the first one it accepts. `fd` is only used for the
// serial number and may be -1 when the descriptors came from elsewhere.
bool acceptInterface(const unsigned char *desc, size_t total, int fd, usb_ifc_info &info,
                     ifc_match_func callback, AcceptedInterface &accepted)
{
    // The node holds the device descriptor and then the active configuration. A device
    // whose first two descriptors do not hold together is not ours to guess about.
    usb_device_descriptor device;
    usb_config_descriptor config;
    size_t pos = 0;
    if (!takeDescriptor(desc, total, pos, USB_DT_DEVICE, USB_DT_DEVICE_SIZE, &device))
        return false;
    pos += device.bLength;
    if (!takeDescriptor(desc, total, pos, USB_DT_CONFIG, USB_DT_CONFIG_SIZE, &config))
        return false;
    pos += config.bLength;

    info.vendor_id = le16toh(device.idVendor);
    info.product_id = le16toh(device.idProduct);
    info.device_class = device.bDeviceClass;
    info.device_subclass = device.bDeviceSubClass;
    info.device_protocol = device.bDeviceProtocol;
    if (device.iSerialNumber != 0 && fd >= 0)
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

        if (callback(&info) == 0) {
            accepted = {ifc.bInterfaceNumber, in, out};
            return true;
        }
    }
    return false;
}

size_t readDescriptors(int fd, unsigned char (&desc)[kDescriptorCapacity])
{
    const ssize_t got = calls().read(fd, desc, sizeof desc);
    return got <= 0 ? 0 : size_t(got) > sizeof desc ? sizeof desc : size_t(got);
}

bool isAccessError(int error)
{
    return error == EACCES || error == EPERM || error == EBUSY;
}

void noteProblem(usb_access_problem *problem, const char *devname, const usb_ifc_info &info, int error)
{
    if (!problem || problem->error != 0 || !isAccessError(error))
        return;
    snprintf(problem->node, sizeof problem->node, "%s", devname);
    problem->error = error;
    problem->vendor_id = info.vendor_id;
    problem->product_id = info.product_id;
}

// A node we may not even read: the kernel shows the same descriptors in sysfs, under the
// node's character device number (major 189, minor (bus - 1) * 128 + device - 1).
void diagnoseUnopenableNode(const char *devname, int bus, int device, int openError, ifc_match_func callback,
                            usb_access_problem *problem)
{
    const char *sysfs = calls().sysfs_char_root;
    if (!problem || !sysfs || bus < 1 || device < 1 || (openError != EACCES && openError != EPERM))
        return;
    char path[128];
    snprintf(path, sizeof path, "%s/189:%d/descriptors", sysfs, (bus - 1) * 128 + (device - 1));
    const int fd = calls().open(path, O_RDONLY);
    if (fd < 0)
        return;
    unsigned char desc[kDescriptorCapacity];
    const size_t total = readDescriptors(fd, desc);
    calls().close(fd);

    usb_ifc_info info;
    memset(&info, 0, sizeof info);
    AcceptedInterface accepted;
    if (acceptInterface(desc, total, -1, info, callback, accepted))
        noteProblem(problem, devname, info, openError);
}

// Looks at one device node; returns the claimed handle when an interface is accepted.
// `named`: the caller asked for this very node, so a node we may only read is refused
// with its reason rather than claimed, and one we may not open at all says why directly.
usb_handle *examineDevice(const char *devname, int bus, int device, ifc_match_func callback,
                          usb_access_problem *problem, bool named = false)
{
    usb_ifc_info info;
    memset(&info, 0, sizeof info);

    int writeError = 0;
    int fd = calls().open(devname, O_RDWR);
    if (fd < 0) {
        writeError = errno;
        fd = calls().open(devname, O_RDONLY);
        if (fd < 0) {
            if (named)
                noteProblem(problem, devname, info, errno);
            else
                diagnoseUnopenableNode(devname, bus, device, errno, callback, problem);
            return nullptr;
        }
        info.node_writable = 0;
    } else {
        info.node_writable = 1;
    }

    unsigned char desc[kDescriptorCapacity];
    const size_t total = readDescriptors(fd, desc);
    AcceptedInterface accepted;
    if (!acceptInterface(desc, total, fd, info, callback, accepted)) {
        calls().close(fd);
        return nullptr;
    }
    if (named && !info.node_writable) {
        noteProblem(problem, devname, info, writeError);
        calls().close(fd);
        return nullptr;
    }

    auto *handle = static_cast<usb_handle *>(calloc(1, sizeof(usb_handle)));
    if (!handle) {
        calls().close(fd);
        return nullptr;
    }
    snprintf(handle->fname, sizeof handle->fname, "%s", devname);
    handle->desc = fd;
    handle->ep_in = accepted.in;
    handle->ep_out = accepted.out;

    unsigned int interfaceNumber = accepted.number;
    if (calls().ioctl(fd, USBDEVFS_CLAIMINTERFACE, &interfaceNumber) != 0) {
        // Somebody else holds it (or the node is read-only): try the next device. On a
        // read-only node the refused write access is the cause worth telling.
        noteProblem(problem, devname, info, info.node_writable ? errno : writeError);
        calls().close(fd);
        free(handle);
        return nullptr;
    }
    return handle;
}

// The number of a bus or device folder (digits only); 0 for one no kernel would make.
int nodeNumber(const char *name)
{
    const long value = strtol(name, nullptr, 10);
    return value > 0 && value <= 1000 ? int(value) : 0;
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

// Walks base/<bus>/<device> until `visit` returns a handle.
template <typename Visit>
usb_handle *find_usb_device(const char *base, Visit visit)
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
            found = visit(devname, nodeNumber(bus->d_name), nodeNumber(dev->d_name));
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

// A board pulled off the bus never answers on this descriptor again: trying five more
// times, a second apart, would only freeze the window. The kernel says ENODEV once it has
// noticed; a transfer cut short by the disconnect itself ends with ESHUTDOWN or EPROTO,
// which a live device can give too, so then the node must be gone as well. The hub takes
// a few milliseconds to notice and remove it, hence the short looks.
bool deviceGone(const usb_handle *h, int error)
{
    if (error == ENODEV)
        return true;
    if (error != ESHUTDOWN && error != EPROTO)
        return false;
    for (int look = 0; look < kGoneLooks; ++look) {
        const int fd = calls().open(h->fname, O_RDONLY);
        if (fd < 0)
            return errno == ENOENT || errno == ENODEV;
        calls().close(fd);
        if (look + 1 < kGoneLooks)
            usleep(kGoneLookIntervalUs);
    }
    return false;
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
    return usb_open_diagnosed(callback, nullptr);
}

usb_handle *usb_open_diagnosed(ifc_match_func callback, usb_access_problem *problem)
{
    if (problem)
        memset(problem, 0, sizeof *problem);
    return find_usb_device(calls().root, [&](const char *devname, int bus, int device) {
        return examineDevice(devname, bus, device, callback, problem);
    });
}

void usb_list(ifc_match_func callback, usb_found_func found, void *context)
{
    find_usb_device(calls().root, [&](const char *devname, int, int) -> usb_handle * {
        usb_ifc_info info;
        memset(&info, 0, sizeof info);
        int fd = calls().open(devname, O_RDWR);
        info.node_writable = fd >= 0;
        if (fd < 0)
            fd = calls().open(devname, O_RDONLY);
        if (fd < 0)
            return nullptr;
        unsigned char desc[kDescriptorCapacity];
        const size_t total = readDescriptors(fd, desc);
        AcceptedInterface accepted;
        if (acceptInterface(desc, total, fd, info, callback, accepted))
            found(devname, &info, context);
        calls().close(fd);
        return nullptr;
    });
}

usb_handle *usb_open_node(const char *node, ifc_match_func callback, int *error)
{
    usb_access_problem problem;
    memset(&problem, 0, sizeof problem);
    usb_handle *handle = examineDevice(node, 0, 0, callback, &problem, true);
    if (!handle && error)
        *error = problem.error != 0 ? problem.error : ENOENT;
    return handle;
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
            const bool stalled = h->timeout_ms != 0 && errno == ETIMEDOUT;
            if (stalled || attempt == kReadAttempts || deviceGone(h, errno))
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
