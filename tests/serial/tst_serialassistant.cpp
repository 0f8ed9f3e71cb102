// The serial assistant on a pty pair standing in for a USB serial adapter: the port and its
// settings, what it sends as the far end receives it, and what it shows of what arrives.
// Runs with "--debug" among the program's arguments.

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
    return file.open() && file.write(content) == size && file.flush() ? content : QByteArray();
}

// The line settings on the port's own descriptor on the device; false when it holds none.
bool termiosOf(const PtyPair &pty, termios *tio)
{
    const QString target = QFileInfo(pty.deviceEnd()).canonicalFilePath();
    const QDir fds(QStringLiteral("/proc/self/fd"));
    for (const QString &fd : fds.entryList(QDir::System | QDir::AllEntries | QDir::NoDotAndDotDot))
        if (fd.toInt() != pty.deviceFd && QFileInfo(fds.filePath(fd)).symLinkTarget() == target)
            return tcgetattr(fd.toInt(), tio) == 0;
    return false;
}

QByteArray lines(int from, int to, const char *end = "\n")
{
    QByteArray text;
    for (int i = from; i < to; ++i)
        text += "line " + QByteArray::number(i) + end;
    return text;
}

} // namespace

class TestSerialAssistant : public QObject
{
    Q_OBJECT
    std::unique_ptr<OpenDialog> m;
    const DialogControls &c() const { return m->c; }
    const QByteArray &received() const { return m->pty.received; }
    QString shown() const { return m->c.edit("recvEdit")->toPlainText(); }
    bool send(const QByteArray &bytes) { return m->pty.send(bytes); }
    void sendText(const QString &text)
    {
        c().edit("sendEdit")->setPlainText(text);
        c().button("sendButton")->click();
    }

private slots:
    void init()
    {
        m = std::make_unique<OpenDialog>();
        if (!m->skip.isEmpty())
            QSKIP(qPrintable(m->skip));
        m->dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&m->dialog) && c().lit());
    }
    void cleanup() { m.reset(); }

    // A pty keeps the speed and stop bits it is given, so those show whether a setting reached
    // the device, while open and at the next open. Typing in the port box closes the port.
    void lineSettingsReachTheDevice()
    {
        termios tio{};
        c().choose("baudRateBox", "2400");
        c().choose("stopBitsBox", "2");
        QVERIFY(termiosOf(m->pty, &tio) && cfgetispeed(&tio) == B2400 && (tio.c_cflag & CSTOPB));
        QVERIFY(!(tio.c_cflag & CRTSCTS) && !(tio.c_iflag & (IXON | IXOFF)));
        c().button("openCloseButton")->click();
        QVERIFY(!c().lit() && !c().get<QTimer>("pollTimer")->isActive() && !termiosOf(m->pty, &tio));
        c().choose("baudRateBox", "19200");
        c().choose("stopBitsBox", "1");
        c().combo("queryModeBox")->setCurrentIndex(1); // event-driven reading needs no poll
        c().button("openCloseButton")->click();
        QVERIFY(termiosOf(m->pty, &tio) && cfgetospeed(&tio) == B19200 && !(tio.c_cflag & CSTOPB));
        QVERIFY(c().lit() && !c().get<QTimer>("pollTimer")->isActive() && c().edit("recvEdit")->isReadOnly());

        c().combo("portBox")->setFocus();
        QTest::keyClicks(c().combo("portBox"), "x");
        QVERIFY(!c().lit() && !termiosOf(m->pty, &tio));
        sendText(QStringLiteral("hello"));
        QCOMPARE(m->messages, QStringList(QStringLiteral("Please open the serial port.")));
        QCOMPARE(m->titles, QStringList(QStringLiteral("Message")));
    }

    // What goes out (the hex line end is line feed first) and the grey echo in the receive
    // box; auto clear empties the edit after each send, but not with the file auto type.
    // Ticking HEX turns the text into hex and back; rejected hex empties the edit.
    void sendsText()
    {
        const QList<std::tuple<QString, bool, bool, QByteArray, QString>> rows = {
            {"hi", false, true, "hi\r\n", "Send: hi"}, {"68 69", true, true, "hi\n\r", "Send: 68 69 0A 0D"},
            {"00 ff", true, false, QByteArray("\0\xff", 2), "Send: 00 ff"}, {"4G", true, true, "", ""},
            {QString(QChar(0xe9)) + QChar(0x4e2d), false, false, "\xe9?", "Send: " + QString(QChar(0xe9)) + QChar(0x4e2d)}};
        QPlainTextEdit *edit = c().edit("sendEdit");
        c().box("showBackCheckBox")->setChecked(true);
        c().box("autoClearSendEditCheckBox")->setChecked(true);
        for (const auto &[text, hex, crlf, bytes, echo] : rows) {
            m->pty.received.clear();
            c().box("pauseRecvCheckBox")->setChecked(false);
            c().button("clearRecvEditBoxBtn")->click();
            c().box("sendHEXCheckBox")->setChecked(hex);
            c().box("autoAddReturnCheckBox")->setChecked(crlf);
            sendText(text);
            QCOMPARE(shown().trimmed(), echo);
            QCOMPARE(c().edit("recvEdit")->document()->toHtml().contains(QStringLiteral("#808080")), !bytes.isEmpty());
            QVERIFY(edit->toPlainText().isEmpty());
            // A marker sent afterwards shows that everything before it has arrived; paused, no echo.
            c().box("sendHEXCheckBox")->setChecked(false);
            c().box("autoAddReturnCheckBox")->setChecked(false);
            c().box("pauseRecvCheckBox")->setChecked(true);
            c().button("clearRecvEditBoxBtn")->click();
            sendText(QStringLiteral("#end"));
            QVERIFY(shown().isEmpty());
            QTRY_COMPARE_WITH_TIMEOUT(received(), bytes + "#end", 10000);
        }
        const QList<std::pair<QString, QString>> conversions = {{"AB", "41 42"}, {"41 42", "AB"}, {"AB", "41 42"}, {"4142", ""}};
        for (const auto &[before, after] : conversions) {
            edit->setPlainText(before);
            c().box("sendHEXCheckBox")->click();
            QCOMPARE(edit->toPlainText(), after);
        }
        c().combo("autoSendTypeComboBox")->setCurrentIndex(1);
        sendText(QStringLiteral("kept"));
        QCOMPARE(edit->toPlainText(), QStringLiteral("kept"));
        QTRY_VERIFY_WITH_TIMEOUT(received().endsWith("#endkept"), 10000);
        QVERIFY(m->messages.isEmpty());
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
        QCOMPARE(shown().trimmed(), QStringLiteral("Send File: ") + file.fileName());
        QTRY_VERIFY_WITH_TIMEOUT(received().size() >= content.size(), 60000);
        QVERIFY(received() == content);
        QTRY_VERIFY(!c().progress()->isVisibleTo(&m->dialog));
        QVERIFY(c().button("sendButton")->isEnabled() && c().fileEdit()->isEnabled());

        m->pty.setReading(false); // the line fills and holds the transfer mid-file
        c().button("sendFileBtn")->click();
        QTRY_VERIFY(c().progress()->value() > 0);
        c().button("sendFileBtn")->click();
        QVERIFY(!c().progress()->isVisibleTo(&m->dialog) && c().button("sendButton")->isEnabled());
        QCOMPARE(c().button("sendFileBtn")->text(), QStringLiteral("Send File"));
        QVERIFY(m->messages.isEmpty());
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
        QVERIFY(!c().box("autoClearSendEditCheckBox")->isChecked());
        for (const char *disabled : {"sendEdit", "sendButton", "clearSendEditBtn", "sendFileBrowerBtn", "sendFileBtn", "sendFileEdit"})
            QVERIFY2(!c().get(disabled)->isEnabled(), disabled);
        QTRY_VERIFY_WITH_TIMEOUT(!received().isEmpty(), 10000);
        QVERIFY2(clock.elapsed() >= 450, QByteArray::number(clock.elapsed()));
        QTRY_VERIFY_WITH_TIMEOUT(received().size() >= 3 * 4, 10000);
        QVERIFY(clock.elapsed() >= 1450 && c().edit("sendEdit")->toPlainText() == QLatin1String("ping"));
        c().combo("autoSendComboBox")->setCurrentIndex(-1); // an empty period means a second
        QCOMPARE(c().get<QTimer>("autoSendTimer")->interval(), 1000);
        QCOMPARE(received(), QByteArray("ping").repeated(received().size() / 4));

        c().button("openCloseButton")->click();
        QTRY_VERIFY_WITH_TIMEOUT(!c().box("autoSendCheckBox")->isChecked(), 5000);
        QVERIFY(!c().get<QTimer>("autoSendTimer")->isActive() && c().button("sendButton")->isEnabled() && c().edit("sendEdit")->isEnabled());
        c().box("autoSendCheckBox")->click(); // on a closed port it just unticks again
        QVERIFY(!c().box("autoSendCheckBox")->isChecked() && m->messages.isEmpty());
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
        QTest::qWait(1200);
        m->pty.setReading(true);
        QTRY_VERIFY_WITH_TIMEOUT(received().size() >= 2 * content.size() + 1000, 30000);
        c().box("autoSendCheckBox")->click();
        const int whole = int(received().size() / content.size());
        QVERIFY(received().startsWith(content.repeated(whole)) && content.startsWith(received().mid(whole * content.size())));
    }

    // Text as it comes (a zero byte ends what a read shows); hex per read, where a read
    // holding 0x80 shows nothing; paused data is dropped, not kept; "Clear" empties. With
    // auto clear, received data never clears the box, the next echo line does once it scrolls.
    void shownAsItArrives()
    {
        QVERIFY(send(QByteArray("=> caf\xe9\r\nAB\0CD", 13)));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("=> caf\u00e9\nAB"), 10000);
        c().button("clearRecvEditBoxBtn")->click();
        QVERIFY(shown().isEmpty());
        c().box("displayHEXCheckBox")->setChecked(true);
        QVERIFY(send("AB\r"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("41 42 0D"), 10000);
        QVERIFY(send("E\x80"));
        QTest::qWait(200);
        c().box("pauseRecvCheckBox")->setChecked(true);
        QVERIFY(send("lost\n"));
        QTest::qWait(300);
        c().box("pauseRecvCheckBox")->setChecked(false);
        QVERIFY(send("F"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("41 42 0D46"), 10000);

        c().box("displayHEXCheckBox")->setChecked(false);
        c().box("autoCleanRecvEditCheckBox")->setChecked(true);
        c().box("showBackCheckBox")->setChecked(true);
        QVERIFY(send(QByteArray("line\n").repeated(100)));
        QTRY_VERIFY_WITH_TIMEOUT(shown().count(QLatin1String("line")) == 100, 10000);
        sendText(QStringLiteral("hi"));
        QVERIFY(shown().isEmpty());
        c().button("sendButton")->click();
        QVERIFY(shown().contains(QStringLiteral("Send: hi")));

        // Run with "--debug", event-driven reading only counts what waits unread.
        c().box("autoCleanRecvEditCheckBox")->setChecked(false);
        c().button("openCloseButton")->click();
        c().combo("queryModeBox")->setCurrentIndex(1);
        c().button("openCloseButton")->click();
        c().button("clearRecvEditBoxBtn")->click();
        QVERIFY(send("abc"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("3"), 10000);
        c().box("pauseRecvCheckBox")->setChecked(true);
        QVERIFY(send("de"));
        QTest::qWait(300);
        c().box("pauseRecvCheckBox")->setChecked(false);
        QVERIFY(send("f"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("3\n6"), 10000);
    }

    // Reads that bring more lines than the receive box keeps: the box must end exactly as it
    // would by taking every line and dropping the oldest, while lines that would be dropped by
    // the same read never enter the document at all.
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

int main(int argc, char *argv[])
{
    std::vector<char *> args(argv, argv + argc);
    char debug[] = "--debug";
    args.push_back(debug);
    int appArgc = int(args.size());
    QApplication app(appArgc, args.data());
    TestSerialAssistant test;
    return QTest::qExec(&test, argc, argv); // without the switch QtTest would not know
}

#include "tst_serialassistant.moc"
