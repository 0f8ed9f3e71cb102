// The serial assistant on a pty pair standing in for a USB serial adapter: the port and its
// settings, what it sends as the far end receives it, and what it shows of what arrives.
// Runs with "--debug" among the program's arguments.

#include "app/userdialogs.h"
#include "serial/hled.h"
#include "serial/serialportdialog.h"
#include "serial/trecvdisplay.h"

#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSocketNotifier>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTextBlock>
#include <QtTest>

#include <cerrno>
#include <fcntl.h>
#include <pty.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>
#include <utility>

namespace {

// A pseudo terminal standing in for a USB serial adapter: the dialog opens the device end
// like a serial device, the test talks on the far (master) end.
struct PtyPair
{
    ~PtyPair() { stop(); }
    // Makes the terminal; on failure `why` says what went wrong.
    bool start(QString *why)
    {
        termios raw{};
        if (!dir.isValid() || openpty(&farFd, &deviceFd, nullptr, nullptr, nullptr) != 0 || tcgetattr(deviceFd, &raw) != 0
            || (cfmakeraw(&raw), tcsetattr(deviceFd, TCSANOW, &raw)) != 0 || fcntl(farFd, F_SETFL, O_NONBLOCK) != 0
            || !QFile::link(QString::fromLocal8Bit(ttyname(deviceFd)), deviceEnd())) {
            *why = QStringLiteral("cannot make a pseudo terminal: ") + QString::fromLocal8Bit(strerror(errno));
            return false;
        }
        reader = std::make_unique<QSocketNotifier>(farFd, QSocketNotifier::Read);
        QObject::connect(reader.get(), &QSocketNotifier::activated, [this] {
            char buffer[65536];
            for (ssize_t n; (n = ::read(farFd, buffer, sizeof buffer)) > 0;)
                received.append(buffer, n);
        });
        return true;
    }
    // Hangs up and removes the device, as a pulled USB adapter does.
    void stop()
    {
        reader.reset();
        QFile::remove(deviceEnd());
        for (int *fd : {&farFd, &deviceFd})
            if (*fd >= 0)
                ::close(std::exchange(*fd, -1));
    }
    QString deviceEnd() const { return dir.filePath(QStringLiteral("device")); }
    // Not reading at the far end fills the line and holds the writer back.
    void setReading(bool on) { reader->setEnabled(on); }
    // Writes `data` to the far end: short texts, which the line takes at once.
    bool send(const QByteArray &data) { return farFd >= 0 && ::write(farFd, data.constData(), size_t(data.size())) == data.size(); }

    QTemporaryDir dir;
    int farFd = -1;
    int deviceFd = -1; // the pair's own hold on the device end, so the far end never sees a hang-up
    QByteArray received; // everything the far end has read so far
    std::unique_ptr<QSocketNotifier> reader;
};

// The serial assistant's controls, found by their object names as a user finds them by labels.
struct DialogControls
{
    template<class T = QWidget>
    T *get(const char *name) const
    {
        T *child = dialog.findChild<T *>(QLatin1String(name));
        if (!child)
            qFatal("the serial assistant has no %s", name);
        return child;
    }
    QPushButton *button(const char *name) const { return get<QPushButton>(name); }
    QCheckBox *box(const char *name) const { return get<QCheckBox>(name); }
    QComboBox *combo(const char *name) const { return get<QComboBox>(name); }
    QPlainTextEdit *edit(const char *name) const { return get<QPlainTextEdit>(name); }
    bool lit() const { return get<HLed>("led")->isOn(); }
    void open(const QString &path) const
    {
        combo("portBox")->setEditText(path);
        button("openCloseButton")->click();
    }
    void choose(const char *name, const char *text) const { combo(name)->setCurrentIndex(combo(name)->findText(text)); }

