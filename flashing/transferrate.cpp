#include "flashing/transferrate.h"

#include <QCoreApplication>

#include <cmath>

TransferRate::TransferRate(qint64 smoothingMs, qint64 sampleIntervalMs)
    : smoothingMs(qMax<qint64>(1, smoothingMs)), sampleIntervalMs(qMax<qint64>(1, sampleIntervalMs))
{
}

void TransferRate::start(qint64 totalBytes, qint64 nowMs)
{
    total = qMax<qint64>(0, totalBytes);
    position = 0;
    samplePosition = 0;
    sampleTimeMs = nowMs;
    rate = 0.0;
}

bool TransferRate::update(qint64 newPosition, qint64 nowMs)
{
    position = qBound<qint64>(0, newPosition, total);
    const qint64 elapsed = nowMs - sampleTimeMs;
    if (elapsed < sampleIntervalMs)
        return false;
    const qint64 moved = position - samplePosition;
    samplePosition = position;
    sampleTimeMs = nowMs;
    // A position that went back starts a new sample without a speed, but the time left
    // still follows the position.
    if (moved < 0)
        return true;
    const double current = double(moved) * 1000.0 / double(elapsed);
    if (rate <= 0.0) {
        rate = current;
        return true;
    }
    // Samples further apart weigh more, so a stall of several seconds still shows.
    const double weight = 1.0 - std::exp(-double(elapsed) / double(smoothingMs));
    rate += weight * (current - rate);
    return true;
}

int TransferRate::secondsLeft() const
{
    if (!hasRate())
        return -1;
    return int(std::ceil(double(total - position) / rate));
}

int TransferRate::percent() const
{
    if (total <= 0)
        return 0;
    return int(position * 100 / total);
}

QString TransferRate::formatRate(double bytesPerSecond)
{
    if (bytesPerSecond < 1024.0)
        return QCoreApplication::translate("TransferRate", "%1 B/s").arg(qRound(bytesPerSecond));
    if (bytesPerSecond < 1024.0 * 1024.0)
        return QCoreApplication::translate("TransferRate", "%1 KB/s").arg(bytesPerSecond / 1024.0, 0, 'f', 1);
    return QCoreApplication::translate("TransferRate", "%1 MB/s").arg(bytesPerSecond / (1024.0 * 1024.0), 0, 'f', 1);
}

QString TransferRate::formatDuration(int seconds)
{
    seconds = qMax(0, seconds);
    const int hours = seconds / 3600;
    const int minutes = seconds / 60 % 60;
    const QString secs = QStringLiteral("%1").arg(seconds % 60, 2, 10, QLatin1Char('0'));
    if (hours > 0)
        return QStringLiteral("%1:%2:%3").arg(hours).arg(minutes, 2, 10, QLatin1Char('0')).arg(secs);
    return QStringLiteral("%1:%2").arg(minutes).arg(secs);
}

QString TransferRate::text() const
{
    // The percentage already stands beside the bar; this line adds only what it lacks.
    if (total <= 0 || !hasRate())
        return QString();
    return QCoreApplication::translate("TransferRate", "%1 · %2 left")
        .arg(formatRate(rate), formatDuration(secondsLeft()));
}
