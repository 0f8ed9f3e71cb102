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
        QFile good(dir.filePath("good")), empty(dir.filePath("empty"));
        QVERIFY(good.open(QIODevice::WriteOnly) && good.write("image") == 5 && empty.open(QIODevice::WriteOnly));
        QVERIFY(QDir(dir.path()).mkdir("folder"));
    }

    void build()
    {
        const QString ram = FlashPlan::kRamAddressKey, cmd = ConfigPage::kCommandLineLabel, image = ConfigPage::kUserBinLabel;
        // options: L low format, H HDMI, S select all, I invert; ticked: labels with their
        // texts, "" a good file, "-" an empty field.
        const struct { ConfigPage::Kind kind; QString options, ram; Texts ticked; QStringList keys; QString error; } rows[] = {
            {ConfigPage::Android, "LHS", "", {{cmd, ""}}, {"LowFormat", "SetLCDMode", "Android BootLoader: ", "Android Kernel: ",
             cmd, "Android Ramdisk: ", "Android RootFs/System Image: ", "Android Userdata Image: "}, ""},
            {ConfigPage::Android, "", "", {}, {}, "No action."},
            {ConfigPage::WinCE, "I", "", {{"WinCE6 BootLogo: ", ""}}, {"WinCE6 BootLoader: ", "WinCE6 InstallImage: "}, ""},
            // Neither low format nor HDMI exists on this page; the address goes as typed.
            {ConfigPage::UserBinRun, "LH", "not hex", {}, {ram, image}, ""},
            {ConfigPage::UserBinInstall, "LS", "50000000", {}, {"LowFormat", ram, "Halvorn: ", image}, ""},
            {ConfigPage::UserBinInstall, "", "", {{image, "@missing"}}, {}, "No address."},
            {ConfigPage::UserBinRun, "", "3", {{image, "-"}}, {}, "No \"No OS Image: \"."},
            {ConfigPage::Android, "", "", {{"Android BootLoader: ", "@missing"}, {"Android Kernel: ", "-"}}, {}, "File not found \"@missing\"."},
            {ConfigPage::Android, "", "", {{cmd, "-"}, {"Android Ramdisk: ", "@missing"}}, {}, "No kernel command line."},
            {ConfigPage::Linux, "", "", {{"Linux RootFs: ", "@empty"}}, {}, "Cannot open file \"@empty\"."},
            {ConfigPage::Linux, "", "", {{"Linux Kernel: ", "@folder"}}, {}, "File not found \"@folder\"."}};
        for (const auto &row : rows) {
            FlashPageState state = FlashPageState::forKind(row.kind);
            QCOMPARE(state.selectedLabels(), ConfigPage::isUserBinPage(state.kind) ? QStringList{image} : QStringList());
            // Unticked items name a missing file: they must never be looked at.
            const bool selecting = row.options.contains('S') || row.options.contains('I');
            for (FlashPageItem &item : state.items) {
                const bool tick = row.ticked.contains(item.label);
                const QString t = tick ? row.ticked[item.label] : item.checked || selecting ? QString() : QStringLiteral("@missing");
                item.checked = item.checked || tick;
                item.text = t.isEmpty() ? (item.label == cmd ? "console=ttySAC0" : real("@good")) : t == "-" ? QString() : real(t);
            }
            state.lowFormatChecked = row.options.contains('L');
            state.hdmiChecked = row.options.contains('H');
            state.hdmiResolution = QStringLiteral("HDMI720P60");
            state.ramAddress = row.ram;
            if (row.options.contains('S'))
                state.selectAll();
            if (row.options.contains('I'))
                state.invertSelection();
            const FlashPlan plan = FlashPlan::build(state);
            QCOMPARE(plan.error, QString(row.error).replace("\"@", "\"" + dir.path() + '/'));
            QCOMPARE(plan.keys, row.keys);
            QCOMPARE(plan.values.size(), plan.keys.size());
            if (plan.keys.value(1) == "SetLCDMode")
                QCOMPARE(plan.values.mid(0, 3), QStringList({"yes", "HDMI720P60", real("@good")}));
        }
    }

    void commandLineWithoutLineBreaks()
    {
        FlashPageState state = FlashPageState::forKind(ConfigPage::Linux);
        state.item(ConfigPage::kCommandLineLabel)->checked = true;
        state.item(ConfigPage::kCommandLineLabel)->text = QStringLiteral("console=ttySAC0\r\ninit=/linuxrc\n");
        QCOMPARE(FlashPlan::build(state).values, QStringList{"console=ttySAC0init=/linuxrc"});
    }

    // Each step's text in the status line and the board command it becomes.
    void steps()
    {
        using S = FlashStep;
        const int c4412 = TUsbDevCommand::CPU_4412, c5250 = TUsbDevCommand::CPU_5250, c6410 = TUsbDevCommand::CPU_6410;
        const QString userData = "Android Userdata Image: ", userDataText = "Flashing Android Userdata Image (Step3/12) ...";
        const QList<std::tuple<QString, bool, int, QString, S::Command>> rows = {
            {"LowFormat", false, c4412, "Low formatting Nand Flash (Step3/12) ...", S::LowFormat},
            {"SetLCDMode", false, c4412, "Set LCD Type (Step3/12) ...", S::SendLcdType},
            {"Kernel CommandLine: ", false, c4412, "Set kernal command line (Step3/12) ...", S::SendCmdLine},
            {"Android RootFs/System Image: ", false, c4412, "Flashing Android RootFs/System Image (Step3/12) ...", S::SendLinuxFs},
            {userData, false, c5250, userDataText, S::SendUserDataFs}, {userData, false, c6410, userDataText, S::Unsupported},
            {FlashPlan::kRamAddressKey, true, c4412, "Set RAM address of user-bin (Step3/12) ...", S::SendAddrOfUserBin},
            {ConfigPage::kUserBinLabel, false, c4412, "", S::SendUserBin}, {ConfigPage::kUserBinLabel, true, c4412, "", S::SendUserBin},
            {"Android Kernel:", false, c4412, "", S::Unsupported}}; // a label without its blank
        for (const auto &[key, run, cpu, status, command] : rows) {
            const auto mode = run ? ConfigPage::ActionMode::Run : ConfigPage::ActionMode::Install;
            if (!status.isEmpty())
                QCOMPARE(stepStatusText(key, 2, 12, mode), status);
            const FlashStep step = FlashStep::forPlanStep(key, "/img/v", mode, TUsbDevCommand::TBoardCPU(cpu));
            QCOMPARE(step.command, command);
            QCOMPARE(step.flashIt, key == ConfigPage::kUserBinLabel && !run);
            QCOMPARE(step.argument, command == S::Unsupported ? QString() : QString("/img/v"));
        }
        // Labels and commands live in two places; a renamed label would fail at run time.
        for (int kind = ConfigPage::Android; kind <= ConfigPage::UserBinInstall; ++kind)
            for (const QString &label : ConfigPage::itemLabels(ConfigPage::Kind(kind)))
                QVERIFY2(S::forPlanStep(label, {}, ConfigPage::ActionMode::Install, TUsbDevCommand::CPU_4412).command
                             != S::Unsupported, qPrintable(label));
    }
};

QTEST_GUILESS_MAIN(TestFlashPlan)
#include "tst_flashplan.moc"
