#include "shell/tmainwidget.h"
#include "ui_tmainwidget.h"

#include "app/globals.h"
#include "boardlink/boardaccess.h"
#include "boardlink/global.h"
#include "boardlink/tusbdevcommand.h"
#include "serial/serialportdialog.h"
#include "shell/boardstatus.h"
#include "shell/burnsystemwidget.h"
#include "shell/misctoolswidget.h"
#include "shell/picturesahead.h"
#include "shell/tabwidget.h"
#include "shell/thomeview.h"
#include "shell/titlebutton.h"
#include "shell/versiontext.h"

#include <QApplication>
#include <QFontMetrics>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>

namespace {
constexpr int kStatusIconSize = 12;
constexpr int kVersionWidth = 140;

// A missing picture stays a null pixmap; scaling one would only complain.
QPixmap statusIcon(const QString &path)
{
    const QPixmap icon(path);
    if (icon.isNull())
        return icon;
    return icon.scaled(kStatusIconSize, kStatusIconSize, Qt::KeepAspectRatio, Qt::FastTransformation);
}
// The corner for the release text was measured for narrower fonts than many Linux
// desktops use at 12 pt; a smaller size beats a cut-off build number.
void shrinkToFit(QLabel *label, int width)
{
    QFont font = label->font();
    while (font.pointSize() > 6 && QFontMetrics(font).horizontalAdvance(label->text()) > width)
        font.setPointSize(font.pointSize() - 1);
    label->setFont(font);
}
} // namespace

TMainWidget::TMainWidget(QWidget *parent)
    : QWidget(parent), ui(new Ui::Widget)
{
    // Object name, fixed size, icon and the translated title come from the form.
    ui->setupUi(this);

    // The pictures were chosen for the language in force at start; switching language
    // asks for a restart. The two large ones that the first paint shows are decoded while
    // the rest of the window is built.
    backgroundToTake = gLanguage == 1 ? QStringLiteral(":/background-cn.png") : QStringLiteral(":/background.png");
    PicturesAhead::decode({backgroundToTake, THomeView::backgroundPath()});

    // The board link lives exactly as long as this window.
    gUsbDevCommand = new TUsbDevCommand(this);
    Global::connectUSBSlots(this);

    setWindowFlags(Qt::FramelessWindowHint | Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint);

    connectedIcon = statusIcon(QStringLiteral(":/connected_icon.png"));
    disconnectedIcon = statusIcon(QStringLiteral(":/disconnected_icon.png"));
    dragging = false;

    statusTextLabel = new QLabel(this);
    statusTextLabel->setObjectName(QStringLiteral("statusTextLabel"));
    // Always rich text: the board's values arrive escaped, and a line that happens to hold
    // no tag must still show "&lt;" as "<".
    statusTextLabel->setTextFormat(Qt::RichText);
    statusIconLabel = new QLabel(this);
    statusIconLabel->setObjectName(QStringLiteral("statusIconLabel"));
    versionLabel = new QLabel(versionText(), this);
    versionLabel->setObjectName(QStringLiteral("versionLabel"));
    versionLabel->setStyleSheet(QStringLiteral("color:rgb(100,100,100)"));
    shrinkToFit(versionLabel, kVersionWidth);

    closeButton = new TitleButton(QStringLiteral(":/close_normal.png"), QStringLiteral(":/close_clicked.png"), this);
    closeButton->setObjectName(QStringLiteral("closeButton"));
    connect(closeButton, &TitleButton::clicked, qApp, &QApplication::quit);
    menuButton = new TitleButton(QStringLiteral(":/menu_normal.png"), QStringLiteral(":/menu_clicked.png"), this);
    menuButton->setObjectName(QStringLiteral("menuButton"));
    connect(menuButton, &TitleButton::clicked, this, &TMainWidget::popMenu);
    miniButton = new TitleButton(QStringLiteral(":/mini_normal.png"), QStringLiteral(":/mini_clicked.png"), this);
    miniButton->setObjectName(QStringLiteral("miniButton"));
    connect(miniButton, &TitleButton::clicked, this, &TMainWidget::mini);
    // The window is closed and minimised through the window manager; the buttons stay
    // laid out so that they can come back.
    closeButton->setVisible(false);
    menuButton->setVisible(false);
    miniButton->setVisible(false);

    burnSystemWidget = new BurnSystemWidget(this);
    miscToolsWidget = new MiscToolsWidget(this);
    pages << burnSystemWidget << miscToolsWidget;
    for (QWidget *page : std::as_const(pages))
        page->hide();
    pages.first()->show();

    tabWidget = new TabWidget(this);
    connect(tabWidget, &TabWidget::switchTag, this, &TMainWidget::switchTag);
    connect(tabWidget, &TabWidget::openSerialPortAss, this, &TMainWidget::openSerialPortAss);

    updateStatusBar(boardPresent());
}

