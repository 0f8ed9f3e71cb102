#include "flashing/transferrate.h"

#include <QtTest>

class TestTransferRate : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void steadyTransfer();
    void smoothsBursts();
    void formats_data();
    void formats();
};

void TestTransferRate::steadyTransfer()
{
    TransferRate rate(3000, 500);
    QCOMPARE(rate.text(), QString());
    rate.start(10 * 1024 * 1024, 0);
    rate.update(1024, 100); // too soon for a speed
    QVERIFY(!rate.hasRate());
    QCOMPARE(rate.text(), QString());
    // 2 MiB/s for a few seconds.
    for (int t = 500; t <= 2000; t += 500)
        rate.update(qint64(t) * 2 * 1024 * 1024 / 1000, t);
    QVERIFY(rate.hasRate());
    QCOMPARE(qRound(rate.bytesPerSecond()), 2 * 1024 * 1024);
    QCOMPARE(rate.percent(), 40);
    QCOMPARE(rate.secondsLeft(), 3);
    QCOMPARE(rate.text(), QString("2.0 MB/s · 0:03 left"));
}

void TestTransferRate::smoothsBursts()
{
    TransferRate rate(3000, 500);
    rate.start(100 * 1024 * 1024, 0);
    rate.update(1024 * 1024, 1000); // 1 MiB/s
    const double before = rate.bytesPerSecond();
    // Half a second at 10 MiB/s must not make the speed jump to 10 MiB/s.
    rate.update(1024 * 1024 + 5 * 1024 * 1024, 1500);
    QVERIFY(rate.bytesPerSecond() > before);
    QVERIFY(rate.bytesPerSecond() < 4.0 * 1024 * 1024);
    // Updates between samples change the position, not the speed.
    const double sampled = rate.bytesPerSecond();
    rate.update(7 * 1024 * 1024, 1600);
    QCOMPARE(rate.bytesPerSecond(), sampled);
    QCOMPARE(rate.percent(), 7);
}

void TestTransferRate::formats_data()
{
    QTest::addColumn<double>("bytesPerSecond");
    QTest::addColumn<int>("seconds");
    QTest::addColumn<QString>("rateText");
    QTest::addColumn<QString>("durationText");
    QTest::newRow("bytes") << 512.0 << 5 << "512 B/s" << "0:05";
    QTest::newRow("kilobytes") << 1536.0 << 75 << "1.5 KB/s" << "1:15";
    QTest::newRow("megabytes") << 2.1 * 1024 * 1024 << 3725 << "2.1 MB/s" << "1:02:05";
}

void TestTransferRate::formats()
{
    QFETCH(double, bytesPerSecond);
    QFETCH(int, seconds);
    QTEST(TransferRate::formatRate(bytesPerSecond), "rateText");
    QTEST(TransferRate::formatDuration(seconds), "durationText");
}

QTEST_GUILESS_MAIN(TestTransferRate)
#include "tst_transferrate.moc"
