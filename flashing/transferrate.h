#pragma once

#include <QString>
#include <QtGlobal>

// Speed and time left of one file transfer, for the line beside the progress bar. The
// board link reports a position after every packet; taking each of those as a speed would
// make the figures jump, so the speed is sampled at most every `sampleIntervalMs` and
// smoothed with a time constant of `smoothingMs`. Times are passed in by the caller, so
// the figures can be checked without waiting.
class TransferRate
{
public:
    explicit TransferRate(qint64 smoothingMs = 3000, qint64 sampleIntervalMs = 500);

    // A new transfer of `totalBytes` begins at time `nowMs`.
    void start(qint64 totalBytes, qint64 nowMs);
    // True when this position was taken as a new sample, so that text() may read
    // differently; between samples the figures stay as they are.
    bool update(qint64 position, qint64 nowMs);

    bool hasRate() const { return rate > 0.0; }
    double bytesPerSecond() const { return rate; }
    // -1 while the speed is not known yet.
    int secondsLeft() const;
    int percent() const;

    // "2.1 MB/s · 0:37 left"; nothing until a speed is known.
    QString text() const;

    static QString formatRate(double bytesPerSecond);
    static QString formatDuration(int seconds);

private:
    qint64 smoothingMs;
    qint64 sampleIntervalMs;
    qint64 total = 0;
    qint64 position = 0;
    qint64 samplePosition = 0;
    qint64 sampleTimeMs = 0;
    double rate = 0.0;
};
