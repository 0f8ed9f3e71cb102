#pragma once

#include "boardlink/boardaccess.h"

#include <QByteArray>
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

    // Give up on a transfer the board leaves unanswered this long (0: wait for ever, as
    // the window does); such a failure then reports stalled() until the next open().
    virtual void setStallTimeout(int ms) { Q_UNUSED(ms); }
    virtual bool stalled() const { return false; }
    // The errno of the last open() that found the board but could not use it (EACCES,
    // EBUSY, ...); 0 when it opened or found nothing.
    virtual int openError() const { return 0; }
};

// The transport over the usbdevfs functions.
class UsbDevfsTransport : public UsbTransport
{
public:
    UsbDevfsTransport() = default;
    // Opens only the board at this node ("/dev/bus/usb/001/007") instead of the first
    // one found.
    explicit UsbDevfsTransport(const QByteArray &node) : node(node) {}
    ~UsbDevfsTransport() override;
    UsbDevfsTransport(const UsbDevfsTransport &) = delete;
    UsbDevfsTransport &operator=(const UsbDevfsTransport &) = delete;

    bool open() override;
    bool isOpen() const override;
    int write(const char *data, int len) override;
    int read(char *buffer, int len) override;
    void close() override;
    BoardAccessProblem accessProblem() const override { return problem; }
    void setStallTimeout(int ms) override;
    bool stalled() const override { return timedOut; }
    int openError() const override { return lastOpenError; }

private:
    int noteFailure(int result);

    QByteArray node;
    struct usb_handle *handle = nullptr;
    BoardAccessProblem problem;
    unsigned timeoutMs = 0;
    bool timedOut = false;
    int lastOpenError = 0;
};
