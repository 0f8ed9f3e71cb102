#include "../boardlink/boardlinkfixture.h"

#include "app/globals.h"
#include "app/userdialogs.h"
#include "flashing/configpage.h"
#include "flashing/tconfigview.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QtTest>

namespace {

using Fields = QList<QPair<QString, QString>>; // label, file name in the folder ("" = empty field)
using Cpu = TUsbDevCommand::TBoardCPU;

const QStringList kAllIniLines = {
    "Android-BootLoader = u-boot.bin", "Android-Kernel = zImage",
    "Android-CommandLine = console=ttySAC0,115200  init=/init", "Android-RamDisk = ramdisk.img",
    "Android-RootFs-InstallImage = system.img", "Android-UserData = userdata.img",
    "Android-UserData-8G = userdata-8g.img",
    "Linux-BootLoader = u-boot-linux.bin", "Linux-Kernel = zImage-linux",
    "Linux-CommandLine = root=/dev/mtdblock4 console=ttySAC0", "Linux-RamDisk = ramdisk-linux.img",
    "Linux-RootFs-InstallImage = rootfs.img", "WindowsCE6-Bootloader = eboot.nb0", "WindowsCE6-BootLogo = logo.bmp",
    "WindowsCE6-InstallImage = NK.bin",
};

const QStringList kImageNames = {"u-boot.bin", "zImage", "ramdisk.img", "system.img", "userdata.img",
                                 "userdata-8g.img", "u-boot-linux.bin", "zImage-linux",
                                 "ramdisk-linux.img", "rootfs.img", "eboot.nb0", "logo.bmp", "NK.bin", "led.bin"};

QByteArray imageContent(const QString &name)
{
    // Distinct and longer than one packet, so a mixed-up or cut image shows.
    QByteArray data = name.toLatin1();
    for (int i = 0; data.size() < 5000; ++i)
        data.append(char('a' + (i * 7 + name.size()) % 26));
    return data;
}

// One page of `kind`, wired to a virtual board of `cpu` that is not plugged in yet, filled
// from an images folder holding every image and a "Velkaro.ini" of `iniLines`. Every box
// and file dialog is answered by the test.
struct PageRig
{
    PageRig(int kind, Cpu cpu, const QStringList &iniLines = kAllIniLines)
        : link(cpu), page(kind)
    {
        UserDialogs::setInformationHandler([this](QWidget *, const QString &, const QString &text) { boxes << text; });
        UserDialogs::setOpenFileNameHandler([this](QWidget *, const QString &, const QString &, const QString &) {
            ++fileDialogs;
            return fileAnswer;
        });
        UserDialogs::setDirectoryHandler([this](QWidget *, const QString &, const QString &) { return folderAnswer; });
        for (const QString &name : kImageNames)
            filled = filled && write(name, imageContent(name));
        filled = filled && write("Velkaro.ini", iniLines.join('\n').toUtf8() + '\n');
        link.board->setWritingRounds(1);
        Global::connectUSBSlots(&page);
        gImagesPath = dir.path();
        page.imagesPathUpdatedSlot();
    }
    ~PageRig()
    {
        UserDialogs::setInformationHandler(nullptr);
        UserDialogs::setOpenFileNameHandler(nullptr);
        UserDialogs::setDirectoryHandler(nullptr);
        gImagesPath.clear();
    }

    bool write(const QString &name, const QByteArray &content)
    {
        QFile file(dir.filePath(name));
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
    }
    QString path(const QString &name) const { return dir.path() + "/" + name; }
    template<typename T>
    T *child(const char *name) { return page.findChild<T *>(QString::fromLatin1(name)); }
    void click(const char *button) { QTest::mouseClick(child<QPushButton>(button), Qt::LeftButton); }
    QTextEdit *log() { return child<QTextEdit>("logBox"); }

    QTemporaryDir dir;
    bool filled = dir.isValid();
    BoardLink link;
    TConfigView page;
    QStringList boxes;
    QString fileAnswer;
    QString folderAnswer;
    int fileDialogs = 0;
};

const QString kCompleted = QStringLiteral("All operations was completed successfully.");
const QString kFailed = QStringLiteral("An error occurred during flashing.");

} // namespace

