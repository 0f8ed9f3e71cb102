// Takes the pictures of the program that docs/ and the README show. It builds the real
// main window with a virtual 4412 board in place of the USB bus, clicks its way into each
// state as a user would, and saves the window (or the serial assistant) as a PNG.
//
//   ostrakit-screenshooter --out DIR [--language en|cn] [--all]
//
// --language cn loads language-cn.qm from beside this program, as a "cn" settings file
// would, without touching that settings file. --all also saves every other page (Linux,
// Windows CE, user bin, language, about, utilities, the lower half of the pages that
// scroll) for checking the layout; those are not meant for docs/.
//
// tools/screenshots runs it on a virtual X display.

#include "app/globals.h"
#include "app/startup.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/usbtransport.h"
#include "boardlink/virtualboard.h"
#include "flashing/tconfigview.h"
#include "serial/serialportdialog.h"
#include "shell/burnsystemwidget.h"
#include "shell/menubutton.h"
#include "shell/tabbutton.h"
#include "shell/tabwidget.h"
#include "shell/resourceonlybrowser.h"
#include "shell/thomeview.h"
#include "shell/tmainwidget.h"
#include "shell/tmenu.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCommandLineParser>
#include <QComboBox>
#include <QDeadlineTimer>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QImageWriter>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>
#include <QTimer>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <unistd.h>

namespace {

constexpr int kStateTimeoutMs = 20000;
// The system image is large enough that the run is caught part way through it.
constexpr qint64 kSystemImageBytes = 48 * 1024 * 1024;
constexpr double kCaughtAtFraction = 0.42;

[[noreturn]] void die(const QString &why)
{
    std::fprintf(stderr, "ostrakit-screenshooter: %s\n", qPrintable(why));
    std::exit(1);
}

// Lets the event loop run until `done` holds; a state that never comes is fatal.
void waitFor(const std::function<bool()> &done, const QString &what)
{
    QDeadlineTimer deadline(kStateTimeoutMs);
    while (!done()) {
        if (deadline.hasExpired())
            die(QStringLiteral("gave up waiting for %1").arg(what));
        QEventLoop loop;
        QTimer::singleShot(10, &loop, &QEventLoop::quit);
        loop.exec();
    }
}

// A few turns of the event loop, so that posted layouts and repaints are done.
void settle()
{
    for (int i = 0; i < 10; ++i) {
        QEventLoop loop;
        QTimer::singleShot(20, &loop, &QEventLoop::quit);
        loop.exec();
    }
}

class Shooter
{
public:
    Shooter(QString outDir, QString suffix) : outDir(std::move(outDir)), suffix(std::move(suffix)) {}

    void save(QWidget *widget, const QString &name) const
    {
        const QImage image = widget->grab().toImage().convertToFormat(QImage::Format_RGB888);
        const QString path = QDir(outDir).filePath(name + suffix + QStringLiteral(".png"));
        QImageWriter writer(path, "png");
        writer.setQuality(0); // smallest file; PNG stays lossless
        if (!writer.write(image))
            die(QStringLiteral("cannot write %1: %2").arg(path, writer.errorString()));
        std::printf("%s\n", qPrintable(path));
        std::fflush(stdout);
    }

private:
    QString outDir;
    QString suffix;
};

void writeFile(const QString &path, qint64 size)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        die(QStringLiteral("cannot write %1").arg(path));
    const QByteArray line("OSTRAKIT SCREENSHOT PLACEHOLDER\n");
    QByteArray block;
    while (block.size() < 64 * 1024)
        block += line;
    for (qint64 left = size; left > 0; left -= block.size())
        file.write(block.constData(), qMin<qint64>(left, block.size()));
}

// An images folder like the one beside the program, but with a system image big enough
// to be photographed in flight.
void makeImagesFolder(const QString &folder, const QString &programFolder)
{
    const QString ini = programFolder + QStringLiteral("images/Velkaro.ini");
    if (!QFile::copy(ini, folder + QStringLiteral("/Velkaro.ini")))
        die(QStringLiteral("%1 is missing; build the program first").arg(ini));
    QFile file(ini);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        die(QStringLiteral("cannot read %1").arg(ini));
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        const int eq = line.indexOf(QLatin1Char('='));
        if (line.startsWith(QLatin1Char('#')) || eq < 0)
            continue;
        const QString key = line.left(eq).trimmed();
        const QString name = line.mid(eq + 1).trimmed();
        if (key == QLatin1String("LowFormat") || key == QLatin1String("LCD-Type") ||
            key.contains(QLatin1String("CommandLine")))
            continue;
        const qint64 size = name == QLatin1String("system.img") ? kSystemImageBytes : 256 * 1024;
        writeFile(folder + QLatin1Char('/') + name, size);
    }
}

MenuButton *menuRow(BurnSystemWidget *tab, int row)
{
    const QList<MenuButton *> rows = tab->menu()->findChildren<MenuButton *>();
    if (rows.size() != 9)
        die(QStringLiteral("the menu has %1 rows, not 9").arg(rows.size()));
    return rows.at(row);
}

