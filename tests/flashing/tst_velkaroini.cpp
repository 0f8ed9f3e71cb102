#include "flashing/velkaroini.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

using Texts = QMap<QString, QString>; // label -> field text; "@name" is the file in the folder

class TestVelkaroIni : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void readsValue_data();
    void readsValue();
    void unreadableAndHugeFiles();
    void valueRules();
    void lcdType_data();
    void lcdType();
    void pageFill_data();
    void pageFill();
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
    const QString k = QStringLiteral("Linux-Kernel");

    QTest::newRow("plain") << QByteArray("Linux-Kernel=zImage") << k << "zImage";
    QTest::newRow("blanks and tabs around key and value") << QByteArray("  Linux-Kernel \t =   zImage\t \n") << k
                                                          << "zImage";
    QTest::newRow("keys are case-sensitive") << QByteArray("linux-kernel = zImage\n") << k << "";
    QTest::newRow("= inside the value survives")
        << QByteArray("Linux-CommandLine = root=/dev/mtdblock4 console=ttySAC0\n") << "Linux-CommandLine"
        << "root=/dev/mtdblock4 console=ttySAC0";
    QTest::newRow("inner blank runs collapse")
        << QByteArray("Android-CommandLine = console=ttySAC0,115200  init=/init\n") << "Android-CommandLine"
        << "console=ttySAC0,115200 init=/init";
    QTest::newRow("first of two wins") << QByteArray("Linux-Kernel = first\nLinux-Kernel = second\n") << k << "first";
    // The first matching line decides even when its value is empty: the user wrote it.
    QTest::newRow("first empty value wins") << QByteArray("Linux-Kernel =\nLinux-Kernel = second\n") << k << "";
    QTest::newRow("key line without = is skipped") << QByteArray("Linux-Kernel\nLinux-Kernel = zImage\n") << k
                                                  << "zImage";
    QTest::newRow("commented out") << QByteArray("#Linux-Kernel = zImage\n") << k << "";
    QTest::newRow("CRLF line ends") << QByteArray("LowFormat = No\r\nLinux-Kernel = zImage\r\n") << k << "zImage";
    QTest::newRow("UTF-8 byte-order mark before the first key") << QByteArray("\xEF\xBB\xBFLinux-Kernel = zImage\n")
                                                                << k << "zImage";
    QTest::newRow("UTF-8 file name") << QByteArray("Linux-Kernel = zImage-\xE4\xB8\xAD\n") << k
                                     << QString::fromUtf8("zImage-\xE4\xB8\xAD");
    QTest::newRow("last line without line end") << QByteArray("A = 1\nLinux-Kernel = zImage") << k << "zImage";
    QTest::newRow("empty file") << QByteArray() << k << "";
    QTest::newRow("binary junk has no keys") << bytes("\x7f" "ELF\x02\x01\x00\x00=\xff\xfe\x00\n\x00\x01=\x02") << k
                                             << "";
    // Junk in front of a good line does not hide it; nothing is rejected wholesale.
    QTest::newRow("binary junk before a key line") << bytes("\x00\x01\xff\xfe=\x80\x00\nLinux-Kernel = zImage\n") << k
                                                   << "zImage";
}

void TestVelkaroIni::readsValue()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, key);
    const QString ini = writeIni(content);
    QVERIFY(!ini.isEmpty());
    QTEST(readVelkaroIniKeyValue(ini, key), "expected");
}

void TestVelkaroIni::unreadableAndHugeFiles()
{
    QCOMPARE(readVelkaroIniKeyValue(dir->filePath("absent.ini"), "Linux-Kernel"), QString());
    QCOMPARE(readVelkaroIniKeyValue(dir->path(), "Linux-Kernel"), QString());
    QCOMPARE(readVelkaroIniKeyValue(QString(), "Linux-Kernel"), QString());

    const QByteArray longValue(1024 * 1024, 'x');
    const QString ini = writeIni(QByteArray(1024 * 1024, 'j') + "\nA = " + longValue + "\nLinux-Kernel = zImage\n");
    QCOMPARE(readVelkaroIniKeyValue(ini, "Linux-Kernel"), QString("zImage"));
    QCOMPARE(readVelkaroIniKeyValue(ini, "A"), QString::fromLatin1(longValue));
}

