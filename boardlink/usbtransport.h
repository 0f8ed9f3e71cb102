#pragma once

#include "boardlink/boardaccess.h"

#include <QtGlobal>

// How TUsbDevice reaches a board: one claimed download interface with a bulk OUT and a
// bulk IN endpoint. The real implementation walks /dev/bus/usb; the virtual board
// implements the same contract in memory.
class UsbTransport
{
public:
    virtual ~UsbTransport() = default;

    // Looks for the board's download interface and claims it; false when none is found.
    virtual bool open() = 0;
    virtual bool isOpen() const = 0;
    // Bytes written, or -1 on a failed transfer.
    virtual int write(const char *data, int len) = 0;
    // Bytes read (a short packet ends the read), or -1 on a failed transfer.
    virtual int read(char *buffer, int len) = 0;
    virtual void close() = 0;
    // Why the last open() found a board but could not claim it; null when it did not.
    virtual BoardAccessProblem accessProblem() const { return {}; }
};

// The transport over the usbdevfs functions.
class UsbDevfsTransport : public UsbTransport
{
public:
    UsbDevfsTransport() = default;
    ~UsbDevfsTransport() override;
    UsbDevfsTransport(const UsbDevfsTransport &) = delete;
    UsbDevfsTransport &operator=(const UsbDevfsTransport &) = delete;

    bool open() override;
    bool isOpen() const override;
    int write(const char *data, int len) override;
    int read(char *buffer, int len) override;
    void close() override;
    BoardAccessProblem accessProblem() const override { return problem; }

private:
    struct usb_handle *handle = nullptr;
    BoardAccessProblem problem;
};