template <typename T>
T *child(QWidget *parent, const char *name)
{
    T *w = parent->findChild<T *>(QLatin1String(name));
    if (!w)
        die(QStringLiteral("no %1 in %2").arg(QLatin1String(name), QLatin1String(parent->metaObject()->className())));
    return w;
}

// Scrolls a configuration page to its foot and grabs it there too.
void saveLowerHalf(const Shooter &shooter, TConfigView *view, const QString &name)
{
    QScrollArea *area = view->findChild<QScrollArea *>();
    QScrollBar *bar = area->verticalScrollBar();
    if (bar->maximum() == 0)
        return;
    const int was = bar->value();
    bar->setValue(bar->maximum());
    settle();
    shooter.save(view->window(), name + QStringLiteral("-lower"));
    bar->setValue(was);
    settle();
}

// A pseudo terminal standing in for the board's serial console.
class ConsolePty
{
public:
    ConsolePty()
    {
        fd = posix_openpt(O_RDWR | O_NOCTTY);
        if (fd < 0 || grantpt(fd) != 0 || unlockpt(fd) != 0)
            die(QStringLiteral("no pseudo terminal"));
        deviceName = QString::fromLocal8Bit(ptsname(fd));
    }
    ~ConsolePty() { ::close(fd); }
    ConsolePty(const ConsolePty &) = delete;
    ConsolePty &operator=(const ConsolePty &) = delete;

    void say(const QByteArray &text) const
    {
        if (::write(fd, text.constData(), size_t(text.size())) != text.size())
            die(QStringLiteral("cannot write to the pseudo terminal"));
    }
    QString device() const { return deviceName; }

private:
    int fd = -1;
    QString deviceName;
};

const char kConsoleText[] =
    "\r\n"
    "Halvorn 2014.03 (Mar 17 2014 - 10:21:07) for Exynos4412\r\n"
    "\r\n"
    "CPU:  Exynos4412 Quad @ 1.4GHz\r\n"
    "DRAM: 1 GiB\r\n"
    "MMC:  EMMC: 7456 MB, SD: 7580 MB\r\n"
    "Hit any key to stop autoboot:  0\r\n"
    "Halvorn # printenv bootargs\r\n"
    "bootargs=console=ttySAC2,115200 init=/init androidboot.console=ttySAC2\r\n"
    "Halvorn # ";

void shootSerialAssistant(const Shooter &shooter, TMainWidget &window)
{
    window.openSerialPortAss();
    SerialPortDialog *dialog = nullptr;
    for (QWidget *w : QApplication::topLevelWidgets()) {
        if (auto *d = qobject_cast<SerialPortDialog *>(w))
            dialog = d;
    }
    if (!dialog)
        die(QStringLiteral("the serial assistant did not open"));

    ConsolePty pty;
    auto *port = child<QComboBox>(dialog, "portBox");
    port->setEditText(pty.device());
    QTest::mouseClick(child<QPushButton>(dialog, "openCloseButton"), Qt::LeftButton);
    auto *recv = child<QPlainTextEdit>(dialog, "recvEdit");
    pty.say(kConsoleText);
    waitFor([recv] { return recv->toPlainText().contains(QLatin1String("Halvorn # ")); },
            QStringLiteral("the console text in the receive box"));
    child<QPlainTextEdit>(dialog, "sendEdit")->setPlainText(QStringLiteral("boot"));
    child<QAbstractButton>(dialog, "autoAddReturnCheckBox")->setChecked(true);
    settle();
    shooter.save(dialog, QStringLiteral("serial-assistant"));
    // Close the port before the pseudo terminal goes away.
    QTest::mouseClick(child<QPushButton>(dialog, "openCloseButton"), Qt::LeftButton);
    dialog->hide();
}

