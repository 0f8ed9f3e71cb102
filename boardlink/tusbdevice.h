#pragma once

#include "boardlink/boardaccess.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <memory>

class UsbTransport;

// Owns the connection to the board: searches for it once a second, greets a board that
// appears, keeps polling an idle board so that a pulled cable is noticed, and offers the
// one exchange primitive Run(). Everything happens on the GUI thread.
class TUsbDevice : public QObject
{
    Q_OBJECT
public:
    explicit TUsbDevice(QObject *parent = nullptr);
    ~TUsbDevice() override;

    void Start();
    void Stop();

    void ReportLogWithCheck(int level, const QString &text);
    QByteArray Run(const QByteArray &data, bool reportErrors);

    // A transfer is under way; the keep-alive poll stays off meanwhile.
    virtual bool IsBusy() = 0;

    // Whether a board's download interface is open right now.
    bool isConnected() const;

    // Puts another way of reaching the board in place of /dev/bus/usb (the virtual
    // board, or a scripted transport in tests). An open connection is closed silently;
    // the next tick searches through the new transport.
    void setTransport(std::shared_ptr<UsbTransport> transport);
    UsbTransport *transport() const { return link.get(); }

    // One tick of the search/keep-alive poll; the one-second timer calls it.
    void pollBoard();

    // What keeps a plugged-in board from being used right now; null when nothing does.
    BoardAccessProblem boardAccessProblem() const { return accessProblem; }

Q_SIGNALS:
    void Connected(bool);
    void ReportLog(int, QString);
    // The board's node (error EACCES, EPERM or EBUSY) that cannot be used, once per
    // plug; an empty node and 0 once the board can be used or has gone.
    void AccessProblemChanged(QString node, int error);

protected:
    void timerEvent(QTimerEvent *event) override;

    bool quiet = false;
    int timerId = 0;

private:
    void dropConnection();
    void setAccessProblem(const BoardAccessProblem &problem);

    BoardAccessProblem accessProblem;
    std::shared_ptr<UsbTransport> link;
};
