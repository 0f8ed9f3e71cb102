#include "serial/hled.h"

#include <QPainter>

struct HLedPrivate
{
    // Blink period in milliseconds for a blinking lamp; no mode of the widget blinks yet,
    // so nothing reads it.
    int blinkIntervalMs = 300;
    QColor color = Qt::green;
    bool on = true;
};

HLed::HLed(QWidget *parent)
    : QWidget(parent)
    , d(std::make_unique<HLedPrivate>())
{
}

HLed::~HLed() = default;

QColor HLed::color() const
{
    return d->color;
}

bool HLed::isOn() const
{
    return d->on;
}

int HLed::ledWidth() const
{
    return qMax(0, qMin(width(), height()) - 2);
}

QSize HLed::sizeHint() const
{
    return QSize(20, 20);
}

QSize HLed::minimumSizeHint() const
{
    return QSize(16, 16);
}

void HLed::setColor(const QColor &color)
{
    if (color != d->color)
        update();
}

void HLed::toggle()
{
    d->on = !d->on;
    update();
}

void HLed::turnOn(bool on)
{
    d->on = on;
    update();
}

void HLed::turnOff(bool off)
{
    turnOn(!off);
}

void HLed::paintEvent(QPaintEvent *)
{
    const int w = ledWidth();
    // A lamp without a diameter shows nothing; Qt would still stroke its degenerate rim.
    if (w == 0)
        return;

    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);

    QColor shade = d->on ? d->color : QColor(Qt::darkGray);
    painter.setBrush(QBrush(shade, Qt::SolidPattern));
    painter.drawEllipse(1, 1, w - 1, w - 1);

    // The glow: shrinking discs towards the upper left, every third one a shade lighter,
    // so the highlight grows brighter in a few visible steps rather than smoothly.
    QPen pen;
    pen.setWidth(2);
    const int n = (2 * w) / 3;
    if (n != 0) {
        const int x0 = w / 5 + 1;
        const int factor = 100 + 260 / n;
        for (int j = 0; j < n; ++j) {
            if (j % 3 == 0) {
                shade = shade.lighter(factor);
                pen.setColor(shade);
                painter.setPen(pen);
            }
            painter.drawEllipse(x0 + j / 3, x0 + j / 3, n - j, n - j);
        }
    }

    // The rim: twelve pairs of 15-degree arcs spreading from the lower right in both
    // directions, each pair darker, so the light seems to come from the lower right.
    painter.setBrush(Qt::NoBrush);
    shade = palette().color(QPalette::Light);
    const qreal halfPen = pen.widthF() / 2;
    const QRectF rim = QRectF(1, 1, w - 1, w - 1).adjusted(halfPen, halfPen, -halfPen, -halfPen);
    for (int a = -840; a >= -3480; a -= 240) {
        pen.setColor(shade);
        painter.setPen(pen);
        painter.drawArc(rim, -1440 - a, 240);
        painter.drawArc(rim, a, 240);
        shade = shade.darker(110);
    }
}
