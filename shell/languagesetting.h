#pragma once

#include <QString>

// "settings.ini" in the program's own folder, the file start-up reads the language from.
QString programSettingsFile();

// Stores the interface language ("en" or "cn") for the next start, in the "General"
// group of `settingsFile`. A file that cannot be written loses the value silently.
void setLanguageSetting(const QString &language, const QString &settingsFile = programSettingsFile());
