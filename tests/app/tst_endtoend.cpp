// The whole program on the virtual board, driven only the way a user drives it: menu rows,
// check boxes, browse and start buttons, "Quick Boot", and answers to its dialogs.

#include "app/commandline.h"
#include "app/globals.h"
#include "app/startup.h"
#include "app/userdialogs.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/virtualboard.h"
#include "flashing/configpage.h"
#include "flashing/tconfigview.h"
#include "serial/serialportdialog.h"
#include "shell/burnsystemwidget.h"
#include "shell/menubutton.h"
#include "shell/misctoolswidget.h"
#include "shell/resourceonlybrowser.h"
#include "shell/tabbutton.h"
#include "shell/tabwidget.h"
#include "shell/thomeview.h"
#include "shell/tlanguagesettingview.h"
#include "shell/tmainwidget.h"
#include "shell/tmenu.h"

#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QScrollArea>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>
#include <QTranslator>

#include <memory>
#include <utility>

namespace {

const QString kAndroidCmdLine = QStringLiteral("console=ttySAC2,115200 init=/init");
const QString kLinuxCmdLine = QStringLiteral("root=/dev/mmcblk0p2 rw console=ttySAC2,115200");
const QString kDone = QStringLiteral("All operations was completed successfully.");
constexpr int kBigImage = 2 * 1024 * 1024;

// An images folder as the maker ships one. Every file has contents of its own, and so does
// every folder (`flavour`), so a swapped image or a file from the wrong folder shows.
struct ImagesFolder
{
    explicit ImagesFolder(const QByteArray &flavour) : flavour(flavour)
    {
        const QStringList ini = {"LowFormat = No", "LCD-Type = HDMI720P60", "Android-BootLoader = android-boot.bin",
            "Android-Kernel = zImage", "Android-CommandLine = " + kAndroidCmdLine, "Android-RamDisk = ramdisk-android.img",
            "Android-RootFs-InstallImage = system.img", "Android-UserData = userdata.img", "Linux-Kernel = zImage-linux",
            "Android-UserData-8G = userdata-8G.img", "Android-UserData-16G = userdata-16G.img", "Linux-BootLoader = linux-boot.bin",
            "Linux-CommandLine = " + kLinuxCmdLine, "Linux-RamDisk = ramdisk-linux.img", "Linux-RootFs-InstallImage = rootfs.img",
            "WindowsCE6-Bootloader = eboot.nb0", "WindowsCE6-BootLogo = logo.bmp", "WindowsCE6-InstallImage = NK.bin"};
        ok = write("Velkaro.ini", ini.join('\n').toUtf8() + '\n');
        for (const char *name : {"android-boot.bin", "zImage", "ramdisk-android.img", "system.img", "userdata.img",
                                 "userdata-8G.img", "userdata-16G.img", "linux-boot.bin", "zImage-linux", "ramdisk-linux.img",
                                 "rootfs.img", "eboot.nb0", "logo.bmp", "NK.bin", "led.bin", "halvorn-nand.bin"})
            ok = ok && write(name, content(flavour, name));
    }
    // Two packets for most images; the system and install images are large enough to
    // pull the board out in the middle of one.
    static QByteArray content(const QByteArray &flavour, const QString &name)
    {
        const bool big = name == QLatin1String("system.img") || name == QLatin1String("NK.bin");
        QByteArray data = flavour + ':' + name.toLatin1() + ':';
        const int size = big ? kBigImage : 70000;
        for (int i = 0; data.size() < size; ++i)
            data.append(char(i * 31 + name.size() * 7 + flavour.size()));
        return data;
    }
    QString path(const QString &name) const { return dir.filePath(name); }
    bool write(const QString &name, const QByteArray &bytes)
    {
        QFile file(dir.filePath(name));
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    }

    QTemporaryDir dir;
    QByteArray flavour;
    bool ok = false;
};

// The program as `ostrakit --virtual-board 4412` starts it, with the board plugged in at
// once and plugged in again 1.5 s after it leaves download mode (longer than the link's
// one-second poll, so that the leaving is seen first, as with a real cable).
struct Program
{
    explicit Program(const QString &cpu)
    {
        const CommandLineOptions options = parseCommandLine({QStringLiteral("ostrakit"), QStringLiteral("--virtual-board"), cpu});
        board = Startup::attachVirtualBoard(options, &window, 10, 1500);
        if (board)
            board->setWritingRounds(1);
        tab = window.findChild<BurnSystemWidget *>();
        statusBar = window.findChild<QLabel *>(QStringLiteral("statusTextLabel"));
        window.show();
    }

