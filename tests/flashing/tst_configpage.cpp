#include "flashing/configpage.h"

#include <QtTest>

using Cpu = TUsbDevCommand::TBoardCPU;

class TestConfigPage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void optionsPerKind_data();
    void optionsPerKind();
    void processorRules_data();
    void processorRules();
    void hdmiHintOncePerRow_data();
    void hdmiHintOncePerRow();
};

void TestConfigPage::optionsPerKind_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("viewName");
    QTest::addColumn<QString>("options"); // L low format, S skip cali, H HDMI, R RAM address
    QTest::addColumn<int>("os");

    QTest::newRow("Android") << int(ConfigPage::Android) << "androidView" << "LSH" << int(TUsbDevCommand::OS_Android);
    QTest::newRow("Linux") << int(ConfigPage::Linux) << "linuxView" << "LSH" << int(TUsbDevCommand::OS_Linux);
    QTest::newRow("WinCE") << int(ConfigPage::WinCE) << "winCEView" << "LH" << int(TUsbDevCommand::OS_WinCE);
    QTest::newRow("user bin run") << int(ConfigPage::UserBinRun) << "nonOSViewRun" << "R"
                                  << int(TUsbDevCommand::OS_NoOS);
    QTest::newRow("user bin install") << int(ConfigPage::UserBinInstall) << "nonOSViewInstall" << "LR"
                                      << int(TUsbDevCommand::OS_NoOS);
}

void TestConfigPage::optionsPerKind()
{
    QFETCH(int, kind);
    QFETCH(QString, options);
    const auto k = ConfigPage::Kind(kind);
    const QStringList labels = ConfigPage::itemLabels(k);
    QTEST(ConfigPage::viewName(k), "viewName");
    QStringList unique = labels;
    QCOMPARE(unique.removeDuplicates(), 0);
    // Labels are step keys and "%1" of messages: they must keep their ": " ending.
    for (const QString &label : labels)
        QVERIFY2(label.endsWith(": "), qPrintable(label));
    QCOMPARE(ConfigPage::hasLowFormatOption(k), options.contains('L'));
    QCOMPARE(ConfigPage::hasSkipCaliOption(k), options.contains('S'));
    QCOMPARE(ConfigPage::hasCommandLineItem(k), labels.contains(ConfigPage::kCommandLineLabel));
    QCOMPARE(ConfigPage::hasHdmiOption(k), options.contains('H'));
    QCOMPARE(ConfigPage::hasRamAddressField(k), options.contains('R'));
    QCOMPARE(ConfigPage::isUserBinPage(k), labels.contains(ConfigPage::kUserBinLabel));
    QTEST(int(ConfigPage::targetOs(k)), "os");
}

void TestConfigPage::processorRules_data()
{
    QTest::addColumn<int>("cpu");
    QTest::addColumn<QString>("address"); // null: the field keeps its text
    QTest::addColumn<bool>("hdmi");
    QTest::addColumn<bool>("ramdiskAndUserData");

    QTest::newRow("unknown") << int(TUsbDevCommand::CPU_Unknown) << QString() << false << false;
    QTest::newRow("210") << int(TUsbDevCommand::CPU_210) << "20000000" << true << false;
    QTest::newRow("6410") << int(TUsbDevCommand::CPU_6410) << "50000000" << false << false;
    QTest::newRow("2451") << int(TUsbDevCommand::CPU_2451) << "30000000" << false << false;
    QTest::newRow("2416") << int(TUsbDevCommand::CPU_2416) << "30000000" << false << false;
    QTest::newRow("4412") << int(TUsbDevCommand::CPU_4412) << "4412-userbin-default-addr-should be here" << true
                          << true;
    QTest::newRow("5250") << int(TUsbDevCommand::CPU_5250) << "5250-userbin-default-addr-should be here" << true
                          << true;
    QTest::newRow("3358") << int(TUsbDevCommand::CPU_3358) << "3358-userbin-default-addr-should be here" << false
                          << false;
    QTest::newRow("out of range") << 42 << QString() << false << false;
}

void TestConfigPage::processorRules()
{
    QFETCH(int, cpu);
    QFETCH(QString, address);
    QFETCH(bool, hdmi);
    QFETCH(bool, ramdiskAndUserData);

    const std::optional<QString> proposed = ConfigPage::defaultRamAddress(Cpu(cpu));
    QCOMPARE(proposed.value_or(QString()), address);
    QCOMPARE(ConfigPage::isBoardHaveHDMI(Cpu(cpu)), hdmi);
    QCOMPARE(ConfigPage::isItemUsable(ConfigPage::Android, ConfigPage::kAndroidRamdiskLabel, Cpu(cpu)),
             ramdiskAndUserData);
    QCOMPARE(ConfigPage::isItemUsable(ConfigPage::Android, ConfigPage::kAndroidUserDataLabel, Cpu(cpu)),
             ramdiskAndUserData);
    QCOMPARE(ConfigPage::isItemUsable(ConfigPage::Linux, ConfigPage::kLinuxRamdiskLabel, Cpu(cpu)),
             ramdiskAndUserData);
    // Every other item stays usable whatever the board.
    QVERIFY(ConfigPage::isItemUsable(ConfigPage::Android, "Android Kernel: ", Cpu(cpu)));
}

void TestConfigPage::hdmiHintOncePerRow_data()
{
    QTest::addColumn<QString>("log");
    QTest::addColumn<bool>("append");

    const QString hint = "Hint: To use only the HDMI output, do not connect the LCD.";
    QTest::newRow("empty log") << "" << true;
    QTest::newRow("other last line") << hint + "\nLow Format Succeeded" << true;
    QTest::newRow("hint is the last line") << "Low Format Succeeded\n" + hint << false;
    QTest::newRow("hint with more after it on its line") << hint + " x" << true;
}

void TestConfigPage::hdmiHintOncePerRow()
{
    QFETCH(QString, log);
    QTEST(ConfigPage::shouldAppendHdmiHint(log), "append");
}

QTEST_GUILESS_MAIN(TestConfigPage)
#include "tst_configpage.moc"
