#include "shell/languagesetting.h"

#include "app/startup.h"

#include <QCoreApplication>
#include <QSettings>

QString programSettingsFile()
{
    return Startup::programFolder(QCoreApplication::applicationDirPath()) + QStringLiteral("settings.ini");
}

void setLanguageSetting(const QString &language, const QString &settingsFile)
{
    QSettings settings(settingsFile, QSettings::IniFormat);
    settings.beginGroup(QStringLiteral("General"));
    settings.setValue(QStringLiteral("language"), language);
}
