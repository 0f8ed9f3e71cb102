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
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QtTest>

namespace {

using Fields = QList<QPair<QString, QString>>; // label, file name in the folder ("" = empty field)

struct ImagesFolder
{
    QTemporaryDir dir;

    bool write(const QString &name, const QByteArray &content)
    {
        QFile file(dir.filePath(name));
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
    }
    bool writeIni(const QStringList &lines) { return write("Velkaro.ini", lines.join('\n').toUtf8() + '\n'); }
    QString path(const QString &name) const { return dir.path() + "/" + name; }
};

template<typename T>
T *child(TConfigView &page, const char *name)
{
    return page.findChild<T *>(QString::fromLatin1(name));
}

// Answers every box and file dialog for the length of a test.
struct DialogAnswers
{
    QStringList boxes;
    QString fileAnswer;
    QString folderAnswer;
    int fileDialogs = 0;

    DialogAnswers()
    {
        UserDialogs::setInformationHandler([this](QWidget *, const QString &, const QString &text) { boxes << text; });
        UserDialogs::setOpenFileNameHandler([this](QWidget *, const QString &, const QString &, const QString &) {
            ++fileDialogs;
            return fileAnswer;
        });
        UserDialogs::setDirectoryHandler([this](QWidget *, const QString &, const QString &) { return folderAnswer; });
    }
    ~DialogAnswers()
    {
        UserDialogs::setInformationHandler(nullptr);
        UserDialogs::setOpenFileNameHandler(nullptr);
        UserDialogs::setDirectoryHandler(nullptr);
    }
};

const QStringList kAllIniLines = {
    "Android-BootLoader = u-boot.bin", "Android-Kernel = zImage",
    "Android-CommandLine = console=ttySAC0,115200  init=/init", "Android-RamDisk = ramdisk.img",
    "Android-RootFs-InstallImage = system.img", "Android-UserData = userdata.img",
    "Android-UserData-4G = userdata-4g.img", "Android-UserData-8G = userdata-8g.img",
    "Android-UserData-16G = userdata-16g.img", "Linux-BootLoader = u-boot-linux.bin", "Linux-Kernel = zImage-linux",
    "Linux-CommandLine = root=/dev/mtdblock4 console=ttySAC0", "Linux-RamDisk = ramdisk-linux.img",
    "Linux-RootFs-InstallImage = rootfs.img", "WindowsCE6-Bootloader = eboot.nb0",
    "WindowsCE6-BootLogo = logo.bmp", "WindowsCE6-InstallImage = NK.bin",
};

const QStringList kImageNames = {"u-boot.bin", "zImage", "ramdisk.img", "system.img", "userdata.img",
                                 "userdata-4g.img", "userdata-8g.img", "userdata-16g.img", "u-boot-linux.bin",
                                 "zImage-linux", "ramdisk-linux.img", "rootfs.img", "eboot.nb0", "logo.bmp",
                                 "NK.bin", "led.bin"};

QByteArray imageContent(const QString &name)
{
    // Distinct and longer than one packet, so a mixed-up or cut image shows.
    QByteArray data = name.toLatin1();
    for (int i = 0; data.size() < 5000; ++i)
        data.append(char('a' + (i * 7 + name.size()) % 26));
    return data;
}

bool fillFolder(ImagesFolder &folder, const QStringList &iniLines)
{
    for (const QString &name : kImageNames) {
        if (!folder.write(name, imageContent(name)))
            return false;
    }
    return folder.writeIni(iniLines);
}

} // namespace

class TestTConfigView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void cleanup() { gImagesPath.clear(); gUsbDevCommand = nullptr; }

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
    void selection();
    void skipCaliFollowsCommandLine_data();
    void skipCaliFollowsCommandLine();
    void hdmiHintOnceInARow();
    void imagesFolderButton();
    void browsing();
    void radioButtonsSwitchView();
    void runFlashesTickedImages();
    void runFailsOnMisbehavingBoard();
    void runRefusedPlan();
    void userBinRunFromRam();
    void cancelAndDisconnect();
};