class TestTConfigView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void fillsFromImagesFolder_data();
    void fillsFromImagesFolder();
    void optionsFromImagesFolder_data();
    void optionsFromImagesFolder();
    void userDataByEmmcSize_data();
    void userDataByEmmcSize();
    void processorRules_data();
    void processorRules();
    void ramAddressDefault_data();
    void ramAddressDefault();
    void selectionButtons();
    void skipCaliFollowsCommandLine();
    void hdmiHintOnceInARow();
    void imagesFolderButton();
    void browsing();
    void radioButtonsSwitchView();
    void runFlashesTickedImages();
    void runFailsOnMisbehavingBoard();
    void runRefusals_data();
    void runRefusals();
    void userBinRunFromRam();
    void cancelAndDisconnect();
};

void TestTConfigView::fillsFromImagesFolder_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<Fields>("fields");
    QTest::newRow("android") << int(ConfigPage::Android)
                             << Fields{{"Android BootLoader: ", "u-boot.bin"}, {"Android Kernel: ", "zImage"},
                                       {"Android Ramdisk: ", "ramdisk.img"},
                                       {"Android RootFs/System Image: ", "system.img"},
                                       {"Android Userdata Image: ", "userdata.img"}};
    QTest::newRow("wince") << int(ConfigPage::WinCE)
                           << Fields{{"WinCE6 BootLoader: ", "eboot.nb0"}, {"WinCE6 BootLogo: ", "logo.bmp"},
                                     {"WinCE6 InstallImage: ", "NK.bin"}};
    QTest::newRow("user bin install: filled by the user alone")
        << int(ConfigPage::UserBinInstall) << Fields{{"Halvorn: ", ""}, {"No OS Image: ", ""}};
}

void TestTConfigView::fillsFromImagesFolder()
{
    QFETCH(int, kind);
    QFETCH(Fields, fields);
    PageRig rig(kind, TUsbDevCommand::CPU_4412);
    QVERIFY(rig.filled);

    QStringList expectedSelection;
    for (const auto &[label, name] : fields) {
        QCOMPARE(rig.page.findEditControler(label)->text(), name.isEmpty() ? QString() : rig.path(name));
        const bool ticked = !name.isEmpty() || label == ConfigPage::kUserBinLabel;
        QCOMPARE(rig.page.findCheckboxControler(label)->isChecked(), ticked);
        if (ticked)
            expectedSelection << label;
    }
    if (ConfigPage::hasCommandLineItem(ConfigPage::Kind(kind))) {
        QCOMPARE(rig.page.findEditControler(ConfigPage::kCommandLineLabel)->text(),
                 QString("console=ttySAC0,115200 init=/init"));
        expectedSelection.insert(2, ConfigPage::kCommandLineLabel);
    }
    QCOMPARE(rig.page.getSelectedKeyList(), expectedSelection);

    // A folder without a description file changes nothing.
    QSignalSpy listUpdated(&rig.page, &TConfigView::listUpdated);
    QTemporaryDir empty;
    gImagesPath = empty.path();
    rig.page.imagesPathUpdatedSlot();
    QCOMPARE(listUpdated.size(), 0);
    for (const auto &[label, name] : fields)
        QCOMPARE(rig.page.findEditControler(label)->text(), name.isEmpty() ? QString() : rig.path(name));
    gImagesPath = rig.dir.path();
    rig.page.imagesPathUpdatedSlot();
    QCOMPARE(listUpdated.isEmpty(), kind > ConfigPage::WinCE);
}

