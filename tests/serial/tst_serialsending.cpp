// What the serial assistant sends, as the far end of the line receives it.

#include "serialtestsupport.h"

#include <QElapsedTimer>
#include <QTemporaryFile>
#include <QtTest>

namespace {

QByteArray makeFile(QTemporaryFile &file, int size)
{
    QByteArray content(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i)
        content[i] = char((i * 7 + i / 251) & 0xff);
    if (!file.open() || file.write(content) != size || !file.flush())
        qFatal("cannot write a temporary file");
    return content;
}

} // namespace

class TestSerialSending : public QObject
{
    Q_OBJECT
    std::unique_ptr<OpenDialog> m;
    const DialogControls &c() const { return m->c; }
    const QByteArray &received() const { return m->pty.received(); }

private slots:
    void init()
    {
        m = std::make_unique<OpenDialog>();
        if (!m->skip.isEmpty())
            QSKIP(qPrintable(m->skip));
        QVERIFY(c().lit());
    }
    void cleanup() { m.reset(); }

    void sendText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("hex");
        QTest::addColumn<bool>("crlf");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("echo"); // the grey line the receive box shows
        QTest::newRow("text, CR/LF") << "hi" << false << true << QByteArray("hi\r\n") << "Send: hi";
        // The hex line end is line feed first.
        QTest::newRow("hex, CR/LF") << "68 69" << true << true << QByteArray("hi\n\r") << "Send: 68 69 0A 0D";
        QTest::newRow("hex with zero") << "00 ff" << true << false << QByteArray("\0\xff", 2) << "Send: 00 ff";
        QTest::newRow("beyond Latin-1") << QString(QChar(0xe9)) + QChar(0x4e2d) << false << false << QByteArray("\xe9?")
                                        << "Send: " + QString(QChar(0xe9)) + QChar(0x4e2d);
        QTest::newRow("not hex") << "4G" << true << true << QByteArray() << "";
    }
    void sendText()
    {
        QFETCH(QString, text);
        QFETCH(bool, hex);
        QFETCH(bool, crlf);
        QFETCH(QByteArray, bytes);
        c().box("showBackCheckBox")->setChecked(true);
        c().edit("sendEdit")->setPlainText(text);
        c().box("sendHEXCheckBox")->setChecked(hex);
        c().box("autoAddReturnCheckBox")->setChecked(crlf);
        c().button("sendButton")->click();
        QTEST(c().edit("recvEdit")->toPlainText().trimmed(), "echo");
        if (!bytes.isEmpty())
            QVERIFY(c().edit("recvEdit")->document()->toHtml().contains(QStringLiteral("#808080")));
        // A marker sent afterwards shows that everything before it has arrived.
        c().box("sendHEXCheckBox")->setChecked(false);
        c().box("autoAddReturnCheckBox")->setChecked(false);
        c().box("pauseRecvCheckBox")->setChecked(true); // paused, the box shows no echo either
        c().button("clearRecvEditBoxBtn")->click();
        c().edit("sendEdit")->setPlainText(QStringLiteral("#end"));
        c().button("sendButton")->click();
        QVERIFY(c().edit("recvEdit")->toPlainText().isEmpty());
        QTRY_VERIFY_WITH_TIMEOUT(received().endsWith("#end"), 10000);
        QCOMPARE(received(), bytes + "#end");
        QVERIFY(m->messages.texts.isEmpty());
    }

    // Ticking HEX turns the text into hex and back; rejected hex empties the edit. Auto clear
    // empties the edit after a send, except when the auto type is a file.
    void editHandling()
    {
        QCheckBox *hex = c().box("sendHEXCheckBox");
        QPlainTextEdit *edit = c().edit("sendEdit");
        edit->setPlainText("AB");
        hex->click();
        QCOMPARE(edit->toPlainText(), QStringLiteral("41 42"));
        hex->click();
        QCOMPARE(edit->toPlainText(), QStringLiteral("AB"));
        hex->click();
        edit->setPlainText(QStringLiteral("4142"));
        hex->click();
        QVERIFY(edit->toPlainText().isEmpty());

        c().box("autoClearSendEditCheckBox")->setChecked(true);
        edit->setPlainText(QStringLiteral("once"));
        c().button("sendButton")->click();
        QVERIFY(edit->toPlainText().isEmpty());
        c().combo("autoSendTypeComboBox")->setCurrentIndex(1);
        edit->setPlainText(QStringLiteral("twice"));
        c().button("sendButton")->click();
        QCOMPARE(edit->toPlainText(), QStringLiteral("twice"));
        QTRY_COMPARE_WITH_TIMEOUT(received(), QByteArray("oncetwice"), 10000);

    }

    // A file arrives whole with the controls locked meanwhile; a cancelled one stops part way.
    void files()
    {
        QTemporaryFile file;
        const QByteArray content = makeFile(file, 1024 * 1024);
        c().box("showBackCheckBox")->setChecked(true);
        c().fileEdit()->setText(file.fileName());
        c().button("sendFileBtn")->click();
        QCOMPARE(c().progress()->maximum(), content.size());
        QCOMPARE(c().button("sendFileBtn")->text(), QStringLiteral("Cancel Sending"));
        QVERIFY(!c().button("sendButton")->isEnabled() && !c().edit("sendEdit")->isEnabled() && !c().fileEdit()->isEnabled());
        QCOMPARE(c().edit("recvEdit")->toPlainText().trimmed(), QStringLiteral("Send File: ") + file.fileName());
        QTRY_VERIFY_WITH_TIMEOUT(received().size() >= content.size(), 60000);
        QVERIFY(received() == content);
        QTRY_VERIFY(!c().progress()->isVisibleTo(&m->dialog));
        QCOMPARE(c().button("sendFileBtn")->text(), QStringLiteral("Send File"));
        QVERIFY(c().button("sendButton")->isEnabled() && c().fileEdit()->isEnabled());

        m->pty.clearReceived();
        m->pty.setReading(false); // the line fills and holds the transfer mid-file
        c().button("sendFileBtn")->click();
        QTRY_VERIFY(c().progress()->value() > 0);
        QTest::qWait(200);
        const int sentBeforeCancel = c().progress()->value();
        QVERIFY(sentBeforeCancel < content.size());
        c().button("sendFileBtn")->click();
        QVERIFY(!c().progress()->isVisibleTo(&m->dialog));
        m->pty.setReading(true);
        c().edit("sendEdit")->setPlainText(QStringLiteral("#after"));
        c().button("sendButton")->click();
        QTRY_VERIFY_WITH_TIMEOUT(received().endsWith("#after"), 10000);
        QVERIFY(received().size() - 6 <= sentBeforeCancel && content.startsWith(received().chopped(6)));
        QVERIFY(m->messages.texts.isEmpty());
    }

    // What a file send or the start of auto send says when there is nothing to send.
    void nothingToSend()
    {
        const QString missing("/nonexistent/ostrakit.bin");
        const QList<std::tuple<const char *, int, QString, QString>> rows = {
            {"sendFileBtn", 1, "", "Please select the file you want to send."}, {"sendFileBtn", 0, "", ""},
            {"sendFileBtn", 1, missing, "File open failed."}, {"sendFileBtn", 0, missing, ""},
            {"autoSendCheckBox", 0, missing, "Please enter the content you want to send."},
            {"autoSendCheckBox", 1, "", "Please select the file you want to automatically send."}};
        for (const auto &[button, type, path, message] : rows) {
            m->messages.texts.clear();
            c().combo("autoSendTypeComboBox")->setCurrentIndex(type);
            c().fileEdit()->setText(path);
            c().get<QAbstractButton>(button)->click();
            QCOMPARE(m->messages.texts, message.isEmpty() ? QStringList() : QStringList(message));
            QVERIFY(!c().progress()->isVisibleTo(&m->dialog));
            QVERIFY(!c().box("autoSendCheckBox")->isChecked() && !c().timer("autoSendTimer")->isActive());
        }
    }

    // The first send comes one period after the click; the edits are locked meanwhile; a new
    // period restarts the timer; the next tick that finds the port closed stops it.
    void autoText()
    {
        c().choose("autoSendComboBox", "500");
        c().edit("sendEdit")->setPlainText(QStringLiteral("ping"));
        c().box("autoClearSendEditCheckBox")->setChecked(true);
        QElapsedTimer clock;
        clock.start();
        c().box("autoSendCheckBox")->click();
        QCOMPARE(c().timer("autoSendTimer")->interval(), 500);
        QVERIFY(!c().box("autoClearSendEditCheckBox")->isChecked());
        for (const char *disabled : {"sendEdit", "sendButton", "clearSendEditBtn", "sendFileBrowerBtn", "sendFileBtn", "sendFileEdit"})
            QVERIFY2(!c().get(disabled)->isEnabled(), disabled);
        QTRY_VERIFY_WITH_TIMEOUT(!received().isEmpty(), 10000);
        QVERIFY2(clock.elapsed() >= 450, QByteArray::number(clock.elapsed()));
        QTRY_VERIFY_WITH_TIMEOUT(received().size() >= 3 * 4, 10000);
        QVERIFY(clock.elapsed() >= 1450);
        QCOMPARE(c().edit("sendEdit")->toPlainText(), QStringLiteral("ping"));
        c().choose("autoSendComboBox", "3000");
        QCOMPARE(c().timer("autoSendTimer")->interval(), 3000);
        c().combo("autoSendComboBox")->setCurrentIndex(-1); // an empty period means a second
        QCOMPARE(c().timer("autoSendTimer")->interval(), 1000);
        QCOMPARE(received(), QByteArray("ping").repeated(received().size() / 4));

        c().button("openCloseButton")->click();
        QTRY_VERIFY_WITH_TIMEOUT(!c().box("autoSendCheckBox")->isChecked(), 5000);
        QVERIFY(!c().timer("autoSendTimer")->isActive());
        QVERIFY(c().button("sendButton")->isEnabled() && c().edit("sendEdit")->isEnabled());
        c().box("autoSendCheckBox")->click(); // on a closed port it just unticks again
        QVERIFY(!c().box("autoSendCheckBox")->isChecked());
        QVERIFY(m->messages.texts.isEmpty());
    }

    // Each tick that finds the last transfer over sends the file again from its start;
    // ticks during a transfer leave it alone, so the far end sees whole copies in a row.
    void autoFile()
    {
        QTemporaryFile file;
        const QByteArray content = makeFile(file, 200 * 1024);
        c().combo("autoSendTypeComboBox")->setCurrentIndex(1);
        c().choose("autoSendComboBox", "500");
        c().fileEdit()->setText(file.fileName());
        m->pty.setReading(false);
        c().box("autoSendCheckBox")->click();
        QTRY_VERIFY_WITH_TIMEOUT(c().progress()->isVisibleTo(&m->dialog), 10000);
        QTest::qWait(1200);
        QVERIFY(c().progress()->value() < content.size());
        m->pty.setReading(true);
        QTRY_VERIFY_WITH_TIMEOUT(received().size() >= 2 * content.size() + 1000, 30000);
        c().box("autoSendCheckBox")->click();
        QVERIFY(c().button("sendFileBtn")->isEnabled());
        const int whole = int(received().size() / content.size());
        QVERIFY(received().startsWith(content.repeated(whole)));
        QVERIFY(content.startsWith(received().mid(whole * content.size())));
    }
};

QTEST_MAIN(TestSerialSending)
#include "tst_serialsending.moc"
