#pragma once

#include <QImage>
#include <QString>

// Writes an opaque picture as an RGB PNG whose rows are stored unfiltered and lightly
// compressed. The program decodes its large backgrounds before the window first shows;
// Qt's own writer picks per-row filters and the strongest compression, which save a few
// kilobytes of flat colour but make that decoding almost twice as slow.
bool writeQuickPng(const QString& fileName, const QImage& image);
