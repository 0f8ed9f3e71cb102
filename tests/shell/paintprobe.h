#pragma once

// Helpers for looking at what a control painted: render it onto a known colour and ask
// where pixels of a given colour ended up.

#include <QApplication>
#include <QColor>
#include <QFont>
#include <QImage>
#include <QPixmap>
#include <QRect>
#include <QWidget>

namespace PaintProbe {

// Glyphs drawn without smoothing carry exactly the pen's colour, so text can be found by
// colour. Call once before the controls are built.
inline void useCrispFont()
{
    QFont font = QApplication::font();
    font.setPixelSize(14);
    font.setStyleStrategy(QFont::NoAntialias);
    QApplication::setFont(font);
}

// What the control paints itself, over `underneath` (nothing of the window behind it).
inline QImage render(QWidget *widget, const QColor &underneath = QColor(255, 0, 255))
{
    QImage image(widget->size(), QImage::Format_RGB32);
    image.fill(underneath);
    widget->render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}

// The smallest rectangle holding every pixel of exactly `colour` (null when none).
inline QRect boundsOf(const QImage &image, const QColor &colour)
{
    const QRgb wanted = colour.rgb();
    QRect bounds;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) == wanted)
                bounds |= QRect(x, y, 1, 1);
        }
    }
    return bounds;
}

inline QPixmap solid(const QColor &colour, int width, int height)
{
    QPixmap pixmap(width, height);
    pixmap.fill(colour);
    return pixmap;
}

inline QColor at(const QImage &image, int x, int y)
{
    return QColor(image.pixel(x, y));
}

} // namespace PaintProbe