    SerialPortDialog &dialog;
};

// A dialog whose port is open on one end of a pty pair; `skip` says why when the machine
// cannot make one. The information boxes it would show are collected.
struct OpenDialog
{
    OpenDialog()
    {
        UserDialogs::setInformationHandler([this](QWidget *, const QString &t, const QString &x) { titles << t, messages << x; });
        if (pty.start(&skip))
            c.open(pty.deviceEnd());
    }
    ~OpenDialog() { UserDialogs::setInformationHandler(nullptr); }
    PtyPair pty;
    QString skip;
    QStringList titles, messages;
    SerialPortDialog dialog;
    DialogControls c{dialog};
};

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
    void sendText(const QString &text)
    {
        c().edit("sendEdit")->setPlainText(text);
        c().button("sendButton")->click();
    }
    // Bytes that arrive while receiving is paused; they must never show.
    bool sendWhilePaused(const QByteArray &bytes)
    {
        c().box("pauseRecvCheckBox")->setChecked(true);
        const bool sent = m->pty.send(bytes);
        QTest::qWait(1000);
        c().box("pauseRecvCheckBox")->setChecked(false);
        return sent;
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
        c().get<QLineEdit>("sendFileEdit")->setText(file.fileName());
        c().button("sendFileBtn")->click();
        QCOMPARE(c().get<QProgressBar>("sendFileProgressBar")->maximum(), content.size());
        QCOMPARE(c().button("sendFileBtn")->text(), QStringLiteral("Cancel Sending"));
        QVERIFY(!c().button("sendButton")->isEnabled() && !c().edit("sendEdit")->isEnabled() && !c().get<QLineEdit>("sendFileEdit")->isEnabled());
        QCOMPARE(shown().trimmed(), QStringLiteral("Send File: ") + file.fileName());
        QTRY_VERIFY_WITH_TIMEOUT(received().size() >= content.size(), 60000);
        QVERIFY(received() == content);
        QTRY_VERIFY(!c().get<QProgressBar>("sendFileProgressBar")->isVisibleTo(&m->dialog));
        QVERIFY(c().button("sendButton")->isEnabled() && c().get<QLineEdit>("sendFileEdit")->isEnabled());

        m->pty.setReading(false); // the line fills and holds the transfer mid-file
        c().button("sendFileBtn")->click();
        QTRY_VERIFY(c().get<QProgressBar>("sendFileProgressBar")->value() > 0);
        c().button("sendFileBtn")->click();
        QVERIFY(!c().get<QProgressBar>("sendFileProgressBar")->isVisibleTo(&m->dialog) && c().button("sendButton")->isEnabled());
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
        // Three periods, less the few per cent a coarse timer may fire early.
        QVERIFY2(clock.elapsed() >= 1350, QByteArray::number(clock.elapsed()));
        QCOMPARE(c().edit("sendEdit")->toPlainText(), QLatin1String("ping"));
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
        c().get<QLineEdit>("sendFileEdit")->setText(file.fileName());
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
        QVERIFY(m->pty.send(QByteArray("=> caf\xe9\r\nAB\0CD", 13)));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("=> caf\u00e9\nAB"), 10000);
        c().button("clearRecvEditBoxBtn")->click();
        QVERIFY(shown().isEmpty());
        c().box("displayHEXCheckBox")->setChecked(true);
        QVERIFY(m->pty.send("AB\r"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("41 42 0D"), 10000);
        QVERIFY(m->pty.send("E\x80"));
        QTest::qWait(500);
        QVERIFY(sendWhilePaused("lost\n"));
        QVERIFY(m->pty.send("F"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("41 42 0D46"), 10000);

        c().box("displayHEXCheckBox")->setChecked(false);
        c().box("autoCleanRecvEditCheckBox")->setChecked(true);
        c().box("showBackCheckBox")->setChecked(true);
        QVERIFY(m->pty.send(QByteArray("line\n").repeated(100)));
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
        QVERIFY(m->pty.send("abc"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("3"), 10000);
        QVERIFY(sendWhilePaused("de"));
        QVERIFY(m->pty.send("f"));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QStringLiteral("3\n6"), 10000);
    }

    // Ports that cannot be opened (one of them held by another dialog); what a file send or the
    // start of auto send says when there is nothing to send or no file to send from; and a far
    // end that goes away in the middle of a file send: said next to the lamp, never a hang.
    void portTroubles()
    {
        const auto reason = [](const DialogControls &c) { return c.get<QLabel>("portStateLabel")->text(); };
        QVERIFY(reason(c()).isEmpty());
        QTemporaryDir dir;
        const QString fifo = dir.filePath(QStringLiteral("fifo"));
        QCOMPARE(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
        const QString failures[][2] = {
            {dir.filePath(QStringLiteral("missing")), QStringLiteral("%1 does not exist.")},
            {dir.path(), QStringLiteral("%1 is not a serial device.")}, {fifo, QStringLiteral("%1 is not a serial device.")},
            {m->pty.deviceEnd(), QStringLiteral("No permission to open %1 (or it is in use): join the \"dialout\" group "
                                               "(sudo adduser $USER dialout), then log in again.")}};
        SerialPortDialog second;
        DialogControls other{second};
        for (const auto &failure : failures) {
            other.open(failure[0]);
            QVERIFY(!other.lit());
            QCOMPARE(reason(other), failure[1].arg(failure[0]));
        }
        QVERIFY(m->messages.isEmpty());

        // A manual send with the text type says nothing; only the file type complains.
        const QString missing = dir.filePath(QStringLiteral("missing"));
        const QList<std::tuple<const char *, int, QString, QString>> rows = {
            {"sendFileBtn", 1, "", "Please select the file you want to send."}, {"sendFileBtn", 0, "", ""},
            {"sendFileBtn", 1, missing, "File open failed."}, {"sendFileBtn", 0, missing, ""},
            {"sendFileBtn", 1, fifo, "File open failed."}, {"sendFileBtn", 1, dir.path(), "File open failed."},
            {"autoSendCheckBox", 0, missing, "Please enter the content you want to send."},
            {"autoSendCheckBox", 1, "", "Please select the file you want to automatically send."}};
        for (const auto &[button, type, path, message] : rows) {
            m->messages.clear();
            c().combo("autoSendTypeComboBox")->setCurrentIndex(type);
            c().get<QLineEdit>("sendFileEdit")->setText(path);
            c().get<QAbstractButton>(button)->click();
            QCOMPARE(m->messages, message.isEmpty() ? QStringList() : QStringList(message));
            QVERIFY(!c().get<QProgressBar>("sendFileProgressBar")->isVisibleTo(&m->dialog) && !c().box("autoSendCheckBox")->isChecked());
            QVERIFY(!c().get<QTimer>("autoSendTimer")->isActive());
        }

        const QString path = dir.filePath(QStringLiteral("big.bin"));
        const qint64 size = 4 << 20;
        QVERIFY(QFile(path).open(QIODevice::WriteOnly) && QFile::resize(path, size));
        // The far end reads nothing, so the line fills up mid-file, and then goes away.
        c().combo("autoSendTypeComboBox")->setCurrentIndex(0);
        c().get<QLineEdit>("sendFileEdit")->setText(path);
        m->pty.setReading(false);
        c().button("sendFileBtn")->click();
        QTRY_VERIFY(c().get<QProgressBar>("sendFileProgressBar")->value() > 0);
        QTest::qWait(200);
        m->pty.stop();
        QTRY_VERIFY_WITH_TIMEOUT(!c().lit(), 10000);
        QCOMPARE(c().button("sendFileBtn")->text(), QStringLiteral("Send File"));
        const QRegularExpression said(QStringLiteral("^The port closed during the file send: (\\d+) of %1 bytes were sent\\.$").arg(size));
        const QRegularExpressionMatch match = said.match(reason(c()));
        QVERIFY2(match.hasMatch() && match.captured(1).toLongLong() > 0 && match.captured(1).toLongLong() < size, qPrintable(reason(c())));
    }

    // Reads that bring more lines than the receive box keeps: the box must end exactly as it
    // would by taking every line and dropping the oldest, while lines that would be dropped by
    // the same read never enter the document at all.
    void largeReads()
    {
        const QList<QList<QByteArray>> runs = {
            {lines(0, 1100, "\r\n"), lines(0, 900, "\r"), lines(0, 900, "\n\r")}, // CR LF once, lone CR, LF CR
            {lines(0, 500), lines(500, 799), "x", lines(0, 801)}, // filling up to the cap
            {"partial ", lines(0, 1500) + "open end", lines(0, 1000) + '\0' + lines(0, 5)}}; // a zero byte ends the read
        for (const QList<QByteArray> &reads : runs) {
            SerialPortDialog dialog;
            QPlainTextEdit *box = dialog.findChild<QPlainTextEdit *>(QStringLiteral("recvEdit"));
            TRecvDisplay display(box);
            // What the box did before: every line goes in and the widget drops the oldest.
            QPlainTextEdit reference;
            reference.setMaximumBlockCount(box->maximumBlockCount());
            int inserted = 0;
            connect(box->document(), &QTextDocument::contentsChange, this, [&](int, int, int added) { inserted = qMax(inserted, added); });
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