TMainWidget::~TMainWidget()
{
    // The board link goes with this window; nobody may reach it through the global after.
    gUsbDevCommand = nullptr;
    delete ui;
}

bool TMainWidget::boardPresent() const
{
    return gUsbDevCommand && gUsbDevCommand->isConnected();
}

void TMainWidget::setStatusBarText(const QString &text)
{
    statusTextLabel->setText(text);
}

void TMainWidget::updateStatusBar(bool connected)
{
    statusIconLabel->setPixmap(connected ? connectedIcon : disconnectedIcon);
    setStatusBarText(BoardStatus::statusHtml(connected, hardwareInfo));
}

// No menu and no update service: the slots stay so that the hidden menu button and a
// future check have somewhere to go.
void TMainWidget::checkUpdate()
{
}

void TMainWidget::popMenu()
{
}

void TMainWidget::mini()
{
    showMinimized();
}

void TMainWidget::USBConnected(bool connected)
{
    // A board that comes back must describe itself again before we show its details.
    if (!connected)
        hardwareInfo = QString();
    updateStatusBar(connected);
}

void TMainWidget::USBNewDeviceAttached(QString HwInfo)
{
    hardwareInfo = HwInfo;
    updateStatusBar(boardPresent());
}

void TMainWidget::USBAccessProblem(QString node, int error)
{
    if (error == 0) {
        updateStatusBar(boardPresent());
        return;
    }
    BoardAccessProblem problem;
    problem.node = node;
    problem.error = error;
    statusIconLabel->setPixmap(disconnectedIcon);
    setStatusBarText(BoardAccess::statusText(problem));
}

void TMainWidget::USBSendFinished(bool) {}
void TMainWidget::USBReportLog(int, QString) {}
void TMainWidget::USBSendMaxSize(int) {}
void TMainWidget::USBSendCurrentPos(int) {}
void TMainWidget::CpuRecognized() {}

void TMainWidget::switchTag(const QString &name)
{
    for (QWidget *page : std::as_const(pages))
        page->hide();
    if (name == QLatin1String("burnSystem"))
        burnSystemWidget->show();
    else if (name == QLatin1String("tools"))
        miscToolsWidget->show();
}

void TMainWidget::openSerialPortAss()
{
    // One assistant for the whole run, whatever happens to this window: it keeps its
    // port open while the user switches tabs.
    static SerialPortDialog *dialog = nullptr;
    if (!dialog)
        dialog = new SerialPortDialog;
    dialog->show();
    if (dialog->isMinimized())
        dialog->showNormal();
    if (!dialog->isActiveWindow())
        dialog->activateWindow();
}

void TMainWidget::paintEvent(QPaintEvent *)
{
    PicturesAhead::takeOnce(backgroundToTake, background);
    QPainter painter(this);
    painter.fillRect(rect(), QColor(255, 255, 255));
    if (!background.isNull())
        painter.drawPixmap(QRect(0, 0, 900, 723), background, background.rect());
}

void TMainWidget::resizeEvent(QResizeEvent *)
{
    const int w = width();
    const int h = height();
    tabWidget->move(0, 0);
    burnSystemWidget->setGeometry(5, 73, w - 10, h - 102);
    miscToolsWidget->setGeometry(5, 73, w - 10, h - 102);
    menuButton->setGeometry(w - 102, 2, 32, 25);
    miniButton->setGeometry(w - 68, 2, 32, 25);
    closeButton->setGeometry(w - 34, 2, 32, 25);
    statusIconLabel->setGeometry(1, h - 22, kStatusIconSize, kStatusIconSize);
    statusTextLabel->setGeometry(14, h - 30, w - 156, 29);
    versionLabel->setGeometry(w - 141, h - 30, kVersionWidth, 29);
}

// The window has no frame, so it is moved by dragging anywhere on it.
void TMainWidget::mousePressEvent(QMouseEvent *event)
{
    windowPosAtPress = pos();
    pressPos = event->globalPosition().toPoint();
    dragOffset = pressPos - windowPosAtPress;
    dragging = true;
}

void TMainWidget::mouseMoveEvent(QMouseEvent *event)
{
    if (dragging)
        move(event->globalPosition().toPoint() - dragOffset);
}

void TMainWidget::mouseReleaseEvent(QMouseEvent *)
{
    dragging = false;
}
