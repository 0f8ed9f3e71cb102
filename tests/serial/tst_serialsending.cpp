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

private slots:
    void init()
    {
        m = std::make_unique<OpenDialog>();
        if (!m->skip.isEmpty())
            QSKIP(qPrintable(m->skip));
        QVERIFY(m->c.led()->isOn());
    }
    void cleanup()
    {
        m.reset();
        UserDialogs::setOpenFileNameHandler(nullptr);
    }

    void sendText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("hex");
        QTest::addColumn<bool>("crlf");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("text") << "help" << false << false << QByteArray("help");
        QTest::newRow("text, CR/LF") << "help" << false << true << QByteArray("help\r\n");
        QTest::newRow("hex") << "41 42" << true << false << QByteArray("AB");
        // The hex line end is line feed first.
        QTest::newRow("hex, CR/LF") << "41 42" << true << true << QByteArray("AB\n\r");
        QTest::newRow("hex with zero") << "00 ff" << true << false << QByteArray("\0\xff", 2);
        QTest::newRow("beyond Latin-1") << QString(QChar(0xe9)) + QChar(0x4e2d) << false << false << QByteArray("\xe9?");
        QTest::newRow("three digits") << "414" << true << false << QByteArray();
        QTest::newRow("not hex") << "4G" << true << true << QByteArray();
        QTest::newRow("empty with CR/LF") << "" << false << true << QByteArray("\r\n");
    }
    void sendText()
    {
        QFETCH(QString, text);
        QFETCH(bool, hex);
        QFETCH(bool, crlf);
        QFETCH(QByteArray, bytes);
        m->c.sendEdit()->setPlainText(text);
        m->c.box("sendHEXCheckBox")->setChecked(hex);
        m->c.box("autoAddReturnCheckBox")->setChecked(crlf);
        m->c.sendButton()->click();

        // A marker sent afterwards shows that everything before it has arrived.
        m->c.box("sendHEXCheckBox")->setChecked(false);
        m->c.box("autoAddReturnCheckBox")->setChecked(false);
        m->c.sendEdit()->setPlainText(QStringLiteral("#end"));
        m->c.sendButton()->click();
        QTRY_VERIFY_WITH_TIMEOUT(m->pty.received().endsWith("#end"), 10000);
        QCOMPARE(m->pty.received(), bytes + "#end");
        QVERIFY(m->messages.texts.isEmpty());
    }

    void echoLines_data()
    {
        QTest::addColumn<bool>("hexSend");
        QTest::addColumn<bool>("hexDisplay");
        QTest::addColumn<QString>("echo");
        QTest::newRow("text") << false << false << "Send: hi\r\n";
        QTest::newRow("text shown as hex display") << false << true << "Send: hi\r\n";
        QTest::newRow("hex send") << true << false << "Send: 68 69 0A 0D";
        // With the receive box in hex, the echo shows the bytes themselves.
        QTest::newRow("hex send, hex display") << true << true << "Send: hi\n\r";
    }
    void echoLines()
    {
        QFETCH(bool, hexSend);
        QFETCH(bool, hexDisplay);
        QFETCH(QString, echo);
        m->c.box("showBackCheckBox")->setChecked(true);
        m->c.box("displayHEXCheckBox")->setChecked(hexDisplay);
        m->c.box("sendHEXCheckBox")->setChecked(hexSend);
        m->c.box("autoAddReturnCheckBox")->setChecked(true);
        m->c.sendEdit()->setPlainText(hexSend ? QStringLiteral("68 69") : QStringLiteral("hi"));
        m->c.sendButton()->click();

        const QString html = m->c.recvEdit()->document()->toHtml();
        QVERIFY2(html.contains(QStringLiteral("#808080")), qPrintable(html));
        // The html is inserted as it is; the line ends in it collapse to spaces.
        QCOMPARE(m->c.recvEdit()->toPlainText().trimmed(), QString(echo).simplified());
        QTRY_COMPARE_WITH_TIMEOUT(m->pty.received(), QByteArray("hi\r\n").left(2) + (hexSend ? "\n\r" : "\r\n"), 10000);

        // Paused, the box shows no echo either.
        m->c.get<QPushButton>("clearRecvEditBoxBtn")->click();
        m->c.box("pauseRecvCheckBox")->setChecked(true);
        m->c.sendButton()->click();
        QVERIFY(m->c.recvEdit()->toPlainText().isEmpty());
    }

    void autoClearOfTheSendBox()
    {
        m->c.box("autoClearSendEditCheckBox")->setChecked(true);
        m->c.sendEdit()->setPlainText(QStringLiteral("once"));
        m->c.sendButton()->click();
        QVERIFY(m->c.sendEdit()->toPlainText().isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(m->pty.received(), QByteArray("once"), 10000);

        // With the file type chosen the text stays.
        m->c.combo("autoSendTypeComboBox")->setCurrentIndex(1);
        m->c.sendEdit()->setPlainText(QStringLiteral("twice"));
        m->c.sendButton()->click();
        QCOMPARE(m->c.sendEdit()->toPlainText(), QStringLiteral("twice"));
    }

    void hexCheckBoxConvertsTheEdit_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("asHex");
        QTest::addColumn<QString>("back");
        QTest::newRow("text") << "AB" << "41 42" << "AB";
        QTest::newRow("e acute") << QString(QChar(0xe9)) << "" << "";
        QTest::newRow("empty") << "" << "" << "";
    }
    void hexCheckBoxConvertsTheEdit()
    {
        QFETCH(QString, before);
        m->c.sendEdit()->setPlainText(before);
        QCheckBox *hex = m->c.box("sendHEXCheckBox");
        hex->click();
        QVERIFY(hex->isChecked());
        QTEST(m->c.sendEdit()->toPlainText(), "asHex");
        hex->click();
        QTEST(m->c.sendEdit()->toPlainText(), "back");

        // Rejected hex empties the edit on the way back.
        hex->click();
        m->c.sendEdit()->setPlainText(QStringLiteral("4142"));
        hex->click();
        QVERIFY(m->c.sendEdit()->toPlainText().isEmpty());
    }

    void fileArrivesWhole()
    {
        QTemporaryFile file;
        const QByteArray content = makeFile(file, 1024 * 1024);
        m->c.box("showBackCheckBox")->setChecked(true);
        m->c.sendFileEdit()->setText(file.fileName());
        m->c.sendFileBtn()->click();

        QVERIFY(m->c.progress()->isVisibleTo(&m->dialog));
        QCOMPARE(m->c.progress()->maximum(), content.size());
        QCOMPARE(m->c.sendFileBtn()->text(), QStringLiteral("Cancel Sending"));
        QVERIFY(!m->c.sendButton()->isEnabled());
        QVERIFY(!m->c.sendEdit()->isEnabled());
        QVERIFY(!m->c.sendFileEdit()->isEnabled());
        QVERIFY(m->c.sendFileBtn()->isEnabled());
        QCOMPARE(m->c.recvEdit()->toPlainText().trimmed(), QStringLiteral("Send File: ") + file.fileName());

        QTRY_VERIFY_WITH_TIMEOUT(m->pty.received().size() >= content.size(), 60000);
        QVERIFY(m->pty.received() == content);
        QTRY_VERIFY(!m->c.progress()->isVisibleTo(&m->dialog));
        QCOMPARE(m->c.sendFileBtn()->text(), QStringLiteral("Send File"));
        QVERIFY(m->c.sendButton()->isEnabled());
        QVERIFY(m->c.sendFileEdit()->isEnabled());
        QVERIFY(m->messages.texts.isEmpty());
    }

    void cancelMidFile()
    {
        QTemporaryFile file;
        const QByteArray content = makeFile(file, 1024 * 1024);
        m->c.sendFileEdit()->setText(file.fileName());
        // The far end does not read, so the line fills and the transfer is held mid-file.
        m->pty.setReading(false);
        m->c.sendFileBtn()->click();
        QTRY_VERIFY(m->c.progress()->value() > 0);
        QTest::qWait(200);
        const int sentBeforeCancel = m->c.progress()->value();
        QVERIFY(sentBeforeCancel < content.size());

        m->c.sendFileBtn()->click();
        QVERIFY(!m->c.progress()->isVisibleTo(&m->dialog));
        QCOMPARE(m->c.sendFileBtn()->text(), QStringLiteral("Send File"));
        QVERIFY(m->c.sendButton()->isEnabled());

        m->pty.setReading(true);
        m->c.sendEdit()->setPlainText(QStringLiteral("#after"));
        m->c.sendButton()->click();
        QTRY_VERIFY_WITH_TIMEOUT(m->pty.received().endsWith("#after"), 10000);
        const QByteArray arrived = m->pty.received().chopped(6);
        QVERIFY(arrived.size() <= sentBeforeCancel);
        QVERIFY(content.startsWith(arrived));
    }

    // What a file send or the start of auto send says when there is nothing to send.
    void nothingToSend_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("message");
        const QString missing("/nonexistent/ostrakit.bin");
        QTest::newRow("no file, file type") << "sendFileBtn" << 1 << "" << "Please select the file you want to send.";
        QTest::newRow("no file, text type") << "sendFileBtn" << 0 << "" << "";
        QTest::newRow("missing file, file type") << "sendFileBtn" << 1 << missing << "File open failed.";
        QTest::newRow("missing file, text type") << "sendFileBtn" << 0 << missing << "";
        QTest::newRow("auto, no text") << "autoSendCheckBox" << 0 << missing << "Please enter the content you want to send.";
        QTest::newRow("auto, no file") << "autoSendCheckBox" << 1 << ""
                                       << "Please select the file you want to automatically send.";
    }
    void nothingToSend()
    {
        QFETCH(QString, button);
        QFETCH(int, type);
        QFETCH(QString, path);
        QFETCH(QString, message);
        m->c.combo("autoSendTypeComboBox")->setCurrentIndex(type);
        m->c.sendFileEdit()->setText(path);
        m->c.get<QAbstractButton>(qPrintable(button))->click();
        QCOMPARE(m->messages.texts, message.isEmpty() ? QStringList() : QStringList(message));
        QVERIFY(!m->c.progress()->isVisibleTo(&m->dialog));
        QCOMPARE(m->c.sendFileBtn()->text(), QStringLiteral("Send File"));
        QVERIFY(!m->c.box("autoSendCheckBox")->isChecked());
        QVERIFY(!m->c.timer("autoSendTimer")->isActive());
    }

    void browse()
    {
        QStringList startDirs;
        QString answer = QStringLiteral("/tmp/board/u-boot.bin");
        UserDialogs::setOpenFileNameHandler([&](QWidget *, const QString &caption, const QString &dir, const QString &filter) {
            startDirs << dir;
            return caption == QLatin1String("Select File") && filter == QLatin1String("Files(*.*)") ? answer : QString();
        });
        QPushButton *browse = m->c.get<QPushButton>("sendFileBrowerBtn");
        browse->click();
        QCOMPARE(m->c.sendFileEdit()->text(), answer);
        answer.clear();
        browse->click();
        QCOMPARE(m->c.sendFileEdit()->text(), QStringLiteral("/tmp/board/u-boot.bin"));
        QCOMPARE(startDirs, QStringList({".", "/tmp/board/u-boot.bin"}));
    }

    void autoTextRepeatsAtThePeriod()
    {
        m->c.combo("autoSendComboBox")->setCurrentIndex(m->c.combo("autoSendComboBox")->findText("500"));
        m->c.sendEdit()->setPlainText(QStringLiteral("ping"));
        m->c.box("autoClearSendEditCheckBox")->setChecked(true);
        QElapsedTimer clock;
        clock.start();
        m->c.box("autoSendCheckBox")->click();
        QVERIFY(m->c.timer("autoSendTimer")->isActive());
        QCOMPARE(m->c.timer("autoSendTimer")->interval(), 500);
        QVERIFY(!m->c.box("autoClearSendEditCheckBox")->isChecked());
        for (const char *disabled : {"sendEdit", "sendButton", "clearSendEditBtn", "sendFileBrowerBtn", "sendFileBtn",
                                     "sendFileEdit"})
            QVERIFY2(!m->c.get<QWidget>(disabled)->isEnabled(), disabled);

        // The first send comes one period after the click, not at once.
        QTRY_VERIFY_WITH_TIMEOUT(!m->pty.received().isEmpty(), 10000);
        QVERIFY2(clock.elapsed() >= 450, QByteArray::number(clock.elapsed()));
        QTRY_VERIFY_WITH_TIMEOUT(m->pty.received().size() >= 3 * 4, 10000);
        QVERIFY2(clock.elapsed() >= 1450, QByteArray::number(clock.elapsed()));
        QCOMPARE(m->c.sendEdit()->toPlainText(), QStringLiteral("ping"));

        m->c.box("autoSendCheckBox")->click();
        QVERIFY(!m->c.timer("autoSendTimer")->isActive());
        QVERIFY(m->c.sendButton()->isEnabled());
        QVERIFY(m->c.sendEdit()->isEnabled());
        const QByteArray atStop = m->pty.received();
        QCOMPARE(atStop, QByteArray("ping").repeated(atStop.size() / 4));
    }

    // Each tick that finds the last transfer over sends the file again from its start; ticks
    // during a transfer leave it alone, so the far end sees whole copies one after another.
    void autoFileRestartsAfterEachTransfer()
    {
        QTemporaryFile file;
        const QByteArray content = makeFile(file, 200 * 1024);
        m->c.combo("autoSendTypeComboBox")->setCurrentIndex(1);
        m->c.combo("autoSendComboBox")->setCurrentIndex(m->c.combo("autoSendComboBox")->findText("500"));
        m->c.sendFileEdit()->setText(file.fileName());
        // The far end reads slowly at first so that the first transfer outlasts several ticks.
        m->pty.setReading(false);
        m->c.box("autoSendCheckBox")->click();
        QVERIFY(!m->c.sendFileBtn()->isEnabled());
        QTRY_VERIFY_WITH_TIMEOUT(m->c.progress()->isVisibleTo(&m->dialog), 10000);
        QTest::qWait(1200);
        QVERIFY(m->c.progress()->isVisibleTo(&m->dialog));
        QVERIFY(m->c.progress()->value() < content.size());
        m->pty.setReading(true);

        QTRY_VERIFY_WITH_TIMEOUT(m->pty.received().size() >= 2 * content.size() + 1000, 30000);
        m->c.box("autoSendCheckBox")->click();
        QVERIFY(m->c.sendFileBtn()->isEnabled());
        const QByteArray got = m->pty.received();
        const int whole = int(got.size() / content.size());
        QVERIFY(got.startsWith(content.repeated(whole)));
        QVERIFY(content.startsWith(got.mid(whole * content.size())));
    }

    void autoPeriodAndClosedPort()
    {
        m->c.sendEdit()->setPlainText(QStringLiteral("x"));
        m->c.combo("autoSendComboBox")->setCurrentIndex(m->c.combo("autoSendComboBox")->findText("3000"));
        m->c.box("autoSendCheckBox")->click();
        QCOMPARE(m->c.timer("autoSendTimer")->interval(), 3000);
        // A new period restarts the timer; an empty one means a second.
        m->c.combo("autoSendComboBox")->setCurrentIndex(-1);
        QVERIFY(m->c.timer("autoSendTimer")->isActive());
        QCOMPARE(m->c.timer("autoSendTimer")->interval(), 1000);

        // The next tick finds the port closed and stops.
        m->c.openClose()->click();
        QVERIFY(!m->c.led()->isOn());
        QTRY_VERIFY_WITH_TIMEOUT(!m->c.box("autoSendCheckBox")->isChecked(), 5000);
        QVERIFY(!m->c.timer("autoSendTimer")->isActive());
        QVERIFY(m->c.sendButton()->isEnabled());
        QVERIFY(m->messages.texts.isEmpty());

        // Starting it on a closed port just unticks it again.
        m->c.box("autoSendCheckBox")->click();
        QVERIFY(!m->c.box("autoSendCheckBox")->isChecked());
        QVERIFY(m->messages.texts.isEmpty());
    }
};

QTEST_MAIN(TestSerialSending)
#include "tst_serialsending.moc"