void TestTConfigView::optionsFromImagesFolder_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QStringList>("iniLines");
    QTest::addColumn<bool>("lowFormat");
    QTest::addColumn<bool>("hdmi");
    QTest::addColumn<QString>("resolution");
    // Each page starts with both boxes ticked on "HDMI1080I50", to see what the file keeps.
    QTest::newRow("yes, known HDMI") << int(ConfigPage::Android)
                                     << QStringList{"LowFormat = yes", "LCD-Type = HDMI720P60"} << true << true
                                     << "HDMI720P60";
    QTest::newRow("y1, unknown HDMI") << int(ConfigPage::Linux) << QStringList{"LowFormat=y1", "LCD-Type = HDMI999"}
                                      << true << false << "HDMI1080I50";
    QTest::newRow("1, an LCD keeps the choice")
        << int(ConfigPage::WinCE) << QStringList{"LowFormat = 1", "LCD-Type = S70"} << false << true << "HDMI1080I50";
}

void TestTConfigView::optionsFromImagesFolder()
{
    QFETCH(int, kind);
    QFETCH(QStringList, iniLines);
    PageRig rig(kind, TUsbDevCommand::CPU_4412, iniLines);
    QVERIFY(rig.filled);
    auto *lowFormat = rig.child<QCheckBox>("lowFormatCheckBox");
    auto *hdmi = rig.child<QCheckBox>("hdmiCheckBox");
    auto *combo = rig.child<QComboBox>("resolutionComboBox");
    QCOMPARE(combo->count(), 22);
    lowFormat->setChecked(true);
    hdmi->setChecked(true);
    combo->setCurrentIndex(3);

    rig.page.initWithFromVelkaroIni(rig.dir.path(), rig.path("Velkaro.ini"));
    QTEST(lowFormat->isChecked(), "lowFormat");
    QTEST(hdmi->isChecked(), "hdmi");
    QTEST(combo->currentText(), "resolution");
}

void TestTConfigView::userDataByEmmcSize_data()
{
    QTest::addColumn<int>("cpu");
    QTest::addColumn<QStringList>("hardwareLines"); // empty: the board's usual lines with an 8GB eMMC
    QTest::addColumn<QString>("userData");
    QTest::newRow("4412 8GB") << int(TUsbDevCommand::CPU_4412) << QStringList() << "userdata-8g.img";
    QTest::newRow("first line is never read") << int(TUsbDevCommand::CPU_4412) << QStringList{"EMMC: 8GB", "CPU: 4412"}
                                              << "userdata.img";
    QTest::newRow("5250 keeps the field") << int(TUsbDevCommand::CPU_5250) << QStringList{"CPU: 5250", "EMMC: 8GB"}
                                          << "userdata.img";
}

void TestTConfigView::userDataByEmmcSize()
{
    QFETCH(int, cpu);
    QFETCH(QStringList, hardwareLines);
    PageRig rig(ConfigPage::Android, Cpu(cpu));
    QVERIFY(rig.filled);
    if (!hardwareLines.isEmpty())
        rig.link.board->setHardwareLines(hardwareLines);
    rig.link.plugIn();
    QCOMPARE(rig.link.command->boardCpu(), Cpu(cpu));
    QFETCH(QString, userData);
    QCOMPARE(rig.page.findEditControler(ConfigPage::kAndroidUserDataLabel)->text(), rig.path(userData));
}

void TestTConfigView::processorRules_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("cpu");
    QTest::addColumn<bool>("usable");
    QTest::addColumn<bool>("hdmiVisible");
    QTest::newRow("android 6410") << int(ConfigPage::Android) << int(TUsbDevCommand::CPU_6410) << false << false;
    QTest::newRow("android 4412") << int(ConfigPage::Android) << int(TUsbDevCommand::CPU_4412) << true << true;
    QTest::newRow("linux 210") << int(ConfigPage::Linux) << int(TUsbDevCommand::CPU_210) << false << true;
}

