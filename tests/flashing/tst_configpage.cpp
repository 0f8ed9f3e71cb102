#include "flashing/configpage.h"

#include <QtTest>

using Cpu = TUsbDevCommand::TBoardCPU;

class TestConfigPage : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Which options each page has: L low format, S skip cali, H HDMI, R RAM address.
    void optionsPerKind()
    {
        const QStringList options = {"LSH", "LSH", "LH", "R", "LR"};
        for (int kind = ConfigPage::Android; kind <= ConfigPage::UserBinInstall; ++kind) {
            const auto k = ConfigPage::Kind(kind);
            QCOMPARE(ConfigPage::hasLowFormatOption(k), options[kind].contains('L'));
            QCOMPARE(ConfigPage::hasSkipCaliOption(k), options[kind].contains('S'));
            QCOMPARE(ConfigPage::hasHdmiOption(k), options[kind].contains('H'));
            QCOMPARE(ConfigPage::hasRamAddressField(k), options[kind].contains('R'));
            QCOMPARE(ConfigPage::hasCommandLineItem(k), ConfigPage::itemLabels(k).contains(ConfigPage::kCommandLineLabel));
        }
    }

    // The proposed RAM address, HDMI, and whether the ramdisk and user data can be taken.
    void processorRules()
    {
        const QList<std::tuple<int, QString, bool, bool>> rows = {
            {TUsbDevCommand::CPU_Unknown, QString(), false, false}, {TUsbDevCommand::CPU_210, "20000000", true, false},
            {TUsbDevCommand::CPU_6410, "50000000", false, false}, {TUsbDevCommand::CPU_2416, "30000000", false, false},
            {TUsbDevCommand::CPU_4412, "4412-userbin-default-addr-should be here", true, true},
            {TUsbDevCommand::CPU_5250, "5250-userbin-default-addr-should be here", true, true},
            {TUsbDevCommand::CPU_3358, "3358-userbin-default-addr-should be here", false, false}, {42, QString(), false, false}};
        for (const auto &[cpu, address, hdmi, ramdisk] : rows) {
            QCOMPARE(ConfigPage::defaultRamAddress(Cpu(cpu)).value_or(QString()), address);
            QCOMPARE(ConfigPage::isBoardHaveHDMI(Cpu(cpu)), hdmi);
            QCOMPARE(ConfigPage::isItemUsable(ConfigPage::Android, ConfigPage::kAndroidUserDataLabel, Cpu(cpu)), ramdisk);
            QCOMPARE(ConfigPage::isItemUsable(ConfigPage::Linux, ConfigPage::kLinuxRamdiskLabel, Cpu(cpu)), ramdisk);
            QVERIFY(ConfigPage::isItemUsable(ConfigPage::Android, "Android Kernel: ", Cpu(cpu)));
            // Only the ramdisk and user data follow the processor: a WinCE or user bin page never greys out.
            QVERIFY(ConfigPage::isItemUsable(ConfigPage::WinCE, "WinCE6 InstallImage: ", Cpu(cpu)));
            QVERIFY(ConfigPage::isItemUsable(ConfigPage::UserBinInstall, ConfigPage::kUserBinLabel, Cpu(cpu)));
        }
    }

    void hdmiHintOncePerRow()
    {
        const QString hint = ConfigPage::hdmiHint();
        QVERIFY(ConfigPage::shouldAppendHdmiHint(""));
        QVERIFY(ConfigPage::shouldAppendHdmiHint(hint + "\nLow Format Succeeded"));
        QVERIFY(!ConfigPage::shouldAppendHdmiHint("Low Format Succeeded\n" + hint));
        QVERIFY(ConfigPage::shouldAppendHdmiHint(hint + " x"));
    }
};

QTEST_GUILESS_MAIN(TestConfigPage)
#include "tst_configpage.moc"
