// From a page's state to the steps sent to the board: what is planned, what is refused
// (and which refusal comes first), the step texts and the board command of each step.

#include "flashing/flashplan.h"
#include "flashing/flashstep.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

using Texts = QMap<QString, QString>; // label -> field text; "@name" is a file of the folder

class TestFlashPlan : public QObject
{
    Q_OBJECT
    QTemporaryDir dir;
    QString real(const QString &text) const { return text.startsWith('@') ? dir.filePath(text.mid(1)) : text; }

private Q_SLOTS:
    void initTestCase()
    {
        QFile good(dir.filePath("good"));
        QVERIFY(good.open(QIODevice::WriteOnly) && good.write("image") == 5);
        QFile empty(dir.filePath("empty"));
        QVERIFY(empty.open(QIODevice::WriteOnly));
        QVERIFY(QDir(dir.path()).mkdir("folder"));
    }

    void build_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("options"); // L low format, H HDMI, S select all, I invert
        QTest::addColumn<QString>("ram");
        QTest::addColumn<Texts>("ticked");    // ticked items with their texts: "" a good file, "-" an empty field
        QTest::addColumn<QStringList>("keys");
        QTest::addColumn<QString>("error");
        const QString ram = FlashPlan::kRamAddressKey, cmd = ConfigPage::kCommandLineLabel;
        QTest::newRow("Android: all, in page order")
            << int(ConfigPage::Android) << "LHS" << "" << Texts{{cmd, ""}}
            << QStringList({"LowFormat", "SetLCDMode", "Android BootLoader: ", "Android Kernel: ", cmd, "Android Ramdisk: ",
                            "Android RootFs/System Image: ", "Android Userdata Image: "}) << "";
        QTest::newRow("Android: nothing") << int(ConfigPage::Android) << "" << "" << Texts() << QStringList() << "No action.";
        QTest::newRow("WinCE: inverted") << int(ConfigPage::WinCE) << "I" << "" << Texts{{"WinCE6 BootLogo: ", ""}}
                                         << QStringList({"WinCE6 BootLoader: ", "WinCE6 InstallImage: "}) << "";
        // Neither low format nor HDMI exists on this page; the address goes as typed.
        QTest::newRow("run: address then image") << int(ConfigPage::UserBinRun) << "LH" << "not hex" << Texts()
                                                 << QStringList{ram, "No OS Image: "} << "";
        QTest::newRow("install: selected all")
            << int(ConfigPage::UserBinInstall) << "LS" << "50000000" << Texts()
            << QStringList{"LowFormat", ram, "Halvorn: ", "No OS Image: "} << "";
        QTest::newRow("install: no address before a missing image") << int(ConfigPage::UserBinInstall) << "" << ""
                                                                   << Texts{{"No OS Image: ", "@missing"}} << QStringList() << "No address.";
        QTest::newRow("run: image field empty") << int(ConfigPage::UserBinRun) << "" << "3" << Texts{{"No OS Image: ", "-"}}
                                                << QStringList() << "No \"No OS Image: \".";
        QTest::newRow("missing boot loader before an empty kernel field")
            << int(ConfigPage::Android) << "" << "" << Texts{{"Android BootLoader: ", "@missing"}, {"Android Kernel: ", "-"}}
            << QStringList() << "File not found \"@missing\".";
        QTest::newRow("empty command line before a missing ramdisk")
            << int(ConfigPage::Android) << "" << "" << Texts{{cmd, "-"}, {"Android Ramdisk: ", "@missing"}}
            << QStringList() << "No kernel command line.";
        QTest::newRow("empty image file") << int(ConfigPage::Linux) << "" << "" << Texts{{"Linux RootFs: ", "@empty"}}
                                          << QStringList() << "Cannot open file \"@empty\".";
        QTest::newRow("a folder is no file") << int(ConfigPage::Linux) << "" << "" << Texts{{"Linux Kernel: ", "@folder"}}
                                             << QStringList() << "File not found \"@folder\".";
    }
    void build()
    {
        QFETCH(int, kind);
        QFETCH(QString, options);
        QFETCH(Texts, ticked);
        QFETCH(QString, error);
        FlashPageState state = FlashPageState::forKind(ConfigPage::Kind(kind));
        QCOMPARE(state.selectedLabels(), ConfigPage::isUserBinPage(state.kind) ? QStringList{"No OS Image: "} : QStringList());
        // Unticked items name a missing file: they must never be looked at.
        const bool selecting = options.contains('S') || options.contains('I');
        for (FlashPageItem &item : state.items) {
            const bool tick = ticked.contains(item.label);
            const QString t = tick ? ticked[item.label] : item.checked || selecting ? QString() : QStringLiteral("@missing");
            item.checked = item.checked || tick;
            item.text = t.isEmpty() ? (item.label == ConfigPage::kCommandLineLabel ? "console=ttySAC0" : real("@good"))
                                    : t == "-" ? QString() : real(t);
        }
        state.lowFormatChecked = options.contains('L');
        state.hdmiChecked = options.contains('H');
        state.hdmiResolution = QStringLiteral("HDMI720P60");
        QFETCH(QString, ram);
        state.ramAddress = ram;
        if (options.contains('S'))
            state.selectAll();
        if (options.contains('I'))
            state.invertSelection();
        const FlashPlan plan = FlashPlan::build(state);
        QCOMPARE(plan.error, QString(error).replace("@missing", real("@missing")).replace("@empty", real("@empty")).replace("@folder", real("@folder")));
        QTEST(plan.keys, "keys");
        QCOMPARE(plan.values.size(), plan.keys.size());
        if (plan.keys.value(1) == "SetLCDMode")
            QCOMPARE(plan.values.mid(0, 3), QStringList({"yes", "HDMI720P60", real("@good")}));
    }

    void commandLineWithoutLineBreaks()
    {
        FlashPageState state = FlashPageState::forKind(ConfigPage::Linux);
        state.item(ConfigPage::kCommandLineLabel)->checked = true;
        state.item(ConfigPage::kCommandLineLabel)->text = QStringLiteral("console=ttySAC0\r\ninit=/linuxrc\n");
        QCOMPARE(FlashPlan::build(state).values, QStringList{"console=ttySAC0init=/linuxrc"});
    }

    // Each step's text in the status line and the board command it becomes.
    void steps_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<bool>("run");
        QTest::addColumn<int>("cpu");
        QTest::addColumn<QString>("status");
        QTest::addColumn<int>("command");
        const int c4412 = TUsbDevCommand::CPU_4412;
        QTest::newRow("low format") << "LowFormat" << false << c4412 << "Low formatting Nand Flash (Step3/12) ..." << int(FlashStep::LowFormat);
        QTest::newRow("LCD") << "SetLCDMode" << false << c4412 << "Set LCD Type (Step3/12) ..." << int(FlashStep::SendLcdType);
        QTest::newRow("command line") << "Kernel CommandLine: " << false << c4412 << "Set kernal command line (Step3/12) ..." << int(FlashStep::SendCmdLine);
        QTest::newRow("system, slash kept") << "Android RootFs/System Image: " << false << c4412 << "Flashing Android RootFs/System Image (Step3/12) ..." << int(FlashStep::SendLinuxFs);
        QTest::newRow("user data, 5250") << "Android Userdata Image: " << false << int(TUsbDevCommand::CPU_5250) << "Flashing Android Userdata Image (Step3/12) ..." << int(FlashStep::SendUserDataFs);
        QTest::newRow("user data, 6410") << "Android Userdata Image: " << false << int(TUsbDevCommand::CPU_6410) << "Flashing Android Userdata Image (Step3/12) ..." << int(FlashStep::Unsupported);
        QTest::newRow("address") << FlashPlan::kRamAddressKey << true << c4412 << "Set RAM address of user-bin (Step3/12) ..." << int(FlashStep::SendAddrOfUserBin);
        QTest::newRow("label without its blank") << "Android Kernel:" << false << c4412 << "" << int(FlashStep::Unsupported);
    }
    void steps()
    {
        QFETCH(QString, key);
        QFETCH(bool, run);
        QFETCH(int, cpu);
        const auto mode = run ? ConfigPage::ActionMode::Run : ConfigPage::ActionMode::Install;
        if (!key.endsWith(':'))
            QTEST(stepStatusText(key, 2, 12, mode), "status");
        const FlashStep step = FlashStep::forPlanStep(key, "/img/v", mode, TUsbDevCommand::TBoardCPU(cpu));
        QTEST(int(step.command), "command");
        QCOMPARE(step.flashIt, key == ConfigPage::kUserBinLabel && !run);
        if (step.command != FlashStep::Unsupported)
            QCOMPARE(step.argument, QString("/img/v"));
        // Labels and commands live in two places; a renamed label would fail at run time.
        for (int kind = ConfigPage::Android; kind <= ConfigPage::UserBinInstall; ++kind)
            for (const QString &label : ConfigPage::itemLabels(ConfigPage::Kind(kind)))
                QVERIFY2(FlashStep::forPlanStep(label, {}, mode, TUsbDevCommand::CPU_4412).command != FlashStep::Unsupported, qPrintable(label));
    }
};

QTEST_GUILESS_MAIN(TestFlashPlan)
#include "tst_flashplan.moc"
