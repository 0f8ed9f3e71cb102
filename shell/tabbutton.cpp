#include "shell/tabbutton.h"

#include <QPainter>

TabButton::TabButton(QWidget *parent)
    : QAbstractButton(parent)
{
}

void TabButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    // The strip disables the chosen tab, so "disabled" reads as "selected" here.
    const bool selected = isDown() || !isEnabled();
    painter.drawPixmap(0, 0, selected ? selectedBackground : normalBackground);
    painter.drawPixmap(QRect(32, 12, 36, 36), selected ? selectedIcon : tabIcon);
    painter.setPen(selected ? QColor(Qt::white) : QColor(86, 124, 142));
    painter.drawText(QRect(2, 50, width() - 4, 24), Qt::AlignHCenter | Qt::AlignTop, text());
}
