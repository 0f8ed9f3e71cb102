#include "shell/titlebutton.h"

#include <QPainter>

TitleButton::TitleButton(const QString &normalImage, const QString &pressedImage, QWidget *parent)
    : QAbstractButton(parent), normalImage(normalImage), pressedImage(pressedImage)
{
}

void TitleButton::paintEvent(QPaintEvent *)
{
    if (normalPixmap.isNull() && pressedPixmap.isNull()) {
        normalPixmap.load(normalImage);
        pressedPixmap.load(pressedImage);
    }
    QPainter painter(this);
    painter.fillRect(rect(), QColor(194, 229, 251));

    const bool highlighted = isDown() || !isEnabled();
    if (highlighted)
        painter.fillRect(rect(), QColor(217, 93, 77));
    const QPixmap &image = highlighted ? pressedPixmap : normalPixmap;
    // Each picture is drawn at the size of its partner so that both states cover exactly
    // the same square; the pairs are made the same size, so nothing is stretched.
    const QPixmap &partner = highlighted ? normalPixmap : pressedPixmap;
    if (image.isNull())
        return;
    const int x = (width() - image.width()) / 2;
    const int y = (height() - image.height()) / 2;
    painter.drawPixmap(QRect(x, y, partner.width(), partner.height()), image);
}
