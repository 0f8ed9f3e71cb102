#include "shell/burnsystemwidget.h"

#include "app/globals.h"
#include "boardlink/global.h"
#include "boardlink/tusbdevcommand.h"
#include "flashing/configpage.h"
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

    // Only the home view is on screen at start. The other views are built the first time
    // they are shown: most sessions use one flashing page, and building and polishing all
    // five with their style sheets took about a third of the window's start-up.
    home = new THomeView(this);
    views = {home};

    Global::connectUSBSlots(home);
    Global::connectUSBSlots(menuWidget);
    Global::connectUSBSlots(this);

    home->show();
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

TConfigView *const *BurnSystemWidget::pageSlot(int kind) const
{
    switch (kind) {
    case 0: return &androidView;
    case 1: return &linuxView;
    case 2: return &winCEView;
    case 3: return &nonOSViewRun;
    case 4: return &nonOSViewInstall;
    default: return nullptr;
    }
}

TConfigView *BurnSystemWidget::builtConfigView(int kind) const
{
    TConfigView *const *slot = pageSlot(kind);
    return slot ? *slot : nullptr;
}

TConfigView *BurnSystemWidget::configView(int kind)
{
    auto **slot = const_cast<TConfigView **>(pageSlot(kind));
    if (!slot)
        return nullptr;
    if (*slot)
        return *slot;

    auto *page = new TConfigView(kind, this);
    // Sized first, as the pages built at start were before anything reached them: the log
    // lays out its lines at the width it has when they come in.
    adopt(page);
    // The page catches up on what it would have heard had it existed from the start; it is
    // wired only afterwards, so that nothing it says while catching up reaches the other pages.
    for (const PageEvent &event : std::as_const(pendingEvents))
        handOver(page, event);
    connect(page, &TConfigView::needEnableControler, this, &BurnSystemWidget::needEnableControler);
    connect(page, &TConfigView::imagesPathUpdated, this, &BurnSystemWidget::imagesPathUpdatedSlot);
    connect(page, &TConfigView::switchView, this, &BurnSystemWidget::switchView);
    Global::connectUSBSlots(page);
    *slot = page;
    if (allPagesBuilt())
        pendingEvents.clear();
    return page;
}

bool BurnSystemWidget::allPagesBuilt() const
{
    for (int kind = 0; kind <= 4; ++kind) {
        if (!builtConfigView(kind))
            return false;
    }
    return true;
}

QRect BurnSystemWidget::viewRect(const QSize &size)
{
    return QRect(201, 0, size.width() - 204, size.height());
}

void BurnSystemWidget::adopt(QWidget *view)
{
    view->hide();
    if (testAttribute(Qt::WA_Resized))
        view->setGeometry(viewRect(size()));
    views.append(view);
}

QWidget *BurnSystemWidget::lateView(const QString &name)
{
    if (name == QLatin1String("aboutView") && !about)
        adopt(about = new TAboutView(this));
    else if (name == QLatin1String("languageSettingView") && !language)
        adopt(language = new TLanguageSettingView(this));
    return name == QLatin1String("aboutView") ? static_cast<QWidget *>(about) : language;
}

void BurnSystemWidget::remember(const PageEvent &event)
{
    if (!allPagesBuilt())
        pendingEvents.append(event);
}

void BurnSystemWidget::handOver(TConfigView *page, const PageEvent &event)
{
    switch (event.type) {
    case PageEvent::Log:
        page->USBReportLog(event.number, event.text);
        break;
    case PageEvent::Disconnected:
        page->USBConnected(false);
        break;
    case PageEvent::Device:
        page->USBNewDeviceAttached(event.text);
        break;
    case PageEvent::Cpu:
        page->CpuRecognized();
        break;
    case PageEvent::Lock:
        if (event.number != page->viewKind())
            page->enableAllButton(event.enable);
        break;
    case PageEvent::ImagesPath:
        page->fillFromImagesFolder(event.text);
        break;
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
    if (name == QLatin1String("aboutView") || name == QLatin1String("languageSettingView")) {
        lateView(name)->show();
        return;
    }
    if (!boardPresent()) {
        // The page asked for is remembered and shown once a board connects.
        home->show();
        return;
    }
    for (int kind = 0; kind <= 4; ++kind) {
        if (ConfigPage::viewName(ConfigPage::Kind(kind)) == name) {
            TConfigView *page = configView(kind);
            page->show();
            page->enterThisView();
            return;
        }
    }
}

void BurnSystemWidget::USBConnected(bool connected)
{
    if (connected)
        switchView(currentView);
    else
        remember({PageEvent::Disconnected});
}

void BurnSystemWidget::needEnableControler(bool enabled, int elseView)
{
    // The page that flashes locks the others and "Quick Boot" until it is done.
    quickBoot->setEnabled(enabled);
    for (int kind = 0; kind <= 4; ++kind) {
        TConfigView *page = builtConfigView(kind);
        if (page && kind != elseView)
            page->enableAllButton(enabled);
    }
    remember({PageEvent::Lock, elseView, enabled});
}

void BurnSystemWidget::imagesPathUpdatedSlot()
{
    for (int kind = 0; kind <= 4; ++kind) {
        if (TConfigView *page = builtConfigView(kind))
            page->imagesPathUpdatedSlot();
    }
    remember({PageEvent::ImagesPath, 0, false, gImagesPath});
}

void BurnSystemWidget::quickStartButtonClicked()
{
    gUsbDevCommand->Boot();
}

void BurnSystemWidget::resizeEvent(QResizeEvent *event)
{
    const int h = event->size().height();
    menuWidget->setGeometry(0, 0, 200, h - 40);
    quickBoot->setGeometry(10, h - 35, 180, 30);
    for (QWidget *view : std::as_const(views))
        view->setGeometry(viewRect(event->size()));
}

void BurnSystemWidget::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), QColor(233, 236, 238));
}

void BurnSystemWidget::USBSendFinished(bool) {}
void BurnSystemWidget::USBReportLog(int logCatalog, QString msg)
{
    remember({PageEvent::Log, logCatalog, false, msg});
}
void BurnSystemWidget::USBSendMaxSize(int) {}
void BurnSystemWidget::USBSendCurrentPos(int) {}
void BurnSystemWidget::USBNewDeviceAttached(QString HwInfo)
{
    remember({PageEvent::Device, 0, false, HwInfo});
}

void BurnSystemWidget::CpuRecognized()
{
    remember({PageEvent::Cpu});
}
