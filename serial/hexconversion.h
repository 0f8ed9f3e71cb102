#pragma once

#include <QString>

// Each character as a two-digit hex group ("41 42"), groups joined by one space.
// Characters from U+0080 to U+00FF widen to eight digits as signed bytes and overflow the
// 3 x length room the result is allowed, so any of them makes the whole result empty.
// Characters above U+00FF count as 0.
QString StringToHex(const QString &s);

// Space-separated hex groups of one or two digits ("41 42 0d") back to the characters
// they stand for. Any malformed group makes the whole result empty.
QString HexToString(const QString &s);
