// What a board writes into its hardware lines and progress texts is shown as markup. A
// board's own formatting shows; a picture, a table or anything else shows as the text it is,
// and nothing leaks past the line. The whole window with such a board: tst_runprogress.

#include "boardlink/boardtext.h"

#include <QTest>
#include <QTextBlock>
#include <QTextDocument>

namespace {

// The fragments a document draws bold ("b:" in front) or red, after laying it out.
QStringList styled(QTextDocument *doc)
{
    doc->size();
    QStringList shown;
    for (QTextBlock block = doc->begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextCharFormat format = it.fragment().charFormat();
            if (format.fontWeight() >= QFont::Bold || format.foreground().color() == QColor(Qt::red))
                shown << (format.fontWeight() >= QFont::Bold ? "b:" : "") + it.fragment().text();
        }
    }
    return shown;
}

} // namespace

class TestHostileBoardText : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void markupRules_data();
    void markupRules();
};

void TestHostileBoardText::markupRules_data()
{
    QTest::addColumn<QString>("board");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("styled");
    const QString deepBold = QStringLiteral("<b>").repeated(192) + "z";
    QTest::newRow("own markup") << "<B>CPU</b>: <font color='red'>4412</font><br/>ok" << "CPU: 4412\nok" << QStringList{"b:CPU", "4412"};
    QTest::newRow("unclosed stops at the line's end") << "<b><font color=red>x" << "x" << QStringList{"b:x"};
    // Shown exactly as sent, so none of it can be longer than the board's line.
    for (const QString &text : {"<img src='/dev/zero'><a href='file:/etc'>x</a>", "<font color=red size=99>a</font>",
                                "<font color='/tmp/x'>a", "</b>&amp; a<b"})
        QTest::newRow(qPrintable(text)) << text << text << QStringList();
    QTest::newRow("deep bold") << QStringLiteral("<b>").repeated(200) + "z" << deepBold << QStringList{"b:" + deepBold};
}

void TestHostileBoardText::markupRules()
{
    QFETCH(QString, board);
    QFETCH(QString, text);
    // Followed by plain text, so that formatting leaking past the board's line shows.
    QTextDocument doc;
    doc.setHtml(BoardText::toSafeHtml(board) + QStringLiteral("<i>after</i>"));
    QTEST(styled(&doc), "styled");
    QCOMPARE(doc.toPlainText(), text + QStringLiteral("after"));
}

QTEST_MAIN(TestHostileBoardText)
#include "tst_hostileboardtext.moc"
