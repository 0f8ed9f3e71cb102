#pragma once

#include <QtGlobal>

// Which positions of a transfer change what its progress bar shows. The board link reports
// a position after every packet, tens of thousands a second with small packets, while the
// bar shows only a whole percentage and a few hundred pixels; handing each position to the
// bar makes it ask its style sheet every time whether to repaint, and repaint at once
// whenever a pixel or the percentage changes. Times are passed in by the caller.
class VisibleProgress
{
public:
    // Changes of the bar closer together than this are not followed by the eye.
    static constexpr qint64 FrameMs = 20;

    // A transfer of `total` bytes begins, shown on a bar `pixels` wide.
    void start(qint64 total, int pixels);
    // True when `position` shows differently from the last position it was true for
    // (another whole percentage or another pixel) and a frame has passed since then, or
    // when it is either end of the range.
    bool changesView(qint64 position, qint64 nowMs);

private:
    qint64 total = 0;
    qint64 pixels = 0;
    qint64 shownAtMs = 0;
    qint64 shownPercent = -1;
    qint64 shownPixel = -1;
};
