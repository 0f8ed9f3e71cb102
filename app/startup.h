#pragma once

#include "app/commandline.h"

#include <QString>

class QApplication;
class QSettings;

namespace Startup {

// The program's own folder with a trailing "/" (a trailing backslash is kept as it is).
QString programFolder(const QString &applicationDirPath);

// Reads the language and font size from the "General" group of `settings`, sets the
// application font and, for Chinese, installs the translation "language-cn" from
// `folder`. Sets gLanguage. A translation that cannot be loaded is reported with a box
// and the program goes on in English.
void applyLanguage(QApplication &app, const QString &folder, QSettings &settings);

// The whole start: settings, language, the main window (with the virtual board, when
// asked for), the event loop.
int run(QApplication &app, const CommandLineOptions &options);

} // namespace Startup