// A board in download mode whose node the user may not open yet, as the USB search
// reports it on a desktop without the udev rule.
class NoAccessTransport : public UsbTransport
{
public:
    bool open() override { return false; }
    bool isOpen() const override { return false; }
    int write(const char *, int) override { return -1; }
    int read(char *, int) override { return -1; }
    void close() override {}
    BoardAccessProblem accessProblem() const override
    {
        BoardAccessProblem problem;
        problem.node = QStringLiteral("/dev/bus/usb/001/007");
        problem.error = EACCES;
        return problem;
    }
};

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Takes the pictures of Ostrakit shown in docs/."));
    parser.addHelpOption();
    const QCommandLineOption outOption(QStringLiteral("out"), QStringLiteral("Folder for the PNGs."),
                                       QStringLiteral("dir"));
    const QCommandLineOption languageOption(QStringLiteral("language"), QStringLiteral("en (default) or cn."),
                                            QStringLiteral("code"), QStringLiteral("en"));
    const QCommandLineOption allOption(QStringLiteral("all"),
                                       QStringLiteral("Also save every other page, for checking the layout."));
    parser.addOptions({outOption, languageOption, allOption});
    parser.process(app);
    if (!parser.isSet(outOption))
        die(QStringLiteral("--out is needed"));
    const QString outDir = parser.value(outOption);
    const QString language = parser.value(languageOption);
    if (language != QLatin1String("en") && language != QLatin1String("cn"))
        die(QStringLiteral("--language is en or cn"));
    const bool all = parser.isSet(allOption);
    if (!QDir().mkpath(outDir))
        die(QStringLiteral("cannot make %1").arg(outDir));

    // Language and font as start-up chooses them, from a settings file of our own.
    QTemporaryDir scratch;
    if (!scratch.isValid())
        die(QStringLiteral("no temporary folder"));
    const QString folder = Startup::programFolder(QCoreApplication::applicationDirPath());
    {
        QSettings settings(scratch.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat);
        settings.setValue(QStringLiteral("language"), language);
        Startup::applyLanguage(app, folder, settings);
    }
    if (language == QLatin1String("cn") && gLanguage != 1)
        die(QStringLiteral("%1language-cn.qm did not load").arg(folder));
    const Shooter shooter(outDir, language == QLatin1String("cn") ? QStringLiteral("-cn") : QString());

    TMainWidget window;
    // The virtual board takes the place of the USB bus, not plugged in yet.
    auto board = std::make_shared<VirtualBoard>(TUsbDevCommand::CPU_4412);
    board->setKeepData(false);
    board->unplug();
    gUsbDevCommand->setTransport(board);
    window.move(0, 0);
    window.show();
    auto *tab = window.findChild<BurnSystemWidget *>();
    settle();
    shooter.save(&window, QStringLiteral("home-disconnected"));

    gUsbDevCommand->setTransport(std::make_shared<NoAccessTransport>());
    gUsbDevCommand->pollBoard();
    settle();
    shooter.save(&window, QStringLiteral("home-access-hint"));
    gUsbDevCommand->setTransport(board);

    board->plugIn();
    gUsbDevCommand->pollBoard();
    const QString marker = QStringLiteral("Exynos4412");
    waitFor([&] { return tab->homeView()->browser()->toPlainText().contains(marker); },
            QStringLiteral("the board's information on the home view"));
    settle();
    shooter.save(&window, QStringLiteral("home-connected"));

    // The Android page, caught part way through the system image.
    const QString imagesDir = scratch.filePath(QStringLiteral("images"));
    QDir().mkpath(imagesDir);
    makeImagesFolder(imagesDir, folder);
    gImagesPath = imagesDir;
    tab->imagesPathUpdatedSlot();
    QTest::mouseClick(menuRow(tab, 2), Qt::LeftButton);
    TConfigView *android = tab->configView(0);
    settle();
    if (all) {
        shooter.save(&window, QStringLiteral("extra-android-idle"));
        saveLowerHalf(shooter, android, QStringLiteral("extra-android-idle"));
    }
    auto *progress = android->findChild<QProgressBar *>();
    bool caught = false;
    QObject::connect(gUsbDevCommand, &TUsbDevCommand::SendCurrentPos, &window, [&](int pos) {
        if (caught || progress->maximum() < kSystemImageBytes / 2 || pos < kCaughtAtFraction * progress->maximum())
            return;
        caught = true;
        shooter.save(&window, QStringLiteral("android-flashing"));
    });
    QTest::mouseClick(child<QPushButton>(android, "startButton"), Qt::LeftButton);
    waitFor([&] { return caught; }, QStringLiteral("the system image to be part way"));
    waitFor([&] { return !android->isRunning(); }, QStringLiteral("the Android run to end"));
    settle();
    if (all)
        shooter.save(&window, QStringLiteral("extra-android-done"));

    shootSerialAssistant(shooter, window);

    if (all) {
        const struct {
            int row;
            const char *name;
        } pages[] = {
            {4, "extra-linux"}, {3, "extra-wince"}, {5, "extra-userbin-run"}, {7, "extra-language"}, {8, "extra-about"},
        };
        for (const auto &page : pages) {
            QTest::mouseClick(menuRow(tab, page.row), Qt::LeftButton);
            settle();
            shooter.save(&window, QLatin1String(page.name));
            if (auto *view = qobject_cast<TConfigView *>(tab->visibleView()))
                saveLowerHalf(shooter, view, QLatin1String(page.name));
        }
        QTest::mouseClick(menuRow(tab, 5), Qt::LeftButton);
        QTest::mouseClick(child<QRadioButton>(tab->configView(3), "installActionRadioButton"), Qt::LeftButton);
        settle();
        shooter.save(&window, QStringLiteral("extra-userbin-install"));
        saveLowerHalf(shooter, tab->configView(4), QStringLiteral("extra-userbin-install"));

        const QList<TabButton *> tabs = window.findChild<TabWidget *>()->tabs();
        QTest::mouseClick(tabs.at(2), Qt::LeftButton);
        settle();
        shooter.save(&window, QStringLiteral("extra-utilities"));
        QTest::mouseClick(tabs.at(0), Qt::LeftButton);

        // The board pulled out again: the help page and the status bar follow.
        board->unplug();
        gUsbDevCommand->pollBoard();
        settle();
        shooter.save(&window, QStringLiteral("extra-home-unplugged"));
    }
    return 0;
}
