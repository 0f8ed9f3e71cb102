#include "shell/boardstatus.h"

#include <QTest>

class TestBoardStatus : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // The banner line is never shown, empty values are skipped, a value keeps its colons.
    void statusText()
    {
        const QString plain = QStringLiteral("Board connected.");
        QCOMPARE(BoardStatus::statusText(false, "x\nCPU: 4412"),
                 QStringLiteral("Board is not connected, or Halvorn is not in USB download mode"));
        for (const char *info : {"", "Halvorn 2.6: USB mode", "banner\nno colon here\n", "banner\nCPU:\nRAM:   \n"})
            QCOMPARE(BoardStatus::statusText(true, info), plain);
        QCOMPARE(BoardStatus::statusText(true, "Banner: hidden\r\nCPU: 4412\r\nLCD:\nRAM:  1024MB DDR3 \n\nClock: 1:2\n"),
                 QStringLiteral("Board connected ( 4412 / 1024MB DDR3 / 1:2 )"));
    }
};

QTEST_GUILESS_MAIN(TestBoardStatus)
#include "tst_boardstatus.moc"
