#include "flashing/configpage.h"

#include <QtTest>

using Cpu = TUsbDevCommand::TBoardCPU;

class TestConfigPage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void optionsPerKind_data();
    void optionsPerKind();
    void ramAddressDefault_data();
    void ramAddressDefault();
    void processorRules_data();
    void processorRules();
    void resolutions();
    void hdmiHintOncePerRow_data();
    void hdmiHintOncePerRow();
};

void TestConfigPage::optionsPerKind_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("viewName");
    QTest::addColumn<int>("itemCount");
    QTest::addColumn<bool>("lowFormat");
    QTest::addColumn<bool>("skipCali");
    QTest::addColumn<bool>("hdmi");
    QTest::addColumn<bool>("ramAddress");
    QTest::addColumn<int>("os");

    QTest::newRow("Android") << int(ConfigPage::Android) << "androidView" << 6 << true << true << true << false
                             << int(TUsbDevCommand::OS_Android);
    QTest::newRow("Linux") << int(ConfigPage::Linux) << "linuxView" << 5 << true << true << true << false
                           << int(TUsbDevCommand::OS_Linux);
    QTest::newRow("WinCE") << int(ConfigPage::WinCE) << "winCEView" << 3 << true << false << true << false
                           << int(TUsbDevCommand::OS_WinCE);
    QTest::newRow("user bin run") << int(ConfigPage::UserBinRun) << "nonOSViewRun" << 1 << false << false << false
                                  << true << int(TUsbDevCommand::OS_NoOS);
    QTest::newRow("user bin install") << int(ConfigPage::UserBinInstall) << "nonOSViewInstall" << 2 << true << false
                                      << false << true << int(TUsbDevCommand::OS_NoOS);
}

void TestConfigPage::optionsPerKind()
{
    QFETCH(int, kind);
    QFETCH(QString, viewName);
    QFETCH(int, itemCount);
    QFETCH(bool, lowFormat);
    QFETCH(bool, skipCali);
    QFETCH(bool, hdmi);
    QFETCH(bool, ramAddress);
    QFETCH(int, os);

    const auto k = ConfigPage::Kind(kind);
    const QStringList labels = ConfigPage::itemLabels(k);
    QCOMPARE(ConfigPage::viewName(k), viewName);
    QCOMPARE(labels.size(), itemCount);
    QStringList unique = labels;
    QCOMPARE(unique.removeDuplicates(), 0);
    // Labels are step keys and "%1" of messages: they must keep their ": " ending.
    for (const QString &label : labels)
        QVERIFY2(label.endsWith(": "), qPrintable(label));
    QCOMPARE(ConfigPage::hasLowFormatOption(k), lowFormat);
    QCOMPARE(ConfigPage::hasSkipCaliOption(k), skipCali);
    QCOMPARE(ConfigPage::hasCommandLineItem(k), labels.contains(ConfigPage::kCommandLineLabel));
    QCOMPARE(ConfigPage::hasHdmiOption(k), hdmi);
    QCOMPARE(ConfigPage::hasRamAddressField(k), ramAddress);
    QCOMPARE(ConfigPage::isUserBinPage(k), labels.contains(ConfigPage::kUserBinLabel));
    QCOMPARE(int(ConfigPage::targetOs(k)), os);
}

void TestConfigPage::ramAddressDefault_data()
{
    QTest::addColumn<int>("cpu");
    QTest::addColumn<QString>("address"); // null: the field keeps its text

    QTest::newRow("unknown") << int(TUsbDevCommand::CPU_Unknown) << QString();
    QTest::newRow("210") << int(TUsbDevCommand::CPU_210) << "20000000";
    QTest::newRow("6410") << int(TUsbDevCommand::CPU_6410) << "50000000";
    QTest::newRow("2440") << int(TUsbDevCommand::CPU_2440) << "30000000";
    QTest::newRow("2451") << int(TUsbDevCommand::CPU_2451) << "30000000";
    QTest::newRow("2416") << int(TUsbDevCommand::CPU_2416) << "30000000";
    QTest::newRow("4412") << int(TUsbDevCommand::CPU_4412) << "4412-userbin-default-addr-should be here";
    QTest::newRow("5250") << int(TUsbDevCommand::CPU_5250) << "5250-userbin-default-addr-should be here";
    QTest::newRow("3358") << int(TUsbDevCommand::CPU_3358) << "3358-userbin-default-addr-should be here";
    QTest::newRow("out of range") << 42 << QString();
}

