#include "shell/misctoolswidget.h"

#include "shell/appbutton.h"

#include <QPainter>

namespace {
constexpr int kAppSpacing = 40;
}

MiscToolsWidget::MiscToolsWidget(QWidget *parent)
    : QWidget(parent)
{
}

void MiscToolsWidget::addAppButton(AppButton *button)
{
    button->setParent(this);
    apps.append(button);
    layoutAppButtons();
}

void MiscToolsWidget::openWindowApps()
{
}

void MiscToolsWidget::paintEvent(QPaintEvent *)
{
    // The page is hidden at start; its picture is read when it is first shown.
    if (background.isNull())
        background.load(QStringLiteral(":/viewbackground.png"));
    QPainter painter(this);
    // The picture is narrower than the page; drawn from both edges it leaves no gap.
    painter.drawPixmap(0, 0, background);
    painter.drawPixmap(width() - background.width(), 0, background);
}

void MiscToolsWidget::resizeEvent(QResizeEvent *)
{
    layoutAppButtons();
}

void MiscToolsWidget::layoutAppButtons()
{
    int x = kAppSpacing;
    for (AppButton *app : std::as_const(apps)) {
        app->setGeometry(QRect(QPoint(x, kAppSpacing), app->buttonSize()));
        x += app->width() + kAppSpacing;
    }
}
