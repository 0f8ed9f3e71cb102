#include "shell/burnsystemwidget.h"

#include "app/globals.h"
#include "boardlink/global.h"
#include "boardlink/tusbdevcommand.h"
#include "flashing/tconfigview.h"
#include "shell/resourcetext.h"
#include "shell/taboutview.h"
#include "shell/thomeview.h"
#include "shell/tlanguagesettingview.h"
#include "shell/tmenu.h"

#include <QPainter>
#include <QPushButton>
#include <QResizeEvent>

BurnSystemWidget::BurnSystemWidget(QWidget *parent)
    : QWidget(parent)
{
    quickBoot = new QPushButton(tr("Quick Boot"), this);
    quickBoot->setStyleSheet(readFile(QStringLiteral(":/button3.css")));
    connect(quickBoot, &QPushButton::clicked, this, &BurnSystemWidget::quickStartButtonClicked);

    menuWidget = new TMenu(this);
    connect(menuWidget, &TMenu::switchView, this, &BurnSystemWidget::switchView);

    home = new THomeView(this);
    androidView = new TConfigView(0, this);
    winCEView = new TConfigView(2, this);
    linuxView = new TConfigView(1, this);
    nonOSViewRun = new TConfigView(3, this);
    nonOSViewInstall = new TConfigView(4, this);
    language = new TLanguageSettingView(this);
    about = new TAboutView(this);
    views = {home, androidView, linuxView, winCEView, nonOSViewRun, nonOSViewInstall, language, about};

    Global::connectUSBSlots(home);
    Global::connectUSBSlots(menuWidget);
    Global::connectUSBSlots(this);

    for (QWidget *view : std::as_const(views)) {
        view->hide();
        if (!view->inherits("TConfigView"))
            continue;
        connect(view, SIGNAL(needEnableControler(bool, int)), this, SLOT(needEnableControler(bool, int)));
        connect(view, SIGNAL(imagesPathUpdated()), this, SLOT(imagesPathUpdatedSlot()));
        connect(view, SIGNAL(switchView(QString)), this, SLOT(switchView(QString)));
        Global::connectUSBSlots(view);
    }

    views.first()->show();
    const bool present = boardPresent();
    menuWidget->USBConnected(present);
    if (present)
        home->updateWebViewAfterFirstPaint(true, tr("Please wait while Ostrakit gathers H/W information..."));
    else
        home->updateWebViewAfterFirstPaint(false, QString());
}

bool BurnSystemWidget::boardPresent() const
{
    return gUsbDevCommand && gUsbDevCommand->isConnected();
}

QWidget *BurnSystemWidget::visibleView() const
{
    for (QWidget *view : views) {
        if (!view->isHidden())
            return view;
    }
    return nullptr;
}

TConfigView *BurnSystemWidget::configView(int kind) const
{
    switch (kind) {
    case 0: return androidView;
    case 1: return linuxView;
    case 2: return winCEView;
    case 3: return nonOSViewRun;
    case 4: return nonOSViewInstall;
    default: return nullptr;
    }
}

void BurnSystemWidget::switchView(const QString &name)
{
    for (QWidget *view : std::as_const(views))
        view->hide();
    currentView = name;

    if (name == QLatin1String("homeView")) {
        home->show();
        return;
    }
    if (name == QLatin1String("aboutView")) {
        about->show();
        return;
    }
    if (name == QLatin1String("languageSettingView")) {
        language->show();
        return;
    }
    if (!boardPresent()) {
        // The page asked for is remembered and shown once a board connects.
        home->show();
        return;
    }
    TConfigView *page = nullptr;
    if (name == QLatin1String("androidView"))
        page = androidView;
    else if (name == QLatin1String("winCEView"))
        page = winCEView;
    else if (name == QLatin1String("linuxView"))
        page = linuxView;
    else if (name == QLatin1String("nonOSViewRun"))
        page = nonOSViewRun;
    else if (name == QLatin1String("nonOSViewInstall"))
        page = nonOSViewInstall;
    if (!page)
        return;
    page->show();
    page->enterThisView();
}

void BurnSystemWidget::USBConnected(bool connected)
{
    if (connected)
        switchView(currentView);
}

void BurnSystemWidget::needEnableControler(bool enabled, int elseView)
{
    // The page that flashes locks the others and "Quick Boot" until it is done.
    quickBoot->setEnabled(enabled);
    for (int kind = 0; kind <= 4; ++kind) {
        if (kind != elseView)
            configView(kind)->enableAllButton(enabled);
    }
}

void BurnSystemWidget::imagesPathUpdatedSlot()
{
    for (int kind = 0; kind <= 4; ++kind)
        configView(kind)->imagesPathUpdatedSlot();
}

void BurnSystemWidget::quickStartButtonClicked()
{
    gUsbDevCommand->Boot();
}

void BurnSystemWidget::resizeEvent(QResizeEvent *event)
{
    const int w = event->size().width();
    const int h = event->size().height();
    menuWidget->setGeometry(0, 0, 200, h - 40);
    quickBoot->setGeometry(10, h - 35, 180, 30);
    for (QWidget *view : std::as_const(views))
        view->setGeometry(201, 0, w - 204, h);
}

void BurnSystemWidget::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), QColor(233, 236, 238));
}

void BurnSystemWidget::USBSendFinished(bool) {}
void BurnSystemWidget::USBReportLog(int, QString) {}
void BurnSystemWidget::USBSendMaxSize(int) {}
void BurnSystemWidget::USBSendCurrentPos(int) {}
void BurnSystemWidget::USBNewDeviceAttached(QString) {}
void BurnSystemWidget::CpuRecognized() {}
