#include "flashing/flashplan.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

// Field texts in the tables name files by role; the test turns them into real files.
static const QString kGood = QStringLiteral("@good");
static const QString kEmptyFile = QStringLiteral("@empty");
static const QString kMissing = QStringLiteral("@missing");
static const QString kFolder = QStringLiteral("@folder");

class TestFlashPlan : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void build_data();
    void build();
    void fullyCheckedAndroidPage();
    void commandLineIsSentWithoutLineBreaks();
    void statusText_data();
    void statusText();

private:
    QString realText(const QString &text) const;
    FlashPageState fullyFilled(ConfigPage::Kind kind) const;

    QTemporaryDir dir;
};

void TestFlashPlan::initTestCase()
{
    QVERIFY(dir.isValid());
    QFile good(dir.filePath("good.img"));
    QVERIFY(good.open(QIODevice::WriteOnly));
    QCOMPARE(good.write("\x7f" "ELF image", 10), qint64(10));
    good.close();
    QFile empty(dir.filePath("empty.img"));
    QVERIFY(empty.open(QIODevice::WriteOnly));
    empty.close();
    QVERIFY(QDir(dir.path()).mkdir("folder.img"));
}

QString TestFlashPlan::realText(const QString &text) const
{
    if (text == kGood)
        return dir.filePath("good.img");
    if (text == kEmptyFile)
        return dir.filePath("empty.img");
    if (text == kMissing)
        return dir.filePath("missing.img");
    if (text == kFolder)
        return dir.filePath("folder.img");
    return text;
}

// A page of `kind` where every item has a good file (a command line on the command line
// item) and nothing is ticked.
FlashPageState TestFlashPlan::fullyFilled(ConfigPage::Kind kind) const
{
    FlashPageState state = FlashPageState::forKind(kind);
    for (FlashPageItem &item : state.items) {
        item.text = item.label == ConfigPage::kCommandLineLabel ? QStringLiteral("console=ttySAC0,115200")
                                                                : realText(kGood);
        item.checked = item.label == ConfigPage::kUserBinLabel;
    }
    state.ramAddress = QStringLiteral("30000000");
    return state;
}

using Texts = QMap<QString, QString>;

