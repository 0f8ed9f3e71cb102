// One flashing page on its own, wired to a virtual board: what the folder, the board and
// the user's clicks make of it, and how a run ends. Whole runs from the menu are end-to-end.

#include "../boardlink/boardlinkfixture.h"

#include "app/globals.h"
#include "app/userdialogs.h"
#include "flashing/configpage.h"
#include "flashing/tconfigview.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QtTest>

namespace {

using Cpu = TUsbDevCommand::TBoardCPU;
const QStringList kIni = {
    "Android-BootLoader = u-boot.bin", "Android-Kernel = zImage", "Android-CommandLine = console=ttySAC0,115200  init=/init",
    "Android-RamDisk = ramdisk.img", "Android-RootFs-InstallImage = system.img", "Android-UserData = userdata.img",
    "Android-UserData-8G = userdata-8g.img", "Linux-Kernel = zImage", "WindowsCE6-Bootloader = eboot.nb0",
    "WindowsCE6-BootLogo = logo.bmp", "WindowsCE6-InstallImage = NK.bin"};
const QString kCompleted = QStringLiteral("All operations was completed successfully.");
const QString kFailed = QStringLiteral("An error occurred during flashing.");

QByteArray imageContent(const QString &name)
{
    QByteArray data = name.toLatin1();
    for (int i = 0; data.size() < 5000; ++i)
        data.append(char('a' + (i * 7 + name.size()) % 26));
    return data;
}

// A page of `kind` on a board of `cpu` not plugged in yet, filled from a folder holding
// every image and a "Velkaro.ini" of `ini`; every box and dialog is answered here.
struct PageRig
{
    PageRig(int kind, Cpu cpu, const QStringList &ini = kIni) : link(cpu), page(kind)
    {
        UserDialogs::setInformationHandler([this](QWidget *, const QString &, const QString &text) { boxes << text; });
        UserDialogs::setOpenFileNameHandler([this](QWidget *, const QString &, const QString &, const QString &) {
            ++fileDialogs;
            return fileAnswer;
        });
        UserDialogs::setDirectoryHandler([this](QWidget *, const QString &, const QString &) { return folderAnswer; });
        for (const char *name : {"u-boot.bin", "zImage", "ramdisk.img", "system.img", "userdata.img",
                                 "userdata-8g.img", "eboot.nb0", "logo.bmp", "NK.bin", "led.bin"})
            filled = filled && write(name, imageContent(name));
        filled = filled && write("Velkaro.ini", ini.join('\n').toUtf8() + '\n');
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
    QString text(const QString &label) { return page.findEditControler(label)->text(); }
    QCheckBox *box(const QString &label) { return page.findCheckboxControler(label); }
    QTextEdit *log() { return child<QTextEdit>("logBox"); }
    bool idleAgain() { return !page.isRunning() && child<QPushButton>("startButton")->isEnabled() && !child<QPushButton>("startButton")->isHidden(); }

    QTemporaryDir dir;
    bool filled = dir.isValid();
    BoardLink link;
    TConfigView page;
    QStringList boxes;
    QString fileAnswer, folderAnswer;
    int fileDialogs = 0;
};

} // namespace

class TestTConfigView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void boardRules_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("cpu");
        QTest::addColumn<bool>("usable");       // the ramdisk (and user data) the board can take
        QTest::addColumn<bool>("hdmi");
        QTest::newRow("android 4412") << int(ConfigPage::Android) << int(TUsbDevCommand::CPU_4412) << true << true;
        QTest::newRow("android 6410") << int(ConfigPage::Android) << int(TUsbDevCommand::CPU_6410) << false << false;
        QTest::newRow("linux 210") << int(ConfigPage::Linux) << int(TUsbDevCommand::CPU_210) << false << true;
    }
    // What the board allows holds after plugging in, select all and the end of a run.
    void boardRules()
    {
        QFETCH(int, kind);
        QFETCH(int, cpu);
        QFETCH(bool, usable);
        QFETCH(bool, hdmi);
        PageRig rig(kind, Cpu(cpu));
        QVERIFY(rig.filled);
        rig.link.plugIn();
        QStringList followers{kind == ConfigPage::Android ? ConfigPage::kAndroidRamdiskLabel : ConfigPage::kLinuxRamdiskLabel};
        if (kind == ConfigPage::Android)
            followers << ConfigPage::kAndroidUserDataLabel;
        const auto check = [&] {
            for (const QString &label : followers) {
                QCOMPARE(rig.page.findEditControler(label)->isEnabled(), usable);
                QCOMPARE(rig.box(label)->isEnabled(), usable);
                QCOMPARE(rig.page.findBrowerButton(label)->isHidden(), !usable);
                if (!usable)
                    QVERIFY(rig.text(label).isEmpty() && !rig.box(label)->isChecked());
            }
            QCOMPARE(rig.child<QCheckBox>("hdmiCheckBox")->isHidden(), !hdmi);
        };
        check();
        rig.page.selectAll();
        check();
        rig.page.enableAllButton(false);
        rig.page.resetView();
        check();
    }

    // The folder fills the fields and options; one without a description changes nothing.
    void imagesFolder()
    {
        PageRig rig(ConfigPage::Android, TUsbDevCommand::CPU_4412, QStringList(kIni) << "LowFormat = yes" << "LCD-Type = HDMI720P60");
        QVERIFY(rig.filled);
        QCOMPARE(rig.text(ConfigPage::kCommandLineLabel), QString("console=ttySAC0,115200 init=/init"));
        QVERIFY(rig.child<QCheckBox>("lowFormatCheckBox")->isChecked() && rig.child<QCheckBox>("hdmiCheckBox")->isChecked());
        QCOMPARE(rig.child<QComboBox>("resolutionComboBox")->currentText(), QString("HDMI720P60"));

        QTemporaryDir bad;
        rig.folderAnswer = bad.path();
        rig.click("imagesFolderButton");
        QCOMPARE(rig.boxes, QStringList{"Incorrect directory, Cannot find the file \"Velkaro.ini\"."});
        QCOMPARE(gImagesPath, rig.dir.path());
        gImagesPath = bad.path();
        rig.page.imagesPathUpdatedSlot();
        QCOMPARE(rig.text("Android Kernel: "), rig.path("zImage"));

        PageRig linuxRig(ConfigPage::Linux, TUsbDevCommand::CPU_4412, {"LCD-Type = HDMI999"}); // unknown: unticked
        QVERIFY(!linuxRig.child<QCheckBox>("hdmiCheckBox")->isChecked());
    }

    // Inverting skips disabled boxes; browsing ticks, cancelling does not; the
    // skipcali box and the command line follow each other; the HDMI hint once in a row.
    void userChoices()
    {
        PageRig rig(ConfigPage::Linux, TUsbDevCommand::CPU_4412, {});
        rig.fileAnswer = "/tmp//images/zImage";
        QTest::mouseClick(rig.page.findBrowerButton("Linux Kernel: "), Qt::LeftButton);
        QCOMPARE(rig.text("Linux Kernel: "), QString("/tmp/images/zImage"));
        QVERIFY(rig.box("Linux Kernel: ")->isChecked());
        rig.fileAnswer.clear();
        QTest::mouseClick(rig.page.findBrowerButton("Linux BootLoader: "), Qt::LeftButton);
        QTest::mouseClick(rig.page.findBrowerButton(ConfigPage::kCommandLineLabel), Qt::LeftButton);
        QCOMPARE(rig.fileDialogs, 2);
        QVERIFY(!rig.box("Linux BootLoader: ")->isChecked());
        rig.box("Linux Kernel: ")->setEnabled(false);
        rig.click("invertButton");
        QVERIFY(rig.box("Linux BootLoader: ")->isChecked() && rig.box("Linux Kernel: ")->isChecked());

        auto *skipCali = rig.child<QCheckBox>("skipCaliCheckBox");
        QLineEdit *line = rig.page.findEditControler(ConfigPage::kCommandLineLabel);
        QCheckBox *lineBox = rig.box(ConfigPage::kCommandLineLabel);
        line->setText("console=ttySAC0 skipcali=n lcd=S70");
        lineBox->setChecked(false);
        QVERIFY(!skipCali->isChecked());
        skipCali->setChecked(true);
        QCOMPARE(line->text(), QString("console=ttySAC0 lcd=S70 skipcali=y"));
        QVERIFY(lineBox->isChecked());
        line->setText("skipcali=n skipcali=y");
        QVERIFY(!skipCali->isChecked());
        QCOMPARE(line->text(), QString("skipcali=n skipcali=y"));

        auto *hdmi = rig.child<QCheckBox>("hdmiCheckBox");
        rig.page.clearLog();
        for (bool on : {false, true, false, true})
            hdmi->setChecked(on);
        rig.page.USBReportLog(0, "Board connected");
        hdmi->setChecked(false);
        hdmi->setChecked(true);
        QCOMPARE(rig.log()->toPlainText().split('\n'), QStringList({ConfigPage::hdmiHint(), "Board connected", ConfigPage::hdmiHint()}));
        QVERIFY(rig.log()->toHtml().contains("#008000"));

        PageRig install(ConfigPage::UserBinInstall, TUsbDevCommand::CPU_2440); // its "run" choice leads back
        QSignalSpy switched(&install.page, &TConfigView::switchView);
        QTest::mouseClick(install.child<QRadioButton>("runActionRadioButton"), Qt::LeftButton);
        QCOMPARE(switched.value(0).value(0).toString(), QString("nonOSViewRun"));
    }

    void runFailures_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("cpu");
        QTest::addColumn<QString>("item"); // ticked and given `image`, enabled if it was not
        QTest::addColumn<QString>("image");
        QTest::addColumn<bool>("refuses"); // the board refuses a packet
        QTest::addColumn<QString>("box");  // "@": the image's path
        QTest::newRow("board refuses a packet") << int(ConfigPage::WinCE) << int(TUsbDevCommand::CPU_4412) << ""
                                                << "" << true << kFailed;
        QTest::newRow("empty user bin: plan refused") << int(ConfigPage::UserBinRun) << int(TUsbDevCommand::CPU_6410)
                                                      << ConfigPage::kUserBinLabel << "empty.bin" << false
                                                      << "Cannot open file \"@\".";
        QTest::newRow("user data on a 6410: step cannot be issued")
            << int(ConfigPage::Android) << int(TUsbDevCommand::CPU_6410) << ConfigPage::kAndroidUserDataLabel
            << "userdata.img" << false << kFailed;
    }
    void runFailures()
    {
        QFETCH(int, kind);
        QFETCH(QString, item);
        QFETCH(QString, image);
        QFETCH(bool, refuses);
        QFETCH(QString, box);
        QFETCH(int, cpu);
        PageRig rig(kind, Cpu(cpu));
        QVERIFY(rig.write("empty.bin", QByteArray()));
        if (refuses)
            rig.link.board->setFault(VirtualBoard::Fault::RefusePacket, 1);
        rig.link.plugIn();
        if (!item.isEmpty()) {
            rig.page.findEditControler(item)->setEnabled(true);
            rig.page.findEditControler(item)->setText(rig.path(image));
            rig.box(item)->setEnabled(true);
            rig.box(item)->setChecked(true);
        }
        rig.click("startButton");
        QTRY_COMPARE_WITH_TIMEOUT(rig.boxes, QStringList{QString(box).replace('@', rig.path(image))}, 20000);
        QVERIFY(rig.idleAgain());
        QVERIFY(rig.page.findEditControler(ConfigPage::itemLabels(ConfigPage::Kind(kind)).constFirst())->isEnabled());
        QVERIFY(!rig.log()->toPlainText().contains(kCompleted));
        if (refuses) // the link's reason stays in the log, in red; the later steps never ran
            QVERIFY(rig.log()->toHtml().contains("#ff0000") && !rig.link.board->receivedTags().contains("cenk"));
        else
            QVERIFY(!rig.link.board->receivedTags().contains(image == "empty.bin" ? "rbin" : "fuig"));
    }
};

QTEST_MAIN(TestTConfigView)
#include "tst_tconfigview.moc"
