// What users hand the program to flash: images folders with description files in the
// maker's Chinese encoding, broken or odd ones, images that are not plain files, images
// beyond 2 GiB with a trace on a full disk, and command lines typed with tabs or characters
// the board cannot take. The page and the board link say what they cannot use, never hang and never send
// something else.

#include "../boardlink/boardlinkfixture.h"

#include "app/userdialogs.h"
#include "flashing/tconfigview.h"

#include <QCheckBox>
#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTextEdit>

#include <sys/stat.h>

namespace {

const QString kKernelLabel = QStringLiteral("Linux Kernel: ");

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

class TestUserInput : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void descriptionFile();
    void sourcesThatCannotBeSent();
    void bigImageProgress();
};

// The kernel field as the page fills it; a file that names nothing says so in the log.
void TestUserInput::descriptionFile()
{
    const QString chinese = QStringLiteral("内核-Ü.img");
    QStringEncoder gb18030("GB18030");
    const QList<QPair<QByteArray, QString>> rows = { // "<fifo>" and "<folder>" make those instead
        {"Linux-Kernel = " + chinese.toUtf8() + "\r\n", chinese}, {"Linux-Kernel = " + QByteArray(gb18030(chinese)) + "\r\n", chinese},
        {"", ""}, {QByteArray("\x7f" "ELF\x00\x01=\xff\xfe\n\x00==\n", 14), ""}, {"<folder>", ""}, {"<fifo>", ""}};
    for (const auto &[bytes, kernel] : rows) {
        QTemporaryDir dir;
        const QString ini = dir.filePath(QStringLiteral("Velkaro.ini"));
        if (bytes == "<folder>")
            QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("Velkaro.ini")));
        else if (bytes == "<fifo>")
            QCOMPARE(mkfifo(QFile::encodeName(ini).constData(), 0600), 0);
        else
            QVERIFY(writeFile(ini, bytes) && (kernel.isEmpty() || writeFile(dir.filePath(kernel), "kernel")));
        TConfigView view(1);
        view.findEditControler(kKernelLabel)->setText(QStringLiteral("/old/zImage"));
        gImagesPath = dir.path();
        view.imagesPathUpdatedSlot();
        gImagesPath.clear();
        QCOMPARE(view.findEditControler(kKernelLabel)->text(), kernel.isEmpty() ? QString() : dir.path() + '/' + kernel);
        const QString log = view.findChild<QTextEdit *>(QStringLiteral("logBox"))->toPlainText();
        QCOMPARE(log.contains(QStringLiteral("names no image")), kernel.isEmpty());
    }
}

// Refused by the page before a run starts, and by the link itself when asked directly.
void TestUserInput::sourcesThatCannotBeSent()
{
    QTemporaryDir dir;
    const QString fifo = dir.filePath(QStringLiteral("fifo"));
    QCOMPARE(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    const QString cmdLine = QStringLiteral("console=ttySAC2 lcd=Ü€ 中文 €");
    const struct { QString label, text, says; } refused[] = {
        {kKernelLabel, fifo, QStringLiteral("\"%1\" is not a regular file.").arg(fifo)},
        {QStringLiteral("Kernel CommandLine: "), cmdLine,
         QStringLiteral("The kernel command line holds characters the board cannot take: €中文")}};
    QStringList messages;
    UserDialogs::setInformationHandler([&](QWidget *, const QString &, const QString &text) { messages << text; });
    TConfigView view(1);
    for (const auto &item : refused) {
        for (QCheckBox *box : view.findChildren<QCheckBox *>())
            box->setChecked(box == view.findCheckboxControler(item.label));
        view.findEditControler(item.label)->setText(item.text);
        messages.clear();
        view.findChild<QPushButton *>(QStringLiteral("startButton"))->click();
        QVERIFY(QTest::qWaitFor([&] { return !messages.isEmpty(); }, 5000));
        QCOMPARE(messages.first(), item.says);
    }
    UserDialogs::setInformationHandler(nullptr);
    // A tab separates tokens as a blank does: the box sees the token after it.
    view.findEditControler(QStringLiteral("Kernel CommandLine: "))->setText(QStringLiteral("console=ttySAC2\tskipcali=y"));
    QVERIFY(view.findChild<QCheckBox *>(QStringLiteral("skipCaliCheckBox"))->isChecked());

    BoardLink link;
    link.plugIn();
    link.view.clear();
    link.command->SendKernel(fifo);
    link.command->SendCmdLine(cmdLine);
    QCOMPARE(link.view.logs, (QStringList{QStringLiteral("1:Cannot open file"),
                                          QStringLiteral("1:Cannot send the characters \"€中文\": the board takes Latin-1 only")}));
    QCOMPARE(link.view.finished, (QList<bool>{false, false}));
    QVERIFY(link.board->receivedTags().isEmpty());
    // The link stays free for the next request.
    link.view.clear();
    link.command->SendCmdLine(QStringLiteral("console=ttySAC2 lcd=Ü"));
    QVERIFY(link.waitFinished());
    QCOMPARE(link.board->image("cmdl"), QByteArray("console=ttySAC2 lcd=\xdc"));
}

// 2.5 GiB, sparse: the disk holds nothing, the link reads zeros. The board's trace goes to
// a full disk, as /dev/full stands for one: one warning naming the file, then no more, while
// the transcript in memory goes on.
void TestUserInput::bigImageProgress()
{
    QTemporaryDir dir;
    const qint64 size = qint64(5) << 29;
    const QString image = dir.filePath(QStringLiteral("system.img"));
    QVERIFY(QFile(image).open(QIODevice::WriteOnly) && QFile::resize(image, size));
    BoardLink link(TUsbDevCommand::CPU_4412);
    link.board->setKeepData(false);
    link.board->setWritingRounds(0);
    QVERIFY(link.board->setTraceFile(QStringLiteral("/dev/full")));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("/dev/full")));
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".")));
    link.plugIn();
    link.command->SendLinuxFs(image);
    QVERIFY(link.waitFinished(1, 240000));
    QCOMPARE(link.view.finished, QList<bool>{true});
    // The header names the exact size, and the board got all of it.
    QVERIFY(link.board->transcript().contains(QStringLiteral("> \"KOVA fsig a0000000\"")));
    QCOMPARE(link.board->receivedSize("fsig"), size);
    // The bar's range and positions are in one unit, and the last position fills it.
    const QStringList maxima = link.view.events.filter(QStringLiteral("Max("));
    const int max = maxima.value(0).mid(4).chopped(1).toInt();
    QVERIFY(maxima.size() == 1 && max * link.command->progressUnit() == size && link.view.positions.constLast() == max);
    QVERIFY(std::is_sorted(link.view.positions.cbegin(), link.view.positions.cend()));
}

QTEST_MAIN(TestUserInput)
#include "tst_userinput.moc"