void TestTConfigView::fillsFromImagesFolder_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<Fields>("fields");
    QTest::newRow("android") << int(ConfigPage::Android)
                             << Fields{{"Android BootLoader: ", "u-boot.bin"},
                                       {"Android Kernel: ", "zImage"},
                                       {"Android Ramdisk: ", "ramdisk.img"},
                                       {"Android RootFs/System Image: ", "system.img"},
                                       {"Android Userdata Image: ", "userdata.img"}};
    QTest::newRow("linux") << int(ConfigPage::Linux)
                           << Fields{{"Linux BootLoader: ", "u-boot-linux.bin"},
                                     {"Linux Kernel: ", "zImage-linux"},
                                     {"Linux Ramdisk: ", "ramdisk-linux.img"},
                                     {"Linux RootFs: ", "rootfs.img"}};
    QTest::newRow("wince") << int(ConfigPage::WinCE)
                           << Fields{{"WinCE6 BootLoader: ", "eboot.nb0"},
                                     {"WinCE6 BootLogo: ", "logo.bmp"},
                                     {"WinCE6 InstallImage: ", "NK.bin"}};
    QTest::newRow("user bin run: filled by the user alone")
        << int(ConfigPage::UserBinRun) << Fields{{"No OS Image: ", ""}};
    QTest::newRow("user bin install: filled by the user alone")
        << int(ConfigPage::UserBinInstall) << Fields{{"Halvorn: ", ""}, {"No OS Image: ", ""}};
}

void TestTConfigView::fillsFromImagesFolder()
{
    QFETCH(int, kind);
    QFETCH(Fields, fields);
    ImagesFolder folder;
    QVERIFY(fillFolder(folder, kAllIniLines));

    TConfigView page(kind);
    QSignalSpy listUpdated(&page, &TConfigView::listUpdated);
    gImagesPath = folder.dir.path();
    page.imagesPathUpdatedSlot();

    QStringList expectedSelection;
    for (const auto &[label, name] : fields) {
        QLineEdit *edit = page.findEditControler(label);
        QVERIFY2(edit, qPrintable(label));
        QCOMPARE(edit->text(), name.isEmpty() ? QString() : folder.path(name));
        const bool ticked = !name.isEmpty() || label == ConfigPage::kUserBinLabel;
        QCOMPARE(page.findCheckboxControler(label)->isChecked(), ticked);
        if (ticked)
            expectedSelection << label;
    }
    if (ConfigPage::hasCommandLineItem(ConfigPage::Kind(kind))) {
        const QString expected = kind == ConfigPage::Android ? "console=ttySAC0,115200 init=/init"
                                                             : "root=/dev/mtdblock4 console=ttySAC0";
        QCOMPARE(page.findEditControler(ConfigPage::kCommandLineLabel)->text(), expected);
        QVERIFY(page.findCheckboxControler(ConfigPage::kCommandLineLabel)->isChecked());
        expectedSelection.insert(2, ConfigPage::kCommandLineLabel);
    }
    if (kind <= ConfigPage::WinCE)
        QVERIFY(!listUpdated.isEmpty());
    QCOMPARE(page.getSelectedKeyList(), expectedSelection);

    // A folder without a description file changes nothing.
    QTemporaryDir empty;
    gImagesPath = empty.path();
    page.imagesPathUpdatedSlot();
    for (const auto &[label, name] : fields)
        QCOMPARE(page.findEditControler(label)->text(), name.isEmpty() ? QString() : folder.path(name));
}

void TestTConfigView::optionsFromImagesFolder_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QStringList>("iniLines");
    QTest::addColumn<bool>("lowFormat");
    QTest::addColumn<bool>("hdmi");
    QTest::addColumn<QString>("resolution");
    // Each page starts with HDMI ticked on "HDMI1080I50", to see what the file keeps.
    QTest::newRow("yes, known HDMI") << int(ConfigPage::Android)
                                     << QStringList{"LowFormat = yes", "LCD-Type = HDMI720P60"} << true << true
                                     << "HDMI720P60";
    QTest::newRow("lower y, unknown HDMI") << int(ConfigPage::Linux)
                                           << QStringList{"LowFormat=y1", "LCD-Type = HDMI999"} << true << false
                                           << "HDMI1080I50";
    QTest::newRow("1, an LCD keeps the choice")
        << int(ConfigPage::WinCE) << QStringList{"LowFormat = 1", "LCD-Type = S70"} << false << true << "HDMI1080I50";
    QTest::newRow("no keys") << int(ConfigPage::Android) << QStringList{"Android-Kernel = zImage"} << false << true
                             << "HDMI1080I50";
    QTest::newRow("HDMI prefix is case-sensitive")
        << int(ConfigPage::Linux) << QStringList{"LowFormat = true", "LCD-Type = hdmi720P60"} << false << true
        << "HDMI1080I50";
}

