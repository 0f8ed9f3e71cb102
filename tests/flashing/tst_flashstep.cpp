#include "flashing/flashplan.h"
#include "flashing/flashstep.h"

#include <QtTest>

using Mode = ConfigPage::ActionMode;

class TestFlashStep : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void commandForStep_data();
    void commandForStep();
    void everyPageItemHasACommand();
};

void TestFlashStep::commandForStep_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("cpu");
    QTest::addColumn<int>("command");
    QTest::addColumn<bool>("flashIt");

    const int install = int(Mode::Install);
    const int run = int(Mode::Run);
    const int c4412 = TUsbDevCommand::CPU_4412;

    QTest::newRow("low format") << "LowFormat" << install << c4412 << int(FlashStep::LowFormat) << false;
    QTest::newRow("LCD type") << "SetLCDMode" << install << c4412 << int(FlashStep::SendLcdType) << false;
    QTest::newRow("Linux boot loader") << "Linux BootLoader: " << install << c4412 << int(FlashStep::SendHalvorn)
                                       << false;
    QTest::newRow("WinCE boot loader") << "WinCE6 BootLoader: " << install << c4412 << int(FlashStep::SendHalvorn)
                                       << false;
    QTest::newRow("Halvorn") << "Halvorn: " << install << c4412 << int(FlashStep::SendHalvorn) << false;
    QTest::newRow("command line") << "Kernel CommandLine: " << install << c4412 << int(FlashStep::SendCmdLine)
                                  << false;
    QTest::newRow("Linux kernel") << "Linux Kernel: " << install << c4412 << int(FlashStep::SendKernel) << false;
    QTest::newRow("Android ramdisk") << "Android Ramdisk: " << install << c4412 << int(FlashStep::SendRamdisk)
                                     << false;
    QTest::newRow("user data on a 4412") << "Android Userdata Image: " << install << c4412
                                         << int(FlashStep::SendUserDataFs) << false;
    QTest::newRow("user data on a 5250") << "Android Userdata Image: " << install
                                         << int(TUsbDevCommand::CPU_5250) << int(FlashStep::SendUserDataFs) << false;
    QTest::newRow("user data on a 6410 fails") << "Android Userdata Image: " << install
                                               << int(TUsbDevCommand::CPU_6410) << int(FlashStep::Unsupported)
                                               << false;
    QTest::newRow("user data, no board known") << "Android Userdata Image: " << install
                                               << int(TUsbDevCommand::CPU_Unknown) << int(FlashStep::Unsupported)
                                               << false;
    QTest::newRow("Android system") << "Android RootFs/System Image: " << install << c4412
                                    << int(FlashStep::SendLinuxFs) << false;
    QTest::newRow("Linux root fs") << "Linux RootFs: " << install << c4412 << int(FlashStep::SendLinuxFs) << false;
    QTest::newRow("WinCE logo") << "WinCE6 BootLogo: " << install << c4412 << int(FlashStep::SendCeLogo) << false;
    QTest::newRow("WinCE image") << "WinCE6 InstallImage: " << install << c4412 << int(FlashStep::SendCeNk) << false;
    QTest::newRow("user bin installed") << "No OS Image: " << install << int(TUsbDevCommand::CPU_2440)
                                        << int(FlashStep::SendUserBin) << true;
    QTest::newRow("user bin run") << "No OS Image: " << run << int(TUsbDevCommand::CPU_2440)
                                  << int(FlashStep::SendUserBin) << false;
    QTest::newRow("address") << "RAM Address (Download/Loading): 0x" << run << int(TUsbDevCommand::CPU_2440)
                             << int(FlashStep::SendAddrOfUserBin) << false;
    QTest::newRow("unknown key") << "Android Logo: " << install << c4412 << int(FlashStep::Unsupported) << false;
    QTest::newRow("keys are case-sensitive") << "android kernel: " << install << c4412
                                             << int(FlashStep::Unsupported) << false;
    QTest::newRow("label without its blank") << "Android Kernel:" << install << c4412
                                             << int(FlashStep::Unsupported) << false;
}

void TestFlashStep::commandForStep()
{
    QFETCH(QString, key);
    QFETCH(int, mode);
    QFETCH(int, cpu);
    QFETCH(int, command);
    QFETCH(bool, flashIt);

    const FlashStep step = FlashStep::forPlanStep(key, QStringLiteral("/img/value"), Mode(mode),
                                                  TUsbDevCommand::TBoardCPU(cpu));
    QCOMPARE(int(step.command), command);
    QCOMPARE(step.flashIt, flashIt);
    if (step.command != FlashStep::Unsupported)
        QCOMPARE(step.argument, QString("/img/value"));
}

// Labels and commands are kept in two places; a label renamed in one would make its step
// fail at run time.
void TestFlashStep::everyPageItemHasACommand()
{
    for (int kind = ConfigPage::Android; kind <= ConfigPage::UserBinInstall; ++kind) {
        for (const QString &label : ConfigPage::itemLabels(ConfigPage::Kind(kind))) {
            const FlashStep step = FlashStep::forPlanStep(label, QString(), Mode::Install, TUsbDevCommand::CPU_4412);
            QVERIFY2(step.command != FlashStep::Unsupported, qPrintable(label));
        }
    }
    for (const QString &key : {FlashPlan::kLowFormatKey, FlashPlan::kLcdTypeKey, FlashPlan::kRamAddressKey})
        QVERIFY2(FlashStep::forPlanStep(key, QString(), Mode::Run, TUsbDevCommand::CPU_210).command
                     != FlashStep::Unsupported,
                 qPrintable(key));
}

QTEST_GUILESS_MAIN(TestFlashStep)
#include "tst_flashstep.moc"
