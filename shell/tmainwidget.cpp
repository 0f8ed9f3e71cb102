#include "shell/tmainwidget.h"

#include "app/globals.h"
#include "boardlink/global.h"
#include "boardlink/tusbdevcommand.h"

#include <QLabel>
#include <QVBoxLayout>

TMainWidget::TMainWidget(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("Widget"));
    setWindowTitle(tr("Ostrakit"));
    resize(900, 723);
    gUsbDevCommand = new TUsbDevCommand(this);
    Global::connectUSBSlots(this);

    status = new QLabel(this);
    status->setWordWrap(true);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(status);
    updateStatus(gUsbDevCommand->isConnected());
}

QString TMainWidget::statusText() const
{
    return status->text();
}

void TMainWidget::updateStatus(bool connected)
{
    if (!connected)
        status->setText(tr("Board is not connected, or Halvorn is not in USB download mode"));
    else if (hwInfo.isEmpty())
        status->setText(tr("Board connected."));
    else
        status->setText(tr("Board connected.") + QLatin1Char('\n') + hwInfo);
}

void TMainWidget::USBConnected(bool connected)
{
    if (!connected)
        hwInfo.clear();
    updateStatus(connected);
}

void TMainWidget::USBNewDeviceAttached(QString HwInfo)
{
    hwInfo = HwInfo;
    updateStatus(gUsbDevCommand->isConnected());
}

void TMainWidget::USBSendFinished(bool) {}
void TMainWidget::USBReportLog(int, QString) {}
void TMainWidget::USBSendMaxSize(int) {}
void TMainWidget::USBSendCurrentPos(int) {}
void TMainWidget::CpuRecognized() {}