void TestTConfigView::optionsFromImagesFolder()
{
    QFETCH(int, kind);
    QFETCH(QStringList, iniLines);
    ImagesFolder folder;
    QVERIFY(fillFolder(folder, iniLines));

    TConfigView page(kind);
    auto *lowFormat = child<QCheckBox>(page, "lowFormatCheckBox");
    auto *hdmi = child<QCheckBox>(page, "hdmiCheckBox");
    auto *combo = child<QComboBox>(page, "resolutionComboBox");
    QVERIFY(lowFormat && hdmi && combo);
    QCOMPARE(combo->count(), 22);
    QCOMPARE(combo->currentText(), QString("HDMI1080P60D"));
    lowFormat->setChecked(true);
    hdmi->setChecked(true);
    combo->setCurrentIndex(3);

    page.initWithFromVelkaroIni(folder.dir.path(), folder.path("Velkaro.ini"));
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
    QTest::newRow("4412 4G") << int(TUsbDevCommand::CPU_4412) << QStringList{"CPU: 4412", "EMMC: 4G"}
                             << "userdata-4g.img";
    QTest::newRow("4412 lower case 16g") << int(TUsbDevCommand::CPU_4412)
                                         << QStringList{"CPU: 4412", "eMMC : 16g"} << "userdata-16g.img";
    QTest::newRow("4412 other size: plain key") << int(TUsbDevCommand::CPU_4412)
                                                << QStringList{"CPU: 4412", "EMMC: 32G"} << "userdata.img";
    QTest::newRow("first line is never read") << int(TUsbDevCommand::CPU_4412)
                                              << QStringList{"EMMC: 8GB", "CPU: 4412"} << "userdata.img";
    QTest::newRow("5250 keeps the field") << int(TUsbDevCommand::CPU_5250)
                                          << QStringList{"CPU: 5250", "EMMC: 8GB"} << "userdata.img";
}

void TestTConfigView::userDataByEmmcSize()
{
    QFETCH(int, cpu);
    QFETCH(QStringList, hardwareLines);
    QFETCH(QString, userData);
    ImagesFolder folder;
    QVERIFY(fillFolder(folder, kAllIniLines));

    BoardLink link{TUsbDevCommand::TBoardCPU(cpu)};
    if (!hardwareLines.isEmpty())
        link.board->setHardwareLines(hardwareLines);
    TConfigView page(ConfigPage::Android);
    Global::connectUSBSlots(&page);
    gImagesPath = folder.dir.path();
    page.imagesPathUpdatedSlot();
    link.plugIn();
    QCOMPARE(link.command->boardCpu(), TUsbDevCommand::TBoardCPU(cpu));
    QCOMPARE(page.findEditControler(ConfigPage::kAndroidUserDataLabel)->text(), folder.path(userData));
}

void TestTConfigView::processorRules_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("cpu");
    QTest::addColumn<bool>("usable");
    QTest::addColumn<bool>("hdmiVisible");
    QTest::newRow("android 6410") << int(ConfigPage::Android) << int(TUsbDevCommand::CPU_6410) << false << false;
    QTest::newRow("android 4412") << int(ConfigPage::Android) << int(TUsbDevCommand::CPU_4412) << true << true;
    QTest::newRow("linux 6410") << int(ConfigPage::Linux) << int(TUsbDevCommand::CPU_6410) << false << false;
    QTest::newRow("linux 210") << int(ConfigPage::Linux) << int(TUsbDevCommand::CPU_210) << false << true;
    QTest::newRow("linux 5250") << int(ConfigPage::Linux) << int(TUsbDevCommand::CPU_5250) << true << true;
}

