#include "serial/hexconversion.h"

#include <QRegularExpression>

QString StringToHex(const QString &s)
{
    // Kept to exactly this room: a widened group never fits, which is how bytes above
    // 0x7F come out as nothing rather than as a misleading FFFFFFxx.
    const qsizetype room = 3 * s.size();
    QString hex;
    hex.reserve(room);
    for (qsizetype i = 0; i < s.size(); ++i) {
        const int value = static_cast<signed char>(s.at(i).toLatin1());
        const QString group = QString::asprintf("%02X", value);
        if (hex.size() + (i > 0 ? 1 : 0) + group.size() > room)
            return QString();
        if (i > 0)
            hex += QLatin1Char(' ');
        hex += group;
    }
    return hex;
}

QString HexToString(const QString &s)
{
    static const QRegularExpression hexDigits(QStringLiteral("^[0-9A-F]+$"));

    const QStringList groups = s.simplified().toUpper().split(QLatin1Char(' '));
    QString text;
    for (const QString &group : groups) {
        if (group.size() > 2 || !hexDigits.match(group).hasMatch())
            return QString();
        text += QChar(group.toUShort(nullptr, 16));
    }
    return text;
}
