#include "shell/languagesetting.h"

#include "app/programpaths.h"

#include <QSettings>

QString programSettingsFile()
{
    return ProgramPaths::settingsFile();
}

void setLanguageSetting(const QString &language, const QString &settingsFile)
{
    QSettings settings(settingsFile, QSettings::IniFormat);
    // Top-level keys are the ones Qt writes under "[General]". The "[%General]" copy an
    // earlier release wrote goes, or a reader of the file would see two languages.
    settings.setValue(QStringLiteral("language"), language);
    settings.remove(QStringLiteral("General/language"));
}
