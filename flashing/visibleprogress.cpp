#include "flashing/visibleprogress.h"

void VisibleProgress::start(qint64 newTotal, int newPixels)
{
    total = newTotal;
    pixels = qMax(1, newPixels);
    shownPercent = -1;
    shownPixel = -1;
}

bool VisibleProgress::changesView(qint64 position, qint64 nowMs)
{
    if (total <= 0 || position <= 0 || position >= total) {
        // The ends are always shown, and a position outside a known range is left to the
        // bar to judge.
        shownPercent = -1;
        shownPixel = -1;
        return true;
    }
    const qint64 percent = position * 100 / total;
    const qint64 pixel = position * pixels / total;
    if (percent == shownPercent && pixel == shownPixel)
        return false;
    if (shownPercent >= 0 && nowMs - shownAtMs < FrameMs)
        return false;
    shownAtMs = nowMs;
    shownPercent = percent;
    shownPixel = pixel;
    return true;
}
