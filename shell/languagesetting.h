#pragma once

#include <QString>

// The "settings.ini" the language choice is written to: the program's own folder when it
// may be written, the user's configuration folder otherwise.
QString programSettingsFile();

// Stores the interface language ("en" or "cn") for the next start, in the "[General]"
// section of `settingsFile`. A file that cannot be written loses the value silently.
void setLanguageSetting(const QString &language, const QString &settingsFile = programSettingsFile());
