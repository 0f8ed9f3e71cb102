#include "flashing/flashruntexts.h"

#include "boardlink/boardtext.h"

#include <QCoreApplication>

namespace FlashRunTexts {

QString messageTitle()
{
    return QCoreApplication::translate("TConfigView", "Message");
}

QString flashingFailed()
{
    return QCoreApplication::translate("TConfigView", "An error occurred during flashing.");
}

QString allCompleted()
{
    return QCoreApplication::translate("TConfigView", "All operations was completed successfully.");
}

QString abortHint()
{
    // A transfer cannot be stopped from the host; only the board can end it.
    return QCoreApplication::translate("TConfigView", "To abort the current operation, restart the board.");
}

QString boardLogLine(int level, const QString &text)
{
    // The idle poll forwards whatever the board writes; only harmless markup gets through.
    const QString shown = BoardText::toSafeHtml(text);
    if (level == 1)
        return QStringLiteral("<font color=red>%1</font>").arg(shown);
    return QStringLiteral("<font color=black>%1</font>").arg(shown);
}

QString completedLogLine()
{
    return QStringLiteral("<font color=blue>%1</font>").arg(allCompleted());
}

QString runSeparatorLine()
{
    return QStringLiteral("<font color=black>%1</font>").arg(QString(59, QLatin1Char('-')));
}

QString hintLogLine(const QString &text)
{
    return QStringLiteral("<font color=green>") + text + QStringLiteral("</font>");
}

} // namespace FlashRunTexts
