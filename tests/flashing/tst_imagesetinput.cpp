// An images folder as users bring them: description files in the maker's Chinese
// encoding, broken or odd ones, images that are not files, and command lines typed with
// tabs or characters the board cannot take. The page says what it cannot use and never
// hangs on a file that is not one.

#include "app/globals.h"
#include "app/userdialogs.h"
#include "flashing/tconfigview.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTest>
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
    // The user picks `chosen` with the images folder button.
    void choose(const QString &chosen)
    {
        folder = chosen;
        view.findChild<QPushButton *>(QStringLiteral("imagesFolderButton"))->click();
        view.imagesPathUpdatedSlot();
    }
    QString log() const { return view.findChild<QTextEdit *>(QStringLiteral("logBox"))->toPlainText(); }
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
        if (!QTest::qWaitFor([this] { return !messages.isEmpty(); }, 5000))
            return QStringLiteral("(no message)");
        return messages.value(0);
    }

    QString folder;
    QStringList messages;
    TConfigView view{1};
};

} // namespace

class TestImageSetInput : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void descriptionFile_data();
    void descriptionFile();
    void imagesThatAreNotFiles();
    void commandLineTabsAndCharacters();
};

void TestImageSetInput::descriptionFile_data()
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

void TestImageSetInput::descriptionFile()
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
    page.choose(dir.path());
    QCOMPARE(gImagesPath, dir.path());
    const bool named = !kernel.isEmpty();
    QCOMPARE(page.field(kKernelLabel), named ? QDir::toNativeSeparators(dir.path()) + '/' + kernel : QString());
    QCOMPARE(page.log().contains(QStringLiteral("names no image")), !named);
    // The plan takes the file; with no board attached the run then stops at its first step.
    if (named)
        QCOMPARE(page.start(kKernelLabel, page.field(kKernelLabel)), QStringLiteral("An error occurred during flashing."));
}

void TestImageSetInput::imagesThatAreNotFiles()
{
    QTemporaryDir dir;
    const QString fifo = dir.filePath(QStringLiteral("zImage"));
    QCOMPARE(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    Page page;
    QCOMPARE(page.start(kKernelLabel, fifo), QStringLiteral("\"%1\" is not a regular file.").arg(fifo));
}

void TestImageSetInput::commandLineTabsAndCharacters()
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

    QCOMPARE(page.start(kCmdLineLabel, QStringLiteral("console=ttySAC2 lcd=Ü€ 中文€")),
             QStringLiteral("The kernel command line holds characters the board cannot take: €中文"));
}

QTEST_MAIN(TestImageSetInput)
#include "tst_imagesetinput.moc"
