#include "shell/menubutton.h"

#include <QPainter>

namespace {
constexpr int kIconSize = 24;
constexpr int kIndentStep = 24;
constexpr int kRightMargin = 4;
}

MenuButton::MenuButton(QWidget *parent)
    : QAbstractButton(parent)
{
}

QRect MenuButton::textRect() const
{
    const int top = (height() - kIconSize) / 2;
    if (menuIcon.isNull()) {
        const int x = indentLevel != 0 ? indentLevel * kIndentStep + 5 : 0;
        return QRect(x, top, width(), kIconSize);
    }
    const int x = indentLevel != 0 ? indentLevel * kIndentStep + 34 : 29;
    return QRect(x, top, width() - 26, kIconSize);
}

int MenuButton::captionRoom() const
{
    return width() - textRect().x() - kRightMargin;
}

void MenuButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), QColor(246, 252, 255));
    if (isDown() || !isEnabled()) {
        painter.fillRect(rect(), QColor(125, 185, 216));
        painter.setPen(Qt::white);
    } else {
        painter.fillRect(rect(), QColor(233, 236, 238));
        painter.setPen(greyText ? QColor(123, 123, 123) : QColor(Qt::black));
    }
    // An icon always sits at the left edge; only the caption moves with the indent.
    if (!menuIcon.isNull())
        painter.drawPixmap(QRect(0, (height() - kIconSize) / 2, kIconSize, kIconSize), menuIcon);
    painter.setFont(font());
    // The menu picks a font in which every caption fits; a caption that still does not
    // ends in "..." rather than being cut off at the edge.
    const QString caption = fontMetrics().elidedText(text(), Qt::ElideRight, captionRoom());
    painter.drawText(textRect(), Qt::AlignLeft | Qt::AlignVCenter, caption);
}
