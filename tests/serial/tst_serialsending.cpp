#include "ptypair.h"
#include "serialtestsupport.h"

#include <QElapsedTimer>
#include <QTemporaryFile>
#include <QtTest>

class TestSerialSending : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void sendText_data();
    void sendText();
    void echoLines_data();
    void echoLines();
    void autoClearOfTheSendBox();
    void hexCheckBoxConvertsTheEdit_data();
    void hexCheckBoxConvertsTheEdit();

    void fileArrivesWhole();
    void cancelMidFile();
    void fileMessages_data();
    void fileMessages();
    void browse();

    void autoTextRepeatsAtThePeriod();
    void autoFileRestartsAfterEachTransfer();
    void autoNeedsSomethingToSend_data();
    void autoNeedsSomethingToSend();
    void emptyPeriodMeansOneSecond();
    void autoStopsWhenThePortCloses();

private:
    QByteArray makeFile(QTemporaryFile &file, int size);

    std::unique_ptr<PtyPair> m_pty;
    std::unique_ptr<SerialPortDialog> m_dialog;
    std::unique_ptr<DialogControls> m_c;
    std::unique_ptr<MessageLog> m_messages;
};

void TestSerialSending::init()
{
    m_pty = std::make_unique<PtyPair>();
    QString why;
    if (!m_pty->start(&why))
        QSKIP(qPrintable(why));
    m_messages = std::make_unique<MessageLog>();
    m_dialog = std::make_unique<SerialPortDialog>();
    m_c = std::make_unique<DialogControls>(*m_dialog);
    m_c->open(m_pty->deviceEnd());
    QVERIFY(m_c->led()->isOn());
}

void TestSerialSending::cleanup()
{
    m_c.reset();
    m_dialog.reset();
    m_messages.reset();
    m_pty.reset();
    UserDialogs::setOpenFileNameHandler(nullptr);
}

QByteArray TestSerialSending::makeFile(QTemporaryFile &file, int size)
{
    QByteArray content(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i)
        content[i] = char((i * 7 + i / 251) & 0xff);
    if (!file.open() || file.write(content) != size || !file.flush())
        qFatal("cannot write a temporary file");
    return content;
}

void TestSerialSending::sendText_data()
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

void TestSerialSending::sendText()
{
    QFETCH(QString, text);
    QFETCH(bool, hex);
    QFETCH(bool, crlf);
    QFETCH(QByteArray, bytes);
    m_c->sendEdit()->setPlainText(text);
    m_c->box("sendHEXCheckBox")->setChecked(hex);
    m_c->box("autoAddReturnCheckBox")->setChecked(crlf);
    m_c->sendButton()->click();

    // A marker sent afterwards shows that everything before it has arrived.
    m_c->box("sendHEXCheckBox")->setChecked(false);
    m_c->box("autoAddReturnCheckBox")->setChecked(false);
    m_c->sendEdit()->setPlainText(QStringLiteral("#end"));
    m_c->sendButton()->click();
    QTRY_VERIFY_WITH_TIMEOUT(m_pty->received().endsWith("#end"), 10000);
    QCOMPARE(m_pty->received(), bytes + "#end");
    QVERIFY(m_messages->texts.isEmpty());
}

void TestSerialSending::echoLines_data()
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

void TestSerialSending::echoLines()
{
    QFETCH(bool, hexSend);
    QFETCH(bool, hexDisplay);
    QFETCH(QString, echo);
    m_c->box("showBackCheckBox")->setChecked(true);
    m_c->box("displayHEXCheckBox")->setChecked(hexDisplay);
    m_c->box("sendHEXCheckBox")->setChecked(hexSend);
    m_c->box("autoAddReturnCheckBox")->setChecked(true);
    m_c->sendEdit()->setPlainText(hexSend ? QStringLiteral("68 69") : QStringLiteral("hi"));
    m_c->sendButton()->click();

    const QString html = m_c->recvEdit()->document()->toHtml();
    QVERIFY2(html.contains(QStringLiteral("#808080")), qPrintable(html));
    // The html is inserted as it is; the line ends in it collapse to spaces.
    QCOMPARE(m_c->recvEdit()->toPlainText().trimmed(), QString(echo).simplified());
    QTRY_COMPARE_WITH_TIMEOUT(m_pty->received(), QByteArray("hi\r\n").left(2) + (hexSend ? "\n\r" : "\r\n"), 10000);

    // Paused, the box shows no echo either.
    m_c->get<QPushButton>("clearRecvEditBoxBtn")->click();
    m_c->box("pauseRecvCheckBox")->setChecked(true);
    m_c->sendButton()->click();
    QVERIFY(m_c->recvEdit()->toPlainText().isEmpty());
}