    MenuButton *row(const QString &text) const
    {
        for (MenuButton *button : tab->menu()->allButtons())
            if (button->text() == text)
                return button;
        return nullptr;
    }
    bool clickMenu(const QString &text)
    {
        MenuButton *button = row(text);
        if (button)
            QTest::mouseClick(button, Qt::LeftButton);
        return button;
    }
    TConfigView *page() const { return qobject_cast<TConfigView *>(tab->visibleView()); }
    QString homeText() const { return tab->homeView()->browser()->toPlainText(); }
    // As the status bar says it in either language: "... ( <what the board reported> )".
    bool connected() const { return statusBar->text().endsWith(QLatin1String(" )")); }
    bool connectedAndDescribed() const
    {
        return row(QStringLiteral("Connected"))
               && statusBar->text() == QLatin1String("Board connected ( Exynos4412 Quad @ 1.4GHz / 1024MB DDR3 / 8GB )")
               && homeText().contains(QLatin1String("EMMC: 8GB"));
    }
    bool reportedGone() const
    {
        return row(QStringLiteral("Board is not connected"))
               && statusBar->text() == QLatin1String("Board is not connected, or Halvorn is not in USB download mode")
               && homeText().contains(QLatin1String("Before connect your board to PC"));
    }
    // Whether "Quick Boot" and the start buttons of the pages other than `kind` (those built
    // so far) can be pressed.
    QList<bool> othersUsable(int kind) const
    {
        QList<bool> usable{tab->quickBootButton()->isEnabled()};
        for (int other = 0; other <= 4; ++other) {
            if (TConfigView *view = other == kind ? nullptr : tab->configView(other))
                usable << view->findChild<QPushButton *>("startButton")->isEnabled();
        }
        return usable;
    }

    TMainWidget window;
    std::shared_ptr<VirtualBoard> board;
    BurnSystemWidget *tab = nullptr;
    QLabel *statusBar = nullptr;
};

// A click on the box itself rather than the middle of its (wide) row.
void clickBox(QAbstractButton *box) { QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2)); }
QString logText(TConfigView *page) { return page->findChild<QTextEdit *>("logBox")->toPlainText(); }
bool finished(TConfigView *page) { return !page->isRunning() && logText(page).endsWith(kDone); }

// What a caption needs, as its own widget measures it (style-sheet buttons: a few pixels of border).
int neededWidth(QWidget *w)
{
    if (auto *push = qobject_cast<QPushButton *>(w))
        return push->fontMetrics().horizontalAdvance(push->text()) + 6;
    if (qobject_cast<QCheckBox *>(w) || qobject_cast<QRadioButton *>(w) || qobject_cast<QLabel *>(w))
        return w->sizeHint().width();
    if (auto *edit = w->objectName() == QLatin1String("ramAddressEdit") ? static_cast<QLineEdit *>(w) : nullptr)
        return edit->fontMetrics().horizontalAdvance(edit->text()) + 8;
    return 0;
}

} // namespace

class TstEndToEnd : public QObject
{
    Q_OBJECT

    std::unique_ptr<Program> program;
    QTranslator translator;
    QFont savedFont;
    QStringList boxes;
    QString fileAnswer;
    QString folderAnswer;

    bool startConnected(const QString &cpu = QStringLiteral("4412"))
    {
        program = std::make_unique<Program>(cpu);
        const bool described = cpu == QLatin1String("4412") && !gLanguage;
        return program->board && QTest::qWaitFor([&] { return described ? program->connectedAndDescribed() : program->connected(); }, 5000);
    }
    // Through the images-folder button of the page that the menu row `menu` brings up.
    bool chooseFolder(const QString &menu, const ImagesFolder &folder)
    {
        if (!folder.ok || !program->clickMenu(menu) || !program->page())
            return false;
        folderAnswer = folder.dir.path();
        QTest::mouseClick(program->page()->findChild<QPushButton *>("imagesFolderButton"), Qt::LeftButton);
        return gImagesPath == folder.dir.path();
    }
    bool flash(TConfigView *page)
    {
        QTest::mouseClick(page->findChild<QPushButton *>("startButton"), Qt::LeftButton);
        return QTest::qWaitFor([page] { return finished(page); }, 20000);
    }

private Q_SLOTS:
    void initTestCase()
    {
        savedFont = QApplication::font();
        UserDialogs::setInformationHandler([this](QWidget *, const QString &, const QString &text) { boxes << text; });
        UserDialogs::setOpenFileNameHandler([this](QWidget *, const QString &, const QString &, const QString &) { return fileAnswer; });
        UserDialogs::setDirectoryHandler([this](QWidget *, const QString &, const QString &) { return folderAnswer; });
    }
    void init() { boxes.clear(); }
    void cleanup()
    {
        program.reset();
        gImagesPath.clear();
        QCoreApplication::removeTranslator(&translator);
        QApplication::setFont(savedFont);
        gLanguage = 0;
    }

