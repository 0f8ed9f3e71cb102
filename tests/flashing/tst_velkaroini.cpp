#include "flashing/velkaroini.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

class TestVelkaroIni : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void readsValue_data();
    void readsValue();
    void unreadableFilesHaveNoValues();
    void longLinesAreReadWhole();
    void fieldText_data();
    void fieldText();
    void lowFormat_data();
    void lowFormat();
    void lcdType_data();
    void lcdType();
    void fillsAndroidPage();
    void fillsLinuxAndWinCePages();
    void missingFileEmptiesFields();
    void userBinPagesReadNothing();
    void userDataKeyFromHardwareInfo_data();
    void userDataKeyFromHardwareInfo();
    void findsImageSets();

private:
    QString writeIni(const QByteArray &content, const QString &folder = QString());

    std::unique_ptr<QTemporaryDir> dir;
};

void TestVelkaroIni::init()
{
    dir = std::make_unique<QTemporaryDir>();
    QVERIFY(dir->isValid());
}

QString TestVelkaroIni::writeIni(const QByteArray &content, const QString &folder)
{
    const QString where = folder.isEmpty() ? dir->path() : folder;
    QDir().mkpath(where);
    QFile file(VelkaroIni::iniFileIn(where));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        return QString();
    return file.fileName();
}

// A literal with zero bytes in it, all of it.
template<int N>
static QByteArray bytes(const char (&text)[N])
{
    return QByteArray(text, N - 1);
}

void TestVelkaroIni::readsValue_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("expected");

    QTest::newRow("plain") << QByteArray("Linux-Kernel=zImage") << "Linux-Kernel" << "zImage";
    QTest::newRow("blanks around key and value")
        << QByteArray("  Linux-Kernel   =   zImage  \n") << "Linux-Kernel" << "zImage";
    QTest::newRow("tabs count as blanks") << QByteArray("\tLinux-Kernel\t=\tzImage\t\n") << "Linux-Kernel" << "zImage";
    QTest::newRow("keys are case-sensitive") << QByteArray("linux-kernel = zImage\n") << "Linux-Kernel" << "";
    QTest::newRow("= inside the value survives")
        << QByteArray("Linux-CommandLine = root=/dev/mtdblock4 console=ttySAC0\n") << "Linux-CommandLine"
        << "root=/dev/mtdblock4 console=ttySAC0";
    QTest::newRow("inner blank runs collapse")
        << QByteArray("Android-CommandLine = console=ttySAC0,115200  init=/init\n") << "Android-CommandLine"
        << "console=ttySAC0,115200 init=/init";
    QTest::newRow("blanks around an inner =") << QByteArray("K = a  =  b\n") << "K" << "a = b";
    QTest::newRow("first of two wins") << QByteArray("Linux-Kernel = first\nLinux-Kernel = second\n")
                                       << "Linux-Kernel" << "first";
    // The first matching line decides even when its value is empty: the user wrote it.
    QTest::newRow("first empty value wins") << QByteArray("Linux-Kernel =\nLinux-Kernel = second\n")
                                            << "Linux-Kernel" << "";
    QTest::newRow("key line without = is skipped") << QByteArray("Linux-Kernel\nLinux-Kernel = zImage\n")
                                                  << "Linux-Kernel" << "zImage";
    QTest::newRow("empty value") << QByteArray("Linux-Kernel =\n") << "Linux-Kernel" << "";
    QTest::newRow("commented out") << QByteArray("#Linux-Kernel = zImage\n") << "Linux-Kernel" << "";
    QTest::newRow("key that is a prefix") << QByteArray("Linux-Kernel-Old = a\nLinux-Kernel = b\n")
                                         << "Linux-Kernel" << "b";
    QTest::newRow("blank inside key collapses")
        << QByteArray("Linux   Kernel = a\n") << "Linux Kernel" << "a";
    QTest::newRow("CRLF line ends") << QByteArray("LowFormat = No\r\nLinux-Kernel = zImage\r\nX = y\r\n")
                                    << "Linux-Kernel" << "zImage";
    QTest::newRow("CR at end of value") << QByteArray("Linux-Kernel = zImage\r\n") << "Linux-Kernel" << "zImage";
    QTest::newRow("UTF-8 byte-order mark before the first key")
        << QByteArray("\xEF\xBB\xBFLinux-Kernel = zImage\n") << "Linux-Kernel" << "zImage";
    QTest::newRow("UTF-8 file name") << QByteArray("Linux-Kernel = zImage-\xE4\xB8\xAD\n") << "Linux-Kernel"
                                     << QString::fromUtf8("zImage-\xE4\xB8\xAD");
    QTest::newRow("last line without line end") << QByteArray("A = 1\nLinux-Kernel = zImage") << "Linux-Kernel"
                                                << "zImage";
    QTest::newRow("empty file") << QByteArray() << "Linux-Kernel" << "";
    QTest::newRow("binary junk has no keys") << bytes("\x7f" "ELF\x02\x01\x00\x00=\xff\xfe\x00\n\x00\x01=\x02")
                                             << "Linux-Kernel" << "";
    // Junk in front of a good line does not hide it; nothing is rejected wholesale.
    QTest::newRow("binary junk before a key line")
        << bytes("\x00\x01\xff\xfe=\x80\x00\nLinux-Kernel = zImage\n") << "Linux-Kernel" << "zImage";
}

