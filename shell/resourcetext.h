#pragma once

#include <QString>

// Reads a whole text file or resource (":/button.css"). A file that cannot be opened
// gives an empty string, so a missing style sheet or page simply shows nothing.
QString readFile(const QString& path);

// Turns backslashes into forward slashes and collapses doubled slashes, in one pass:
// "a///b" becomes "a//b". The result always uses "/", whatever the platform.
QString toNativePathSeparators(const QString& path);
