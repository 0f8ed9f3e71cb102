#pragma once
// Access to the boot loader's download interface through the Linux USB file system
// (usbdevfs), without any USB library. Free functions over a small handle record.

#include <cstddef>
#include <cstdint>
#include <sys/types.h>

struct usb_ifc_info {
    uint16_t vendor_id;
    uint16_t product_id;

    uint8_t device_class;
    uint8_t device_subclass;
    uint8_t device_protocol;

    uint8_t interface_class;
    uint8_t interface_subclass;
    uint8_t interface_protocol;

    uint8_t bulk_in_present;
    uint8_t bulk_out_present;

    uint8_t node_writable;

    char serial[256];
};

struct usb_handle {
    char fname[64];
    int desc;
    unsigned char ep_in;
    unsigned char ep_out;
    // Bulk transfer time-out in milliseconds; 0 (as usb_open leaves it) waits for ever.
    unsigned timeout_ms;
};

// Returns 0 to accept an interface, -1 to reject it.
typedef int (*ifc_match_func)(usb_ifc_info *ifc);

// Why a download interface that was found could not be used: the first such device of
// a search. `error` is EACCES or EPERM when its node cannot be opened read-write (no
// udev rule gives this user access), EBUSY when another program has claimed the
// interface, and 0 when nothing stood in the way.
struct usb_access_problem {
    char node[64];
    int error;
    uint16_t vendor_id;
    uint16_t product_id;
};

usb_handle *usb_open(ifc_match_func callback);
// usb_open that also says, in `problem` (zeroed first), why an accepted interface could
// not be claimed. A node that cannot be opened at all is recognised from the descriptors
// sysfs shows to everybody.
usb_handle *usb_open_diagnosed(ifc_match_func callback, usb_access_problem *problem);
int usb_close(usb_handle *h);
int usb_write(usb_handle *h, const void *data, int len);
int usb_read(usb_handle *h, void *data, int len);
void usb_kick(usb_handle *h);

// Calls `found` for every interface the callback accepts, on every device, without
// claiming any: the listing of a machine with several boards attached.
typedef void (*usb_found_func)(const char *node, const usb_ifc_info *info, void *context);
void usb_list(ifc_match_func callback, usb_found_func found, void *context);

// Opens and claims the accepted interface of the one device node `node`. On failure
// `*error` (when given) holds the errno of the step that failed (ENOENT when the node
// has no accepted interface).
usb_handle *usb_open_node(const char *node, ifc_match_func callback, int *error);

// The boot loader's download interface: one of the known vendors, class 0xff,
// subclass 0x42, protocol 0x03.
int match_android_fastboot_driver(usb_ifc_info *info);

// The operating-system calls this layer makes. Tests replace them to search a folder of
// crafted descriptor files, to make a claim succeed or fail, or to script bulk transfers.
struct UsbSystemCalls {
    const char *root;                                            // "/dev/bus/usb"
    int (*open)(const char *path, int flags);
    ssize_t (*read)(int fd, void *buf, size_t count);
    int (*close)(int fd);
    int (*ioctl)(int fd, unsigned long request, void *arg);
    void (*sleep_seconds)(unsigned seconds);                     // between read attempts
    // "/sys/dev/char": there "189:<minor>/descriptors" holds, readable by anyone, what a
    // node of /dev/bus/usb would give. Null: nodes that cannot be opened are not looked at.
    const char *sysfs_char_root;
};

const UsbSystemCalls &usb_system_calls();
void usb_set_system_calls(const UsbSystemCalls &calls);
void usb_reset_system_calls();