void TestVelkaroIni::readsValue()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, key);
    QFETCH(QString, expected);

    const QString ini = writeIni(content);
    QVERIFY(!ini.isEmpty());
    QCOMPARE(readVelkaroIniKeyValue(ini, key), expected);
}

void TestVelkaroIni::unreadableFilesHaveNoValues()
{
    QCOMPARE(readVelkaroIniKeyValue(dir->filePath("absent.ini"), "Linux-Kernel"), QString());
    QCOMPARE(readVelkaroIniKeyValue(dir->path(), "Linux-Kernel"), QString());
    QCOMPARE(readVelkaroIniKeyValue(QString(), "Linux-Kernel"), QString());
}

void TestVelkaroIni::longLinesAreReadWhole()
{
    const QByteArray longValue(1024 * 1024, 'x');
    const QString ini = writeIni(QByteArray(1024 * 1024, 'j') + "\nA = " + longValue + "\nLinux-Kernel = zImage\n");
    QVERIFY(!ini.isEmpty());
    QCOMPARE(readVelkaroIniKeyValue(ini, "Linux-Kernel"), QString("zImage"));
    QCOMPARE(readVelkaroIniKeyValue(ini, "A"), QString::fromLatin1(longValue));
}

void TestVelkaroIni::fieldText_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("expected");

    QTest::newRow("file") << "/media/dvd/images" << "zImage" << "/media/dvd/images/zImage";
    QTest::newRow("folder with trailing /") << "/opt/ostrakit/images/" << "zImage" << "/opt/ostrakit/images//zImage";
    QTest::newRow("empty value") << "/media/dvd/images" << "" << "";
    QTest::newRow("value in a subfolder") << "/img" << "android/ramdisk.img" << "/img/android/ramdisk.img";
}

void TestVelkaroIni::fieldText()
{
    QFETCH(QString, folder);
    QFETCH(QString, value);
    QFETCH(QString, expected);
    QCOMPARE(VelkaroIni::fieldText(folder, value), expected);
}

void TestVelkaroIni::lowFormat_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<bool>("expected");

    QTest::newRow("yes") << "yes" << true;
    QTest::newRow("Y") << "Y" << true;
    QTest::newRow("y1") << "y1" << true;
    QTest::newRow("Yes") << "Yes" << true;
    QTest::newRow("No") << "No" << false;
    QTest::newRow("1") << "1" << false;
    QTest::newRow("true") << "true" << false;
    QTest::newRow("absent") << "" << false;
}

void TestVelkaroIni::lowFormat()
{
    QFETCH(QString, value);
    QFETCH(bool, expected);
    QCOMPARE(VelkaroIni::lowFormatFromValue(value), expected);
}

