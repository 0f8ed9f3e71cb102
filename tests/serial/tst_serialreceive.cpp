#include "ptypair.h"
#include "serial/trecvdisplay.h"
#include "serialtestsupport.h"

#include <QScrollBar>
#include <QTextBlock>
#include <QtTest>

class TestSerialReceive : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void shownAsItArrives_data();
    void shownAsItArrives();
    void hexReadsTouch();
    void pauseDropsData();
    void eventDrivenReading();
    void autoClearOnlyOnAppendedLines();
    void lineCap();
    void endlessLineIsBroken_data();
    void endlessLineIsBroken();
    void clearButton();

private:
    QString shown() const { return m_controls->recvEdit()->toPlainText(); }

    std::unique_ptr<PtyPair> m_pty;
    std::unique_ptr<SerialPortDialog> m_dialog;
    std::unique_ptr<DialogControls> m_controls;
};

void TestSerialReceive::init()
{
    m_pty = std::make_unique<PtyPair>();
    QString why;
    if (!m_pty->start(&why))
        QSKIP(qPrintable(why));
    m_dialog = std::make_unique<SerialPortDialog>();
    m_controls = std::make_unique<DialogControls>(*m_dialog);
    m_dialog->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_dialog.get()));
    m_controls->open(m_pty->deviceEnd());
    QVERIFY(m_controls->led()->isOn());
}

void TestSerialReceive::cleanup()
{
    m_controls.reset();
    m_dialog.reset();
    m_pty.reset();
}

void TestSerialReceive::shownAsItArrives_data()
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

void TestSerialReceive::shownAsItArrives()
{
    QFETCH(bool, hex);
    QFETCH(QByteArray, bytes);
    m_controls->box("displayHEXCheckBox")->setChecked(hex);
    QVERIFY(m_pty->send(bytes));
    QTRY_VERIFY_WITH_TIMEOUT(!shown().isEmpty(), 10000);
    QTEST(shown(), "text");
}

void TestSerialReceive::hexReadsTouch()
{
    m_controls->box("displayHEXCheckBox")->setChecked(true);
    QVERIFY(m_pty->send("AB"));
    QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("41 42"), 10000);
    QVERIFY(m_pty->send("CD"));
    QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("41 4243 44"), 10000);

    // A read holding 0x80 shows nothing at all in hex; the next read goes on.
    QVERIFY(m_pty->send("E\x80"));
    QVERIFY(m_pty->send("\x80"));
    QTest::qWait(200);
    QVERIFY(m_pty->send("F"));
    QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("41 4243 4446"), 10000);
}

void TestSerialReceive::pauseDropsData()
{
    m_controls->box("pauseRecvCheckBox")->setChecked(true);
    QVERIFY(m_pty->send("lost\n"));
    // Nothing shows however long we wait; what matters is that the bytes are consumed.
    QTest::qWait(300);
    QVERIFY(shown().isEmpty());
    m_controls->box("pauseRecvCheckBox")->setChecked(false);
    QVERIFY(m_pty->send("kept"));
    QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("kept"), 10000);
}

void TestSerialReceive::eventDrivenReading()
{
    m_controls->openClose()->click();
    m_controls->combo("queryModeBox")->setCurrentIndex(1);
    m_controls->openClose()->click();
    QVERIFY(m_controls->led()->isOn());
    QVERIFY(!m_controls->timer("pollTimer")->isActive());
    QVERIFY(m_pty->send("event"));
    QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("event"), 10000);
}

// Received data never clears the box, however far it scrolls; the next appended line
// (an echo) does once the box scrolls.
void TestSerialReceive::autoClearOnlyOnAppendedLines()
{
    m_controls->box("autoCleanRecvEditCheckBox")->setChecked(true);
    m_controls->box("showBackCheckBox")->setChecked(true);
    QByteArray lines;
    for (int i = 0; i < 200; ++i)
        lines += "line " + QByteArray::number(i) + "\n";
    QVERIFY(m_pty->send(lines));
    QTRY_VERIFY_WITH_TIMEOUT(shown().endsWith(QStringLiteral("line 199\n")), 10000);
    const QScrollBar *bar = m_controls->recvEdit()->verticalScrollBar();
    QVERIFY(bar->maximum() > bar->minimum());

    m_controls->sendEdit()->setPlainText(QStringLiteral("hi"));
    m_controls->sendButton()->click();
    QVERIFY(shown().isEmpty());

    // A box that does not scroll keeps its echo lines.
    m_controls->sendButton()->click();
    QVERIFY(shown().contains(QStringLiteral("Send: hi")));
}

void TestSerialReceive::lineCap()
{
    QByteArray lines;
    for (int i = 0; i < 1000; ++i)
        lines += "line " + QByteArray::number(i) + "\n";
    QVERIFY(m_pty->send(lines));
    QTRY_VERIFY_WITH_TIMEOUT(shown().endsWith(QStringLiteral("line 999\n")), 10000);
    QVERIFY(m_controls->recvEdit()->document()->blockCount() <= 800);
    QVERIFY(!shown().contains(QStringLiteral("line 100\n")));
}

void TestSerialReceive::endlessLineIsBroken_data()
{
    QTest::addColumn<bool>("hex");
    QTest::newRow("text") << false;
    QTest::newRow("hex") << true;
}

// A device that never sends a line break still cannot grow the box beyond its line cap
// times the longest line.
void TestSerialReceive::endlessLineIsBroken()
{
    QFETCH(bool, hex);
    m_controls->box("displayHEXCheckBox")->setChecked(hex);
    QByteArray stream;
    for (int i = 0; i < 300000; ++i)
        stream += char('a' + i % 26);
    stream += '!';
    QTextDocument *doc = m_controls->recvEdit()->document();
    qint64 added = 0;
    connect(doc, &QTextDocument::contentsChange, this, [&](int, int, int charsAdded) { added += charsAdded; });
    QVERIFY(m_pty->send(stream));

    const QString tail = hex ? QStringLiteral("21") : QStringLiteral("!");
    QTRY_VERIFY_WITH_TIMEOUT(m_pty->allSent() && shown().remove(QLatin1Char('\n')).endsWith(tail), 30000);
    // Every byte reached the box (and its breaks were added, not put in place of text).
    QVERIFY(added >= (hex ? 2 : 1) * stream.size());
    QVERIFY(doc->blockCount() <= 800);
    for (QTextBlock b = doc->begin(); b.isValid(); b = b.next())
        QVERIFY(b.length() - 1 <= TRecvDisplay::MaxLineLength);
    // The text still runs on across the breaks.
    const QString last = doc->lastBlock().text();
    const QString previous = doc->lastBlock().previous().text();
    if (!hex)
        QCOMPARE(QChar(previous.back().unicode() - 'a' + 1 == 26 ? 'a' : previous.back().unicode() + 1), last.front());
}

void TestSerialReceive::clearButton()
{
    QVERIFY(m_pty->send("something"));
    QTRY_VERIFY_WITH_TIMEOUT(!shown().isEmpty(), 10000);
    m_controls->get<QPushButton>("clearRecvEditBoxBtn")->click();
    QVERIFY(shown().isEmpty());
}

QTEST_MAIN(TestSerialReceive)
#include "tst_serialreceive.moc"