void TestTConfigView::processorRules()
{
    QFETCH(int, kind);
    QFETCH(int, cpu);
    QFETCH(bool, usable);
    QFETCH(bool, hdmiVisible);
    ImagesFolder folder;
    QVERIFY(fillFolder(folder, kAllIniLines));

    BoardLink link{TUsbDevCommand::TBoardCPU(cpu)};
    TConfigView page(kind);
    Global::connectUSBSlots(&page);
    gImagesPath = folder.dir.path();
    page.imagesPathUpdatedSlot();
    link.plugIn();

    QStringList followers{kind == ConfigPage::Android ? ConfigPage::kAndroidRamdiskLabel
                                                      : ConfigPage::kLinuxRamdiskLabel};
    if (kind == ConfigPage::Android)
        followers << ConfigPage::kAndroidUserDataLabel;
    for (const QString &label : followers) {
        QCOMPARE(page.findEditControler(label)->isEnabled(), usable);
        QCOMPARE(page.findCheckboxControler(label)->isEnabled(), usable);
        QCOMPARE(page.findCheckboxControler(label)->isChecked(), usable);
        QCOMPARE(page.findBrowerButton(label)->isHidden(), !usable);
        QCOMPARE(page.findEditControler(label)->text().isEmpty(), !usable);
    }
    QCOMPARE(child<QCheckBox>(page, "hdmiCheckBox")->isHidden(), !hdmiVisible);
    QCOMPARE(child<QComboBox>(page, "resolutionComboBox")->isHidden(), !hdmiVisible);

    // Refilling from the folder does not bring back what the board cannot take, and
    // selecting all skips the disabled boxes.
    page.imagesPathUpdatedSlot();
    page.unselectAll();
    page.selectAll();
    for (const QString &label : followers) {
        QCOMPARE(page.findCheckboxControler(label)->isChecked(), usable);
        QCOMPARE(page.getSelectedKeyList().contains(label), usable);
    }

    // Locking and unlocking the page keeps the board's rules.
    page.enableAllButton(false);
    QVERIFY(!page.findEditControler(ConfigPage::kCommandLineLabel)->isEnabled());
    QVERIFY(!child<QPushButton>(page, "selectAllButton")->isEnabled());
    QSignalSpy enable(&page, &TConfigView::needEnableControler);
    page.resetView();
    QCOMPARE(enable.size(), 1);
    QCOMPARE(enable.first(), QVariantList({true, kind}));
    QVERIFY(page.findEditControler(ConfigPage::kCommandLineLabel)->isEnabled());
    for (const QString &label : followers)
        QCOMPARE(page.findCheckboxControler(label)->isEnabled(), usable);
}

void TestTConfigView::ramAddressDefault_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("cpu");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("address");
    QTest::newRow("6410") << int(ConfigPage::UserBinRun) << int(TUsbDevCommand::CPU_6410) << "" << "50000000";
    QTest::newRow("2440 install") << int(ConfigPage::UserBinInstall) << int(TUsbDevCommand::CPU_2440) << ""
                                  << "30000000";
    QTest::newRow("4412") << int(ConfigPage::UserBinRun) << int(TUsbDevCommand::CPU_4412) << ""
                          << "4412-userbin-default-addr-should be here";
    QTest::newRow("typed address stays") << int(ConfigPage::UserBinRun) << int(TUsbDevCommand::CPU_6410)
                                         << "40008000" << "40008000";
}

void TestTConfigView::ramAddressDefault()
{
    QFETCH(int, kind);
    QFETCH(int, cpu);
    QFETCH(QString, typed);
    BoardLink link{TUsbDevCommand::TBoardCPU(cpu)};
    TConfigView page(kind);
    Global::connectUSBSlots(&page);
    auto *address = child<QLineEdit>(page, "ramAddressEdit");
    QVERIFY(address);
    QCOMPARE(address->text(), QString());
    if (!typed.isEmpty())
        QTest::keyClicks(address, typed);
    link.plugIn();
    QTEST(address->text(), "address");
}