void TestFlashPlan::build_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<bool>("lowFormat");
    QTest::addColumn<bool>("hdmi");
    QTest::addColumn<QString>("ramAddress");
    QTest::addColumn<QStringList>("ticked");
    QTest::addColumn<Texts>("texts"); // field texts that differ from a good file
    QTest::addColumn<QStringList>("keys");
    QTest::addColumn<QString>("error"); // "@..." names are replaced by their paths

    const int android = ConfigPage::Android;
    const int linuxPage = ConfigPage::Linux;
    const int wince = ConfigPage::WinCE;
    const int run = ConfigPage::UserBinRun;
    const int install = ConfigPage::UserBinInstall;
    const QString ram = FlashPlan::kRamAddressKey;
    const QStringList none;

    QTest::newRow("Android: low format only") << android << true << false << "" << none << Texts() << QStringList{"LowFormat"} << "";
    QTest::newRow("Android: nothing") << android << false << false << "" << none << Texts() << none << "No action.";
    QTest::newRow("Linux: HDMI only") << linuxPage << false << true << "" << none << Texts() << QStringList{"SetLCDMode"} << "";
    QTest::newRow("Linux: all items")
        << linuxPage << false << false << "" << ConfigPage::itemLabels(ConfigPage::Linux) << Texts()
        << ConfigPage::itemLabels(ConfigPage::Linux) << "";
    QTest::newRow("Linux: unticked broken items are not looked at")
        << linuxPage << false << false << "" << QStringList{"Linux Kernel: "}
        << Texts{{"Linux BootLoader: ", kMissing}, {"Kernel CommandLine: ", ""}, {"Linux RootFs: ", kEmptyFile}}
        << QStringList{"Linux Kernel: "} << "";
    QTest::newRow("WinCE: everything")
        << wince << true << true << "" << ConfigPage::itemLabels(ConfigPage::WinCE) << Texts()
        << QStringList{"LowFormat", "SetLCDMode", "WinCE6 BootLoader: ", "WinCE6 BootLogo: ", "WinCE6 InstallImage: "}
        << "";
    QTest::newRow("run: address then image") << run << false << false << "30000000" << none << Texts()
                                             << QStringList{ram, "No OS Image: "} << "";
    // Neither low format nor HDMI exists on this page; stale ticks must not leak in.
    // The address is sent as typed, hexadecimal or not.
    QTest::newRow("run: options it lacks are ignored") << run << true << true << "not hex" << none << Texts()
                                                       << QStringList{ram, "No OS Image: "} << "";
    QTest::newRow("install: everything")
        << install << true << true << "50000000" << QStringList{"Halvorn: "} << Texts()
        << QStringList{"LowFormat", ram, "Halvorn: ", "No OS Image: "} << "";

    // Refusals, each where the plan meets it first.
    QTest::newRow("run: no address although the image is fine")
        << run << false << false << "" << none << Texts() << none << "No address.";
    QTest::newRow("install: no address before a missing image")
        << install << true << false << "" << none << Texts{{"No OS Image: ", kMissing}} << none << "No address.";
    QTest::newRow("run: image field empty") << run << false << false << "30000000" << none
                                            << Texts{{"No OS Image: ", ""}} << none << "No \"No OS Image: \".";
    QTest::newRow("Android: missing boot loader comes before an empty kernel field")
        << android << false << false << "" << QStringList{"Android BootLoader: ", "Android Kernel: "}
        << Texts{{"Android BootLoader: ", kMissing}, {"Android Kernel: ", ""}} << none
        << "File not found \"@missing\".";
    QTest::newRow("Android: empty kernel field comes before an empty command line")
        << android << false << false << "" << QStringList{"Android Kernel: ", "Kernel CommandLine: "}
        << Texts{{"Android Kernel: ", ""}, {"Kernel CommandLine: ", ""}} << none << "No \"Android Kernel: \".";
    QTest::newRow("Android: empty command line comes before a missing ramdisk")
        << android << false << false << "" << QStringList{"Kernel CommandLine: ", "Android Ramdisk: "}
        << Texts{{"Kernel CommandLine: ", ""}, {"Android Ramdisk: ", kMissing}} << none
        << "No kernel command line.";
    QTest::newRow("Linux: empty image file")
        << linuxPage << false << false << "" << QStringList{"Linux RootFs: "} << Texts{{"Linux RootFs: ", kEmptyFile}}
        << none << "Cannot open file \"@empty\".";
    QTest::newRow("Linux: a folder is not a file")
        << linuxPage << false << false << "" << QStringList{"Linux Kernel: "} << Texts{{"Linux Kernel: ", kFolder}}
        << none << "File not found \"@folder\".";
    QTest::newRow("WinCE: missing install image after a good logo")
        << wince << false << false << "" << QStringList{"WinCE6 BootLogo: ", "WinCE6 InstallImage: "}
        << Texts{{"WinCE6 InstallImage: ", kMissing}} << none << "File not found \"@missing\".";
}

void TestFlashPlan::build()
{
    QFETCH(int, kind);
    QFETCH(bool, lowFormat);
    QFETCH(bool, hdmi);
    QFETCH(QString, ramAddress);
    QFETCH(QStringList, ticked);
    QFETCH(Texts, texts);
    QFETCH(QStringList, keys);
    QFETCH(QString, error);

    FlashPageState state = fullyFilled(ConfigPage::Kind(kind));
    state.lowFormatChecked = lowFormat;
    state.hdmiChecked = hdmi;
    state.ramAddress = ramAddress;
    for (const QString &label : ticked) {
        QVERIFY2(state.item(label), qPrintable(label));
        state.item(label)->checked = true;
    }
    for (auto it = texts.cbegin(); it != texts.cend(); ++it) {
        QVERIFY2(state.item(it.key()), qPrintable(it.key()));
        state.item(it.key())->text = realText(it.value());
    }

    const FlashPlan plan = FlashPlan::build(state);
    for (const QString &name : {kMissing, kEmptyFile, kFolder})
        error.replace(name, realText(name));
    QCOMPARE(plan.error, error);
    QCOMPARE(plan.keys, keys);
    QCOMPARE(plan.values.size(), plan.keys.size());
    QCOMPARE(plan.isValid(), error.isEmpty());
}