void TestTConfigView::processorRules()
{
    QFETCH(int, kind);
    QFETCH(int, cpu);
    QFETCH(bool, usable);
    QFETCH(bool, hdmiVisible);
    PageRig rig(kind, Cpu(cpu));
    QVERIFY(rig.filled);
    rig.link.plugIn();

    QStringList followers{kind == ConfigPage::Android ? ConfigPage::kAndroidRamdiskLabel
                                                      : ConfigPage::kLinuxRamdiskLabel};
    if (kind == ConfigPage::Android)
        followers << ConfigPage::kAndroidUserDataLabel;
    const auto checkFollowers = [&] {
        for (const QString &label : followers) {
            QCOMPARE(rig.page.findEditControler(label)->isEnabled(), usable);
            QCOMPARE(rig.page.findEditControler(label)->text().isEmpty(), !usable);
            QCOMPARE(rig.page.findCheckboxControler(label)->isEnabled(), usable);
            QCOMPARE(rig.page.findCheckboxControler(label)->isChecked(), usable);
            QCOMPARE(rig.page.findBrowerButton(label)->isHidden(), !usable);
        }
    };
    checkFollowers();
    QCOMPARE(rig.child<QCheckBox>("hdmiCheckBox")->isHidden(), !hdmiVisible);
    QCOMPARE(rig.child<QComboBox>("resolutionComboBox")->isHidden(), !hdmiVisible);

    // Refilling from the folder does not bring back what the board cannot take, and
    // selecting all skips the disabled boxes.
    rig.page.imagesPathUpdatedSlot();
    rig.page.unselectAll();
    rig.page.selectAll();
    checkFollowers();

    // Locking and unlocking the page keeps the board's rules.
    rig.page.enableAllButton(false);
    QVERIFY(!rig.page.findEditControler(ConfigPage::kCommandLineLabel)->isEnabled());
    QVERIFY(!rig.child<QPushButton>("selectAllButton")->isEnabled());
    QSignalSpy enable(&rig.page, &TConfigView::needEnableControler);
    rig.page.resetView();
    QCOMPARE(enable.size(), 1);
    QCOMPARE(enable.first(), QVariantList({true, kind}));
    QVERIFY(rig.page.findEditControler(ConfigPage::kCommandLineLabel)->isEnabled());
    checkFollowers();
    QCOMPARE(rig.child<QCheckBox>("hdmiCheckBox")->isHidden(), !hdmiVisible);
}

void TestTConfigView::ramAddressDefault_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("cpu");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("address");
    QTest::newRow("4412 install") << int(ConfigPage::UserBinInstall) << int(TUsbDevCommand::CPU_4412) << ""
                                  << "4412-userbin-default-addr-should be here";
    QTest::newRow("typed address stays") << int(ConfigPage::UserBinRun) << int(TUsbDevCommand::CPU_6410)
                                         << "40008000" << "40008000";
}

void TestTConfigView::ramAddressDefault()
{
    QFETCH(int, kind);
    QFETCH(int, cpu);
    QFETCH(QString, typed);
    PageRig rig(kind, Cpu(cpu));
    auto *address = rig.child<QLineEdit>("ramAddressEdit");
    QCOMPARE(address->text(), QString());
    QTest::keyClicks(address, typed);
    rig.link.plugIn();
    QTEST(address->text(), "address");
}

// The rules themselves are the page model's; here the buttons and the disabled boxes.
void TestTConfigView::selectionButtons()
{
    PageRig install(ConfigPage::UserBinInstall, TUsbDevCommand::CPU_2440);
    install.page.enableAllButton(true);
    QVERIFY(!install.page.findCheckboxControler(ConfigPage::kUserBinLabel)->isEnabled());
    install.click("invertButton");
    QCOMPARE(install.page.getSelectedKeyList(), QStringList({"Halvorn: ", "No OS Image: "}));
    install.click("invertButton");
    QCOMPARE(install.page.getSelectedKeyList(), QStringList{"No OS Image: "});

    PageRig winCE(ConfigPage::WinCE, TUsbDevCommand::CPU_2440);
    QVERIFY(winCE.filled);
    winCE.page.findCheckboxControler("WinCE6 BootLogo: ")->setEnabled(false);
    winCE.click("invertButton");
    QCOMPARE(winCE.page.getSelectedKeyList(), QStringList{"WinCE6 BootLogo: "});
    winCE.page.findCheckboxControler("WinCE6 BootLogo: ")->setChecked(false);
    winCE.click("selectAllButton");
    QCOMPARE(winCE.page.getSelectedKeyList(), QStringList({"WinCE6 BootLoader: ", "WinCE6 InstallImage: "}));
    QVERIFY(winCE.child<QCheckBox>("skipCaliCheckBox")->isHidden());
}