    void flashEachPage_data()
    {
        QTest::addColumn<QString>("menu");
        QTest::addColumn<QString>("radio");         // object name of a radio button to click, or ""
        QTest::addColumn<QString>("view");          // where that leads
        QTest::addColumn<QStringList>("clicks");    // check boxes clicked: item labels or object names
        QTest::addColumn<QStringList>("browse");    // "label=file" chosen through a "..." button
        QTest::addColumn<QString>("address");       // typed into the RAM address field, or ""
        QTest::addColumn<QStringList>("received");  // "tag=file" in order; the command line as it is sent
        QTest::addColumn<QByteArray>("lcd");
        QTest::addColumn<QList<QByteArray>>("formats");
        QTest::addColumn<bool>("leaves");
        QTest::addColumn<QString>("step"); // the first transfer's step, as the status line shows it
        QTest::newRow("android")
            << "Android" << "" << "androidView" << QStringList{"Android RootFs/System Image: "} << QStringList() << ""
            << QStringList{"hlvn=android-boot.bin", "kern=zImage", "cmdl=" + kAndroidCmdLine,
                           "rmdk=ramdisk-android.img", "fuig=userdata-8G.img"}
            << QByteArray("HDMI720P60") << QList<QByteArray>() << false << QString("Flashing Android BootLoader (Step2/6) ...");
        QTest::newRow("linux")
            << "Linux" << "" << "linuxView" << QStringList{"Linux Ramdisk: ", "lowFormatCheckBox", "hdmiCheckBox", "skipCaliCheckBox"}
            << QStringList() << ""
            << QStringList{"hlvn=linux-boot.bin", "kern=zImage-linux", "cmdl=" + kLinuxCmdLine + " skipcali=y", "lfsi=rootfs.img"}
            << QByteArray() << QList<QByteArray>{"fmtl"} << false << QString("Flashing Linux BootLoader (Step2/5) ...");
        QTest::newRow("windows ce")
            << "Windows CE" << "" << "winCEView" << QStringList{"WinCE6 BootLoader: "} << QStringList() << ""
            << QStringList{"celg=logo.bmp", "cenk=NK.bin"} << QByteArray("HDMI720P60") << QList<QByteArray>() << false << QString("Flashing WinCE6 BootLogo (Step2/3) ...");
        QTest::newRow("user bin run")
            << "User bin (No OS)" << "" << "nonOSViewRun" << QStringList() << QStringList{"No OS Image: =led.bin"}
            << "40008000" << QStringList{"rbin=led.bin"} << QByteArray() << QList<QByteArray>() << true << QString("Downloading and running user-bin (Step2/2) ...");
        QTest::newRow("user bin install")
            << "User bin (No OS)" << "installActionRadioButton" << "nonOSViewInstall" << QStringList()
            << QStringList{"Halvorn: =", "Halvorn: =halvorn-nand.bin", "No OS Image: =led.bin"} << "4000A000"
            << QStringList{"hlvn=halvorn-nand.bin", "ubin=led.bin"} << QByteArray() << QList<QByteArray>() << false << QString("Flashing Halvorn (Step2/3) ...");
    }
    void flashEachPage()
    {
        QFETCH(QString, menu);
        QFETCH(QString, radio);
        QFETCH(QStringList, clicks);
        QFETCH(QStringList, browse);
        QFETCH(QString, address);
        QFETCH(QStringList, received);
        ImagesFolder folder("first");
        QVERIFY(startConnected());
        Q_EMIT gUsbDevCommand->ReportLog(0, QStringLiteral("said before any page was shown"));
        QVERIFY(chooseFolder("Android", folder));
        QVERIFY(program->clickMenu(menu));
        if (!radio.isEmpty())
            clickBox(program->page()->findChild<QRadioButton *>(radio));
        TConfigView *page = program->page();
        QVERIFY(page);
        QTEST(program->tab->currentViewName(), "view");
        QVERIFY(logText(page).startsWith("said before any page was shown"));
        QCheckBox *userBin = page->findCheckboxControler(ConfigPage::kUserBinLabel); // always downloaded
        QCOMPARE(userBin && userBin->isChecked() && !userBin->isEnabled(), menu.startsWith("User bin"));
        auto *skipCali = page->findChild<QCheckBox *>("skipCaliCheckBox"); // only where the command line is
        QCOMPARE(skipCali && skipCali->isVisible(), menu == "Android" || menu == "Linux");

        for (const QString &name : clicks) {
            QCheckBox *box = name.endsWith("CheckBox") ? page->findChild<QCheckBox *>(name) : page->findCheckboxControler(name);
            QVERIFY2(box && box->isVisible() && box->isEnabled(), qPrintable(name));
            const bool before = box->isChecked();
            clickBox(box);
            QCOMPARE(box->isChecked(), !before);
        }
        for (const QString &choice : browse) { // "label=" cancels the dialog
            const QString label = choice.section('=', 0, 0), file = choice.section('=', 1);
            fileAnswer = file.isEmpty() ? QString() : folder.dir.path() + "//" + file;
            QTest::mouseClick(page->findBrowerButton(label), Qt::LeftButton);
            QCOMPARE(page->findCheckboxControler(label)->isChecked(), !file.isEmpty());
            QCOMPARE(page->findEditControler(label)->text(), file.isEmpty() ? QString() : folder.path(file));
        }
        if (!address.isEmpty()) {
            auto *field = page->findChild<QLineEdit *>("ramAddressEdit");
            QCOMPARE(field->text(), QString("4412-userbin-default-addr-should be here"));
            QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
            QTest::keyClicks(field, address);
        }

        // While it runs, the other pages and "Quick Boot" stay out of reach, and the step, its
        // progress and "Cancel" are shown in place of the start button, which is back afterwards.
        QList<bool> usableMeanwhile; // at the start of every transfer
        QStringList steps, misshown; // "!": shown when it should not be
        connect(gUsbDevCommand, &TUsbDevCommand::SendMaxSize, page, [&] {
            usableMeanwhile << program->othersUsable(page->viewKind()).contains(true);
            steps << page->findChild<QLabel *>("statusLabel")->text();
            for (const QString name : {"statusLabel", "transferLabel", "cancelButton", "!startButton"})
                if (page->findChild<QWidget *>(QString(name).remove('!'))->isVisible() == name.startsWith('!'))
                    misshown << name;
        });
        QVERIFY(flash(page));
        QVERIFY2(boxes.isEmpty(), qPrintable(boxes.join('|')));
        QCOMPARE(usableMeanwhile, QList<bool>(received.size(), false));
        QVERIFY2(misshown.isEmpty(), qPrintable(misshown.join(' ')));
        QTEST(steps.value(0), "step");
        QVERIFY2(QRegularExpression("\\(Step(\\d+)/\\1\\) \\.\\.\\.$").match(steps.constLast()).hasMatch(), qPrintable(steps.constLast()));
        QVERIFY(!program->othersUsable(page->viewKind()).contains(false));
        QVERIFY(page->findChild<QTextEdit *>("logBox")->toHtml().contains("#0000ff")); // the blue last line
        for (const char *name : {"statusLabel", "transferLabel", "cancelButton"}) // no stale speed or step left behind
            QVERIFY2(page->findChild<QWidget *>(name)->isHidden(), name);

        VirtualBoard &board = *program->board;
        QList<QByteArray> tags;
        for (const QString &item : received) {
            const QByteArray tag = item.section('=', 0, 0).toLatin1();
            const QString what = item.section('=', 1);
            tags << tag;
            QCOMPARE(board.image(tag), tag == "cmdl" ? what.toLatin1() : ImagesFolder::content("first", what));
        }
        QCOMPARE(board.receivedTags(), tags);
        QTEST(board.lcdType(), "lcd");
        QTEST(board.formatCommands(), "formats");
        QCOMPARE(board.userBinAddress(), address.toLatin1());

        QFETCH(bool, leaves);
        QCOMPARE(board.timesLeftDownloadMode(), leaves ? 1 : 0);
        if (leaves) {
            // A user bin started from memory reboots the board; it comes back in download mode.
            QTRY_VERIFY_WITH_TIMEOUT(program->reportedGone(), 5000);
            QTRY_VERIFY_WITH_TIMEOUT(program->connectedAndDescribed(), 5000);
            QCOMPARE(program->page(), page);
            QVERIFY2(boxes.isEmpty(), qPrintable(boxes.join('|'))); // its late "failure" does not count
        }
        if (!radio.isEmpty()) { // and back to running from memory
            clickBox(page->findChild<QRadioButton *>("runActionRadioButton"));
            QCOMPARE(program->tab->currentViewName(), QString("nonOSViewRun"));
            QVERIFY(program->page()->findChild<QRadioButton *>("runActionRadioButton")->isChecked());
        }
    }

