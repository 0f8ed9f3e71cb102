#pragma once

#include <QString>
#include <QStringList>

// What the status bar says about the board, kept apart from the window so that a
// command-line front end can print the same line.
namespace BoardStatus {

// The values of the board's self-description worth a glance: for every line after the
// first, what follows its first ":", trimmed, if anything.
QStringList hardwareValues(const QString &hwInfo);

// The status line for a board that is (or is not) connected and has described itself
// with `hwInfo` (empty when it has not yet).
QString statusText(bool connected, const QString &hwInfo);
// The same line for a rich-text label: the board's markup is kept only as far as it is
// harmless (BoardText), everything else shows as typed.
QString statusHtml(bool connected, const QString &hwInfo);

} // namespace BoardStatus
