#pragma once

#include <QImage>
#include <QList>
#include <QSize>
#include <QString>

#include <functional>

class QPainter;

struct Picture {
    QString name;  // file name in the resource collection
    QSize size;
    std::function<void(QPainter&, const QSize&)> paint;
};

// Every still picture of the collection, in the order a contact sheet shows them.
QList<Picture> stillPictures();

// The busy indicator: frames of the spinner, indexed, with their shared colour table.
QList<QImage> loadingFrames(QList<QColor>* colours);
inline constexpr int loadingFrameDelayMs = 80;
