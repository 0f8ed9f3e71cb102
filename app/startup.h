#pragma once

#include "app/commandline.h"

#include <QString>
#include <QVariant>

#include <memory>

class QApplication;
class QObject;
class QSettings;
class VirtualBoard;

namespace Startup {

// The program's own folder with a trailing "/" (a trailing backslash is kept as it is).
QString programFolder(const QString &applicationDirPath);

// A key of the settings file's "[General]" section, which Qt keeps at the top level of
// `settings`; a file written by an earlier release under "[%General]" is read as well.
QVariant settingValue(const QSettings &settings, const QString &key, const QVariant &defaultValue);

// Reads the language and font size from the "[General]" section of `settings`, sets the
// application font and, for Chinese, installs the translation "language-cn" from
// `folder`. Sets gLanguage. A translation that cannot be loaded is reported with a box
// and the program goes on in English.
void applyLanguage(QApplication &app, const QString &folder, QSettings &settings);

// Puts the virtual board asked for in `options` in place of the USB search of the board
// link (gUsbDevCommand, which must exist) and has it plugged in `firstPlugMs` after now,
// and again `replugMs` after each time it leaves download mode; the plugging lives as
// long as `owner`. Returns the board, or null when its trace file cannot be written
// (said on standard error).
std::shared_ptr<VirtualBoard> attachVirtualBoard(const CommandLineOptions &options, QObject *owner,
                                                 int firstPlugMs, int replugMs);

// The whole start: settings, language, the main window (with the virtual board, when
// asked for), the event loop.
int run(QApplication &app, const CommandLineOptions &options);

} // namespace Startup