void TestSerialSending::autoClearOfTheSendBox()
{
    m_c->box("autoClearSendEditCheckBox")->setChecked(true);
    m_c->sendEdit()->setPlainText(QStringLiteral("once"));
    m_c->sendButton()->click();
    QVERIFY(m_c->sendEdit()->toPlainText().isEmpty());
    QTRY_COMPARE_WITH_TIMEOUT(m_pty->received(), QByteArray("once"), 10000);

    // With the file type chosen the text stays.
    m_c->combo("autoSendTypeComboBox")->setCurrentIndex(1);
    m_c->sendEdit()->setPlainText(QStringLiteral("twice"));
    m_c->sendButton()->click();
    QCOMPARE(m_c->sendEdit()->toPlainText(), QStringLiteral("twice"));
}

void TestSerialSending::hexCheckBoxConvertsTheEdit_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("asHex");
    QTest::addColumn<QString>("back");
    QTest::newRow("text") << "AB" << "41 42" << "AB";
    QTest::newRow("e acute") << QString(QChar(0xe9)) << "" << "";
    QTest::newRow("empty") << "" << "" << "";
}

void TestSerialSending::hexCheckBoxConvertsTheEdit()
{
    QFETCH(QString, before);
    m_c->sendEdit()->setPlainText(before);
    QCheckBox *hex = m_c->box("sendHEXCheckBox");
    hex->click();
    QVERIFY(hex->isChecked());
    QTEST(m_c->sendEdit()->toPlainText(), "asHex");
    hex->click();
    QTEST(m_c->sendEdit()->toPlainText(), "back");

    // Rejected hex empties the edit on the way back.
    hex->click();
    m_c->sendEdit()->setPlainText(QStringLiteral("4142"));
    hex->click();
    QVERIFY(m_c->sendEdit()->toPlainText().isEmpty());
}

void TestSerialSending::fileArrivesWhole()
{
    QTemporaryFile file;
    const QByteArray content = makeFile(file, 1024 * 1024);
    m_c->box("showBackCheckBox")->setChecked(true);
    m_c->sendFileEdit()->setText(file.fileName());
    m_c->sendFileBtn()->click();

    QVERIFY(m_c->progress()->isVisibleTo(m_dialog.get()));
    QCOMPARE(m_c->progress()->maximum(), content.size());
    QCOMPARE(m_c->sendFileBtn()->text(), QStringLiteral("Cancel Sending"));
    QVERIFY(!m_c->sendButton()->isEnabled());
    QVERIFY(!m_c->sendEdit()->isEnabled());
    QVERIFY(!m_c->sendFileEdit()->isEnabled());
    QVERIFY(m_c->sendFileBtn()->isEnabled());
    QCOMPARE(m_c->recvEdit()->toPlainText().trimmed(), QStringLiteral("Send File: ") + file.fileName());

    QTRY_VERIFY_WITH_TIMEOUT(m_pty->received().size() >= content.size(), 60000);
    QVERIFY(m_pty->received() == content);
    QTRY_VERIFY(!m_c->progress()->isVisibleTo(m_dialog.get()));
    QCOMPARE(m_c->sendFileBtn()->text(), QStringLiteral("Send File"));
    QVERIFY(m_c->sendButton()->isEnabled());
    QVERIFY(m_c->sendFileEdit()->isEnabled());
    QVERIFY(m_messages->texts.isEmpty());
}

