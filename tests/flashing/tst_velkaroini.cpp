#include "flashing/velkaroini.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QString writeIni(const QString &folder, const QByteArray &content)
{
    QDir().mkpath(folder);
    QFile file(VelkaroIni::iniFileIn(folder));
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() ? file.fileName() : QString();
}

} // namespace

class TestVelkaroIni : public QObject
{
    Q_OBJECT
    QTemporaryDir dir;

private Q_SLOTS:
    void readsValue_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("expected"); // of "Linux-Kernel"
        QTest::newRow("blanks and tabs") << QByteArray("  Linux-Kernel \t =   zImage\t \n") << "zImage";
        QTest::newRow("case-sensitive keys") << QByteArray("linux-kernel = zImage\n") << "";
        QTest::newRow("= and blank runs in the value") << QByteArray("Linux-Kernel = a=b  c\n") << "a=b c";
        // The first matching line decides even when its value is empty: the user wrote it.
        QTest::newRow("first empty value wins") << QByteArray("Linux-Kernel =\nLinux-Kernel = second\n") << "";
        QTest::newRow("line without = skipped") << QByteArray("Linux-Kernel\nLinux-Kernel = zImage\n") << "zImage";
        QTest::newRow("commented out") << QByteArray("#Linux-Kernel = zImage\n") << "";
        QTest::newRow("CRLF, BOM") << QByteArray("\xEF\xBB\xBFLinux-Kernel = zImage\r\nA = 1\r\n") << "zImage";
        QTest::newRow("UTF-8, no final line end") << QByteArray("A = 1\nLinux-Kernel = z-\xE4\xB8\xAD") << "z-中";
        QTest::newRow("binary junk before a key line") << QByteArray("\x00\x01\xff\xfe=\x80\x00\n", 8) + "Linux-Kernel = zImage\n"
                                                       << "zImage";
    }
    void readsValue()
    {
        QFETCH(QByteArray, content);
        QTEST(readVelkaroIniKeyValue(writeIni(dir.path(), content), "Linux-Kernel"), "expected");
        QCOMPARE(readVelkaroIniKeyValue(dir.filePath("absent.ini"), "Linux-Kernel"), QString());
    }

    // What the pages take beyond paths and the command line: a WinCE key with a lower-case
    // "l", no plain image for a board size the file lacks, the low format and LCD values.
    void pageFill()
    {
        const QString ini = writeIni(dir.path(), "Android-UserData = userdata.img\nAndroid-UserData-8G = userdata-8g.img\n"
                                                 "WindowsCE6-BootLoader = wrong-case.nb0\nWindowsCE6-Bootloader = NBOOT.nb0\n");
        const VelkaroIni::ImageSet set{dir.path(), ini};
        const auto text = [&](ConfigPage::Kind kind, const QString &key, const QString &label) {
            const auto fill = VelkaroIni::readPageFill(kind, set, key);
            for (const auto &field : fill->fields)
                if (field.label == label)
                    return field.text;
            return QStringLiteral("(none)");
        };
        QCOMPARE(text(ConfigPage::Android, "Android-UserData-8G", "Android Userdata Image: "), dir.path() + "/userdata-8g.img");
        QCOMPARE(text(ConfigPage::Android, "Android-UserData-16G", "Android Userdata Image: "), QString());
        QCOMPARE(text(ConfigPage::WinCE, VelkaroIni::kDefaultUserDataKey, "WinCE6 BootLoader: "), dir.path() + "/NBOOT.nb0");
        QVERIFY(!VelkaroIni::readPageFill(ConfigPage::UserBinRun, set, VelkaroIni::kDefaultUserDataKey));
        for (const char *yes : {"yes", "Y", "y1"})
            QVERIFY2(VelkaroIni::lowFormatFromValue(yes), yes);
        for (const char *no : {"No", "1", ""})
            QVERIFY2(!VelkaroIni::lowFormatFromValue(no), no);
        const QList<QPair<const char *, int>> lcd = {{"HDMI1080P60", 1}, {"HDMI480P4X3D", 1}, {"HDMI999", 2},
                                                     {"HDMI720p60", 2}, {"hdmi720P60", 0}, {"S70", 0}};
        for (const auto &[value, action] : lcd)
            QCOMPARE(int(VelkaroIni::lcdTypeFromValue(value).action), action);
        QCOMPARE(VelkaroIni::lcdTypeFromValue("HDMI480P4X3D").resolutionIndex, 21);
    }

    void userDataForBoard_data()
    {
        QTest::addColumn<int>("cpu");
        QTest::addColumn<QString>("info");
        QTest::addColumn<QString>("key"); // "" when the page is left alone
        const int c4412 = TUsbDevCommand::CPU_4412;
        QTest::newRow("8GB") << c4412 << "Halvorn\nCPU: 4412\nEMMC: 8GB\n" << "Android-UserData-8G";
        QTest::newRow("case, blanks, CRLF") << c4412 << "Halvorn\r\n eMMC : 16g \r\n" << "Android-UserData-16G";
        QTest::newRow("only the second part") << c4412 << "Halvorn\nEMMC: 4G: 16GB" << "Android-UserData-4G";
        QTest::newRow("48G is not 4G") << c4412 << "Halvorn\nEMMC: 48G" << "Android-UserData";
        QTest::newRow("first EMMC line decides") << c4412 << "Halvorn\nEMMC:\nEMMC: 8GB" << "Android-UserData";
        QTest::newRow("first line ignored") << c4412 << "EMMC: 8GB\nCPU: 4412" << "";
        QTest::newRow("no colon") << c4412 << "Halvorn\nEMMC 8GB" << "";
        QTest::newRow("5250") << int(TUsbDevCommand::CPU_5250) << "Halvorn\nEMMC: 8GB" << "";
    }
    void userDataForBoard()
    {
        QFETCH(int, cpu);
        QFETCH(QString, info);
        QFETCH(QString, key);
        const auto choice = VelkaroIni::userDataForBoard(TUsbDevCommand::TBoardCPU(cpu), ConfigPage::Android, info);
        QCOMPARE(choice.refill, !key.isEmpty());
        QCOMPARE(choice.key, key.isEmpty() ? VelkaroIni::kDefaultUserDataKey : key);
        QVERIFY(!VelkaroIni::userDataForBoard(TUsbDevCommand::TBoardCPU(cpu), ConfigPage::Linux, info).refill);
    }

    void findsImageSets()
    {
        const QString program = dir.filePath("bin"), dvd = dir.filePath("dvd");
        QDir().mkpath(dvd);
        QVERIFY(!VelkaroIni::programImageSet(program).isValid());
        QVERIFY(!VelkaroIni::isImagesFolder(dvd));
        QVERIFY(!VelkaroIni::userDataImageSet(dvd, program).isValid());
        QVERIFY(!writeIni(program + "/images", "A = 1\n").isEmpty());
        QCOMPARE(VelkaroIni::programImageSet(program).iniFile, program + "/images/Velkaro.ini");
        QCOMPARE(VelkaroIni::userDataImageSet(dvd, program).folder, program + "/images");
        QVERIFY(!writeIni(dvd, "A = 1\n").isEmpty());
        QVERIFY(VelkaroIni::isImagesFolder(dvd));
        QCOMPARE(VelkaroIni::chosenImageSet(dvd).iniFile, dvd + "/Velkaro.ini");
        QCOMPARE(VelkaroIni::userDataImageSet(dvd, program).folder, dvd);
    }
};

QTEST_GUILESS_MAIN(TestVelkaroIni)
#include "tst_velkaroini.moc"
