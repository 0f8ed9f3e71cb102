#include "boardlink/tusbdevcommandstub.h"

#include <QTimer>

TUsbDevCommandStub::TUsbDevCommandStub(QObject *parent)
    : QObject(parent)
{
    // The description arrives a second before the connection: the other way round from
    // a real board, which is worth remembering when a view misbehaves only here.
    QTimer::singleShot(1000, this, &TUsbDevCommandStub::simNewDeviceAttached);
    QTimer::singleShot(2000, this, &TUsbDevCommandStub::simConnected);
}

void TUsbDevCommandStub::simSendFinished()
{
    Q_EMIT SendFinished(true);
}

void TUsbDevCommandStub::simSendMaxSize() {}

void TUsbDevCommandStub::simSendCurrentPos() {}

void TUsbDevCommandStub::simNewDeviceAttached()
{
    connected = true;
    Q_EMIT NewDeviceAttached(tr("wren210"));
}

void TUsbDevCommandStub::simConnected()
{
    connected = true;
    Q_EMIT Connected(true);
}

void TUsbDevCommandStub::simError()
{
    Q_EMIT Error(tr("Write Error"));
    QTimer::singleShot(500, this, &TUsbDevCommandStub::simError);
}

void TUsbDevCommandStub::LowFormat() {}
void TUsbDevCommandStub::SendHalvorn(QString) {}
void TUsbDevCommandStub::SendKernel(QString) {}
void TUsbDevCommandStub::SendCmdLine(QString) {}
void TUsbDevCommandStub::SendLinuxFs(QString) {}
void TUsbDevCommandStub::SendCeLogo(QString) {}
void TUsbDevCommandStub::SendCeNk(QString) {}
