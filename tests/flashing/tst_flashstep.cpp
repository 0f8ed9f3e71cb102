#include "boardlink/virtualboard.h"
#include "flashing/flashplan.h"
#include "flashing/flashruntexts.h"
#include "flashing/flashstep.h"
#include "flashing/velkaroini.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

using Mode = ConfigPage::ActionMode;

class TestFlashStep : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void commandForStep_data();
    void commandForStep();
    void everyPageItemHasACommand();
    void runTexts();
    void androidPlanReachesTheBoard();
    void userBinRunLeavesDownloadMode();
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
    QTest::newRow("Android boot loader") << "Android BootLoader: " << install << c4412 << int(FlashStep::SendHalvorn)
                                         << false;
    QTest::newRow("Linux boot loader") << "Linux BootLoader: " << install << c4412 << int(FlashStep::SendHalvorn)
                                       << false;
    QTest::newRow("WinCE boot loader") << "WinCE6 BootLoader: " << install << c4412 << int(FlashStep::SendHalvorn)
                                       << false;
    QTest::newRow("Halvorn") << "Halvorn: " << install << c4412 << int(FlashStep::SendHalvorn) << false;
    QTest::newRow("command line") << "Kernel CommandLine: " << install << c4412 << int(FlashStep::SendCmdLine)
                                  << false;
    QTest::newRow("Android kernel") << "Android Kernel: " << install << c4412 << int(FlashStep::SendKernel) << false;
    QTest::newRow("Linux kernel") << "Linux Kernel: " << install << c4412 << int(FlashStep::SendKernel) << false;
    QTest::newRow("Android ramdisk") << "Android Ramdisk: " << install << c4412 << int(FlashStep::SendRamdisk)
                                     << false;
    QTest::newRow("Linux ramdisk") << "Linux Ramdisk: " << install << c4412 << int(FlashStep::SendRamdisk) << false;
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

void TestFlashStep::runTexts()
{
    QCOMPARE(FlashRunTexts::messageTitle(), QString("Message"));
    QCOMPARE(FlashRunTexts::flashingFailed(), QString("An error occurred during flashing."));
    QCOMPARE(FlashRunTexts::abortHint(), QString("To abort the current operation, restart the board."));
    QCOMPARE(FlashRunTexts::completedLogLine(),
             QString("<font color=blue>All operations was completed successfully.</font>"));
    QCOMPARE(FlashRunTexts::runSeparatorLine(),
             QString("<font color=black>-----------------------------------------------------------</font>"));
    QCOMPARE(FlashRunTexts::boardLogLine(1, "Read file error"), QString("<font color=red>Read file error</font>"));
    QCOMPARE(FlashRunTexts::boardLogLine(0, "Low Format Succeeded"),
             QString("<font color=black>Low Format Succeeded</font>"));
    QCOMPARE(FlashRunTexts::boardLogLine(2, "x"), QString("<font color=black>x</font>"));
    QCOMPARE(FlashRunTexts::hintLogLine(ConfigPage::hdmiHint()),
             QString("<font color=green>Hint: To use only the HDMI output, do not connect the LCD.</font>"));
    QCOMPARE(VelkaroIni::notAnImagesFolderMessage(),
             QString("Incorrect directory, Cannot find the file \"Velkaro.ini\"."));
}

namespace {

// Drives a plan the way the page's run does: each step starts when the previous one has
// finished well. Returns how many steps finished well.
int runPlan(TUsbDevCommand &board, const FlashPlan &plan, Mode mode)
{
    QSignalSpy finished(&board, &TUsbDevCommand::SendFinished);
    for (int i = 0; i < plan.size(); ++i) {
        const FlashStep step = FlashStep::forPlanStep(plan.keys.at(i), plan.values.at(i), mode, board.boardCpu());
        finished.clear();
        if (!step.issueTo(board))
            return i;
        if (finished.isEmpty() && !finished.wait(5000))
            return i;
        // Only the first completion counts: a user bin run from RAM may report a second
        // one while the board leaves, which the page's run ignores once it has ended.
        if (!finished.first().first().toBool())
            return i;
    }
    return plan.size();
}

struct ConnectedBoard
{
    explicit ConnectedBoard(TUsbDevCommand::TBoardCPU cpu)
        : virtualBoard(std::make_shared<VirtualBoard>(cpu))
    {
        virtualBoard->setWritingRounds(1);
        virtualBoard->plugIn();
        QSignalSpy attached(&link, &TUsbDevCommand::NewDeviceAttached);
        link.setTransport(virtualBoard);
        link.pollBoard();
        hardwareInfo = attached.isEmpty() ? QString() : attached.first().first().toString();
    }