void TestConfigPage::ramAddressDefault()
{
    QFETCH(int, cpu);
    QFETCH(QString, address);

    const std::optional<QString> proposed = ConfigPage::defaultRamAddress(Cpu(cpu));
    QCOMPARE(proposed.has_value(), !address.isNull());
    if (proposed)
        QCOMPARE(*proposed, address);
}

void TestConfigPage::processorRules_data()
{
    QTest::addColumn<int>("cpu");
    QTest::addColumn<bool>("hdmi");
    QTest::addColumn<bool>("ramdiskAndUserData");

    QTest::newRow("unknown") << int(TUsbDevCommand::CPU_Unknown) << false << false;
    QTest::newRow("210") << int(TUsbDevCommand::CPU_210) << true << false;
    QTest::newRow("6410") << int(TUsbDevCommand::CPU_6410) << false << false;
    QTest::newRow("2440") << int(TUsbDevCommand::CPU_2440) << false << false;
    QTest::newRow("2451") << int(TUsbDevCommand::CPU_2451) << false << false;
    QTest::newRow("2416") << int(TUsbDevCommand::CPU_2416) << false << false;
    QTest::newRow("4412") << int(TUsbDevCommand::CPU_4412) << true << true;
    QTest::newRow("5250") << int(TUsbDevCommand::CPU_5250) << true << true;
    QTest::newRow("3358") << int(TUsbDevCommand::CPU_3358) << false << false;
}

void TestConfigPage::processorRules()
{
    QFETCH(int, cpu);
    QFETCH(bool, hdmi);
    QFETCH(bool, ramdiskAndUserData);

    QCOMPARE(ConfigPage::isBoardHaveHDMI(Cpu(cpu)), hdmi);
    QCOMPARE(ConfigPage::isRamdiskUsable(Cpu(cpu)), ramdiskAndUserData);
    QCOMPARE(ConfigPage::isUserDataUsable(Cpu(cpu)), ramdiskAndUserData);
    QCOMPARE(ConfigPage::isItemUsable(ConfigPage::Android, ConfigPage::kAndroidRamdiskLabel, Cpu(cpu)),
             ramdiskAndUserData);
    QCOMPARE(ConfigPage::isItemUsable(ConfigPage::Android, ConfigPage::kAndroidUserDataLabel, Cpu(cpu)),
             ramdiskAndUserData);
    QCOMPARE(ConfigPage::isItemUsable(ConfigPage::Linux, ConfigPage::kLinuxRamdiskLabel, Cpu(cpu)),
             ramdiskAndUserData);
}

void TestConfigPage::resolutions()
{
    const QStringList &names = ConfigPage::hdmiResolutions();
    QCOMPARE(names.size(), 22);
    QCOMPARE(names.at(ConfigPage::kDefaultHdmiResolutionIndex), QString("HDMI1080P60D"));
    QCOMPARE(names.at(0), QString("HDMI1080P60"));
    QCOMPARE(names.at(4), QString("HDMI1080P30"));
    QCOMPARE(names.at(10), QString("HDMI720P60"));
    QCOMPARE(names.at(14), QString("HDMI576P16X9"));
    QCOMPARE(names.at(21), QString("HDMI480P4X3D"));
    // Every mode comes with its "D" variant, and no name twice.
    QStringList copy = names;
    QCOMPARE(copy.removeDuplicates(), 0);
    for (const QString &name : names) {
        QVERIFY(name.startsWith("HDMI"));
        if (!name.endsWith('D'))
            QVERIFY2(names.contains(name + 'D'), qPrintable(name));
    }
}

void TestConfigPage::hdmiHintOncePerRow_data()
{
    QTest::addColumn<QString>("log");
    QTest::addColumn<bool>("append");

    const QString hint = "Hint: To use only the HDMI output, do not connect the LCD.";
    QTest::newRow("empty log") << "" << true;
    QTest::newRow("other last line") << hint + "\nLow Format Succeeded" << true;
    QTest::newRow("hint is the last line") << "Low Format Succeeded\n" + hint << false;
    QTest::newRow("hint alone") << hint << false;
    QTest::newRow("hint with more after it on its line") << hint + " x" << true;
}

void TestConfigPage::hdmiHintOncePerRow()
{
    QFETCH(QString, log);
    QFETCH(bool, append);
    QCOMPARE(ConfigPage::shouldAppendHdmiHint(log), append);
}

QTEST_GUILESS_MAIN(TestConfigPage)
#include "tst_configpage.moc"