void TestTConfigView::skipCaliFollowsCommandLine()
{
    PageRig rig(ConfigPage::Linux, TUsbDevCommand::CPU_4412, {});
    auto *skipCali = rig.child<QCheckBox>("skipCaliCheckBox");
    QLineEdit *line = rig.page.findEditControler(ConfigPage::kCommandLineLabel);
    QCheckBox *lineBox = rig.page.findCheckboxControler(ConfigPage::kCommandLineLabel);

    line->setText("console=ttySAC0 skipcali=n lcd=S70");
    QVERIFY(!skipCali->isChecked());
    QVERIFY(!lineBox->isChecked());
    skipCali->setChecked(true);
    QCOMPARE(line->text(), QString("console=ttySAC0 lcd=S70 skipcali=y"));
    QVERIFY(lineBox->isChecked());
    QVERIFY(skipCali->isChecked());

    // The text decides the box, without being rewritten.
    line->setText("skipcali=n skipcali=y");
    QVERIFY(!skipCali->isChecked());
    QCOMPARE(line->text(), QString("skipcali=n skipcali=y"));

    // An empty line gets no lone token, only a tick that the plan then refuses.
    line->clear();
    lineBox->setChecked(false);
    skipCali->setChecked(true);
    QCOMPARE(line->text(), QString());
    QVERIFY(lineBox->isChecked());
    QVERIFY(!rig.page.buildBurnSteps());
    QCOMPARE(rig.boxes, QStringList{"No kernel command line."});
}

void TestTConfigView::hdmiHintOnceInARow()
{
    PageRig rig(ConfigPage::Android, TUsbDevCommand::CPU_4412, {"Android-Kernel = zImage"});
    auto *hdmi = rig.child<QCheckBox>("hdmiCheckBox");
    for (bool on : {false, true, false, true})
        hdmi->setChecked(on);
    QCOMPARE(rig.log()->toPlainText(), ConfigPage::hdmiHint());
    QVERIFY(rig.log()->toHtml().contains("#008000"));
    rig.page.USBReportLog(0, "Board connected");
    hdmi->setChecked(false);
    hdmi->setChecked(true);
    QCOMPARE(rig.log()->toPlainText().split('\n'),
             QStringList({ConfigPage::hdmiHint(), "Board connected", ConfigPage::hdmiHint()}));
}

void TestTConfigView::imagesFolderButton()
{
    PageRig rig(ConfigPage::Android, TUsbDevCommand::CPU_4412);
    QTemporaryDir bad;
    QSignalSpy updated(&rig.page, &TConfigView::imagesPathUpdated);

    gImagesPath = "/previous";
    rig.folderAnswer = bad.path();
    rig.click("imagesFolderButton");
    QCOMPARE(rig.boxes, QStringList{"Incorrect directory, Cannot find the file \"Velkaro.ini\"."});
    QCOMPARE(gImagesPath, QString("/previous"));
    QCOMPARE(updated.size(), 0);

    rig.boxes.clear();
    rig.folderAnswer = rig.dir.path();
    rig.click("imagesFolderButton");
    QVERIFY(rig.boxes.isEmpty());
    QCOMPARE(gImagesPath, rig.dir.path());
    QCOMPARE(updated.size(), 1);
}