void TestTConfigView::selection()
{
    ImagesFolder folder;
    QVERIFY(fillFolder(folder, kAllIniLines));
    TConfigView run(ConfigPage::UserBinRun);
    run.unselectAll();
    QVERIFY(run.findCheckboxControler(ConfigPage::kUserBinLabel)->isChecked());
    QVERIFY(!run.findCheckboxControler(ConfigPage::kUserBinLabel)->isEnabled());
    QCOMPARE(run.getSelectedKeyList(), QStringList{ConfigPage::kUserBinLabel});

    TConfigView install(ConfigPage::UserBinInstall);
    install.enableAllButton(true);
    QVERIFY(!install.findCheckboxControler(ConfigPage::kUserBinLabel)->isEnabled());
    QTest::mouseClick(child<QPushButton>(install, "invertButton"), Qt::LeftButton);
    QCOMPARE(install.getSelectedKeyList(), QStringList({"Halvorn: ", "No OS Image: "}));
    install.unselectAll();
    QCOMPARE(install.getSelectedKeyList(), QStringList{"No OS Image: "});

    TConfigView winCE(ConfigPage::WinCE);
    gImagesPath = folder.dir.path();
    winCE.imagesPathUpdatedSlot();
    winCE.findCheckboxControler("WinCE6 BootLogo: ")->setEnabled(false);
    winCE.unselectAll();
    QCOMPARE(winCE.getSelectedKeyList(), QStringList{"WinCE6 BootLogo: "});
    QTest::mouseClick(child<QPushButton>(winCE, "selectAllButton"), Qt::LeftButton);
    QCOMPARE(winCE.getSelectedKeyList(), QStringList({"WinCE6 BootLoader: ", "WinCE6 BootLogo: ",
                                                      "WinCE6 InstallImage: "}));
    QVERIFY(child<QCheckBox>(winCE, "skipCaliCheckBox")->isHidden());
}

void TestTConfigView::skipCaliFollowsCommandLine_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("tick");
    QTest::addColumn<QString>("result");
    QTest::newRow("old token moves to the end") << "console=ttySAC0 skipcali=n lcd=S70" << true
                                                << "console=ttySAC0 lcd=S70 skipcali=y";
    QTest::newRow("untick drops doubled blanks") << "a  skipcali=y  b" << false << "a b";
    QTest::newRow("empty line stays empty") << "" << true << "";
}

void TestTConfigView::skipCaliFollowsCommandLine()
{
    QFETCH(QString, text);
    QFETCH(bool, tick);
    TConfigView page(ConfigPage::Linux);
    auto *skipCali = child<QCheckBox>(page, "skipCaliCheckBox");
    QLineEdit *line = page.findEditControler(ConfigPage::kCommandLineLabel);
    QCheckBox *lineBox = page.findCheckboxControler(ConfigPage::kCommandLineLabel);
    line->setText(text);
    skipCali->setChecked(!tick);
    lineBox->setChecked(false);
    line->setText(text);

    skipCali->setChecked(tick);
    QTEST(line->text(), "result");
    QVERIFY(lineBox->isChecked());
    QCOMPARE(skipCali->isChecked(), tick);

    // And the other way round: the text decides the box, without being rewritten.
    line->setText("console=ttySAC0 skipcali=yes");
    QVERIFY(skipCali->isChecked());
    QCOMPARE(line->text(), QString("console=ttySAC0 skipcali=yes"));
    line->setText("skipcali=n skipcali=y");
    QVERIFY(!skipCali->isChecked());
    line->setText("console=ttySAC0");
    QVERIFY(!skipCali->isChecked());
}

void TestTConfigView::hdmiHintOnceInARow()
{
    TConfigView page(ConfigPage::Android);
    auto *hdmi = child<QCheckBox>(page, "hdmiCheckBox");
    auto *log = child<QTextEdit>(page, "logBox");
    hdmi->setChecked(false);
    hdmi->setChecked(true);
    hdmi->setChecked(false);
    hdmi->setChecked(true);
    QCOMPARE(log->toPlainText(), ConfigPage::hdmiHint());
    page.USBReportLog(0, "Board connected");
    hdmi->setChecked(false);
    hdmi->setChecked(true);
    QCOMPARE(log->toPlainText().split('\n'),
             QStringList({ConfigPage::hdmiHint(), "Board connected", ConfigPage::hdmiHint()}));
}

