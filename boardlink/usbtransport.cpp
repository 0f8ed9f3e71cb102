#include "boardlink/usbtransport.h"

#include "boardlink/usbdevfs.h"

#include <cstdlib>

UsbDevfsTransport::~UsbDevfsTransport()
{
    close();
}

bool UsbDevfsTransport::open()
{
    close();
    usb_access_problem found;
    handle = usb_open_diagnosed(match_android_fastboot_driver, &found);
    problem = handle ? BoardAccessProblem() : BoardAccess::fromSearch(found);
    return handle != nullptr;
}

bool UsbDevfsTransport::isOpen() const
{
    return handle != nullptr;
}

int UsbDevfsTransport::write(const char *data, int len)
{
    return handle ? usb_write(handle, data, len) : -1;
}

int UsbDevfsTransport::read(char *buffer, int len)
{
    return handle ? usb_read(handle, buffer, len) : -1;
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
