// The serial assistant on a pty pair standing in for a USB serial adapter: the port and its
// settings, what it sends as the far end receives it, and what it shows of what arrives.

#include "serial/trecvdisplay.h"
#include "serialtestsupport.h"

#include <QElapsedTimer>
#include <QTemporaryFile>
#include <QTextBlock>
#include <QtTest>

#include <termios.h>

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

// The descriptor this process holds on `device`, to read back what the port set on it.
int descriptorOf(const QString &device)
{
    const QString target = QFileInfo(device).canonicalFilePath();
    const QDir fds(QStringLiteral("/proc/self/fd"));
    for (const QString &fd : fds.entryList(QDir::NoDotAndDotDot | QDir::System | QDir::Files | QDir::AllEntries))
        if (QFileInfo(fds.filePath(fd)).symLinkTarget() == target)
            return fd.toInt();
    return -1;
}
termios termiosOf(const QString &device)
{
    termios tio{};
    const int fd = descriptorOf(device);
    if (fd < 0 || tcgetattr(fd, &tio) != 0)
        qWarning("cannot read the line settings of %s", qPrintable(device));
    return tio;
}

} // namespace

class TestSerialAssistant : public QObject
{
    Q_OBJECT
    std::unique_ptr<OpenDialog> m;
    const DialogControls &c() const { return m->c; }
    const QByteArray &received() const { return m->pty.received(); }
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
        QVERIFY(c().lit());
    }
    void cleanup() { m.reset(); }


    // A pty keeps the speed and stop bits it is given (it forces 8 data bits and no parity),
    // so those show whether a setting reached the device, while open and at the next open.
    void lineSettingsReachTheDevice()
    {
        const QString device = m->pty.deviceEnd();
        termios tio = termiosOf(device);
        QCOMPARE(cfgetospeed(&tio), speed_t(B115200));
        c().choose("baudRateBox", "2400");
        c().choose("stopBitsBox", "2");
        tio = termiosOf(device);
        QCOMPARE(cfgetispeed(&tio), speed_t(B2400));
        QVERIFY(tio.c_cflag & CSTOPB);
        QVERIFY(!(tio.c_cflag & CRTSCTS) && !(tio.c_iflag & (IXON | IXOFF)));

        c().button("openCloseButton")->click();
        QVERIFY(!c().lit() && !c().timer("pollTimer")->isActive());
        QCOMPARE(descriptorOf(device), -1);
        c().choose("baudRateBox", "19200");
        c().choose("stopBitsBox", "1");
        c().combo("queryModeBox")->setCurrentIndex(1); // event-driven reading needs no poll
        c().button("openCloseButton")->click();
        tio = termiosOf(device);
        QCOMPARE(cfgetospeed(&tio), speed_t(B19200));
        QVERIFY(!(tio.c_cflag & CSTOPB));
        QVERIFY(c().lit() && !c().timer("pollTimer")->isActive());

        // A device that does not exist leaves the lamp dark, without a word.
        c().button("openCloseButton")->click();
        c().open(QStringLiteral("/dev/ostrakit-no-such-tty"));
        QVERIFY(!c().lit());
        QVERIFY(m->messages.texts.isEmpty());
        QVERIFY(c().edit("recvEdit")->isReadOnly());
    }

    // Typing in the port box closes the port: the name it shows is the one the next open takes.
    void editingThePortNameCloses()
    {
        QComboBox *port = c().combo("portBox");
        port->setFocus();
        QTest::keyClick(port, Qt::Key_End);
        QVERIFY(c().lit());
        QTest::keyClick(port, Qt::Key_X);
        QVERIFY(!c().lit());
        QCOMPARE(descriptorOf(m->pty.deviceEnd()), -1);
        QTest::keyClick(port, Qt::Key_Backspace);
        c().button("openCloseButton")->click();
        QVERIFY(c().lit());
    }

    // A USB serial adapter pulled out in the middle of a file transfer: the port closes,
    // the lamp goes dark, the send controls come back; nothing is left half open.
    void vanishingDeviceClosesThePort()
    {
        QTemporaryFile file;
        QVERIFY(file.open() && file.write(QByteArray(1024 * 1024, 'x')) > 0 && file.flush());
        c().combo("autoSendTypeComboBox")->setCurrentIndex(1);
        c().fileEdit()->setText(file.fileName());
        m->pty.setReading(false);
        c().button("sendFileBtn")->click();
        QVERIFY(c().progress()->isVisibleTo(&m->dialog));
        m->pty.stop();
        QTRY_VERIFY_WITH_TIMEOUT(!c().lit(), 10000);
        QVERIFY(!c().timer("pollTimer")->isActive());
        QVERIFY(!c().progress()->isVisibleTo(&m->dialog));
        QCOMPARE(c().button("sendFileBtn")->text(), QStringLiteral("Send File"));
        QVERIFY(c().button("sendButton")->isEnabled());
        c().button("openCloseButton")->click();
        QVERIFY(!c().lit());

        c().edit("sendEdit")->setPlainText(QStringLiteral("hello"));
        c().button("sendButton")->click();
        c().button("sendFileBtn")->click();
        QCOMPARE(m->messages.texts, QStringList(2, QStringLiteral("Please open the serial port.")));
        QCOMPARE(m->messages.titles, QStringList(2, QStringLiteral("Message")));
    }


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


    // Text as it comes (a zero byte ends what a read shows); hex per read, where a read
    // holding 0x80 shows nothing; paused data is dropped, not kept; "Clear" empties.
    void shownAsItArrives()
    {
        QVERIFY(send("U-Boot\r\n=> caf\xe9"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("U-Boot\n=> caf") + QChar(0xe9), 10000);
        c().button("clearRecvEditBoxBtn")->click();
        QVERIFY(shown().isEmpty());
        QVERIFY(send(QByteArray("AB\0CD", 5)));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("AB"), 10000);
        c().button("clearRecvEditBoxBtn")->click();

        c().box("displayHEXCheckBox")->setChecked(true);
        QVERIFY(send("AB\r"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("41 42 0D"), 10000);
        QVERIFY(send("E\x80"));
        QTest::qWait(200);
        QVERIFY(send("F"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("41 42 0D46"), 10000);

        c().box("pauseRecvCheckBox")->setChecked(true);
        QVERIFY(send("lost\n"));
        QTest::qWait(300);
        c().box("pauseRecvCheckBox")->setChecked(false);
        QVERIFY(send("G"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("41 42 0D4647"), 10000);
    }

    // Received data never clears the box, however far it scrolls; the next appended echo
    // line does once the box scrolls. The box keeps 800 lines at most.
    void autoClearAndLineCap()
    {
        c().box("autoCleanRecvEditCheckBox")->setChecked(true);
        c().box("showBackCheckBox")->setChecked(true);
        QByteArray lines;
        for (int i = 0; i < 1000; ++i)
            lines += "line " + QByteArray::number(i) + "\n";
        QVERIFY(send(lines));
        QTRY_VERIFY_WITH_TIMEOUT(shown().endsWith(QStringLiteral("line 999\n")), 10000);
        QVERIFY(c().edit("recvEdit")->document()->blockCount() <= 800);
        QVERIFY(!shown().contains(QStringLiteral("line 100\n")));
        c().edit("sendEdit")->setPlainText(QStringLiteral("hi"));
        c().button("sendButton")->click();
        QVERIFY(shown().isEmpty());
        c().button("sendButton")->click();
        QVERIFY(shown().contains(QStringLiteral("Send: hi")));
    }

    // A device that never sends a line break cannot grow the box beyond its line cap times
    // the longest line; every byte still reaches the box.
    void endlessLineIsBroken()
    {
        for (bool hex : {false, true}) {
            c().box("displayHEXCheckBox")->setChecked(hex);
            QByteArray stream;
            for (int i = 0; i < 300000; ++i)
                stream += char('a' + i % 26);
            stream += '!';
            QTextDocument *doc = c().edit("recvEdit")->document();
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

QTEST_MAIN(TestSerialAssistant)
#include "tst_serialassistant.moc"
