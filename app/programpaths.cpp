#include "app/programpaths.h"

#include "app/startup.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#ifndef OSTRAKIT_DATA_FROM_BIN
#define OSTRAKIT_DATA_FROM_BIN "../share/ostrakit"
#endif

namespace ProgramPaths {

namespace {

QString installedDataFolder(const QString &applicationDirPath)
{
    return QDir::cleanPath(applicationDirPath + QStringLiteral("/") + QStringLiteral(OSTRAKIT_DATA_FROM_BIN));
}

QString configHome()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
}

} // namespace

bool isInstalledLayout(const QString &applicationDirPath)
{
    return !applicationDirPath.isEmpty() && QFileInfo(installedDataFolder(applicationDirPath)).isDir();
}

QString dataFolder(const QString &applicationDirPath)
{
    if (isInstalledLayout(applicationDirPath))
        return installedDataFolder(applicationDirPath) + QLatin1Char('/');
    return Startup::programFolder(applicationDirPath);
}

QString dataFolder()
{
    return dataFolder(QCoreApplication::applicationDirPath());
}

// Writable for us, and not marked read-only for everybody: root may write anywhere, but a
// folder its owner made read-only is no place to leave a file behind.
static bool mayWrite(const QFileInfo &info)
{
    const QFile::Permissions anyWrite = QFile::WriteOwner | QFile::WriteGroup | QFile::WriteOther;
    return info.isWritable() && (info.permissions() & anyWrite);
}

QString settingsFile(const QString &applicationDirPath, const QString &configHome)
{
    const QString folder = Startup::programFolder(applicationDirPath);
    const QFileInfo own(folder + QStringLiteral("settings.ini"));
    const bool ownWritable = mayWrite(QFileInfo(folder)) && (!own.exists() || mayWrite(own));
    if (ownWritable && !isInstalledLayout(applicationDirPath))
        return own.filePath();
    return configHome + QStringLiteral("/Ostrakit/settings.ini");
}

QString settingsFile()
{
    return settingsFile(QCoreApplication::applicationDirPath(), configHome());
}

QString settingsFileToRead(const QString &applicationDirPath, const QString &configHome)
{
    const QString file = settingsFile(applicationDirPath, configHome);
    const QString own = Startup::programFolder(applicationDirPath) + QStringLiteral("settings.ini");
    if (!QFileInfo::exists(file) && QFileInfo::exists(own))
        return own;
    return file;
}

QString settingsFileToRead()
{
    return settingsFileToRead(QCoreApplication::applicationDirPath(), configHome());
}

QString udevRuleFile()
{
    return dataFolder() + QStringLiteral("70-ostrakit-halvorn.rules");
}

} // namespace ProgramPaths
