#pragma once

#include <QString>

// Where the program finds what ships with it and where it keeps the user's choices.
// The build tree and a portable copy hold everything in the program's own folder; an
// installed (or unpacked, or staged) tree keeps the program in bin/ and the rest in
// share/ostrakit/ beside it, found from the program's own location so the tree can live
// under any prefix.
namespace ProgramPaths {

// The folder holding "language-cn.qm", the placeholder "images" set and a copy of the
// udev rule, with a trailing "/". `applicationDirPath` is the program's own folder.
QString dataFolder(const QString &applicationDirPath);
QString dataFolder();

// Whether the program runs from an installed layout (its data under share/ostrakit/).
bool isInstalledLayout(const QString &applicationDirPath);

// "settings.ini" in the program's folder when that folder may be written and is not an
// installed bin/ (a system-wide program folder is no place for one user's choice);
// otherwise "Ostrakit/settings.ini" under `configHome` ($XDG_CONFIG_HOME, ~/.config).
QString settingsFile(const QString &applicationDirPath, const QString &configHome);
QString settingsFile();

// The file to read the settings from: settingsFile(), or, while that does not exist yet,
// a "settings.ini" an administrator put in the program's folder.
QString settingsFileToRead(const QString &applicationDirPath, const QString &configHome);
QString settingsFileToRead();

// The udev rule file shipped in the data folder, for the board-access hint.
QString udevRuleFile();

} // namespace ProgramPaths