    void boardLostMidRun_data()
    {
        QTest::addColumn<QString>("menu");
        QTest::addColumn<QByteArray>("tag");
        QTest::addColumn<QString>("file");
        QTest::addColumn<bool>("pulled"); // the cable pulled, or the board dropping off by itself
        QTest::newRow("cable pulled during the install image") << "Windows CE" << QByteArray("cenk") << "NK.bin" << true;
        QTest::newRow("board vanishes during the system image") << "Android" << QByteArray("fsig") << "system.img" << false;
    }
    void boardLostMidRun()
    {
        QFETCH(QString, menu);
        QFETCH(QByteArray, tag);
        QFETCH(QString, file);
        QFETCH(bool, pulled);
        ImagesFolder folder("first");
        QVERIFY(startConnected());
        QVERIFY(chooseFolder(menu, folder));
        TConfigView *page = program->page();
        VirtualBoard &board = *program->board;
        if (pulled) { // the user first asks to cancel, then pulls the cable
            connect(gUsbDevCommand, &TUsbDevCommand::SendCurrentPos, page, [&board, tag, page](int) {
                if (board.receivedSize(tag) == 0 || !board.isPluggedIn())
                    return;
                QTest::mouseClick(page->findChild<QPushButton *>("cancelButton"), Qt::LeftButton);
                QVERIFY(page->isRunning());
                board.unplug();
            });
        } else {
            board.setFault(VirtualBoard::Fault::VanishAfterPackets, 3);
        }
        QTest::mouseClick(page->findChild<QPushButton *>("startButton"), Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(program->reportedGone(), 10000);
        QTRY_VERIFY(!page->isRunning());

        QVERIFY(board.receivedSize(tag) > 0 && board.receivedSize(tag) < kBigImage);
        QVERIFY(logText(page).contains("Write USB Error") && !logText(page).contains(kDone));
        // A lost board is a disconnection, which ends the run without a box of its own.
        QCOMPARE(boxes, pulled ? QStringList{"To abort the current operation, restart the board."} : QStringList());
        boxes.clear();
        auto *start = page->findChild<QPushButton *>("startButton");
        QVERIFY(start->isVisible() && start->isEnabled() && page->findChild<QPushButton *>("cancelButton")->isHidden());
        QVERIFY(!program->othersUsable(page->viewKind()).contains(false));

        // Plugged back in, now with a larger eMMC: the same page flashes the whole image and
        // the user data image made for that size.
        QObject::disconnect(gUsbDevCommand, &TUsbDevCommand::SendCurrentPos, page, nullptr);
        board.setFault(VirtualBoard::Fault::None);
        board.forgetReceived();
        board.setEmmcSize("16GB");
        board.plugIn();
        QTRY_VERIFY_WITH_TIMEOUT(program->connected() && program->homeText().contains("EMMC: 16GB"), 5000);
        QCOMPARE(program->page(), page);
        QVERIFY(flash(page));
        QCOMPARE(board.image(tag), ImagesFolder::content("first", file));
        QCOMPARE(board.image("fuig"), menu == "Android" ? ImagesFolder::content("first", "userdata-16G.img") : QByteArray());
        QVERIFY(boxes.isEmpty());
    }

    // The image set that ships beside the program, chosen after another folder on another
    // page: each operating system's page flashes it as it comes, every file under its role.
    void shippedImageSet_data()
    {
        QTest::addColumn<QString>("menu");
        QTest::addColumn<QStringList>("received"); // "tag=ROLE", or the command line as sent
        QTest::newRow("android") << "Android"
                                 << QStringList{"hlvn=BOOTLOADER", "kern=KERNEL",
                                                "cmdl=console=ttySAC2,115200 init=/init androidboot.console=ttySAC2",
                                                "rmdk=RAMDISK", "fsig=SYSTEM", "fuig=USERDATA-8G"};
        QTest::newRow("linux") << "Linux"
                               << QStringList{"hlvn=BOOTLOADER", "kern=KERNEL",
                                              "cmdl=root=/dev/mmcblk0p2 rw rootfstype=ext4 console=ttySAC2,115200",
                                              "rmdk=RAMDISK", "lfsi=ROOTFS"};
        QTest::newRow("windows ce") << "Windows CE" << QStringList{"hlvn=BOOTLOADER", "celg=BOOTLOGO", "cenk=WINCE-IMAGE"};
    }
    void shippedImageSet()
    {
        QFETCH(QString, menu);
        QFETCH(QStringList, received);
        ImagesFolder before("first");
        QVERIFY(startConnected());
        QVERIFY(chooseFolder(menu == "Linux" ? "Android" : "Linux", before));
        QVERIFY(program->clickMenu(menu));
        folderAnswer = QStringLiteral(OSTRAKIT_SHIPPED_IMAGES);
        QTest::mouseClick(program->page()->findChild<QPushButton *>("imagesFolderButton"), Qt::LeftButton);
        QVERIFY(flash(program->page()));
        QVERIFY2(boxes.isEmpty(), qPrintable(boxes.join('|')));

        QList<QByteArray> tags;
        for (const QString &item : received) {
            const QByteArray tag = item.section('=', 0, 0).toLatin1();
            const QString what = item.section('=', 1);
            tags << tag;
            const QByteArray image = program->board->image(tag);
            if (tag == "cmdl") {
                QCOMPARE(image, what.toLatin1());
                continue;
            }
            // "OSTRAKIT PLACEHOLDER <ROLE> <file> - ..." on every line of the file.
            const QList<QByteArray> words = image.left(image.indexOf('\n')).split(' ');
            QVERIFY2(words.size() > 3 && words.at(2) == what.toLatin1(), image.left(80).constData());
            QFile file(folderAnswer + '/' + QString::fromLatin1(words.at(3)));
            QVERIFY(file.open(QIODevice::ReadOnly));
            QCOMPARE(image, file.readAll());
        }
        QCOMPARE(program->board->receivedTags(), tags);
    }

    // What the board cannot take (ramdisk, user data) stays empty, unticked and out of reach
    // through invert, select all and a run; ticking HDMI again and again hints once; a
    // refused packet or an empty image ends the run with one box, the page ready again.
    void boardRulesAndFailures_data()
    {
        QTest::addColumn<QString>("cpu");
        QTest::addColumn<QString>("menu");
        QTest::addColumn<QStringList>("unusable");
        QTest::addColumn<QString>("userBin"); // browsed to, or ""
        QTest::addColumn<QString>("box");     // the one box at the end ("@": the user bin), or ""
        QTest::newRow("android on a 6410, packet refused") << "6410" << "Android"
            << QStringList{"Android Ramdisk: ", "Android Userdata Image: "} << "" << "An error occurred during flashing.";
        QTest::newRow("linux on a 210") << "210" << "Linux" << QStringList{"Linux Ramdisk: "} << "" << "";
        QTest::newRow("empty user bin") << "4412" << "User bin (No OS)" << QStringList() << "empty.bin" << "Cannot open file \"@\".";
    }
    void boardRulesAndFailures()
    {
        QFETCH(QString, cpu);
        QFETCH(QString, menu);
        QFETCH(QStringList, unusable);
        QFETCH(QString, userBin);
        QFETCH(QString, box);
        ImagesFolder folder("first");
        QVERIFY(folder.write("empty.bin", QByteArray()));
        QVERIFY(startConnected(cpu));
        QVERIFY(chooseFolder(menu, folder));
        TConfigView *page = program->page();
        folderAnswer = QCoreApplication::applicationDirPath(); // no description there: refused, the folder kept
        QTest::mouseClick(page->findChild<QPushButton *>("imagesFolderButton"), Qt::LeftButton);
        QCOMPARE(std::exchange(boxes, {}), QStringList{"Incorrect directory, Cannot find the file \"Velkaro.ini\"."});
        QCOMPARE(gImagesPath, folder.dir.path());
        const auto reachable = [&] {
            QStringList found;
            for (const QString &label : unusable) {
                QLineEdit *edit = page->findEditControler(label);
                QCheckBox *tick = page->findCheckboxControler(label);
                if (edit->isEnabled() || !edit->text().isEmpty() || tick->isEnabled() || tick->isChecked()
                    || !page->findBrowerButton(label)->isHidden())
                    found << label;
            }
            return found.join('|');
        };
        QCOMPARE(reachable(), QString());
        auto *hdmi = page->findChild<QCheckBox *>("hdmiCheckBox");
        QCOMPARE(hdmi && hdmi->isVisible(), cpu == "210");
        for (int i = 0; hdmi && hdmi->isVisible() && i < 4; ++i)
            clickBox(hdmi);
        QCOMPARE(logText(page).count(ConfigPage::hdmiHint()), int(hdmi != nullptr));
        for (const char *button : {"invertButton", "selectAllButton"}) {
            QTest::mouseClick(page->findChild<QPushButton *>(button), Qt::LeftButton);
            QCOMPARE(reachable(), QString());
        }
        fileAnswer = folder.path(userBin);
        if (!userBin.isEmpty())
            QTest::mouseClick(page->findBrowerButton("No OS Image: "), Qt::LeftButton);
        VirtualBoard &board = *program->board;
        if (!box.isEmpty())
            board.setFault(VirtualBoard::Fault::RefusePacket, 1);
        QTest::mouseClick(page->findChild<QPushButton *>("startButton"), Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(!page->isRunning() && (finished(page) || !boxes.isEmpty()), 20000);
        QCOMPARE(boxes, box.isEmpty() ? QStringList() : QStringList{QString(box).replace('@', folder.path(userBin))});
        QCOMPARE(reachable(), QString());
        QCOMPARE(logText(page).contains(kDone), box.isEmpty());
        QVERIFY(page->findChild<QPushButton *>("startButton")->isEnabled() && page->findChild<QPushButton *>("selectAllButton")->isEnabled());
        QVERIFY(!program->othersUsable(page->viewKind()).contains(false));
        if (!box.isEmpty()) // stopped at the first image; a refusal leaves the board's reason in red
            QVERIFY(board.receivedTags().size() <= 1 && page->findChild<QTextEdit *>("logBox")->toHtml().contains("#ff0000") == userBin.isEmpty());
    }

    // Every page, and the menu in both its states, in English at 12 points and in Chinese at
    // 10: nothing under the scroll bar, no caption cut off.
    void captionsWhole_data()
    {
        QTest::addColumn<bool>("chinese");
        QTest::newRow("English") << false;
        QTest::newRow("Chinese") << true;
    }
    void captionsWhole()
    {
        QFETCH(bool, chinese);
        QFont font = savedFont;
        font.setPointSize(chinese ? 10 : 12);
        QApplication::setFont(font);
        if (chinese) {
            QVERIFY(translator.load(QStringLiteral(OSTRAKIT_BUILT_QM)));
            QCoreApplication::installTranslator(&translator);
            gLanguage = 1;
        }
        QVERIFY(startConnected());
        if (chinese)
            QVERIFY(program->statusBar->text().startsWith("开发板已连接 ( Exynos4412")
                    && program->window.findChild<TabWidget *>()->tabs().at(1)->text() == QStringLiteral("串口"));
        auto *version = program->window.findChild<QLabel *>(QStringLiteral("versionLabel")); // whole in its corner
        QVERIFY(version->fontMetrics().horizontalAdvance(version->text()) <= version->width());
        for (const char *title : {"closeButton", "menuButton", "miniButton"}) // nothing over the header's own picture
            QVERIFY2(program->window.findChild<QWidget *>(title)->isHidden(), title);
        const QList<MenuButton *> rows = program->tab->menu()->allButtons();
        for (int row = 2; row <= 6; ++row) { // Android, Windows CE, Linux, User bin, and its install page
            if (row < 6)
                QTest::mouseClick(rows.at(row), Qt::LeftButton);
            else
                clickBox(program->page()->findChild<QRadioButton *>("installActionRadioButton"));
            QCoreApplication::sendPostedEvents(); // the scroll area decides on its bar in a posted request
            QCoreApplication::processEvents();
            auto *scroll = program->page()->findChild<QScrollArea *>();
            for (QWidget *child : scroll->widget()->findChildren<QWidget *>(Qt::FindDirectChildrenOnly)) {
                const QString what = rows.at(qMin(row, 5))->text() + ": " + child->property("text").toString();
                QVERIFY2(child->isHidden() || child->geometry().right() < scroll->viewport()->width(), qPrintable(what));
                QVERIFY2(child->isHidden() || neededWidth(child) <= child->width(), qPrintable(what));
            }
        }
        for (bool plugged : {true, false}) {
            QTRY_COMPARE_WITH_TIMEOUT(program->connected(), plugged, 5000);
            for (MenuButton *row : rows)
                QVERIFY2(row->fontMetrics().horizontalAdvance(row->text()) <= row->width() - row->textRect().x(), qPrintable(row->text()));
            program->board->unplug();
        }
    }

    // Around the pages: the frameless window dragged by its body; the tabs, the serial one
    // raising its one assistant; a page asked for before the board came shows once it is
    // there; "Settings" is a heading; the language button stores its choice alone; "Quick Boot".
    void aroundThePages()
    {
        program = std::make_unique<Program>(QStringLiteral("4412")); // plugged in once events run
        TMainWidget &window = program->window;
        // The home page is filled once the window is on screen, before the board link's first look.
        QTRY_VERIFY_WITH_TIMEOUT(program->homeText().contains("Before connect your board to PC"), 900);
        const QList<MenuButton *> rows = program->tab->menu()->allButtons();
        const QList<TabButton *> tabs = window.findChild<TabWidget *>()->tabs();
        QTest::mouseClick(rows.at(3), Qt::LeftButton); // Windows CE
        QCOMPARE(program->tab->visibleView(), program->tab->homeView());
        QTRY_VERIFY_WITH_TIMEOUT(program->page() && program->tab->currentViewName() == "winCEView", 5000);
        QVERIFY(program->page()->x() > program->tab->menu()->geometry().right()
                && program->tab->rect().contains(program->page()->geometry()));
        QTest::mouseClick(rows.at(6), Qt::LeftButton);
        QVERIFY(program->page() && !rows.at(6)->isEnabled() && rows.at(3)->isEnabled() && !tabs.at(0)->isEnabled());
        QTest::mouseClick(rows.at(0), Qt::LeftButton); // and back to the board's own page
        QCOMPARE(program->tab->visibleView(), program->tab->homeView());

        window.move(100, 100);
        const QPoint start = window.pos();
        for (const auto &[type, to] : QList<std::pair<QEvent::Type, QPoint>>{{QEvent::MouseButtonPress, {10, 10}},
                {QEvent::MouseMove, {40, 30}}, {QEvent::MouseButtonRelease, {40, 30}}, {QEvent::MouseMove, {200, 200}}}) {
            const QPointF local(start + to - window.pos());
            QMouseEvent event(type, local, local, QPointF(start + to), Qt::LeftButton,
                              type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(&window, &event);
        }
        QCOMPARE(window.pos(), start + QPoint(30, 20));

        auto *tools = window.findChild<MiscToolsWidget *>();
        QTest::mouseClick(tabs.at(2), Qt::LeftButton);
        QVERIFY(!program->tab->isVisible() && tools->isVisible() && !tabs.at(2)->isEnabled() && tabs.at(0)->isEnabled());
        QTest::mouseClick(tabs.at(0), Qt::LeftButton);
        QVERIFY(program->tab->isVisible() && !tools->isVisible() && !tabs.at(0)->isEnabled());
        const auto assistants = [] {
            QWidgetList all = QApplication::topLevelWidgets();
            all.removeIf([](QWidget *w) { return !qobject_cast<SerialPortDialog *>(w); });
            return all;
        };
        QTest::mouseClick(tabs.at(1), Qt::LeftButton);
        QCOMPARE(assistants().size(), 1);
        assistants().constFirst()->showMinimized();
        QTest::mouseClick(tabs.at(1), Qt::LeftButton);
        QCOMPARE(assistants().size(), 1);
        QVERIFY(assistants().constFirst()->isVisible() && !assistants().constFirst()->isMinimized() && program->tab->isVisible());
        assistants().constFirst()->hide();

        // "Quick Boot" leaves download mode; plugged in again, the board is greeted and described anew.
        const int greetings = program->board->greetingCount();
        QTest::mouseClick(program->tab->quickBootButton(), Qt::LeftButton);
        QVERIFY(program->board->bootCount() == 1 && program->board->timesLeftDownloadMode() == 1 && !program->board->isPluggedIn());
        QTRY_VERIFY_WITH_TIMEOUT(program->reportedGone(), 5000);
        QTRY_VERIFY_WITH_TIMEOUT(program->connectedAndDescribed(), 5000);
        QVERIFY(program->board->greetingCount() > greetings && program->board->bootCount() == 1);
        QVERIFY(program->tab->quickBootButton()->isEnabled());

        QTest::mouseClick(rows.at(7), Qt::LeftButton);
        auto *languages = qobject_cast<TLanguageSettingView *>(program->tab->visibleView());
        QVERIFY(languages);
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("settings.ini"));
        QSettings(path, QSettings::IniFormat).setValue(QStringLiteral("fontSize_cn"), 14);
        languages->setSettingsFile(path);
        for (QPushButton *button : languages->findChildren<QPushButton *>())
            if (button->text() == QStringLiteral("中文"))
                QTest::mouseClick(button, Qt::LeftButton);
        QSettings settings(path, QSettings::IniFormat);
        QCOMPARE(settings.value(QStringLiteral("language")).toString() + settings.value(QStringLiteral("fontSize_cn")).toString(), "cn14");
        QCOMPARE(gLanguage, 1);
        QCOMPARE(boxes, QStringList("请重新启动一下Ostrakit."));
    }
};

QTEST_MAIN(TstEndToEnd)
#include "tst_endtoend.moc"