void TestVelkaroIni::lcdType_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<int>("action");
    QTest::addColumn<int>("index");

    using C = VelkaroIni::LcdTypeChoice;
    QTest::newRow("known HDMI mode") << "HDMI720P60" << int(C::SelectResolution) << 10;
    QTest::newRow("first in list") << "HDMI1080P60" << int(C::SelectResolution) << 0;
    QTest::newRow("last in list") << "HDMI480P4X3D" << int(C::SelectResolution) << 21;
    QTest::newRow("unknown HDMI mode") << "HDMI999" << int(C::UncheckHdmi) << -1;
    QTest::newRow("HDMI with wrong case mode") << "HDMI720p60" << int(C::UncheckHdmi) << -1;
    QTest::newRow("lower-case hdmi is not HDMI") << "hdmi720P60" << int(C::KeepControls) << -1;
    QTest::newRow("LCD") << "S70" << int(C::KeepControls) << -1;
    QTest::newRow("absent") << "" << int(C::KeepControls) << -1;
}

void TestVelkaroIni::lcdType()
{
    QFETCH(QString, value);
    QFETCH(int, action);
    QFETCH(int, index);

    const VelkaroIni::LcdTypeChoice choice = VelkaroIni::lcdTypeFromValue(value);
    QCOMPARE(int(choice.action), action);
    if (action == VelkaroIni::LcdTypeChoice::SelectResolution)
        QCOMPARE(choice.resolutionIndex, index);
}

namespace {

const QByteArray kFullIni = "LowFormat = Yes\n"
                            "LCD-Type = HDMI720P60\n"
                            "Android-BootLoader = u-boot.bin\n"
                            "Android-Kernel = zImage-android\n"
                            "Android-CommandLine = console=ttySAC0,115200   skipcali=y\n"
                            "Android-RamDisk = ramdisk-u.img\n"
                            "Android-UserData = userdata.img\n"
                            "Android-UserData-8G = userdata-8g.img\n"
                            "Android-RootFs-InstallImage = system.img\n"
                            "Linux-BootLoader = u-boot-linux.bin\n"
                            "Linux-Kernel = zImage\n"
                            "Linux-CommandLine = root=/dev/mtdblock4 init=/linuxrc\n"
                            "#Linux-RamDisk = ramdisk.img\n"
                            "Linux-RootFs-InstallImage = rootfs.img\n"
                            "WindowsCE6-BootLoader = wrong-case.nb0\n"
                            "WindowsCE6-Bootloader = NBOOT.nb0\n"
                            "WindowsCE6-BootLogo = logo.bmp\n"
                            "WindowsCE6-InstallImage = NK.bin\n";

QStringList fieldLabels(const VelkaroIni::PageFill &fill)
{
    QStringList labels;
    for (const auto &field : fill.fields)
        labels << field.label;
    return labels;
}

QStringList fieldTexts(const VelkaroIni::PageFill &fill)
{
    QStringList texts;
    for (const auto &field : fill.fields)
        texts << field.text;
    return texts;
}

} // namespace

void TestVelkaroIni::fillsAndroidPage()
{
    const QString ini = writeIni(kFullIni);
    const VelkaroIni::ImageSet set{dir->path(), ini};
    const QString f = dir->path() + "/";

    const auto fill = VelkaroIni::readPageFill(ConfigPage::Android, set, "Android-UserData-8G");
    QVERIFY(fill.has_value());
    QVERIFY(fill->lowFormat);
    QCOMPARE(int(fill->lcdType.action), int(VelkaroIni::LcdTypeChoice::SelectResolution));
    QCOMPARE(fill->lcdType.resolutionIndex, 10);
    // Every item of the page is filled, each exactly once.
    QStringList labels = fieldLabels(*fill);
    QStringList pageLabels = ConfigPage::itemLabels(ConfigPage::Android);
    labels.sort();
    pageLabels.sort();
    QCOMPARE(labels, pageLabels);
    QCOMPARE(fieldLabels(*fill),
             QStringList({"Android BootLoader: ", "Kernel CommandLine: ", "Android Kernel: ", "Android Ramdisk: ",
                          "Android Userdata Image: ", "Android RootFs/System Image: "}));
    QCOMPARE(fieldTexts(*fill),
             QStringList({f + "u-boot.bin", "console=ttySAC0,115200 skipcali=y", f + "zImage-android",
                          f + "ramdisk-u.img", f + "userdata-8g.img", f + "system.img"}));

    const auto plain = VelkaroIni::readPageFill(ConfigPage::Android, set, VelkaroIni::kDefaultUserDataKey);
    QCOMPARE(plain->fields.at(4).text, f + "userdata.img");
    // A size whose key the file lacks empties the field rather than falling back.
    const auto noSuchSize = VelkaroIni::readPageFill(ConfigPage::Android, set, "Android-UserData-16G");
    QCOMPARE(noSuchSize->fields.at(4).text, QString());
}

