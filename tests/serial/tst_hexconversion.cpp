#include "serial/hexconversion.h"

#include <QtTest>

class TestHexConversion : public QObject
{
    Q_OBJECT
private slots:
    void conversions()
    {
        QCOMPARE(StringToHex(QStringLiteral("AB\n")), QStringLiteral("41 42 0A"));
        QCOMPARE(StringToHex(QString(QChar(0)) + QChar(0x7f)), QStringLiteral("00 7F"));
        QCOMPARE(StringToHex(QString(QChar(0x4e2d)) + 'A'), QStringLiteral("00 41")); // beyond Latin-1 counts as zero
        // Widened groups overflow the room: the whole result is empty.
        QCOMPARE(StringToHex(QStringLiteral("ABCDEFGH") + QChar(0xff)), QString());
        QCOMPARE(StringToHex(QChar(0xe9) + QStringLiteral("AAAAAAAAAA")), QString());

        QCOMPARE(HexToString(QStringLiteral("  41\t\n 42 0d\r\n")), QStringLiteral("AB\r"));
        QCOMPARE(HexToString(QStringLiteral("4 ff 00")), QString(QChar(4)) + QChar(0xff) + QChar(0));
        for (const char *bad : {"4142", "414", "4G", "41 42 x", "0x41", "", "   "})
            QVERIFY2(HexToString(QLatin1String(bad)).isEmpty(), bad);
        QString ascii; // every ASCII character survives the way there and back
        for (int c = 0; c < 0x80; ++c)
            ascii += QChar(c);
        QCOMPARE(HexToString(StringToHex(ascii)), ascii);
    }
};

QTEST_APPLESS_MAIN(TestHexConversion)
#include "tst_hexconversion.moc"
