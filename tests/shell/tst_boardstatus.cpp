#include "shell/boardstatus.h"

#include <QTest>

class TestBoardStatus : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void statusText_data();
    void statusText();
};

void TestBoardStatus::statusText_data()
{
    QTest::addColumn<bool>("connected");
    QTest::addColumn<QString>("hwInfo");
    QTest::addColumn<QString>("expected");

    const QString plain = QStringLiteral("Board connected.");
    QTest::newRow("no board") << false << QStringLiteral("x\nCPU: 4412") << QStringLiteral(
        "Board is not connected, or Halvorn is not in USB download mode");
    QTest::newRow("no description yet") << true << QString() << plain;
    QTest::newRow("banner only") << true << QStringLiteral("Halvorn 2.6: USB mode") << plain;
    QTest::newRow("lines without colon") << true << QStringLiteral("banner\nno colon here\n") << plain;
    QTest::newRow("empty values") << true << QStringLiteral("banner\nCPU:\nRAM:   \n") << plain;
    QTest::newRow("banner's value never shown") << true << QStringLiteral("Banner: hidden\nCPU: 4412")
                                                << QStringLiteral("Board connected ( 4412 )");
    QTest::newRow("value keeps its colons") << true << QStringLiteral("banner\nClock: 1:2")
                                            << QStringLiteral("Board connected ( 1:2 )");
    QTest::newRow("values joined, empty ones skipped")
        << true << QStringLiteral("banner\nCPU: 4412\nLCD:\nRAM:  1024MB DDR3 \n\nEMMC: 8GB\n")
        << QStringLiteral("Board connected ( 4412 / 1024MB DDR3 / 8GB )");
    QTest::newRow("carriage returns trimmed") << true << QStringLiteral("banner\r\nCPU: 210\r\n")
                                              << QStringLiteral("Board connected ( 210 )");
}

void TestBoardStatus::statusText()
{
    QFETCH(bool, connected);
    QFETCH(QString, hwInfo);
    QFETCH(QString, expected);
    QCOMPARE(BoardStatus::statusText(connected, hwInfo), expected);
}

QTEST_GUILESS_MAIN(TestBoardStatus)
#include "tst_boardstatus.moc"