void TestVelkaroIni::fillsLinuxAndWinCePages()
{
    const QString ini = writeIni(kFullIni);
    const VelkaroIni::ImageSet set{dir->path(), ini};
    const QString f = dir->path() + "/";

    const auto linuxFill = VelkaroIni::readPageFill(ConfigPage::Linux, set, VelkaroIni::kDefaultUserDataKey);
    QVERIFY(linuxFill.has_value());
    QCOMPARE(fieldLabels(*linuxFill), ConfigPage::itemLabels(ConfigPage::Linux));
    QCOMPARE(fieldTexts(*linuxFill), QStringList({f + "u-boot-linux.bin", f + "zImage",
                                              "root=/dev/mtdblock4 init=/linuxrc", "", f + "rootfs.img"}));

    const auto wince = VelkaroIni::readPageFill(ConfigPage::WinCE, set, VelkaroIni::kDefaultUserDataKey);
    QVERIFY(wince.has_value());
    QCOMPARE(fieldLabels(*wince), ConfigPage::itemLabels(ConfigPage::WinCE));
    QCOMPARE(fieldTexts(*wince), QStringList({f + "NBOOT.nb0", f + "logo.bmp", f + "NK.bin"}));
}

void TestVelkaroIni::missingFileEmptiesFields()
{
    const VelkaroIni::ImageSet nowhere{dir->path(), dir->filePath("Velkaro.ini")};
    const auto fill = VelkaroIni::readPageFill(ConfigPage::Android, nowhere, VelkaroIni::kDefaultUserDataKey);
    QVERIFY(fill.has_value());
    QVERIFY(!fill->lowFormat);
    QCOMPARE(int(fill->lcdType.action), int(VelkaroIni::LcdTypeChoice::KeepControls));
    QCOMPARE(fill->fields.size(), ConfigPage::itemLabels(ConfigPage::Android).size());
    for (const auto &field : fill->fields)
        QVERIFY2(field.text.isEmpty(), qPrintable(field.label));
}

void TestVelkaroIni::userBinPagesReadNothing()
{
    const VelkaroIni::ImageSet set{dir->path(), writeIni(kFullIni)};
    QVERIFY(!VelkaroIni::readPageFill(ConfigPage::UserBinRun, set, VelkaroIni::kDefaultUserDataKey));
    QVERIFY(!VelkaroIni::readPageFill(ConfigPage::UserBinInstall, set, VelkaroIni::kDefaultUserDataKey));
}