void TestSerialSending::cancelMidFile()
{
    QTemporaryFile file;
    const QByteArray content = makeFile(file, 1024 * 1024);
    m_c->sendFileEdit()->setText(file.fileName());
    // The far end does not read, so the line fills and the transfer is held mid-file.
    m_pty->setReading(false);
    m_c->sendFileBtn()->click();
    QTRY_VERIFY(m_c->progress()->value() > 0);
    QTest::qWait(200);
    const int sentBeforeCancel = m_c->progress()->value();
    QVERIFY(sentBeforeCancel < content.size());

    m_c->sendFileBtn()->click();
    QVERIFY(!m_c->progress()->isVisibleTo(m_dialog.get()));
    QCOMPARE(m_c->sendFileBtn()->text(), QStringLiteral("Send File"));
    QVERIFY(m_c->sendButton()->isEnabled());

    m_pty->setReading(true);
    m_c->sendEdit()->setPlainText(QStringLiteral("#after"));
    m_c->sendButton()->click();
    QTRY_VERIFY_WITH_TIMEOUT(m_pty->received().endsWith("#after"), 10000);
    const QByteArray arrived = m_pty->received().chopped(6);
    QVERIFY(arrived.size() <= sentBeforeCancel);
    QVERIFY(content.startsWith(arrived));
}

void TestSerialSending::fileMessages_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("message");
    QTest::newRow("no file, file type") << 1 << "" << "Please select the file you want to send.";
    QTest::newRow("no file, text type") << 0 << "" << "";
    QTest::newRow("missing file, file type") << 1 << "/nonexistent/ostrakit.bin" << "File open failed.";
    QTest::newRow("missing file, text type") << 0 << "/nonexistent/ostrakit.bin" << "";
}

void TestSerialSending::fileMessages()
{
    QFETCH(int, type);
    QFETCH(QString, path);
    QFETCH(QString, message);
    m_c->combo("autoSendTypeComboBox")->setCurrentIndex(type);
    m_c->sendFileEdit()->setText(path);
    m_c->sendFileBtn()->click();
    QCOMPARE(m_messages->texts, message.isEmpty() ? QStringList() : QStringList(message));
    QVERIFY(!m_c->progress()->isVisibleTo(m_dialog.get()));
    QCOMPARE(m_c->sendFileBtn()->text(), QStringLiteral("Send File"));
}

void TestSerialSending::browse()
{
    QStringList startDirs;
    QString answer = QStringLiteral("/tmp/board/u-boot.bin");
    UserDialogs::setOpenFileNameHandler([&](QWidget *, const QString &caption, const QString &dir, const QString &filter) {
        startDirs << dir;
        return caption == QLatin1String("Select File") && filter == QLatin1String("Files(*.*)") ? answer : QString();
    });
    QPushButton *browse = m_c->get<QPushButton>("sendFileBrowerBtn");
    browse->click();
    QCOMPARE(m_c->sendFileEdit()->text(), answer);
    answer.clear();
    browse->click();
    QCOMPARE(m_c->sendFileEdit()->text(), QStringLiteral("/tmp/board/u-boot.bin"));
    QCOMPARE(startDirs, QStringList({".", "/tmp/board/u-boot.bin"}));
}

void TestSerialSending::autoTextRepeatsAtThePeriod()
{
    m_c->combo("autoSendComboBox")->setCurrentIndex(m_c->combo("autoSendComboBox")->findText("500"));
    m_c->sendEdit()->setPlainText(QStringLiteral("ping"));
    m_c->box("autoClearSendEditCheckBox")->setChecked(true);
    QElapsedTimer clock;
    clock.start();
    m_c->box("autoSendCheckBox")->click();
    QVERIFY(m_c->timer("autoSendTimer")->isActive());
    QCOMPARE(m_c->timer("autoSendTimer")->interval(), 500);
    QVERIFY(!m_c->box("autoClearSendEditCheckBox")->isChecked());
    for (const char *disabled : {"sendEdit", "sendButton", "clearSendEditBtn", "sendFileBrowerBtn", "sendFileBtn",
                                 "sendFileEdit"})
        QVERIFY2(!m_c->get<QWidget>(disabled)->isEnabled(), disabled);

    // The first send comes one period after the click, not at once.
    QTRY_VERIFY_WITH_TIMEOUT(!m_pty->received().isEmpty(), 10000);
    QVERIFY2(clock.elapsed() >= 450, QByteArray::number(clock.elapsed()));
    QTRY_VERIFY_WITH_TIMEOUT(m_pty->received().size() >= 3 * 4, 10000);
    QVERIFY2(clock.elapsed() >= 1450, QByteArray::number(clock.elapsed()));
    QCOMPARE(m_c->sendEdit()->toPlainText(), QStringLiteral("ping"));

    m_c->box("autoSendCheckBox")->click();
    QVERIFY(!m_c->timer("autoSendTimer")->isActive());
    QVERIFY(m_c->sendButton()->isEnabled());
    QVERIFY(m_c->sendEdit()->isEnabled());
    const QByteArray atStop = m_pty->received();
    QCOMPARE(atStop, QByteArray("ping").repeated(atStop.size() / 4));
}

