#include "shell/boardstatus.h"

#include "boardlink/boardtext.h"

#include <QCoreApplication>

#include <functional>

namespace BoardStatus {

QStringList hardwareValues(const QString &hwInfo)
{
    QStringList values;
    const QStringList lines = hwInfo.split(QLatin1Char('\n'));
    // The first line is the boot loader's banner, too long for the status bar.
    for (int i = 1; i < lines.size(); ++i) {
        QStringList parts = lines.at(i).split(QLatin1Char(':'));
        if (parts.size() < 2)
            continue;
        parts.removeFirst();
        // A value such as a clock ratio may carry colons of its own.
        const QString value = parts.join(QLatin1Char(':')).trimmed();
        if (!value.isEmpty())
            values.append(value);
    }
    return values;
}

namespace {

QString statusLine(bool connected, const QString &hwInfo, const std::function<QString(const QString &)> &shown)
{
    // The texts belong to the main window's translation context, where the status bar
    // lives.
    if (!connected)
        return QCoreApplication::translate("TMainWidget",
                                           "Board is not connected, or Halvorn is not in USB download mode");
    QStringList values = hardwareValues(hwInfo);
    if (values.isEmpty())
        return QCoreApplication::translate("TMainWidget", "Board connected.");
    // Each value on its own: formatting one leaves open ends with it.
    for (QString &value : values)
        value = shown(value);
    return QCoreApplication::translate("TMainWidget", "Board connected ( %1 )").arg(values.join(QLatin1String(" / ")));
}

} // namespace

QString statusText(bool connected, const QString &hwInfo)
{
    return statusLine(connected, hwInfo, [](const QString &value) { return value; });
}

QString statusHtml(bool connected, const QString &hwInfo)
{
    return statusLine(connected, hwInfo, &BoardText::toSafeHtml);
}

} // namespace BoardStatus