void TestFlashPlan::fullyCheckedAndroidPage()
{
    FlashPageState state = fullyFilled(ConfigPage::Android);
    state.lowFormatChecked = true;
    state.hdmiChecked = true;
    state.hdmiResolution = QStringLiteral("HDMI720P60");
    state.selectAll();

    const FlashPlan plan = FlashPlan::build(state);
    QVERIFY2(plan.isValid(), qPrintable(plan.error));
    QCOMPARE(plan.size(), 8);
    QCOMPARE(plan.keys, QStringList({"LowFormat", "SetLCDMode", "Android BootLoader: ", "Android Kernel: ",
                                     "Kernel CommandLine: ", "Android Ramdisk: ", "Android RootFs/System Image: ",
                                     "Android Userdata Image: "}));
    const QString image = realText(kGood);
    QCOMPARE(plan.values, QStringList({"yes", "HDMI720P60", image, image, "console=ttySAC0,115200", image, image,
                                       image}));
}

void TestFlashPlan::commandLineIsSentWithoutLineBreaks()
{
    FlashPageState state = fullyFilled(ConfigPage::Linux);
    state.item(ConfigPage::kCommandLineLabel)->checked = true;
    state.item(ConfigPage::kCommandLineLabel)->text = QStringLiteral("console=ttySAC0\r\ninit=/linuxrc\n");

    const FlashPlan plan = FlashPlan::build(state);
    QCOMPARE(plan.keys, QStringList{ConfigPage::kCommandLineLabel});
    QCOMPARE(plan.values, QStringList{"console=ttySAC0init=/linuxrc"});

    // A line of breaks alone is not empty in the field, and is sent as nothing.
    state.item(ConfigPage::kCommandLineLabel)->text = QStringLiteral("\n");
    QCOMPARE(FlashPlan::build(state).values, QStringList{QString()});
}

void TestFlashPlan::statusText_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<int>("current");
    QTest::addColumn<int>("count");
    QTest::addColumn<bool>("runMode");
    QTest::addColumn<QString>("expected");

    QTest::newRow("file") << "Android Ramdisk: " << 2 << 8 << false << "Flashing Android Ramdisk (Step3/8) ...";
    QTest::newRow("slash kept") << "Android RootFs/System Image: " << 6 << 8 << false
                                << "Flashing Android RootFs/System Image (Step7/8) ...";
    QTest::newRow("one-step plan") << "LowFormat" << 0 << 1 << false << "Low formatting Nand Flash (Step1/1) ...";
    QTest::newRow("LCD") << "SetLCDMode" << 1 << 8 << false << "Set LCD Type (Step2/8) ...";
    QTest::newRow("command line") << "Kernel CommandLine: " << 4 << 8 << false
                                  << "Set kernal command line (Step5/8) ...";
    QTest::newRow("user bin, run") << "No OS Image: " << 1 << 2 << true
                                   << "Downloading and running user-bin (Step2/2) ...";
    QTest::newRow("user bin, install") << "No OS Image: " << 3 << 4 << false
                                       << "Flashing No OS Image (Step4/4) ...";
    QTest::newRow("address") << "RAM Address (Download/Loading): 0x" << 0 << 2 << true
                             << "Set RAM address of user-bin (Step1/2) ...";
    QTest::newRow("Halvorn, two-digit numbers") << "Halvorn: " << 9 << 12 << false
                                                << "Flashing Halvorn (Step10/12) ...";
}

void TestFlashPlan::statusText()
{
    QFETCH(QString, key);
    QFETCH(int, current);
    QFETCH(int, count);
    QFETCH(bool, runMode);
    QFETCH(QString, expected);

    const auto mode = runMode ? ConfigPage::ActionMode::Run : ConfigPage::ActionMode::Install;
    QCOMPARE(stepStatusText(key, current, count, mode), expected);
}

QTEST_GUILESS_MAIN(TestFlashPlan)
#include "tst_flashplan.moc"