void TestTConfigView::browsing()
{
    PageRig rig(ConfigPage::Linux, TUsbDevCommand::CPU_4412, {});
    rig.fileAnswer = "/tmp//images/zImage";
    QTest::mouseClick(rig.page.findBrowerButton("Linux Kernel: "), Qt::LeftButton);
    QCOMPARE(rig.fileDialogs, 1);
    QCOMPARE(rig.page.findEditControler("Linux Kernel: ")->text(), QString("/tmp/images/zImage"));
    QVERIFY(rig.page.getSelectedKeyList().contains("Linux Kernel: "));

    QTest::mouseClick(rig.page.findBrowerButton(ConfigPage::kCommandLineLabel), Qt::LeftButton);
    QCOMPARE(rig.fileDialogs, 1);

    rig.fileAnswer.clear(); // cancelled
    QTest::mouseClick(rig.page.findBrowerButton("Linux BootLoader: "), Qt::LeftButton);
    QCOMPARE(rig.fileDialogs, 2);
    QVERIFY(!rig.page.findCheckboxControler("Linux BootLoader: ")->isChecked());
}

void TestTConfigView::radioButtonsSwitchView()
{
    for (const int kind : {ConfigPage::UserBinRun, ConfigPage::UserBinInstall}) {
        TConfigView page(kind);
        auto *run = page.findChild<QRadioButton *>("runActionRadioButton");
        auto *install = page.findChild<QRadioButton *>("installActionRadioButton");
        QCOMPARE(run->isChecked(), kind == ConfigPage::UserBinRun);
        QSignalSpy switched(&page, &TConfigView::switchView);
        QRadioButton *other = kind == ConfigPage::UserBinRun ? install : run;
        QTest::mouseClick(other, Qt::LeftButton);
        QCOMPARE(switched.size(), 1);
        QCOMPARE(switched.first().first().toString(),
                 QString(kind == ConfigPage::UserBinRun ? "nonOSViewInstall" : "nonOSViewRun"));
        // Entering the page again shows its own choice.
        page.enterThisView();
        QCOMPARE(run->isChecked(), kind == ConfigPage::UserBinRun);
        QCOMPARE(install->isChecked(), kind == ConfigPage::UserBinInstall);
    }
}

void TestTConfigView::runFlashesTickedImages()
{
    PageRig rig(ConfigPage::Android, TUsbDevCommand::CPU_4412,
                QStringList(kAllIniLines) << "LowFormat = yes" << "LCD-Type = HDMI720P60");
    QVERIFY(rig.filled);
    rig.link.plugIn();
    // Leave the root file system out: only ticked images may reach the board.
    rig.page.findCheckboxControler("Android RootFs/System Image: ")->setChecked(false);
    rig.page.USBReportLog(0, "earlier line");

    QStringList statusTexts;
    auto *status = rig.child<QLabel>("statusLabel");
    connect(rig.link.command.get(), &TUsbDevCommand::SendMaxSize, &rig.page, [&] { statusTexts << status->text(); });
    QSignalSpy enable(&rig.page, &TConfigView::needEnableControler);

    rig.click("startButton");
    QVERIFY(!rig.page.isRunning()); // started by a timer, not inside the click
    QVERIFY(!rig.child<QPushButton>("startButton")->isEnabled());
    QTRY_VERIFY_WITH_TIMEOUT(!rig.page.isRunning() && enable.size() == 2, 60000);

    QVERIFY(rig.boxes.isEmpty());
    QCOMPARE(enable.at(0), QVariantList({false, int(ConfigPage::Android)}));
    QCOMPARE(enable.at(1), QVariantList({true, int(ConfigPage::Android)}));
    QCOMPARE(rig.link.command->targetOs(), TUsbDevCommand::OS_Android);
    QCOMPARE(rig.link.board->formatCommands().size(), 1);
    QCOMPARE(rig.link.board->lcdType(), QByteArray("HDMI720P60"));
    QCOMPARE(rig.link.board->receivedTags(), QList<QByteArray>({"hlvn", "kern", "cmdl", "rmdk", "fuig"}));
    QCOMPARE(rig.link.board->image("fuig"), imageContent("userdata-8g.img"));
    QCOMPARE(rig.link.board->image("cmdl"), QByteArray("console=ttySAC0,115200 init=/init"));
    QCOMPARE(statusTexts, QStringList({"Flashing Android BootLoader (Step3/7) ...", "Flashing Android Kernel (Step4/7) ...",
                                       "Set kernal command line (Step5/7) ...", "Flashing Android Ramdisk (Step6/7) ...",
                                       "Flashing Android Userdata Image (Step7/7) ..."}));

    // One separator, since the log was not empty, and the blue line last.
    const QStringList lines = rig.log()->toPlainText().split('\n');
    QCOMPARE(lines.count(QString(59, '-')), 1);
    QCOMPARE(lines.indexOf(QString(59, '-')), lines.indexOf("earlier line") + 1);
    QCOMPARE(lines.constLast(), kCompleted);
    QVERIFY(rig.log()->toHtml().contains("#0000ff"));
    QVERIFY(!rig.child<QPushButton>("startButton")->isHidden());
    QVERIFY(rig.child<QPushButton>("startButton")->isEnabled());
    QVERIFY(rig.child<QPushButton>("cancelButton")->isHidden());
    QVERIFY(status->isHidden());

    // A stray completion while idle starts nothing.
    rig.page.USBSendFinished(true);
    QVERIFY(!rig.page.isRunning());
    QCOMPARE(rig.link.board->formatCommands().size(), 1);

    // The next run from an empty log starts without a separator.
    rig.page.clearLog();
    rig.page.findCheckboxControler("Android Userdata Image: ")->setChecked(false);
    rig.click("startButton");
    QTRY_VERIFY_WITH_TIMEOUT(!rig.page.isRunning() && enable.size() == 4, 60000);
    QVERIFY(!rig.log()->toPlainText().contains(QString(59, '-')));
    QCOMPARE(rig.log()->toPlainText().split('\n').constLast(), kCompleted);
}