void TestVelkaroIni::valueRules()
{
    QCOMPARE(VelkaroIni::fieldText("/media/dvd/images", "zImage"), QString("/media/dvd/images/zImage"));
    QCOMPARE(VelkaroIni::fieldText("/opt/ostrakit/images/", "zImage"), QString("/opt/ostrakit/images//zImage"));
    QCOMPARE(VelkaroIni::fieldText("/media/dvd/images", ""), QString());

    for (const char *yes : {"yes", "Y", "y1"})
        QVERIFY2(VelkaroIni::lowFormatFromValue(yes), yes);
    for (const char *no : {"No", "1", "true", ""})
        QVERIFY2(!VelkaroIni::lowFormatFromValue(no), no);
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
    const VelkaroIni::LcdTypeChoice choice = VelkaroIni::lcdTypeFromValue(value);
    QCOMPARE(int(choice.action), action);
    if (action == VelkaroIni::LcdTypeChoice::SelectResolution)
        QTEST(choice.resolutionIndex, "index");
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

} // namespace

void TestVelkaroIni::pageFill_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<bool>("fileThere");
    QTest::addColumn<QString>("userDataKey");
    QTest::addColumn<Texts>("texts"); // empty: the page takes nothing from the file

    const QString plainKey = VelkaroIni::kDefaultUserDataKey;
    const Texts android{{"Android BootLoader: ", "@u-boot.bin"},
                        {"Kernel CommandLine: ", "console=ttySAC0,115200 skipcali=y"},
                        {"Android Kernel: ", "@zImage-android"},
                        {"Android Ramdisk: ", "@ramdisk-u.img"},
                        {"Android Userdata Image: ", "@userdata-8g.img"},
                        {"Android RootFs/System Image: ", "@system.img"}};
    QTest::newRow("Android, 8G") << int(ConfigPage::Android) << true << "Android-UserData-8G" << android;
    Texts plain = android;
    plain["Android Userdata Image: "] = "@userdata.img";
    QTest::newRow("Android, plain user data") << int(ConfigPage::Android) << true << plainKey << plain;
    // A size whose key the file lacks empties the field rather than falling back.
    Texts noSuchSize = android;
    noSuchSize["Android Userdata Image: "] = "";
    QTest::newRow("Android, 16G not in the file") << int(ConfigPage::Android) << true << "Android-UserData-16G"
                                                  << noSuchSize;
    QTest::newRow("Linux, commented-out ramdisk")
        << int(ConfigPage::Linux) << true << plainKey
        << Texts{{"Linux BootLoader: ", "@u-boot-linux.bin"}, {"Linux Kernel: ", "@zImage"},
                 {"Kernel CommandLine: ", "root=/dev/mtdblock4 init=/linuxrc"}, {"Linux Ramdisk: ", ""},
                 {"Linux RootFs: ", "@rootfs.img"}};
    QTest::newRow("WinCE, boot loader key with a lower-case l")
        << int(ConfigPage::WinCE) << true << plainKey
        << Texts{{"WinCE6 BootLoader: ", "@NBOOT.nb0"}, {"WinCE6 BootLogo: ", "@logo.bmp"},
                 {"WinCE6 InstallImage: ", "@NK.bin"}};
    Texts emptied = android;
    for (QString &text : emptied)
        text.clear();
    QTest::newRow("missing file empties every field") << int(ConfigPage::Android) << false << plainKey << emptied;
    QTest::newRow("user bin run reads nothing") << int(ConfigPage::UserBinRun) << true << plainKey << Texts();
    QTest::newRow("user bin install reads nothing") << int(ConfigPage::UserBinInstall) << true << plainKey << Texts();
}

