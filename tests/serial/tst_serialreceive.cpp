// What the serial assistant shows of what the far end sends.

#include "serial/trecvdisplay.h"
#include "serialtestsupport.h"

#include <QScrollBar>
#include <QTextBlock>
#include <QtTest>

class TestSerialReceive : public QObject
{
    Q_OBJECT
    std::unique_ptr<OpenDialog> m;
    QString shown() const { return m->c.edit("recvEdit")->toPlainText(); }
    bool send(const QByteArray &bytes) { return m->pty.send(bytes); }

private slots:
    void init()
    {
        m = std::make_unique<OpenDialog>();
        if (!m->skip.isEmpty())
            QSKIP(qPrintable(m->skip));
        m->dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&m->dialog));
        QVERIFY(m->c.lit());
    }
    void cleanup() { m.reset(); }

    // Text as it comes (a zero byte ends what a read shows); hex per read, where a read
    // holding 0x80 shows nothing; paused data is dropped, not kept; "Clear" empties.
    void shownAsItArrives()
    {
        QVERIFY(send("U-Boot\r\n=> caf\xe9"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("U-Boot\n=> caf") + QChar(0xe9), 10000);
        m->c.button("clearRecvEditBoxBtn")->click();
        QVERIFY(shown().isEmpty());
        QVERIFY(send(QByteArray("AB\0CD", 5)));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("AB"), 10000);
        m->c.button("clearRecvEditBoxBtn")->click();

        m->c.box("displayHEXCheckBox")->setChecked(true);
        QVERIFY(send("AB\r"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("41 42 0D"), 10000);
        QVERIFY(send("E\x80"));
        QTest::qWait(200);
        QVERIFY(send("F"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("41 42 0D46"), 10000);

        m->c.box("pauseRecvCheckBox")->setChecked(true);
        QVERIFY(send("lost\n"));
        QTest::qWait(300);
        m->c.box("pauseRecvCheckBox")->setChecked(false);
        QVERIFY(send("G"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("41 42 0D4647"), 10000);
    }

    // Received data never clears the box, however far it scrolls; the next appended echo
    // line does once the box scrolls. The box keeps 800 lines at most.
    void autoClearAndLineCap()
    {
        m->c.box("autoCleanRecvEditCheckBox")->setChecked(true);
        m->c.box("showBackCheckBox")->setChecked(true);
        QByteArray lines;
        for (int i = 0; i < 1000; ++i)
            lines += "line " + QByteArray::number(i) + "\n";
        QVERIFY(send(lines));
        QTRY_VERIFY_WITH_TIMEOUT(shown().endsWith(QStringLiteral("line 999\n")), 10000);
        QVERIFY(m->c.edit("recvEdit")->document()->blockCount() <= 800);
        QVERIFY(!shown().contains(QStringLiteral("line 100\n")));
        m->c.edit("sendEdit")->setPlainText(QStringLiteral("hi"));
        m->c.button("sendButton")->click();
        QVERIFY(shown().isEmpty());
        m->c.button("sendButton")->click();
        QVERIFY(shown().contains(QStringLiteral("Send: hi")));
    }

    // A device that never sends a line break cannot grow the box beyond its line cap times
    // the longest line; every byte still reaches the box.
    void endlessLineIsBroken()
    {
        for (bool hex : {false, true}) {
            m->c.box("displayHEXCheckBox")->setChecked(hex);
            QByteArray stream;
            for (int i = 0; i < 300000; ++i)
                stream += char('a' + i % 26);
            stream += '!';
            QTextDocument *doc = m->c.edit("recvEdit")->document();
            qint64 added = 0;
            auto counting = connect(doc, &QTextDocument::contentsChange, this, [&](int, int, int chars) { added += chars; });
            QVERIFY(send(stream));
            const QString tail = hex ? QStringLiteral("21") : QStringLiteral("!");
            QTRY_VERIFY_WITH_TIMEOUT(m->pty.allSent() && shown().remove(QLatin1Char('\n')).endsWith(tail), 30000);
            disconnect(counting);
            QVERIFY(added >= (hex ? 2 : 1) * stream.size());
            QVERIFY(doc->blockCount() <= 800);
            for (QTextBlock b = doc->begin(); b.isValid(); b = b.next())
                QVERIFY(b.length() - 1 <= TRecvDisplay::MaxLineLength);
        }
    }
};

QTEST_MAIN(TestSerialReceive)
#include "tst_serialreceive.moc"