    std::shared_ptr<VirtualBoard> virtualBoard;
    TUsbDevCommand link;
    QString hardwareInfo;
};

bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

} // namespace

void TestFlashStep::androidPlanReachesTheBoard()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    for (const char *name : {"u-boot.bin", "zImage", "ramdisk.img", "system.img", "userdata-8g.img"})
        QVERIFY(writeFile(dir.filePath(name), QByteArray(name) + QByteArray(3000, 'd')));
    QVERIFY(writeFile(dir.filePath("Velkaro.ini"), "LowFormat = yes\nLCD-Type = HDMI720P60\n"
                                                   "Android-BootLoader = u-boot.bin\nAndroid-Kernel = zImage\n"
                                                   "Android-CommandLine = console=ttySAC0 skipcali=y\n"
                                                   "Android-RamDisk = ramdisk.img\n"
                                                   "Android-UserData-8G = userdata-8g.img\n"
                                                   "Android-RootFs-InstallImage = system.img\n"));

    ConnectedBoard board(TUsbDevCommand::CPU_4412);
    QVERIFY(board.link.isConnected());
    QCOMPARE(board.link.boardCpu(), TUsbDevCommand::CPU_4412);

    // The board's own description picks the user-data image for its eMMC size.
    const auto userData = VelkaroIni::userDataForBoard(board.link.boardCpu(), ConfigPage::Android, board.hardwareInfo);
    QCOMPARE(userData.key, QString("Android-UserData-8G"));

    const VelkaroIni::ImageSet set = VelkaroIni::chosenImageSet(dir.path());
    const auto fill = VelkaroIni::readPageFill(ConfigPage::Android, set, userData.key);
    QVERIFY(fill);
    FlashPageState state = FlashPageState::forKind(ConfigPage::Android);
    for (const auto &field : fill->fields)
        state.item(field.label)->text = field.text;
    state.selectFilledItems();
    state.lowFormatChecked = fill->lowFormat;
    state.hdmiChecked = fill->lcdType.action == VelkaroIni::LcdTypeChoice::SelectResolution;
    state.hdmiResolution = ConfigPage::hdmiResolutions().at(fill->lcdType.resolutionIndex);

    const FlashPlan plan = FlashPlan::build(state);
    QVERIFY2(plan.isValid(), qPrintable(plan.error));
    QCOMPARE(plan.size(), 8);

    board.link.SetOS(ConfigPage::targetOs(ConfigPage::Android));
    QCOMPARE(runPlan(board.link, plan, Mode::Install), 8);
    QCOMPARE(board.virtualBoard->formatCommands().size(), 1);
    QCOMPARE(board.virtualBoard->lcdType(), QByteArray("HDMI720P60"));
    QCOMPARE(board.virtualBoard->receivedTags(),
             QList<QByteArray>({"hlvn", "kern", "cmdl", "rmdk",
                                TUsbDevCommand::fileSystemTag(TUsbDevCommand::CPU_4412, TUsbDevCommand::OS_Android),
                                "fuig"}));
    QCOMPARE(board.virtualBoard->image("cmdl"), QByteArray("console=ttySAC0 skipcali=y"));
    QCOMPARE(board.virtualBoard->image("fuig"), QByteArray("userdata-8g.img") + QByteArray(3000, 'd'));
}

void TestFlashStep::userBinRunLeavesDownloadMode()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    QVERIFY(writeFile(dir.filePath("led.bin"), QByteArray(700, 'u')));

    ConnectedBoard board(TUsbDevCommand::CPU_2440);
    QVERIFY(board.link.isConnected());
    FlashPageState state = FlashPageState::forKind(ConfigPage::UserBinRun);
    state.ramAddress = *ConfigPage::defaultRamAddress(board.link.boardCpu());
    state.item(ConfigPage::kUserBinLabel)->text = dir.filePath("led.bin");

    const FlashPlan plan = FlashPlan::build(state);
    QCOMPARE(plan.size(), 2);
    board.link.SetOS(ConfigPage::targetOs(ConfigPage::UserBinRun));
    QCOMPARE(runPlan(board.link, plan, Mode::Run), 2);
    QCOMPARE(board.virtualBoard->userBinAddress(), QByteArray("30000000"));
    QCOMPARE(board.virtualBoard->receivedTags(), QList<QByteArray>{"rbin"});
    QTRY_COMPARE(board.virtualBoard->timesLeftDownloadMode(), 1);
}

QTEST_GUILESS_MAIN(TestFlashStep)
#include "tst_flashstep.moc"