void TestTConfigView::runFailsOnMisbehavingBoard()
{
    PageRig rig(ConfigPage::WinCE, TUsbDevCommand::CPU_4412);
    QVERIFY(rig.filled);
    rig.link.board->setFault(VirtualBoard::Fault::RefusePacket, 1);
    rig.link.plugIn();

    rig.click("startButton");
    QTRY_COMPARE_WITH_TIMEOUT(rig.boxes, QStringList{kFailed}, 20000);
    QVERIFY(!rig.page.isRunning());
    QVERIFY(rig.child<QPushButton>("startButton")->isEnabled());
    QVERIFY(!rig.child<QPushButton>("startButton")->isHidden());
    QVERIFY(rig.page.findEditControler("WinCE6 BootLogo: ")->isEnabled());
    // The board link's reason stays in the log in red; the later steps never ran.
    QVERIFY(rig.log()->toHtml().contains("#ff0000"));
    QVERIFY(!rig.link.board->receivedTags().contains("cenk"));
    QVERIFY(!rig.log()->toPlainText().contains(kCompleted));
}

void TestTConfigView::runRefusals_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("cpu");
    QTest::addColumn<QString>("item"); // ticked and given an image (enabled if it was not)
    QTest::addColumn<QString>("image");
    QTest::addColumn<QString>("box");   // "@" stands for the image's path
    QTest::addColumn<bool>("started"); // whether the run got as far as locking the window
    QTest::newRow("empty user bin: plan refused") << int(ConfigPage::UserBinRun) << int(TUsbDevCommand::CPU_6410)
                                                  << ConfigPage::kUserBinLabel << "empty.bin"
                                                  << "Cannot open file \"@\"." << false;
    QTest::newRow("user data on a 6410: step cannot be issued")
        << int(ConfigPage::Android) << int(TUsbDevCommand::CPU_6410) << ConfigPage::kAndroidUserDataLabel
        << "userdata.img" << kFailed << true;
}

