#pragma once

#include <QColor>
#include <QImage>
#include <QList>
#include <QString>

// Qt reads GIF but cannot write it, and the one animation of the collection is a GIF.
// Frames are 8-bit indexed images sharing `colours` (at most 256); `delayMs` is per frame.
bool writeAnimatedGif(const QString& fileName, const QList<QImage>& frames,
                      const QList<QColor>& colours, int delayMs);
