#include "boardlink/usbtransport.h"

#include "boardlink/usbdevfs.h"

#include <cerrno>
#include <cstdlib>

UsbDevfsTransport::~UsbDevfsTransport()
{
    close();
}

bool UsbDevfsTransport::open()
{
    close();
    timedOut = false;
    lastOpenError = 0;
    problem = BoardAccessProblem();
    if (node.isEmpty()) {
        usb_access_problem found;
        handle = usb_open_diagnosed(match_android_fastboot_driver, &found);
        if (!handle)
            problem = BoardAccess::fromSearch(found);
    } else {
        int error = 0;
        handle = usb_open_node(node.constData(), match_android_fastboot_driver, &error);
        // A node without our interface is not a board that cannot be used.
        if (!handle && error != ENOENT)
            lastOpenError = error;
    }
    if (handle)
        handle->timeout_ms = timeoutMs;
    return handle != nullptr;
}

void UsbDevfsTransport::setStallTimeout(int ms)
{
    timeoutMs = ms > 0 ? unsigned(ms) : 0;
    if (handle)
        handle->timeout_ms = timeoutMs;
}

int UsbDevfsTransport::noteFailure(int result)
{
    if (result < 0 && timeoutMs != 0 && errno == ETIMEDOUT)
        timedOut = true;
    return result;
}

bool UsbDevfsTransport::isOpen() const
{
    return handle != nullptr;
}

int UsbDevfsTransport::write(const char *data, int len)
{
    return handle ? noteFailure(usb_write(handle, data, len)) : -1;
}

int UsbDevfsTransport::read(char *buffer, int len)
{
    return handle ? noteFailure(usb_read(handle, buffer, len)) : -1;
}

void UsbDevfsTransport::close()
{
    if (!handle)
        return;
    usb_close(handle);
    // usb_open allocates the record with calloc; nothing reuses it once closed.
    std::free(handle);
    handle = nullptr;
}
