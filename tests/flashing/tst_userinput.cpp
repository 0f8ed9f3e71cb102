// What users hand the program to flash: images folders with description files in the
// maker's Chinese encoding, broken or odd ones, images and traces that are not plain files,
// images beyond 2 GiB, and command lines typed with tabs or characters the board cannot
// take. The page and the board link say what they cannot use, never hang and never send
// something else.

#include "../boardlink/boardlinkfixture.h"

#include "app/userdialogs.h"
#include "flashing/tconfigview.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTextEdit>

#include <sys/stat.h>

namespace {

const QString kKernelLabel = QStringLiteral("Linux Kernel: ");
const QString kCmdLineLabel = QStringLiteral("Kernel CommandLine: ");

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QStringList warnings;

struct Page
{
    Page()
    {
        UserDialogs::setInformationHandler([this](QWidget *, const QString &, const QString &text) { messages << text; });
        UserDialogs::setDirectoryHandler([this](QWidget *, const QString &, const QString &) { return folder; });
    }
    ~Page()
    {
        UserDialogs::setInformationHandler(nullptr);
        UserDialogs::setDirectoryHandler(nullptr);
        gImagesPath.clear();
    }
    QString field(const QString &label) const { return view.findEditControler(label)->text(); }
    // Starts a run with only this item ticked; returns the message the page showed.
    QString start(const QString &label, const QString &text)
    {
        for (QCheckBox *box : view.findChildren<QCheckBox *>())
            box->setChecked(false);
        view.findEditControler(label)->setText(text);
        view.findCheckboxControler(label)->setChecked(true);
        messages.clear();
        view.findChild<QPushButton *>(QStringLiteral("startButton"))->click();
        return QTest::qWaitFor([this] { return !messages.isEmpty(); }, 5000) ? messages.value(0) : QStringLiteral("(none)");
    }

    QString folder;
    QStringList messages;
    TConfigView view{1};
};

} // namespace

class TestUserInput : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void descriptionFile_data();
    void descriptionFile();
    void sourcesThatCannotBeSent_data();
    void sourcesThatCannotBeSent();
    void commandLineTabs();
    void bigImageProgress();
    void traceWriteErrorsReportedOnce();
};

void TestUserInput::descriptionFile_data()
{
    QTest::addColumn<QByteArray>("bytes"); // "<fifo>" and "<folder>" make those instead
    QTest::addColumn<QString>("kernel");   // the kernel field's file name; empty: nothing named

    const QString chinese = QStringLiteral("内核-Ü.img");
    QStringEncoder gb18030("GB18030");
    QTest::newRow("utf-8") << ("Linux-Kernel = " + chinese.toUtf8() + "\r\n") << chinese;
    QTest::newRow("gb18030") << QByteArray("Linux-Kernel = " + QByteArray(gb18030(chinese)) + "\r\n") << chinese;
    QTest::newRow("plain, without line end") << QByteArray("LowFormat=y\nLinux-Kernel=zImage") << "zImage";
    QTest::newRow("empty") << QByteArray() << QString();
    QTest::newRow("garbage") << QByteArray("\x7f" "ELF\x00\x01=\xff\xfe\n\x00==\n", 14) << QString();
    QTest::newRow("only options") << QByteArray("LowFormat = yes\nLinux-CommandLine = a=b\n") << QString();
    QTest::newRow("folder") << QByteArray("<folder>") << QString();
    QTest::newRow("fifo") << QByteArray("<fifo>") << QString();
}

void TestUserInput::descriptionFile()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, kernel);
    QTemporaryDir dir;
    const QString ini = dir.filePath(QStringLiteral("Velkaro.ini"));
    if (bytes == "<folder>")
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("Velkaro.ini")));
    else if (bytes == "<fifo>")
        QCOMPARE(mkfifo(QFile::encodeName(ini).constData(), 0600), 0);
    else
        QVERIFY(writeFile(ini, bytes));
    if (!kernel.isEmpty())
        QVERIFY(writeFile(dir.filePath(kernel), "kernel"));

    Page page;
    page.view.findEditControler(kKernelLabel)->setText(QStringLiteral("/old/zImage"));
    page.folder = dir.path();
    page.view.findChild<QPushButton *>(QStringLiteral("imagesFolderButton"))->click();
    page.view.imagesPathUpdatedSlot();
    QCOMPARE(gImagesPath, dir.path());
    const bool named = !kernel.isEmpty();
    QCOMPARE(page.field(kKernelLabel), named ? QDir::toNativeSeparators(dir.path()) + '/' + kernel : QString());
    const QString log = page.view.findChild<QTextEdit *>(QStringLiteral("logBox"))->toPlainText();
    QCOMPARE(log.contains(QStringLiteral("names no image")), !named);
    // The plan takes the file; with no board attached the run then stops at its first step.
    if (named)
        QCOMPARE(page.start(kKernelLabel, page.field(kKernelLabel)), QStringLiteral("An error occurred during flashing."));
}

