#include "flashing/transferrate.h"
#include "flashing/visibleprogress.h"

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

        const QList<QPair<double, QString>> rates = {{1023, "1023 B/s"}, {1024, "1.0 KB/s"}, {1536, "1.5 KB/s"}};
        for (const auto &[bytes, text] : rates)
            QCOMPARE(TransferRate::formatRate(bytes), text);
        QCOMPARE(TransferRate::formatDuration(75) + ' ' + TransferRate::formatDuration(3725), QString("1:15 1:02:05"));
    }

    // The bar follows a new percentage or pixel at most once a frame (20 ms), its ends always.
    void barChangesOncePerFrame()
    {
        VisibleProgress bar;
        bar.start(1000, 100);
        const struct { qint64 position, ms; bool shown; } moves[] = {
            {1, 0, true}, {2, 1, false}, {10, 19, false}, {10, 20, true}, {11, 60, false}, {1000, 61, true}, {0, 62, true}};
        for (const auto &move : moves)
            QVERIFY2(bar.changesView(move.position, move.ms) == move.shown, qPrintable(QString::number(move.ms)));
    }
};

QTEST_GUILESS_MAIN(TestTransferRate)
#include "tst_transferrate.moc"
