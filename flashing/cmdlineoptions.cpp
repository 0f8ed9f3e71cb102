#include "flashing/cmdlineoptions.h"

#include <QRegularExpression>
#include <QStringList>

namespace CmdLineOptions {

namespace {

const QLatin1String kSkipCaliPrefix("skipcali=");
const QLatin1String kSkipCaliOff("skipcali=n");

// A tab pasted into the field separates tokens as a blank does; otherwise a token after
// it would hide from the "Skip cali" box.
QStringList tokens(const QString &commandLine)
{
    static const QRegularExpression blanks(QStringLiteral("\\s+"));
    return commandLine.split(blanks, Qt::SkipEmptyParts);
}

} // namespace

std::optional<bool> skipCaliFromCommandLine(const QString &commandLine)
{
    if (commandLine.isEmpty())
        return std::nullopt;
    const QStringList parts = tokens(commandLine);
    for (const QString &part : parts) {
        // Only the first letter of the value counts: "skipcali=yes" still skips.
        const QString token = part.simplified();
        if (token.startsWith(kSkipCaliToken))
            return true;
        if (token.startsWith(kSkipCaliOff))
            return false;
    }
    return false;
}

QString commandLineWithSkipCali(const QString &commandLine, bool skipCali)
{
    if (commandLine.isEmpty())
        return commandLine;
    QStringList kept;
    const QStringList parts = tokens(commandLine);
    for (const QString &part : parts) {
        const QString token = part.simplified();
        // A part of tabs alone would leave a double blank behind. Whatever value an old
        // token had, the box now decides.
        if (!token.isEmpty() && !token.startsWith(kSkipCaliPrefix))
            kept.append(token);
    }
    if (skipCali)
        kept.append(kSkipCaliToken);
    return kept.join(QLatin1Char(' '));
}

QString commandLineForBoard(const QString &commandLine)
{
    QString line = commandLine;
    line.remove(QLatin1Char('\r'));
    line.remove(QLatin1Char('\n'));
    return line;
}

} // namespace CmdLineOptions