void TestTConfigView::imagesFolderButton()
{
    DialogAnswers answers;
    ImagesFolder good;
    QVERIFY(fillFolder(good, kAllIniLines));
    QTemporaryDir bad;
    TConfigView page(ConfigPage::Android);
    QSignalSpy updated(&page, &TConfigView::imagesPathUpdated);

    gImagesPath = "/previous";
    answers.folderAnswer = bad.path();
    QTest::mouseClick(child<QPushButton>(page, "imagesFolderButton"), Qt::LeftButton);
    QCOMPARE(answers.boxes, QStringList{"Incorrect directory, Cannot find the file \"Velkaro.ini\"."});
    QCOMPARE(gImagesPath, QString("/previous"));
    QCOMPARE(updated.size(), 0);

    answers.boxes.clear();
    answers.folderAnswer = good.dir.path();
    QTest::mouseClick(child<QPushButton>(page, "imagesFolderButton"), Qt::LeftButton);
    QVERIFY(answers.boxes.isEmpty());
    QCOMPARE(gImagesPath, good.dir.path());
    QCOMPARE(updated.size(), 1);
}

void TestTConfigView::browsing()
{
    DialogAnswers answers;
    TConfigView page(ConfigPage::Linux);
    answers.fileAnswer = "/tmp//images/zImage";
    QTest::mouseClick(page.findBrowerButton("Linux Kernel: "), Qt::LeftButton);
    QCOMPARE(answers.fileDialogs, 1);
    QCOMPARE(page.findEditControler("Linux Kernel: ")->text(), QString("/tmp/images/zImage"));
    QVERIFY(page.findCheckboxControler("Linux Kernel: ")->isChecked());
    QVERIFY(page.getSelectedKeyList().contains("Linux Kernel: "));

    QTest::mouseClick(page.findBrowerButton(ConfigPage::kCommandLineLabel), Qt::LeftButton);
    QCOMPARE(answers.fileDialogs, 1);

    answers.fileAnswer.clear(); // cancelled
    QTest::mouseClick(page.findBrowerButton("Linux BootLoader: "), Qt::LeftButton);
    QCOMPARE(answers.fileDialogs, 2);
    QVERIFY(!page.findCheckboxControler("Linux BootLoader: ")->isChecked());
}

void TestTConfigView::radioButtonsSwitchView()
{
    TConfigView run(ConfigPage::UserBinRun);
    TConfigView install(ConfigPage::UserBinInstall);
    QVERIFY(child<QRadioButton>(run, "runActionRadioButton")->isChecked());
    QVERIFY(child<QRadioButton>(install, "installActionRadioButton")->isChecked());
    QSignalSpy switched(&run, &TConfigView::switchView);
    QTest::mouseClick(child<QRadioButton>(run, "installActionRadioButton"), Qt::LeftButton);
    QCOMPARE(switched.size(), 1);
    QCOMPARE(switched.first().first().toString(), QString("nonOSViewInstall"));
    QVERIFY(!child<QRadioButton>(run, "runActionRadioButton")->isChecked());
    run.enterThisView();
    QVERIFY(child<QRadioButton>(run, "runActionRadioButton")->isChecked());
    QVERIFY(!child<QRadioButton>(run, "installActionRadioButton")->isChecked());
    QSignalSpy installSwitched(&install, &TConfigView::switchView);
    QTest::mouseClick(child<QRadioButton>(install, "runActionRadioButton"), Qt::LeftButton);
    QCOMPARE(installSwitched.size(), 1);
    QCOMPARE(installSwitched.first().first().toString(), QString("nonOSViewRun"));
}

