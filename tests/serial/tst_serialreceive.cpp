#include "serial/trecvdisplay.h"
#include "serialtestsupport.h"

#include <QScrollBar>
#include <QTextBlock>
#include <QtTest>

class TestSerialReceive : public QObject
{
    Q_OBJECT

    std::unique_ptr<OpenDialog> m;
    QString shown() const { return m->c.recvEdit()->toPlainText(); }
    bool send(const QByteArray &bytes) { return m->pty.send(bytes); }
    QCheckBox *box(const char *name) const { return m->c.box(name); }

private slots:
    void init()
    {
        m = std::make_unique<OpenDialog>();
        if (!m->skip.isEmpty())
            QSKIP(qPrintable(m->skip));
        m->dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&m->dialog));
        QVERIFY(m->c.led()->isOn());
    }
    void cleanup() { m.reset(); }

    void shownAsItArrives_data()
    {
        QTest::addColumn<bool>("hex");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");
        QTest::newRow("text") << false << QByteArray("U-Boot 2024\r\n=> ") << QStringLiteral("U-Boot 2024\n=> ");
        QTest::newRow("hex") << true << QByteArray("AB\r") << QStringLiteral("41 42 0D");
        // The zero byte ends what a read shows.
        QTest::newRow("zero byte, text") << false << QByteArray("AB\0CD", 5) << QStringLiteral("AB");
        QTest::newRow("zero byte, hex") << true << QByteArray("AB\0CD", 5) << QStringLiteral("41 42");
        QTest::newRow("0x80, text") << false << QByteArray("\x80") << QString(QChar(0x80));
        QTest::newRow("Latin-1, text") << false << QByteArray("caf\xe9") << QStringLiteral("caf") + QChar(0xe9);
    }
    void shownAsItArrives()
    {
        QFETCH(bool, hex);
        QFETCH(QByteArray, bytes);
        box("displayHEXCheckBox")->setChecked(hex);
        QVERIFY(send(bytes));
        QTRY_VERIFY_WITH_TIMEOUT(!shown().isEmpty(), 10000);
        QTEST(shown(), "text");
    }

    void hexReadsTouch()
    {
        box("displayHEXCheckBox")->setChecked(true);
        QVERIFY(send("AB"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("41 42"), 10000);
        QVERIFY(send("CD"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("41 4243 44"), 10000);

        // A read holding 0x80 shows nothing at all in hex; the next read goes on.
        QVERIFY(send("E\x80"));
        QVERIFY(send("\x80"));
        QTest::qWait(200);
        QVERIFY(send("F"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("41 4243 4446"), 10000);
    }

    void pauseDropsDataAndClearEmpties()
    {
        box("pauseRecvCheckBox")->setChecked(true);
        QVERIFY(send("lost\n"));
        QTest::qWait(300);
        QVERIFY(shown().isEmpty());
        box("pauseRecvCheckBox")->setChecked(false);
        // The paused bytes were consumed, not kept for later.
        QVERIFY(send("kept"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("kept"), 10000);
        m->c.get<QPushButton>("clearRecvEditBoxBtn")->click();
        QVERIFY(shown().isEmpty());
    }

    void eventDrivenReading()
    {
        m->c.openClose()->click();
        m->c.combo("queryModeBox")->setCurrentIndex(1);
        m->c.openClose()->click();
        QVERIFY(m->c.led()->isOn());
        QVERIFY(!m->c.timer("pollTimer")->isActive());
        QVERIFY(send("event"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("event"), 10000);
    }

    // Received data never clears the box, however far it scrolls; the next appended line
    // (an echo) does once the box scrolls. The box keeps 800 lines at most.
    void autoClearOnlyOnAppendedLinesAndLineCap()
    {
        box("autoCleanRecvEditCheckBox")->setChecked(true);
        box("showBackCheckBox")->setChecked(true);
        QByteArray lines;
        for (int i = 0; i < 1000; ++i)
            lines += "line " + QByteArray::number(i) + "\n";
        QVERIFY(send(lines));
        QTRY_VERIFY_WITH_TIMEOUT(shown().endsWith(QStringLiteral("line 999\n")), 10000);
        QVERIFY(m->c.recvEdit()->document()->blockCount() <= 800);
        QVERIFY(!shown().contains(QStringLiteral("line 100\n")));
        const QScrollBar *bar = m->c.recvEdit()->verticalScrollBar();
        QVERIFY(bar->maximum() > bar->minimum());

        m->c.sendEdit()->setPlainText(QStringLiteral("hi"));
        m->c.sendButton()->click();
        QVERIFY(shown().isEmpty());
        // A box that does not scroll keeps its echo lines.
        m->c.sendButton()->click();
        QVERIFY(shown().contains(QStringLiteral("Send: hi")));
    }

    void endlessLineIsBroken_data()
    {
        QTest::addColumn<bool>("hex");
        QTest::newRow("text") << false;
        QTest::newRow("hex") << true;
    }
    // A device that never sends a line break still cannot grow the box beyond its line cap
    // times the longest line.
    void endlessLineIsBroken()
    {
        QFETCH(bool, hex);
        box("displayHEXCheckBox")->setChecked(hex);
        QByteArray stream;
        for (int i = 0; i < 300000; ++i)
            stream += char('a' + i % 26);
        stream += '!';
        QTextDocument *doc = m->c.recvEdit()->document();
        qint64 added = 0;
        connect(doc, &QTextDocument::contentsChange, this, [&](int, int, int charsAdded) { added += charsAdded; });
        QVERIFY(send(stream));

        const QString tail = hex ? QStringLiteral("21") : QStringLiteral("!");
        QTRY_VERIFY_WITH_TIMEOUT(m->pty.allSent() && shown().remove(QLatin1Char('\n')).endsWith(tail), 30000);
        // Every byte reached the box (and its breaks were added, not put in place of text).
        QVERIFY(added >= (hex ? 2 : 1) * stream.size());
        QVERIFY(doc->blockCount() <= 800);
        for (QTextBlock b = doc->begin(); b.isValid(); b = b.next())
            QVERIFY(b.length() - 1 <= TRecvDisplay::MaxLineLength);
        if (!hex) { // the text runs on across the breaks
            const QChar before = doc->lastBlock().previous().text().back();
            QCOMPARE(doc->lastBlock().text().front(), QChar(before == 'z' ? 'a' : before.unicode() + 1));
        }
    }
};

QTEST_MAIN(TestSerialReceive)
#include "tst_serialreceive.moc"