void TestVelkaroIni::pageFill()
{
    QFETCH(int, kind);
    QFETCH(bool, fileThere);
    QFETCH(QString, userDataKey);
    QFETCH(Texts, texts);

    const VelkaroIni::ImageSet set{dir->path(), fileThere ? writeIni(kFullIni) : dir->filePath("Velkaro.ini")};
    const auto fill = VelkaroIni::readPageFill(ConfigPage::Kind(kind), set, userDataKey);
    QCOMPARE(fill.has_value(), !texts.isEmpty());
    if (!fill)
        return;
    QCOMPARE(fill->lowFormat, fileThere);
    QCOMPARE(int(fill->lcdType.action), int(fileThere ? VelkaroIni::LcdTypeChoice::SelectResolution
                                                      : VelkaroIni::LcdTypeChoice::KeepControls));
    // Every item of the page is set, each exactly once.
    Texts got;
    for (const auto &field : fill->fields)
        got.insert(field.label, field.text);
    QCOMPARE(fill->fields.size(), ConfigPage::itemLabels(ConfigPage::Kind(kind)).size());
    for (QString &text : texts) {
        if (text.startsWith('@'))
            text = dir->path() + "/" + text.mid(1);
    }
    QCOMPARE(got, texts);
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
    QTest::newRow("48G is not 4G: plain key refilled") << c4412 << android << "Halvorn\nEMMC: 48G" << plain << true;
    QTest::newRow("first EMMC line decides") << c4412 << android << "Halvorn\nEMMC:\nEMMC: 8GB" << plain << true;
    QTest::newRow("EMMC on the first line is ignored") << c4412 << android << "EMMC: 8GB\nCPU: 4412" << plain << false;
    QTest::newRow("line without colon") << c4412 << android << "Halvorn\nEMMC 8GB" << plain << false;
    QTest::newRow("empty info") << c4412 << android << "" << plain << false;
    QTest::newRow("6410") << int(TUsbDevCommand::CPU_6410) << android << "Halvorn\nEMMC: 8GB" << plain << false;
    QTest::newRow("5250 has one image") << int(TUsbDevCommand::CPU_5250) << android << "Halvorn\nEMMC: 8GB" << plain
                                        << false;
    QTest::newRow("Linux page") << c4412 << int(ConfigPage::Linux) << "Halvorn\nEMMC: 8GB" << plain << false;
}

void TestVelkaroIni::userDataKeyFromHardwareInfo()
{
    QFETCH(int, cpu);
    QFETCH(int, kind);
    QFETCH(QString, info);
    const auto choice = VelkaroIni::userDataForBoard(TUsbDevCommand::TBoardCPU(cpu), ConfigPage::Kind(kind), info);
    QTEST(choice.key, "key");
    QTEST(choice.refill, "refill");
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
    QCOMPARE(VelkaroIni::programImageSet(program).folder, program + "/images/");
    QCOMPARE(VelkaroIni::programImageSet(program).iniFile, program + "/images/Velkaro.ini");
    // After attach the program's folder is used without the trailing "/".
    QCOMPARE(VelkaroIni::userDataImageSet(dvd, program).folder, program + "/images");
    QCOMPARE(VelkaroIni::userDataImageSet(QString(), program).folder, program + "/images");

    QVERIFY(!writeIni("A = 1\n", dvd).isEmpty());
    QVERIFY(VelkaroIni::isImagesFolder(dvd));
    QCOMPARE(VelkaroIni::chosenImageSet(dvd).folder, dvd);
    QCOMPARE(VelkaroIni::chosenImageSet(dvd).iniFile, dvd + "/Velkaro.ini");
    QCOMPARE(VelkaroIni::userDataImageSet(dvd, program).folder, dvd);
}

QTEST_GUILESS_MAIN(TestVelkaroIni)
#include "tst_velkaroini.moc"