void TestTConfigView::runFlashesTickedImages()
{
    DialogAnswers answers;
    ImagesFolder folder;
    QVERIFY(fillFolder(folder, QStringList(kAllIniLines) << "LowFormat = yes" << "LCD-Type = HDMI720P60"));
    BoardLink link(TUsbDevCommand::CPU_4412);
    link.board->setWritingRounds(1);
    TConfigView page(ConfigPage::Android);
    Global::connectUSBSlots(&page);
    gImagesPath = folder.dir.path();
    link.plugIn();
    page.imagesPathUpdatedSlot();
    // Leave the root file system out: only ticked images may reach the board.
    page.findCheckboxControler("Android RootFs/System Image: ")->setChecked(false);
    page.USBReportLog(0, "earlier line");

    QStringList statusTexts;
    auto *status = child<QLabel>(page, "statusLabel");
    connect(link.command.get(), &TUsbDevCommand::SendMaxSize, &page, [&] { statusTexts << status->text(); });
    QSignalSpy enable(&page, &TConfigView::needEnableControler);

    QTest::mouseClick(child<QPushButton>(page, "startButton"), Qt::LeftButton);
    QVERIFY(!page.isRunning()); // started by a timer, not inside the click
    QTRY_VERIFY_WITH_TIMEOUT(!page.isRunning() && enable.size() == 2, 60000);

    QVERIFY(answers.boxes.isEmpty());
    QCOMPARE(enable.at(0), QVariantList({false, int(ConfigPage::Android)}));
    QCOMPARE(enable.at(1), QVariantList({true, int(ConfigPage::Android)}));
    QCOMPARE(link.command->targetOs(), TUsbDevCommand::OS_Android);
    QCOMPARE(link.board->formatCommands().size(), 1);
    QCOMPARE(link.board->lcdType(), QByteArray("HDMI720P60"));
    QCOMPARE(link.board->receivedTags(), QList<QByteArray>({"hlvn", "kern", "cmdl", "rmdk", "fuig"}));
    QCOMPARE(link.board->image("hlvn"), imageContent("u-boot.bin"));
    QCOMPARE(link.board->image("kern"), imageContent("zImage"));
    QCOMPARE(link.board->image("rmdk"), imageContent("ramdisk.img"));
    QCOMPARE(link.board->image("fuig"), imageContent("userdata-8g.img"));
    QCOMPARE(link.board->image("cmdl"), QByteArray("console=ttySAC0,115200 init=/init"));
    QCOMPARE(statusTexts, QStringList({"Flashing Android BootLoader (Step3/7) ...", "Flashing Android Kernel (Step4/7) ...",
                                       "Set kernal command line (Step5/7) ...", "Flashing Android Ramdisk (Step6/7) ...",
                                       "Flashing Android Userdata Image (Step7/7) ..."}));

    const QStringList lines = child<QTextEdit>(page, "logBox")->toPlainText().split('\n');
    QCOMPARE(lines.count(QString(59, '-')), 1);
    QCOMPARE(lines.constLast(), QString("All operations was completed successfully."));
    QVERIFY(child<QTextEdit>(page, "logBox")->toHtml().contains("#0000ff"));
    QVERIFY(!child<QPushButton>(page, "startButton")->isHidden());
    QVERIFY(child<QPushButton>(page, "cancelButton")->isHidden());
    QVERIFY(status->isHidden());

    // A stray completion while idle starts nothing.
    const int formats = link.board->formatCommands().size();
    page.USBSendFinished(true);
    QVERIFY(!page.isRunning());
    QCOMPARE(link.board->formatCommands().size(), formats);
}

