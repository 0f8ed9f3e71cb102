#pragma once

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QString>

class QPainter;

// Small drawings shared by several pictures. Each one is designed on a 24 x 24 grid
// (the mark and the scene on their own grids) and scaled into the rectangle it is given,
// so the 24-pixel menu icons land on whole pixels and the larger icons stay in proportion.
namespace Glyphs {

QFont font(int pixelSize, bool bold = false);

void badge(QPainter& p, const QRectF& r, const QColor& fill);

// `cut` is the colour of the holes and details, normally the badge colour beneath.
void download(QPainter& p, const QRectF& r, const QColor& ink);
void serialPort(QPainter& p, const QRectF& r, const QColor& ink);
void gear(QPainter& p, const QRectF& r, const QColor& ink, const QColor& cut);
void board(QPainter& p, const QRectF& r, const QColor& ink, const QColor& cut);
void handset(QPainter& p, const QRectF& r, const QColor& ink, const QColor& cut);
void window(QPainter& p, const QRectF& r, const QColor& ink, const QColor& cut);
void penguin(QPainter& p, const QRectF& r);
void chip(QPainter& p, const QRectF& r, const QColor& ink, const QColor& cut);
void terminal(QPainter& p, const QRectF& r);
void check(QPainter& p, const QRectF& r, const QColor& ink);
void arrowUp(QPainter& p, const QRectF& r, const QColor& ink);
void plug(QPainter& p, const QRectF& r, const QColor& ink);

// The program's own mark: a board receiving an image, on the selection blue.
void mark(QPainter& p, const QRectF& r);
// A PC handing an image down a cable to a board, drawn for a blue background on a
// sceneWidth x sceneHeight grid; give it a rectangle of that shape.
inline constexpr qreal sceneWidth = 240;
inline constexpr qreal sceneHeight = 90;
void connectionScene(QPainter& p, const QRectF& r);

}
