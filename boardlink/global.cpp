#include "boardlink/global.h"

#include "app/globals.h"
#include "boardlink/tusbdevcommand.h"

#include <QMetaObject>

void Global::connectUSBSlots(QObject *view)
{
    QObject *board = gUsbDevCommand;
    QObject::connect(board, SIGNAL(Connected(bool)), view, SLOT(USBConnected(bool)));
    QObject::connect(board, SIGNAL(ReportLog(int, QString)), view, SLOT(USBReportLog(int, QString)));
    QObject::connect(board, SIGNAL(SendFinished(bool)), view, SLOT(USBSendFinished(bool)));
    QObject::connect(board, SIGNAL(SendMaxSize(int)), view, SLOT(USBSendMaxSize(int)));
    QObject::connect(board, SIGNAL(SendCurrentPos(int)), view, SLOT(USBSendCurrentPos(int)));
    QObject::connect(board, SIGNAL(NewDeviceAttached(QString)), view, SLOT(USBNewDeviceAttached(QString)));
    QObject::connect(board, SIGNAL(CpuRecognized()), view, SLOT(CpuRecognized()));
    // Only the views that show the board-access hint take this one.
    if (view->metaObject()->indexOfSlot("USBAccessProblem(QString,int)") >= 0)
        QObject::connect(board, SIGNAL(AccessProblemChanged(QString, int)), view, SLOT(USBAccessProblem(QString, int)));
}
