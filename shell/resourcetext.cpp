#include "resourcetext.h"

#include <QFile>
#include <QTextStream>

QString readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return QString();
    QTextStream stream(&file);
    return stream.readAll();
}

QString toNativePathSeparators(const QString& path)
{
    QString result = path;
    result.replace(QLatin1Char('\\'), QLatin1Char('/'));
    // QString::replace scans once from the left and does not look at what it has just
    // written, which is what callers rely on: three slashes in a row stay two.
    result.replace(QStringLiteral("//"), QStringLiteral("/"));
    return result;
}
