#include "shell/appbutton.h"

#include <QFontMetrics>
#include <QPainter>

namespace {
constexpr int kIconSize = 64;
constexpr int kTextTop = 69; // icon plus a five-pixel gap
}

AppButton::AppButton(const QString &text, const QPixmap &icon, const QPixmap &pressedIcon,
                     QWidget *parent)
    : QAbstractButton(parent), appIcon(icon), pressedIcon(pressedIcon)
{
    setText(text);
    resize(buttonSize());
}

QSize AppButton::buttonSize() const
{
    const QFontMetrics metrics(font());
    return QSize(qMax(kIconSize, metrics.horizontalAdvance(text())),
                 metrics.ascent() + metrics.descent() + kTextTop);
}

void AppButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const int w = width();
    const int h = height();
    const int iconX = (w - kIconSize) / 2;
    // Disabled launchers look like idle ones; only a press changes the picture.
    if (isDown()) {
        painter.drawPixmap(QRect(iconX + 1, 1, kIconSize, kIconSize), pressedIcon);
        painter.setPen(QColor(11, 152, 230));
        painter.drawText(QRect(1, kTextTop, w + 1, h - kTextTop), Qt::AlignHCenter | Qt::AlignTop, text());
    } else {
        painter.drawPixmap(QRect(iconX, 0, kIconSize, kIconSize), appIcon);
        painter.setPen(Qt::black);
        painter.drawText(QRect(2, kTextTop, w - 4, h - kTextTop), Qt::AlignHCenter | Qt::AlignTop, text());
    }
}