void TestVelkaroIni::userDataKeyFromHardwareInfo_data()
{
    QTest::addColumn<int>("cpu");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("info");
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("refill");

    const int c4412 = TUsbDevCommand::CPU_4412;
    const int android = ConfigPage::Android;
    const QString plain = "Android-UserData";

    QTest::newRow("8GB") << c4412 << android << "Halvorn\nCPU: 4412\nEMMC: 8GB\n" << "Android-UserData-8G" << true;
    QTest::newRow("4G") << c4412 << android << "Halvorn\nEMMC: 4G" << "Android-UserData-4G" << true;
    QTest::newRow("mixed case and blanks") << c4412 << android << "Halvorn\n eMMC : 16g " << "Android-UserData-16G"
                                           << true;
    QTest::newRow("only the second part is the value") << c4412 << android << "Halvorn\nEMMC: 8GB: 16GB"
                                                       << "Android-UserData-8G" << true;
    QTest::newRow("CRLF") << c4412 << android << "Halvorn\r\nEMMC: 16GB\r\n" << "Android-UserData-16G" << true;
    QTest::newRow("unknown size refills plain key") << c4412 << android << "Halvorn\nEMMC: 2GB" << plain << true;
    QTest::newRow("48G is not 4G") << c4412 << android << "Halvorn\nEMMC: 48G" << plain << true;
    QTest::newRow("first EMMC line decides") << c4412 << android << "Halvorn\nEMMC:\nEMMC: 8GB" << plain << true;
    QTest::newRow("EMMC on the first line is ignored") << c4412 << android << "EMMC: 8GB\nCPU: 4412" << plain
                                                       << false;
    QTest::newRow("line without colon") << c4412 << android << "Halvorn\nEMMC 8GB" << plain << false;
    QTest::newRow("one line only") << c4412 << android << "EMMC: 8GB" << plain << false;
    QTest::newRow("empty info") << c4412 << android << "" << plain << false;
    QTest::newRow("other processor") << int(TUsbDevCommand::CPU_6410) << android << "Halvorn\nEMMC: 8GB" << plain
                                     << false;
    QTest::newRow("5250 has one image") << int(TUsbDevCommand::CPU_5250) << android << "Halvorn\nEMMC: 8GB"
                                        << plain << false;
    QTest::newRow("Linux page") << c4412 << int(ConfigPage::Linux) << "Halvorn\nEMMC: 8GB" << plain << false;
}

void TestVelkaroIni::userDataKeyFromHardwareInfo()
{
    QFETCH(int, cpu);
    QFETCH(int, kind);
    QFETCH(QString, info);
    QFETCH(QString, key);
    QFETCH(bool, refill);

    const auto choice = VelkaroIni::userDataForBoard(TUsbDevCommand::TBoardCPU(cpu), ConfigPage::Kind(kind), info);
    QCOMPARE(choice.key, key);
    QCOMPARE(choice.refill, refill);
}

void TestVelkaroIni::findsImageSets()
{
    const QString program = dir->filePath("bin");
    const QString dvd = dir->filePath("dvd");
    QDir().mkpath(program);
    QDir().mkpath(dvd);

    // Nothing anywhere yet.
    QVERIFY(!VelkaroIni::programImageSet(program).isValid());
    QVERIFY(!VelkaroIni::chosenImageSet(dvd).isValid());
    QVERIFY(!VelkaroIni::chosenImageSet(QString()).isValid());
    QVERIFY(!VelkaroIni::isImagesFolder(dvd));
    QVERIFY(!VelkaroIni::userDataImageSet(dvd, program).isValid());

    QVERIFY(!writeIni("A = 1\n", program + "/images").isEmpty());
    const VelkaroIni::ImageSet shipped = VelkaroIni::programImageSet(program);
    QCOMPARE(shipped.folder, program + "/images/");
    QCOMPARE(shipped.iniFile, program + "/images/Velkaro.ini");
    // After attach the program's folder is used without the trailing "/".
    const VelkaroIni::ImageSet fallback = VelkaroIni::userDataImageSet(dvd, program);
    QCOMPARE(fallback.folder, program + "/images");
    QCOMPARE(fallback.iniFile, program + "/images/Velkaro.ini");
    QCOMPARE(VelkaroIni::userDataImageSet(QString(), program).folder, program + "/images");

    QVERIFY(!writeIni("A = 1\n", dvd).isEmpty());
    QVERIFY(VelkaroIni::isImagesFolder(dvd));
    QCOMPARE(VelkaroIni::chosenImageSet(dvd).folder, dvd);
    QCOMPARE(VelkaroIni::chosenImageSet(dvd).iniFile, dvd + "/Velkaro.ini");
    QCOMPARE(VelkaroIni::userDataImageSet(dvd, program).folder, dvd);

    QCOMPARE(VelkaroIni::commandLineKey(ConfigPage::Android), QString("Android-CommandLine"));
    QCOMPARE(VelkaroIni::commandLineKey(ConfigPage::Linux), QString("Linux-CommandLine"));
    QCOMPARE(VelkaroIni::commandLineKey(ConfigPage::WinCE), QString());
}

QTEST_GUILESS_MAIN(TestVelkaroIni)
#include "tst_velkaroini.moc"
