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
    // The value of "Linux-Kernel" as the file's writer meant it. The first matching line
    // decides even when its value is empty: the user wrote it.
    void readsValue()
    {
        const QList<QPair<QByteArray, QString>> rows = {
            {"  Linux-Kernel \t =   zImage\t \n", "zImage"}, {"linux-kernel = zImage\n", ""},
            {"Linux-Kernel = a=b  c\n", "a=b c"}, {"Linux-Kernel =\nLinux-Kernel = second\n", ""},
            {"Linux-Kernel\nLinux-Kernel = zImage\n", "zImage"}, {"#Linux-Kernel = zImage\n", ""},
            {"\xEF\xBB\xBFLinux-Kernel = zImage\r\nA = 1\r\n", "zImage"}, {"A = 1\nLinux-Kernel = z-\xE4\xB8\xAD", "z-中"},
            {QByteArray("\x00\x01\xff\xfe=\x80\x00\n", 8) + "Linux-Kernel = zImage\n", "zImage"}};
        for (const auto &[content, expected] : rows)
            QCOMPARE(readVelkaroIniKeyValue(writeIni(dir.path(), content), "Linux-Kernel"), expected);
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
        // The user data image for a board comes from the chosen folder, else the program's own.
        QVERIFY(!writeIni(dir.filePath("bin/images"), "A = 1\n").isEmpty());
        QCOMPARE(VelkaroIni::userDataImageSet(dir.path(), dir.filePath("bin")).folder, dir.path());
        QCOMPARE(VelkaroIni::userDataImageSet(dir.filePath("bin/none"), dir.filePath("bin")).folder, dir.filePath("bin/images"));
        for (const auto &[value, yes] : QList<QPair<const char *, bool>>{{"yes", 1}, {"Y", 1}, {"y1", 1}, {"No", 0}, {"1", 0}, {"", 0}})
            QVERIFY2(VelkaroIni::lowFormatFromValue(value) == yes, value);
        const QList<QPair<const char *, int>> lcd = {{"HDMI1080P60", 1}, {"HDMI480P4X3D", 1}, {"HDMI999", 2},
                                                     {"HDMI720p60", 2}, {"hdmi720P60", 0}, {"S70", 0}};
        for (const auto &[value, action] : lcd)
            QCOMPARE(int(VelkaroIni::lcdTypeFromValue(value).action), action);
        QCOMPARE(VelkaroIni::lcdTypeFromValue("HDMI480P4X3D").resolutionIndex, 21);
    }

    // The user data image a 4412 board's eMMC line asks for; "" when the page is left alone.
    void userDataForBoard()
    {
        const int c4412 = TUsbDevCommand::CPU_4412;
        const QList<std::tuple<int, QString, QString>> rows = {
            {c4412, "Halvorn\nCPU: 4412\nEMMC: 8GB\n", "Android-UserData-8G"},
            {c4412, "Halvorn\r\n eMMC : 16g \r\n", "Android-UserData-16G"}, {c4412, "Halvorn\nEMMC: 4G: 16GB", "Android-UserData-4G"},
            {c4412, "Halvorn\nEMMC: 48G", "Android-UserData"}, {c4412, "Halvorn\nEMMC:\nEMMC: 8GB", "Android-UserData"},
            {c4412, "EMMC: 8GB\nCPU: 4412", ""}, {c4412, "Halvorn\nEMMC 8GB", ""},
            {TUsbDevCommand::CPU_5250, "Halvorn\nEMMC: 8GB", ""}};
        for (const auto &[cpu, info, key] : rows) {
            const auto choice = VelkaroIni::userDataForBoard(TUsbDevCommand::TBoardCPU(cpu), ConfigPage::Android, info);
            QCOMPARE(choice.key, key.isEmpty() ? VelkaroIni::kDefaultUserDataKey : key);
            QCOMPARE(choice.refill, !key.isEmpty());
            QVERIFY(!VelkaroIni::userDataForBoard(TUsbDevCommand::TBoardCPU(cpu), ConfigPage::Linux, info).refill);
        }
    }
};

QTEST_GUILESS_MAIN(TestVelkaroIni)
#include "tst_velkaroini.moc"
