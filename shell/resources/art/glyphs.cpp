#include "glyphs.h"

#include "palette.h"

#include <QPainter>
#include <QPainterPath>
#include <QtMath>

namespace Glyphs {

namespace {

// Maps a design grid of `units` onto `r` for the lifetime of the object.
class Grid {
public:
    Grid(QPainter& p, const QRectF& r, qreal unitsX = 24, qreal unitsY = 0)
        : m_p(p)
    {
        m_p.save();
        m_p.translate(r.topLeft());
        m_p.scale(r.width() / unitsX, r.height() / (unitsY > 0 ? unitsY : unitsX));
        m_p.setPen(Qt::NoPen);
    }
    ~Grid() { m_p.restore(); }

private:
    QPainter& m_p;
};

QPen roundPen(const QColor& c, qreal width)
{
    return QPen(c, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
}

} // namespace

QFont font(int pixelSize, bool bold)
{
    QFont f;
    // DejaVu for Latin text, Noto CJK for Chinese; both come with the build machine's
    // font packages, and the pictures must not depend on whatever the default font is.
    f.setFamilies({QStringLiteral("DejaVu Sans"), QStringLiteral("Noto Sans CJK SC")});
    f.setPixelSize(pixelSize);
    f.setBold(bold);
    f.setHintingPreference(QFont::PreferVerticalHinting);
    return f;
}

void badge(QPainter& p, const QRectF& r, const QColor& fill)
{
    p.save();
    p.setPen(Qt::NoPen);
    p.setBrush(fill);
    const qreal radius = r.width() * 0.22;
    p.drawRoundedRect(r, radius, radius);
    p.restore();
}

void download(QPainter& p, const QRectF& r, const QColor& ink)
{
    Grid g(p, r);
    p.setBrush(ink);
    p.drawRect(QRectF(10.4, 3.5, 3.2, 7.5));
    p.drawPolygon(QPolygonF({{6.2, 10.5}, {17.8, 10.5}, {12, 16.5}}));
    p.setBrush(Qt::NoBrush);
    p.setPen(roundPen(ink, 2.4));
    p.drawPolyline(QPolygonF({{4.5, 15}, {4.5, 19.5}, {19.5, 19.5}, {19.5, 15}}));
}

void serialPort(QPainter& p, const QRectF& r, const QColor& ink)
{
    Grid g(p, r);
    p.setPen(roundPen(ink, 2));
    p.setBrush(Qt::NoBrush);
    QPainterPath shell;
    shell.moveTo(3, 7);
    shell.lineTo(21, 7);
    shell.lineTo(18.6, 17);
    shell.lineTo(5.4, 17);
    shell.closeSubpath();
    p.drawPath(shell);
    p.setPen(Qt::NoPen);
    p.setBrush(ink);
    for (int i = 0; i < 5; ++i)
        p.drawEllipse(QPointF(6.8 + 2.6 * i, 10.6), 1.05, 1.05);
    for (int i = 0; i < 4; ++i)
        p.drawEllipse(QPointF(8.1 + 2.6 * i, 13.8), 1.05, 1.05);
}

void gear(QPainter& p, const QRectF& r, const QColor& ink, const QColor& cut)
{
    Grid g(p, r);
    p.setBrush(ink);
    for (int i = 0; i < 8; ++i) {
        p.save();
        p.translate(12, 12);
        p.rotate(45.0 * i);
        p.drawRoundedRect(QRectF(-1.9, -9.6, 3.8, 5), 0.6, 0.6);
        p.restore();
    }
    p.drawEllipse(QPointF(12, 12), 6.6, 6.6);
    p.setBrush(cut);
    p.drawEllipse(QPointF(12, 12), 2.6, 2.6);
}

void board(QPainter& p, const QRectF& r, const QColor& ink, const QColor& cut)
{
    Grid g(p, r);
    p.setBrush(ink);
    p.drawRoundedRect(QRectF(3, 5.5, 18, 13), 1.6, 1.6);
    p.setBrush(cut);
    p.drawRoundedRect(QRectF(9.5, 8.5, 7, 7), 0.8, 0.8);
    p.drawEllipse(QPointF(5.4, 7.9), 0.9, 0.9);
    p.drawEllipse(QPointF(5.4, 16.1), 0.9, 0.9);
    for (int i = 0; i < 4; ++i)
        p.drawRect(QRectF(18.2, 8.2 + 2.2 * i, 1.2, 1.2));
    for (int i = 0; i < 3; ++i) {
        p.drawRect(QRectF(10.6 + 2 * i, 6.5, 0.9, 1.4));
        p.drawRect(QRectF(10.6 + 2 * i, 16.1, 0.9, 1.4));
    }
}

void handset(QPainter& p, const QRectF& r, const QColor& ink, const QColor& cut)
{
    Grid g(p, r);
    p.setBrush(ink);
    p.drawRoundedRect(QRectF(6.5, 2.5, 11, 19), 2.4, 2.4);
    p.setBrush(cut);
    p.drawRoundedRect(QRectF(8.2, 5.2, 7.6, 12.2), 0.6, 0.6);
    p.drawEllipse(QPointF(12, 19.4), 0.95, 0.95);
    // A status line and two app tiles on the screen, so it reads as a phone at 24 pixels.
    p.setBrush(ink);
    p.drawRect(QRectF(9.2, 6.3, 5.6, 0.9));
    p.drawRoundedRect(QRectF(9.2, 8.4, 2.5, 2.5), 0.5, 0.5);
    p.drawRoundedRect(QRectF(12.3, 8.4, 2.5, 2.5), 0.5, 0.5);
    p.drawRoundedRect(QRectF(9.2, 11.6, 2.5, 2.5), 0.5, 0.5);
}

void window(QPainter& p, const QRectF& r, const QColor& ink, const QColor& cut)
{
    Grid g(p, r);
    p.setBrush(ink);
    p.drawRoundedRect(QRectF(3, 4.5, 18, 15), 1.8, 1.8);
    p.setBrush(cut);
    p.drawRect(QRectF(4.6, 9, 14.8, 9));
    p.drawEllipse(QPointF(5.9, 6.8), 0.8, 0.8);
    p.drawEllipse(QPointF(8.3, 6.8), 0.8, 0.8);
    p.setBrush(ink);
    p.drawRect(QRectF(6.2, 10.8, 5.2, 5.4));
    p.drawRect(QRectF(12.6, 10.8, 5.2, 1.2));
    p.drawRect(QRectF(12.6, 13, 5.2, 1.2));
    p.drawRect(QRectF(12.6, 15.2, 3.6, 1.0));
}

void penguin(QPainter& p, const QRectF& r)
{
    Grid g(p, r);
    const QColor body(34, 40, 46);
    p.setBrush(Palette::amber);
    p.drawEllipse(QRectF(6.4, 18.2, 5.4, 3.4));
    p.drawEllipse(QRectF(12.2, 18.2, 5.4, 3.4));
    p.setBrush(body);
    p.drawEllipse(QRectF(6.2, 2.6, 11.6, 17.8));
    p.setBrush(Palette::white);
    p.drawEllipse(QRectF(8.4, 8.6, 7.2, 10.6));
    p.drawEllipse(QPointF(10.2, 6.6), 1.35, 1.35);
    p.drawEllipse(QPointF(13.8, 6.6), 1.35, 1.35);
    p.setBrush(body);
    p.drawEllipse(QPointF(10.5, 6.8), 0.6, 0.6);
    p.drawEllipse(QPointF(13.5, 6.8), 0.6, 0.6);
    p.setBrush(Palette::amber);
    p.drawPolygon(QPolygonF({{10.5, 8.6}, {13.5, 8.6}, {12, 10.6}}));
}

void chip(QPainter& p, const QRectF& r, const QColor& ink, const QColor& cut)
{
    Grid g(p, r);
    p.setBrush(ink);
    for (int i = 0; i < 3; ++i) {
        const qreal at = 8.3 + 2.9 * i;
        p.drawRoundedRect(QRectF(at, 3.2, 1.5, 3.2), 0.4, 0.4);
        p.drawRoundedRect(QRectF(at, 17.6, 1.5, 3.2), 0.4, 0.4);
        p.drawRoundedRect(QRectF(3.2, at, 3.2, 1.5), 0.4, 0.4);
        p.drawRoundedRect(QRectF(17.6, at, 3.2, 1.5), 0.4, 0.4);
    }
    p.drawRoundedRect(QRectF(6.5, 6.5, 11, 11), 1.4, 1.4);
    p.setBrush(cut);
    p.drawEllipse(QPointF(9.2, 9.2), 1.0, 1.0);
}

void terminal(QPainter& p, const QRectF& r)
{
    Grid g(p, r);
    p.setBrush(QColor(38, 46, 54));
    p.drawRoundedRect(QRectF(1.5, 3, 21, 18), 2.2, 2.2);
    p.setBrush(Palette::blue);
    QPainterPath bar;
    bar.addRoundedRect(QRectF(1.5, 3, 21, 5), 2.2, 2.2);
    bar.addRect(QRectF(1.5, 5.5, 21, 2.5));
    p.drawPath(bar.simplified());
    p.setBrush(Palette::white);
    for (int i = 0; i < 3; ++i)
        p.drawEllipse(QPointF(4 + 2 * i, 5.5), 0.7, 0.7);
    p.setBrush(Qt::NoBrush);
    p.setPen(roundPen(Palette::green, 1.6));
    p.drawPolyline(QPolygonF({{5, 11}, {8, 13.5}, {5, 16}}));
    p.drawLine(QPointF(10, 16.5), QPointF(15, 16.5));
}

void check(QPainter& p, const QRectF& r, const QColor& ink)
{
    Grid g(p, r);
    p.setPen(roundPen(ink, 2.8));
    p.drawPolyline(QPolygonF({{6, 12.5}, {10.2, 16.5}, {18, 7.5}}));
}

void arrowUp(QPainter& p, const QRectF& r, const QColor& ink)
{
    Grid g(p, r);
    p.setBrush(ink);
    p.drawPolygon(QPolygonF({{12, 4}, {19, 11.5}, {14.6, 11.5}, {14.6, 19.5},
                             {9.4, 19.5}, {9.4, 11.5}, {5, 11.5}}));
}

void plug(QPainter& p, const QRectF& r, const QColor& ink)
{
    Grid g(p, r);
    p.setBrush(ink);
    p.drawRoundedRect(QRectF(7.5, 1.5, 3, 6), 0.8, 0.8);
    p.drawRoundedRect(QRectF(13.5, 1.5, 3, 6), 0.8, 0.8);
    p.drawRoundedRect(QRectF(4.5, 6.5, 15, 8.5), 2.2, 2.2);
    p.drawRect(QRectF(9, 14, 6, 3.5));
    p.drawRect(QRectF(10.5, 17, 3, 6));
}

void mark(QPainter& p, const QRectF& r)
{
    Grid g(p, r, 64);
    p.setBrush(Palette::blue);
    p.drawRoundedRect(QRectF(2, 2, 60, 60), 14, 14);
    // The board: a white bar with a dark processor and a row of contacts.
    p.setBrush(Palette::white);
    p.drawRoundedRect(QRectF(10, 38, 44, 16), 3.5, 3.5);
    p.setBrush(Palette::blueDeep);
    p.drawRoundedRect(QRectF(26, 41, 12, 10), 1.5, 1.5);
    p.setBrush(Palette::blue);
    for (int i = 0; i < 3; ++i) {
        p.drawRect(QRectF(14, 42 + 3.2 * i, 7, 1.6));
        p.drawRect(QRectF(43, 42 + 3.2 * i, 7, 1.6));
    }
    // The image on its way down.
    p.setBrush(Palette::green);
    p.drawRoundedRect(QRectF(27, 9, 10, 15), 1.5, 1.5);
    p.drawPolygon(QPolygonF({{18.5, 21.5}, {45.5, 21.5}, {32, 34.5}}));
}

void connectionScene(QPainter& p, const QRectF& r)
{
    Grid g(p, r, sceneWidth, sceneHeight);
    // The PC.
    p.setBrush(Palette::white);
    p.drawRoundedRect(QRectF(0, 8, 96, 64), 6, 6);
    p.drawRect(QRectF(40, 72, 16, 10));
    p.drawRoundedRect(QRectF(26, 81, 44, 6), 3, 3);
    p.setBrush(Palette::blueDeep);
    p.drawRoundedRect(QRectF(7, 15, 82, 50), 2, 2);
    p.setBrush(QColor(255, 255, 255, 70));
    p.drawRoundedRect(QRectF(18, 48, 60, 6), 3, 3);
    p.setBrush(Palette::green);
    p.drawRoundedRect(QRectF(18, 48, 40, 6), 3, 3);
    p.setBrush(Palette::white);
    p.drawRect(QRectF(45, 22, 6, 10));
    p.drawPolygon(QPolygonF({{39, 31}, {57, 31}, {48, 41}}));

    // The cable.
    p.setBrush(Qt::NoBrush);
    p.setPen(roundPen(Palette::white, 3));
    QPainterPath cable;
    cable.moveTo(96, 52);
    cable.cubicTo(122, 52, 118, 64, 140, 64);
    p.drawPath(cable);
    p.setPen(Qt::NoPen);
    p.setBrush(Palette::white);
    p.drawRoundedRect(QRectF(136, 58, 12, 12), 2, 2);

    // The board.
    p.setBrush(Palette::green);
    p.drawRoundedRect(QRectF(148, 22, 92, 66), 5, 5);
    p.setBrush(Palette::greenDark);
    p.drawEllipse(QPointF(155, 29), 2.5, 2.5);
    p.drawEllipse(QPointF(233, 29), 2.5, 2.5);
    p.drawEllipse(QPointF(155, 81), 2.5, 2.5);
    p.drawEllipse(QPointF(233, 81), 2.5, 2.5);
    p.setBrush(QColor(44, 54, 62));
    p.drawRoundedRect(QRectF(184, 40, 30, 30), 2, 2);
    p.setBrush(QColor(255, 255, 255, 190));
    for (int i = 0; i < 5; ++i) {
        p.drawRect(QRectF(187 + 5.5 * i, 36, 2, 4));
        p.drawRect(QRectF(187 + 5.5 * i, 70, 2, 4));
        p.drawRect(QRectF(180, 43 + 5.5 * i, 4, 2));
        p.drawRect(QRectF(214, 43 + 5.5 * i, 4, 2));
    }
    for (int i = 0; i < 8; ++i)
        p.drawRect(QRectF(164 + 7 * i, 26, 3.5, 3.5));
    p.setBrush(Palette::amber);
    p.drawEllipse(QPointF(228, 78), 3, 3);
}

} // namespace Glyphs
