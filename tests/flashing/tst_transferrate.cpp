#include "flashing/transferrate.h"

#include <QtTest>

class TestTransferRate : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Nothing shown before a speed is known; a steady 2 MiB/s; a burst smoothed, not followed.
    void rateAndTimeLeft()
    {
        TransferRate rate(3000, 500);
        rate.start(10 * 1024 * 1024, 0);
        rate.update(1024, 100);
        QCOMPARE(rate.text(), QString());
        for (int t = 500; t <= 2000; t += 500)
            rate.update(qint64(t) * 2 * 1024 * 1024 / 1000, t);
        QCOMPARE(rate.percent(), 40);
        QCOMPARE(rate.text(), QString("2.0 MB/s · 0:03 left"));
        rate.update(9 * 1024 * 1024, 2500);
        QVERIFY(rate.bytesPerSecond() > 2.1 * 1024 * 1024 && rate.bytesPerSecond() < 6.0 * 1024 * 1024);
        const double sampled = rate.bytesPerSecond();
        rate.update(9 * 1024 * 1024 + 1, 2600); // between samples only the position moves
        QCOMPARE(rate.bytesPerSecond(), sampled);

        QCOMPARE(TransferRate::formatRate(512), QString("512 B/s"));
        QCOMPARE(TransferRate::formatRate(1536), QString("1.5 KB/s"));
        QCOMPARE(TransferRate::formatDuration(75), QString("1:15"));
        QCOMPARE(TransferRate::formatDuration(3725), QString("1:02:05"));
    }
};

QTEST_GUILESS_MAIN(TestTransferRate)
#include "tst_transferrate.moc"