// Each tick that finds the last transfer over sends the file again from its start; ticks
// during a transfer leave it alone, so the far end sees whole copies one after another.
void TestSerialSending::autoFileRestartsAfterEachTransfer()
{
    QTemporaryFile file;
    const QByteArray content = makeFile(file, 200 * 1024);
    m_c->combo("autoSendTypeComboBox")->setCurrentIndex(1);
    m_c->combo("autoSendComboBox")->setCurrentIndex(m_c->combo("autoSendComboBox")->findText("500"));
    m_c->sendFileEdit()->setText(file.fileName());
    // The far end reads slowly at first so that the first transfer outlasts several ticks.
    m_pty->setReading(false);
    m_c->box("autoSendCheckBox")->click();
    QVERIFY(!m_c->sendFileBtn()->isEnabled());
    QTRY_VERIFY_WITH_TIMEOUT(m_c->progress()->isVisibleTo(m_dialog.get()), 10000);
    QTest::qWait(1200);
    QVERIFY(m_c->progress()->isVisibleTo(m_dialog.get()));
    QVERIFY(m_c->progress()->value() < content.size());
    m_pty->setReading(true);

    QTRY_VERIFY_WITH_TIMEOUT(m_pty->received().size() >= 2 * content.size() + 1000, 30000);
    m_c->box("autoSendCheckBox")->click();
    QVERIFY(m_c->sendFileBtn()->isEnabled());
    const QByteArray got = m_pty->received();
    const int whole = int(got.size() / content.size());
    QVERIFY(got.startsWith(content.repeated(whole)));
    QVERIFY(content.startsWith(got.mid(whole * content.size())));
}

void TestSerialSending::autoNeedsSomethingToSend_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("message");
    QTest::newRow("text") << 0 << "Please enter the content you want to send.";
    QTest::newRow("file") << 1 << "Please select the file you want to automatically send.";
}

void TestSerialSending::autoNeedsSomethingToSend()
{
    QFETCH(int, type);
    QFETCH(QString, message);
    m_c->combo("autoSendTypeComboBox")->setCurrentIndex(type);
    m_c->box("autoSendCheckBox")->click();
    QCOMPARE(m_messages->texts, QStringList(message));
    QVERIFY(!m_c->box("autoSendCheckBox")->isChecked());
    QVERIFY(!m_c->timer("autoSendTimer")->isActive());
}

void TestSerialSending::emptyPeriodMeansOneSecond()
{
    m_c->sendEdit()->setPlainText(QStringLiteral("x"));
    m_c->combo("autoSendComboBox")->setCurrentIndex(m_c->combo("autoSendComboBox")->findText("3000"));
    m_c->box("autoSendCheckBox")->click();
    QCOMPARE(m_c->timer("autoSendTimer")->interval(), 3000);
    m_c->combo("autoSendComboBox")->setCurrentIndex(-1);
    QVERIFY(m_c->timer("autoSendTimer")->isActive());
    QCOMPARE(m_c->timer("autoSendTimer")->interval(), 1000);
}

void TestSerialSending::autoStopsWhenThePortCloses()
{
    m_c->sendEdit()->setPlainText(QStringLiteral("x"));
    m_c->combo("autoSendComboBox")->setCurrentIndex(m_c->combo("autoSendComboBox")->findText("500"));
    m_c->box("autoSendCheckBox")->click();
    m_c->openClose()->click();
    QVERIFY(!m_c->led()->isOn());
    QTRY_VERIFY_WITH_TIMEOUT(!m_c->box("autoSendCheckBox")->isChecked(), 5000);
    QVERIFY(!m_c->timer("autoSendTimer")->isActive());
    QVERIFY(m_c->sendButton()->isEnabled());
    QVERIFY(m_messages->texts.isEmpty());

    // Starting it on a closed port just unticks it again.
    m_c->box("autoSendCheckBox")->click();
    QVERIFY(!m_c->box("autoSendCheckBox")->isChecked());
    QVERIFY(m_messages->texts.isEmpty());
}

QTEST_MAIN(TestSerialSending)
#include "tst_serialsending.moc"
