#include "serial/hexconversion.h"

#include <QtTest>

class TestHexConversion : public QObject
{
    Q_OBJECT

private slots:
    void stringToHex_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("hex");
        QTest::newRow("empty") << QString() << QString();
        QTest::newRow("several") << QStringLiteral("AB\n") << QStringLiteral("41 42 0A");
        QTest::newRow("control and top of ASCII") << QString::fromLatin1("\x01\x7f") << QStringLiteral("01 7F");
        QTest::newRow("zero") << QString(QChar(0)) << QStringLiteral("00");
        // A character beyond Latin-1 counts as zero.
        QTest::newRow("beyond Latin-1") << QString(QChar(0x4e2d)) + QLatin1Char('A') << QStringLiteral("00 41");
        // Widened groups overflow the room: the whole result is empty.
        QTest::newRow("0x80 alone") << QString(QChar(0x80)) << QString();
        QTest::newRow("0xFF at the end") << QStringLiteral("ABCDEFGH") + QChar(0xff) << QString();
        QTest::newRow("e acute first of many") << QChar(0xe9) + QStringLiteral("AAAAAAAAAA") << QString();
    }
    void stringToHex()
    {
        QFETCH(QString, text);
        QTEST(StringToHex(text), "hex");
    }

    void hexToString_data()
    {
        QTest::addColumn<QString>("hex");
        QTest::addColumn<QString>("text");
        QTest::newRow("two groups") << QStringLiteral("41 42") << QStringLiteral("AB");
        QTest::newRow("lower case") << QStringLiteral("41 42 0d") << QStringLiteral("AB\r");
        QTest::newRow("single digits") << QStringLiteral("4 1") << QString(QChar(4)) + QChar(1);
        QTest::newRow("white space runs") << QStringLiteral("  41\t\n 42 \r\n") << QStringLiteral("AB");
        QTest::newRow("top byte") << QStringLiteral("ff 80") << QString(QChar(0xff)) + QChar(0x80);
        QTest::newRow("zero") << QStringLiteral("00") << QString(QChar(0));
        QTest::newRow("group too long") << QStringLiteral("4142") << QString();
        QTest::newRow("three digits") << QStringLiteral("414") << QString();
        QTest::newRow("not a digit") << QStringLiteral("4G") << QString();
        QTest::newRow("one bad group spoils all") << QStringLiteral("41 42 x") << QString();
        QTest::newRow("prefix") << QStringLiteral("0x41") << QString();
        QTest::newRow("empty") << QString() << QString();
        QTest::newRow("only space") << QStringLiteral("   ") << QString();
    }
    void hexToString()
    {
        QFETCH(QString, hex);
        QTEST(HexToString(hex), "text");
    }

    // Every ASCII character survives the way there and back.
    void roundTrip()
    {
        QString ascii;
        for (int c = 0; c < 0x80; ++c)
            ascii += QChar(c);
        QCOMPARE(HexToString(StringToHex(ascii)), ascii);
    }
};

QTEST_APPLESS_MAIN(TestHexConversion)
#include "tst_hexconversion.moc"