// Refused by the page before a run starts, and by the link itself when asked directly;
// the link stays free for the next request.
void TestUserInput::sourcesThatCannotBeSent_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<QString>("pageSays");
    QTest::addColumn<QString>("linkSays");
    QTest::newRow("fifo") << "fifo" << "\"%1\" is not a regular file." << "1:Cannot open file";
    QTest::newRow("folder") << "folder" << QString() << "1:Cannot open file";
    QTest::newRow("command line beyond Latin-1")
        << "console=ttySAC2 lcd=Ü€ 中文 €" << "The kernel command line holds characters the board cannot take: €中文"
        << QStringLiteral("1:Cannot send the characters \"€中文\": the board takes Latin-1 only");
}

void TestUserInput::sourcesThatCannotBeSent()
{
    QFETCH(QString, what);
    QFETCH(QString, pageSays);
    QFETCH(QString, linkSays);
    QTemporaryDir dir;
    const bool cmdLine = what.startsWith(QLatin1String("console"));
    if (what == QLatin1String("fifo")) {
        what = dir.filePath(what);
        QCOMPARE(mkfifo(QFile::encodeName(what).constData(), 0600), 0);
    } else if (what == QLatin1String("folder"))
        what = dir.path();
    if (!pageSays.isEmpty()) {
        Page page;
        QCOMPARE(page.start(cmdLine ? kCmdLineLabel : kKernelLabel, what), pageSays.arg(what));
    }

    BoardLink link;
    link.plugIn();
    link.view.clear();
    if (cmdLine)
        link.command->SendCmdLine(what);
    else
        link.command->SendKernel(what);
    QCOMPARE(link.view.finished, QList<bool>{false});
    QCOMPARE(link.view.logs, QStringList{linkSays});
    QVERIFY(link.board->receivedTags().isEmpty());
    link.view.clear();
    link.command->SendCmdLine(QStringLiteral("console=ttySAC2 lcd=Ü"));
    QVERIFY(link.waitFinished());
    QCOMPARE(link.board->image("cmdl"), QByteArray("console=ttySAC2 lcd=\xdc"));
}

void TestUserInput::commandLineTabs()
{
    Page page;
    QLineEdit *line = page.view.findEditControler(kCmdLineLabel);
    auto *skipCali = page.view.findChild<QCheckBox *>(QStringLiteral("skipCaliCheckBox"));
    line->setText(QStringLiteral("console=ttySAC2\tskipcali=y"));
    QVERIFY(skipCali->isChecked());
    skipCali->click();
    QCOMPARE(line->text(), QStringLiteral("console=ttySAC2"));
    skipCali->click();
    QCOMPARE(line->text(), QStringLiteral("console=ttySAC2 skipcali=y"));
}

void TestUserInput::bigImageProgress()
{
    // 2.5 GiB, sparse: the disk holds nothing, the link reads zeros.
    QTemporaryDir dir;
    const qint64 size = qint64(5) << 29;
    QFile image(dir.filePath(QStringLiteral("system.img")));
    QVERIFY(image.open(QIODevice::WriteOnly) && image.resize(size));
    image.close();

    BoardLink link(TUsbDevCommand::CPU_4412);
    link.board->setKeepData(false);
    link.board->setWritingRounds(0);
    link.plugIn();
    link.view.clear();
    link.command->SendLinuxFs(image.fileName());
    QVERIFY(link.waitFinished(1, 240000));
    QCOMPARE(link.view.finished, QList<bool>{true});
    // The header names the exact size, and the board got all of it.
    QVERIFY(link.board->transcript().contains(QStringLiteral("> \"KOVA fsig a0000000\"")));
    QCOMPARE(link.board->receivedSize("fsig"), size);
    // The bar's range and positions are in one unit, and the last position fills it.
    const QStringList maxima = link.view.events.filter(QStringLiteral("Max("));
    QCOMPARE(maxima.size(), 1);
    const int max = maxima.first().mid(4).chopped(1).toInt();
    QCOMPARE(max * link.command->progressUnit(), size);
    QCOMPARE(link.view.positions.constLast(), max);
    QVERIFY(std::is_sorted(link.view.positions.cbegin(), link.view.positions.cend()));
}

void TestUserInput::traceWriteErrorsReportedOnce()
{
    // A full disk, as /dev/full stands for one.
    BoardLink link;
    QVERIFY(link.board->setTraceFile(QStringLiteral("/dev/full")));
    warnings.clear();
    const QtMessageHandler previous = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type == QtWarningMsg)
            warnings << text;
    });
    link.plugIn();
    link.command->LowFormat();
    qInstallMessageHandler(previous);
    QCOMPARE(warnings.size(), 1);
    QVERIFY2(warnings.first().contains(QStringLiteral("/dev/full")), qPrintable(warnings.first()));
    // The transcript in memory goes on.
    QVERIFY(!link.board->transcript().filter(QStringLiteral("KOVA lfmt")).isEmpty());
}

QTEST_MAIN(TestUserInput)
#include "tst_userinput.moc"
