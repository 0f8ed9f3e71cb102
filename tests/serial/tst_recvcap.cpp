// Reads that bring more lines than the receive box keeps: the box must end exactly as it
// would by taking every line and dropping the oldest, while lines that would be dropped by
// the same read never enter the document at all.

#include "serial/serialportdialog.h"
#include "serial/trecvdisplay.h"

#include <QPlainTextEdit>
#include <QTextBlock>
#include <QtTest>

namespace {

QByteArray lines(int from, int to, const char *end = "\n")
{
    QByteArray text;
    for (int i = from; i < to; ++i)
        text += "line " + QByteArray::number(i) + end;
    return text;
}

} // namespace

class TestRecvCap : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void largeReads_data()
    {
        QTest::addColumn<QList<QByteArray>>("reads");
        QTest::newRow("CR LF once, lone CR, LF CR") << QList<QByteArray>{lines(0, 1100, "\r\n"), lines(0, 900, "\r"), lines(0, 900, "\n\r")};
        QTest::newRow("filling up to the cap") << QList<QByteArray>{lines(0, 500), lines(500, 799), "x", lines(0, 801)};
        QTest::newRow("part lines, a zero byte ends the read")
            << QList<QByteArray>{"partial ", lines(0, 1500) + "open end", lines(0, 1000) + '\0' + lines(0, 5)};
    }
    void largeReads()
    {
        QFETCH(QList<QByteArray>, reads);
        SerialPortDialog dialog;
        QPlainTextEdit *box = dialog.findChild<QPlainTextEdit *>(QStringLiteral("recvEdit"));
        TRecvDisplay display(box);
        // What the box did before: every line goes in and the widget drops the oldest.
        QPlainTextEdit reference;
        reference.setMaximumBlockCount(box->maximumBlockCount());
        int inserted = 0;
        connect(box->document(), &QTextDocument::contentsChange, this,
                [&](int, int, int added) { inserted = qMax(inserted, added); });
        for (const QByteArray &read : reads) {
            inserted = 0;
            display.showReceived(read, TRecvDisplay::Options());
            reference.moveCursor(QTextCursor::End);
            reference.insertPlainText(QString::fromLatin1(read.constData(), qstrnlen(read.constData(), read.size())));
            // Nothing that went in with this read was dropped again at once.
            QVERIFY2(inserted <= box->document()->characterCount(), qPrintable(QString::number(inserted)));
        }
        QCOMPARE(box->toPlainText(), reference.toPlainText());
    }

    // A device that never sends a line break, read as a port brings it: the box keeps its
    // latest bytes in lines no longer than the longest it takes, and no more lines than its cap.
    void endlessLineIsBroken()
    {
        SerialPortDialog dialog;
        QPlainTextEdit *box = dialog.findChild<QPlainTextEdit *>(QStringLiteral("recvEdit"));
        TRecvDisplay display(box);
        const QByteArray stream = QByteArray("abcdefghijklmnopqrstuvwxyz").repeated(11539) + '!';
        for (int at = 0; at < stream.size(); at += 4095)
            display.showReceived(stream.mid(at, 4095), TRecvDisplay::Options());
        QVERIFY(box->document()->blockCount() <= box->maximumBlockCount());
        for (QTextBlock b = box->document()->begin(); b.isValid(); b = b.next())
            QVERIFY(b.length() - 1 <= TRecvDisplay::MaxLineLength);
        QVERIFY(stream.endsWith(box->toPlainText().remove(QLatin1Char('\n')).toLatin1()));
    }
};

QTEST_MAIN(TestRecvCap)
#include "tst_recvcap.moc"