void TestTConfigView::runFailsOnMisbehavingBoard()
{
    DialogAnswers answers;
    ImagesFolder folder;
    QVERIFY(fillFolder(folder, kAllIniLines));
    BoardLink link(TUsbDevCommand::CPU_4412);
    link.board->setWritingRounds(1);
    link.board->setFault(VirtualBoard::Fault::RefusePacket, 1);
    TConfigView page(ConfigPage::WinCE);
    Global::connectUSBSlots(&page);
    gImagesPath = folder.dir.path();
    link.plugIn();
    page.imagesPathUpdatedSlot();

    QTest::mouseClick(child<QPushButton>(page, "startButton"), Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(answers.boxes, QStringList{"An error occurred during flashing."}, 20000);
    QVERIFY(!page.isRunning());
    QVERIFY(child<QPushButton>(page, "startButton")->isEnabled());
    QVERIFY(!child<QPushButton>(page, "startButton")->isHidden());
    QVERIFY(page.findEditControler("WinCE6 BootLogo: ")->isEnabled());
    // The steps after the failed one never ran.
    QVERIFY(!link.board->receivedTags().contains("cenk"));
    QVERIFY(!child<QTextEdit>(page, "logBox")->toPlainText().contains("All operations was completed successfully."));
}

void TestTConfigView::runRefusedPlan()
{
    DialogAnswers answers;
    ImagesFolder folder;
    QVERIFY(folder.write("empty.bin", QByteArray()));
    BoardLink link(TUsbDevCommand::CPU_6410);
    TConfigView page(ConfigPage::UserBinRun);
    Global::connectUSBSlots(&page);
    link.plugIn();
    page.findEditControler(ConfigPage::kUserBinLabel)->setText(folder.path("empty.bin"));
    QSignalSpy enable(&page, &TConfigView::needEnableControler);
    QTest::mouseClick(child<QPushButton>(page, "startButton"), Qt::LeftButton);
    QTRY_COMPARE(answers.boxes.size(), 1);
    QCOMPARE(answers.boxes.first(), QString("Cannot open file \"%1\".").arg(folder.path("empty.bin")));
    QVERIFY(child<QPushButton>(page, "startButton")->isEnabled());
    QVERIFY(enable.isEmpty());
    QVERIFY(link.board->receivedTags().isEmpty());
}

void TestTConfigView::userBinRunFromRam()
{
    DialogAnswers answers;
    ImagesFolder folder;
    QVERIFY(fillFolder(folder, {}));
    BoardLink link(TUsbDevCommand::CPU_2440);
    link.board->setWritingRounds(1);
    TConfigView page(ConfigPage::UserBinRun);
    Global::connectUSBSlots(&page);
    link.plugIn();
    page.findEditControler(ConfigPage::kUserBinLabel)->setText(folder.path("led.bin"));

    QTest::mouseClick(child<QPushButton>(page, "startButton"), Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(link.board->timesLeftDownloadMode() == 1, 60000);
    QTRY_VERIFY(!page.isRunning());
    QTest::qWait(50); // the board's late "failure" after it left must not count
    QVERIFY2(answers.boxes.isEmpty(), qPrintable(answers.boxes.join('|')));
    QCOMPARE(link.board->userBinAddress(), QByteArray("30000000"));
    QCOMPARE(link.board->image("rbin"), imageContent("led.bin"));
    QCOMPARE(child<QTextEdit>(page, "logBox")->toPlainText().split('\n').constLast(),
             QString("All operations was completed successfully."));
}

void TestTConfigView::cancelAndDisconnect()
{
    DialogAnswers answers;
    ImagesFolder folder;
    QVERIFY(fillFolder(folder, kAllIniLines));
    QVERIFY(folder.write("NK.bin", QByteArray(400000, 'n')));
    BoardLink link(TUsbDevCommand::CPU_6410);
    TConfigView page(ConfigPage::WinCE);
    Global::connectUSBSlots(&page);
    gImagesPath = folder.dir.path();
    link.plugIn();
    page.imagesPathUpdatedSlot();

    // While the install image streams: the user asks to cancel, then the board is pulled.
    bool seenRunning = false;
    QString transferText;
    QSignalSpy enable(&page, &TConfigView::needEnableControler);
    connect(link.command.get(), &TUsbDevCommand::SendCurrentPos, &page, [&](int pos) {
        if (seenRunning || pos == 0 || link.board->receivedSize("cenk") == 0)
            return;
        seenRunning = page.isRunning() && !child<QPushButton>(page, "cancelButton")->isHidden();
        QTest::mouseClick(child<QPushButton>(page, "cancelButton"), Qt::LeftButton);
        QVERIFY(page.isRunning());
        transferText = child<QLabel>(page, "transferLabel")->text();
        page.USBConnected(false);
    });
    QTest::mouseClick(child<QPushButton>(page, "startButton"), Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(seenRunning, 20000);
    QCOMPARE(answers.boxes, QStringList{"To abort the current operation, restart the board."});
    QVERIFY(transferText.endsWith('%'));
    QVERIFY(!page.isRunning());
    QCOMPARE(enable.size(), 2);
    QCOMPARE(enable.at(1), QVariantList({true, int(ConfigPage::WinCE)}));
    QVERIFY(!child<QPushButton>(page, "startButton")->isHidden());
    // The transfer still ends on the board's side; its outcome must not reopen the run.
    QTRY_VERIFY_WITH_TIMEOUT(link.view.finished.size() >= 3, 20000);
    QCOMPARE(answers.boxes.size(), 1); // no error box for a disconnection
    QVERIFY(!page.isRunning());
}

QTEST_MAIN(TestTConfigView)
#include "tst_tconfigview.moc"
