// What a board writes into its hardware lines and its progress texts reaches the status
// bar, the home view and the flashing log as markup. A board's own formatting shows; a
// picture, a table or anything else shows as the text it is, and nothing is loaded.

#include "app/globals.h"
#include "boardlink/boardtext.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/virtualboard.h"
#include "flashing/tconfigview.h"
#include "shell/burnsystemwidget.h"
#include "shell/resourceonlybrowser.h"
#include "shell/thomeview.h"
#include "shell/tmainwidget.h"

#include <QCheckBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextEdit>
#include <QTextFrame>

#include <memory>

namespace {

// What a document shows: its text, and how many pictures and tables it laid out.
struct Shown
{
    explicit Shown(QTextDocument *doc)
    {
        doc->size(); // lays it out, as painting would
        text = doc->toPlainText();
        tables = depth(doc->rootFrame());
        for (QTextBlock block = doc->begin(); block.isValid(); block = block.next()) {
            for (auto it = block.begin(); !it.atEnd(); ++it) {
                const QTextFragment fragment = it.fragment();
                if (fragment.charFormat().isImageFormat())
                    ++pictures;
                if (fragment.charFormat().fontWeight() >= QFont::Bold)
                    bold << fragment.text();
                if (fragment.charFormat().foreground().color() == QColor(Qt::red))
                    red << fragment.text();
            }
        }
    }
    static int depth(QTextFrame *frame)
    {
        int deepest = 0;
        for (QTextFrame *child : frame->childFrames())
            deepest = qMax(deepest, 1 + depth(child));
        return deepest;
    }
    static Shown html(const QString &html)
    {
        QTextDocument doc;
        doc.setHtml(html);
        return Shown(&doc);
    }
    QString text;
    int pictures = 0;
    int tables = 0; // how deep tables nest
    QStringList bold;
    QStringList red;
};

// Enough nesting to take hours to lay out, short enough for one board reply.
const QString kDeep = QStringLiteral("<table><tr><td>").repeated(32) + QStringLiteral("deep");

} // namespace

class TestHostileBoardText : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void markupRules_data();
    void markupRules();
    void hostileBoardThroughTheWindow();
};

void TestHostileBoardText::markupRules_data()
{
    QTest::addColumn<QString>("board");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("bold");
    QTest::addColumn<QStringList>("red");

    QTest::newRow("own markup") << "<B>CPU</b>: <font color='red'>4412</font><br/>ok" << "CPU: 4412\nok"
                                << QStringList{"CPU"} << QStringList{"4412"};
    QTest::newRow("unclosed stops at the line's end")
        << "<b><font color=red>x" << "x" << QStringList{"x"} << QStringList{"x"};
    QTest::newRow("picture, link") << "<img src='/dev/zero'><a href='file:/etc'>x</a>" << "<img src='/dev/zero'><a href='file:/etc'>x</a>"
                                   << QStringList() << QStringList();
    QTest::newRow("font with more than a colour")
        << "<font color=red size=99>a</font>" << "<font color=red size=99>a</font>" << QStringList() << QStringList();
    QTest::newRow("colour that is a path") << "<font color='/tmp/x'>a" << "<font color='/tmp/x'>a" << QStringList()
                                          << QStringList();
    QTest::newRow("close without open, entity") << "</b>&amp; a<b" << "</b>&amp; a<b" << QStringList() << QStringList();
    QTest::newRow("deep bold") << QStringLiteral("<b>").repeated(200) + "z" << QStringLiteral("<b>").repeated(192) + "z"
                               << QStringList{QStringLiteral("<b>").repeated(192) + "z"} << QStringList();
}

void TestHostileBoardText::markupRules()
{
    QFETCH(QString, board);
    QFETCH(QString, text);
    QFETCH(QStringList, bold);
    QFETCH(QStringList, red);

    // Followed by plain text, so that formatting leaking past the board's line shows.
    const Shown shown = Shown::html(BoardText::toSafeHtml(board) + QStringLiteral("<i>after</i>"));
    QCOMPARE(shown.text, text + QStringLiteral("after"));
    QVERIFY(shown.text.size() - 5 <= board.size());
    QCOMPARE(shown.bold, bold);
    QCOMPARE(shown.red, red);
    QCOMPARE(shown.pictures + shown.tables, 0);
}

void TestHostileBoardText::hostileBoardThroughTheWindow()
{
    QTemporaryDir dir;
    const QString picture = dir.filePath(QStringLiteral("p.png"));
    QImage image(8, 8, QImage::Format_RGB32);
    image.fill(Qt::red);
    QVERIFY(image.save(picture));
    const QString img = QStringLiteral("<img src='%1'>").arg(picture);

    TMainWidget window;
    window.show();
    auto board = std::make_shared<VirtualBoard>(TUsbDevCommand::CPU_4412);
    board->setHardwareLines({QStringLiteral("<b>Halvorn</b> 2.6<br>download mode"), QStringLiteral("CPU: 4412 ") + img,
                             QStringLiteral("Nest: ") + kDeep});
    board->setWritingRounds(1);
    const QString progress = img + kDeep.left(300);
    board->setWritingText(progress.toLatin1());
    gUsbDevCommand->setTransport(board);
    gUsbDevCommand->pollBoard();
    QVERIFY(gUsbDevCommand->isConnected());

    auto *status = window.findChild<QLabel *>(QStringLiteral("statusTextLabel"));
    status->grab();
    const Shown bar = Shown::html(status->text());
    QCOMPARE(bar.text, QStringLiteral("Board connected ( 4412 ") + img + QStringLiteral(" / ") + kDeep + QStringLiteral(" )"));

    auto *tab = window.findChild<BurnSystemWidget *>();
    const Shown home(tab->homeView()->browser()->document());
    QVERIFY2(home.text.contains(QStringLiteral("Halvorn 2.6\ndownload mode\nCPU: 4412 ") + img + QStringLiteral("\nNest: ") + kDeep),
             qPrintable(home.text));
    QCOMPARE(home.bold.filter(QStringLiteral("Halvorn")).size(), 1);
    QCOMPARE(home.pictures, 0);

    // A kernel flashed from the Linux page: the board's progress text lands in its log.
    QFile kernel(dir.filePath(QStringLiteral("zImage")));
    QVERIFY(kernel.open(QIODevice::WriteOnly) && kernel.write(QByteArray(3000, 'k')) == 3000);
    kernel.close();
    TConfigView *page = tab->configView(1);
    for (QCheckBox *box : page->findChildren<QCheckBox *>())
        box->setChecked(false);
    page->findEditControler(QStringLiteral("Linux Kernel: "))->setText(kernel.fileName());
    page->findCheckboxControler(QStringLiteral("Linux Kernel: "))->setChecked(true);
    page->findChild<QPushButton *>(QStringLiteral("startButton"))->click();
    auto *log = page->findChild<QTextEdit *>(QStringLiteral("logBox"));
    QTRY_VERIFY_WITH_TIMEOUT(log->toPlainText().contains(QStringLiteral("All operations was completed successfully.")),
                             20000);
    QCOMPARE(board->receivedSize("kern"), 3000);
    const Shown logShown(log->document());
    QVERIFY2(logShown.text.contains(progress), qPrintable(logShown.text));
    QCOMPARE(logShown.pictures, 0);
    // The page's own frame holds the information; nothing the board sent nests further.
    QVERIFY(home.tables <= 2);
    QCOMPARE(bar.tables + logShown.tables, 0);
}

QTEST_MAIN(TestHostileBoardText)
#include "tst_hostileboardtext.moc"