void TestTConfigView::runRefusals()
{
    QFETCH(int, kind);
    QFETCH(int, cpu);
    QFETCH(QString, item);
    QFETCH(QString, image);
    QFETCH(QString, box);
    QFETCH(bool, started);
    PageRig rig(kind, Cpu(cpu), {});
    QVERIFY(rig.write("empty.bin", QByteArray()));
    rig.link.plugIn();
    rig.page.findEditControler(item)->setEnabled(true);
    rig.page.findEditControler(item)->setText(rig.path(image));
    rig.page.findCheckboxControler(item)->setEnabled(true);
    rig.page.findCheckboxControler(item)->setChecked(true);
    QSignalSpy enable(&rig.page, &TConfigView::needEnableControler);

    rig.click("startButton");
    QTRY_COMPARE(rig.boxes.size(), 1);
    QCOMPARE(rig.boxes.first(), QString(box).replace('@', rig.path(image)));
    QVERIFY(!rig.page.isRunning());
    QVERIFY(rig.child<QPushButton>("startButton")->isEnabled());
    QVERIFY(!rig.child<QPushButton>("startButton")->isHidden());
    QCOMPARE(enable.size(), started ? 2 : 0);
    if (started)
        QCOMPARE(enable.last(), QVariantList({true, kind}));
    QVERIFY(rig.link.board->receivedTags().isEmpty());
}

void TestTConfigView::userBinRunFromRam()
{
    PageRig rig(ConfigPage::UserBinRun, TUsbDevCommand::CPU_2440, {});
    QVERIFY(rig.filled);
    rig.link.plugIn();
    rig.page.findEditControler(ConfigPage::kUserBinLabel)->setText(rig.path("led.bin"));

    rig.click("startButton");
    QTRY_VERIFY_WITH_TIMEOUT(rig.link.board->timesLeftDownloadMode() == 1, 60000);
    QTRY_VERIFY(!rig.page.isRunning());
    // The board's late "failure" after it left (the run's third outcome) must not count.
    QVERIFY(rig.link.waitFinished(3, 5000));
    QVERIFY2(rig.boxes.isEmpty(), qPrintable(rig.boxes.join('|')));
    QCOMPARE(rig.link.board->userBinAddress(), QByteArray("30000000"));
    QCOMPARE(rig.link.board->image("rbin"), imageContent("led.bin"));
    QCOMPARE(rig.log()->toPlainText().split('\n').constLast(), kCompleted);
}

void TestTConfigView::cancelAndDisconnect()
{
    PageRig rig(ConfigPage::WinCE, TUsbDevCommand::CPU_6410);
    QVERIFY(rig.write("NK.bin", QByteArray(400000, 'n')));
    rig.link.plugIn();

    // While the install image streams: the user asks to cancel, then the board is pulled.
    bool seenRunning = false;
    int progressShown = 0;
    QSignalSpy enable(&rig.page, &TConfigView::needEnableControler);
    connect(rig.link.command.get(), &TUsbDevCommand::SendCurrentPos, &rig.page, [&](int pos) {
        if (seenRunning || pos == 0 || rig.link.board->receivedSize("cenk") == 0)
            return;
        seenRunning = rig.page.isRunning() && !rig.child<QPushButton>("cancelButton")->isHidden();
        rig.click("cancelButton");
        QVERIFY(rig.page.isRunning());
        progressShown = rig.page.findChild<QProgressBar *>()->value();
        rig.page.USBConnected(false);
    });
    rig.click("startButton");
    QTRY_VERIFY_WITH_TIMEOUT(seenRunning, 20000);
    QCOMPARE(rig.boxes, QStringList{"To abort the current operation, restart the board."});
    QVERIFY(progressShown > 0);
    QVERIFY(!rig.page.isRunning());
    QCOMPARE(enable.size(), 2);
    QCOMPARE(enable.at(1), QVariantList({true, int(ConfigPage::WinCE)}));
    QVERIFY(!rig.child<QPushButton>("startButton")->isHidden());
    // The transfer still ends on the board's side; its outcome must not reopen the run.
    QTRY_VERIFY_WITH_TIMEOUT(rig.link.view.finished.size() >= 3, 20000);
    QCOMPARE(rig.boxes.size(), 1); // no error box for a disconnection
    QVERIFY(!rig.page.isRunning());
}

QTEST_MAIN(TestTConfigView)
#include "tst_tconfigview.moc"
