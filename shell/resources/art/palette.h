#pragma once

#include <QColor>

// The colours of the painted controls, so that pictures and controls read as one product.
namespace Palette {
inline const QColor blue(125, 185, 216);       // selected tab and menu row
inline const QColor blueDark(62, 128, 166);
inline const QColor blueDeep(40, 92, 126);
inline const QColor titleBlue(194, 229, 251);  // title button face
inline const QColor grey(233, 236, 238);       // tab strip, menu and page fill
inline const QColor greyLight(246, 248, 249);
inline const QColor greyLine(206, 212, 216);
inline const QColor greyMid(160, 168, 174);
inline const QColor mist(196, 208, 216);       // behind the dark penguin
inline const QColor green(140, 198, 42);       // pressed button
inline const QColor greenDark(104, 156, 24);
inline const QColor slate(86, 124, 142);       // tab text
inline const QColor ink(60, 72, 80);
inline const QColor red(217, 93, 77);          // pressed title button
inline const QColor amber(238, 172, 48);
inline const QColor white(255, 255, 255);
}
