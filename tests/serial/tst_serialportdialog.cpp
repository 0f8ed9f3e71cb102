#include "serialtestsupport.h"

#include <QSpinBox>
#include <QTranslator>
#include <QtTest>

#include <termios.h>

namespace {

// Marks every text of the form, so that a retranslation shows which ones it reached.
class MarkingTranslator : public QTranslator
{
public:
    QString translate(const char *context, const char *sourceText, const char *, int) const override
    {
        return qstrcmp(context, "SerialPortDialogBase") ? QString() : "<" + QString::fromUtf8(sourceText) + ">";
    }
    bool isEmpty() const override { return false; }
};

// The descriptor this process holds on `device`, to read back what the port set on it.
int descriptorOf(const QString &device)
{
    const QString target = QFileInfo(device).canonicalFilePath();
    const QDir fds(QStringLiteral("/proc/self/fd"));
    for (const QString &fd : fds.entryList(QDir::NoDotAndDotDot | QDir::System | QDir::Files | QDir::AllEntries)) {
        if (QFileInfo(fds.filePath(fd)).symLinkTarget() == target)
            return fd.toInt();
    }
    return -1;
}

termios termiosOf(const QString &device)
{
    termios tio {};
    const int fd = descriptorOf(device);
    if (fd < 0 || tcgetattr(fd, &tio) != 0)
        qWarning("cannot read the line settings of %s", qPrintable(device));
    return tio;
}

// Starts a pty pair, or skips the test where the machine has none.
#define START_PTY(pty)                                                                                                 \
    PtyPair pty;                                                                                                       \
    if (QString why; !pty.start(&why))                                                                                 \
    QSKIP(qPrintable(why))

// Every widget text of the dialog by object name, fields that hold user input left out.
QMap<QString, QString> textsOf(const QWidget &dialog)
{
    QMap<QString, QString> texts;
    for (QWidget *w : dialog.findChildren<QWidget *>()) {
        const QString text = w->property("text").toString();
        if (!w->inherits("QLineEdit") && !w->inherits("QComboBox") && !w->inherits("QSpinBox") && !text.isEmpty())
            texts.insert(w->objectName(), text);
    }
    return texts;
}

} // namespace

class TestSerialPortDialog : public QObject
{
    Q_OBJECT

private slots:
    // The texts the user reads, by the object names the translations and the other tests
    // find them by; a language change reaches every one of them and the title.
    void textsAndRetranslation()
    {
        const QString colon(QChar(0xff1a));
        const QMap<QString, QString> texts{
            {"label_10", "Recv" + colon}, {"showBackCheckBox", "Echo"}, {"displayHEXCheckBox", "HEX"},
            {"autoCleanRecvEditCheckBox", "Auto Clear"}, {"pauseRecvCheckBox", "Pause"}, {"clearRecvEditBoxBtn", "Clear"},
            {"label_11", "Sent" + colon}, {"sendHEXCheckBox", "Send Data in HEX"},
            {"autoClearSendEditCheckBox", "Auto Clear"}, {"autoAddReturnCheckBox", "Append CR/LF"},
            {"clearSendEditBtn", "Clear"}, {"sendButton", "Send"}, {"label", "Port:"}, {"label_2", "Speed(Baud):"},
            {"label_3", "Data bits:"}, {"label_4", "Parity:"}, {"label_5", "Stop bits:"}, {"label_7", "Timeout:"},
            {"label_6", "QueryMode:"}, {"openCloseButton", "Open/Close Port"}, {"autoSendCheckBox", "Auto"},
            {"label_8", "ms"}, {"autoSendTypeLabel", "Auto send type" + colon}, {"sendFileLabel", "Send File" + colon},
            {"sendFileBrowerBtn", "..."}, {"sendFileBtn", "Send File"}};
        SerialPortDialog dialog;
        DialogControls c(dialog);
        QCOMPARE(textsOf(dialog), texts);
        QVERIFY(dialog.windowTitle().startsWith(QStringLiteral("Serial assistant (by Velkaro, ")));
        QVERIFY(dialog.windowTitle().endsWith(QLatin1Char(')')));

        MarkingTranslator translator;
        QCoreApplication::installTranslator(&translator);
        QCoreApplication::sendPostedEvents(&dialog, QEvent::LanguageChange);
        QCOMPARE(dialog.windowTitle(), QStringLiteral("<Dialog>"));
        const QMap<QString, QString> after = textsOf(dialog);
        QCOMPARE(after.keys(), texts.keys());
        for (auto it = texts.cbegin(); it != texts.cend(); ++it)
            QCOMPARE(after.value(it.key()), QLatin1Char('<') + it.value() + QLatin1Char('>'));
        // The suffix is no text of the form, and the type items keep their first language.
        QCOMPARE(c.get<QSpinBox>("timeoutBox")->suffix(), QStringLiteral(" ms"));
        QCOMPARE(c.combo("autoSendTypeComboBox")->itemText(1), QStringLiteral("File"));
        QCoreApplication::removeTranslator(&translator);
    }

    void initialState()
    {
        SerialPortDialog dialog;
        DialogControls c(dialog);
        // A plain window with the three buttons (Qt adds the title and system menu hints).
        QCOMPARE(dialog.windowType(), Qt::Window);
        QCOMPARE(int(dialog.windowFlags() & 0x0800C000), 0x0800C000);
        QVERIFY(!(dialog.windowFlags() & (Qt::WindowStaysOnTopHint | Qt::WindowContextHelpButtonHint)));
        for (const char *hidden : {"queryModeBox", "label_6", "sendFileProgressBar", "timeoutBox", "label_7"})
            QVERIFY2(c.get<QWidget>(hidden)->isHidden(), hidden);
        QVERIFY(c.recvEdit()->isReadOnly());
        QVERIFY(!c.led()->isOn());
        QVERIFY(!c.timer("pollTimer")->isActive());
        QCOMPARE(c.timer("pollTimer")->interval(), 40);
    }

    // Item texts with the value each hands to the port ("text=value"), the current one in brackets.
    void settingBoxes_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("items");
        QTest::newRow("port") << "portBox" << "[/dev/ttyS0]|/dev/ttyS1|/dev/ttyUSB0|/dev/ttyUSB1";
        QTest::newRow("baud") << "baudRateBox"
                              << "1200=1200|2400=2400|4800=4800|9600=9600|19200=19200|[115200=115200]";
        QTest::newRow("parity") << "parityBox" << "[NONE=0]|ODD=1|EVEN=2";
        QTest::newRow("data bits") << "dataBitsBox" << "5=5|6=6|7=7|[8=8]";
        QTest::newRow("stop bits") << "stopBitsBox" << "[1=0]|2=1";
        QTest::newRow("query mode") << "queryModeBox" << "[Polling=0]|EventDriven=1";
        QTest::newRow("period") << "autoSendComboBox" << "500|[1000]|2000|3000|5000|8000";
        QTest::newRow("type") << "autoSendTypeComboBox" << "[The text to be sent=0]|File=1";
    }
    void settingBoxes()
    {
        QFETCH(QString, name);
        SerialPortDialog dialog;
        const QComboBox *box = DialogControls(dialog).combo(qPrintable(name));
        QStringList items;
        for (int i = 0; i < box->count(); ++i) {
            QString item = box->itemText(i);
            if (box->itemData(i).isValid())
                item += '=' + box->itemData(i).toString();
            items << (i == box->currentIndex() ? '[' + item + ']' : item);
        }
        QTEST(items.join('|'), "items");
        QCOMPARE(box->isEditable(), name == QLatin1String("portBox"));
    }

    void lineSettingsReachTheDevice_data()
    {
        QTest::addColumn<bool>("whileOpen");
        QTest::newRow("chosen while closed") << false;
        QTest::newRow("chosen while open") << true;
    }

    // A pty keeps the speed and the stop bits it is given (it forces 8 data bits and no
    // parity), so those show whether a setting reached the device.
    void lineSettingsReachTheDevice()
    {
        QFETCH(bool, whileOpen);
        START_PTY(pty);
        SerialPortDialog dialog;
        DialogControls c(dialog);
        const auto choose = [&](const char *box, const char *text) {
            c.combo(box)->setCurrentIndex(c.combo(box)->findText(QLatin1String(text)));
        };
        if (whileOpen) {
            c.open(pty.deviceEnd());
            QVERIFY(c.led()->isOn());
            const termios before = termiosOf(pty.deviceEnd());
            QCOMPARE(cfgetospeed(&before), speed_t(B115200));
        }
        choose("baudRateBox", "2400");
        choose("stopBitsBox", "2");
        if (!whileOpen)
            c.open(pty.deviceEnd());
        QVERIFY(c.led()->isOn());

        termios tio = termiosOf(pty.deviceEnd());
        QCOMPARE(cfgetospeed(&tio), speed_t(B2400));
        QCOMPARE(cfgetispeed(&tio), speed_t(B2400));
        QVERIFY(tio.c_cflag & CSTOPB);
        QVERIFY(!(tio.c_cflag & CRTSCTS));
        QVERIFY(!(tio.c_iflag & (IXON | IXOFF)));

        choose("stopBitsBox", "1");
        choose("baudRateBox", "19200");
        tio = termiosOf(pty.deviceEnd());
        QCOMPARE(cfgetospeed(&tio), speed_t(B19200));
        QVERIFY(!(tio.c_cflag & CSTOPB));
    }

    void openAndClose()
    {
        START_PTY(pty);
        MessageLog messages;
        SerialPortDialog dialog;
        DialogControls c(dialog);
        c.open(pty.deviceEnd());
        QVERIFY(c.led()->isOn());
        QVERIFY(c.timer("pollTimer")->isActive());
        QVERIFY(descriptorOf(pty.deviceEnd()) >= 0);

        c.openClose()->click();
        QVERIFY(!c.led()->isOn());
        QVERIFY(!c.timer("pollTimer")->isActive());
        QCOMPARE(descriptorOf(pty.deviceEnd()), -1);

        // Event-driven reading needs no poll.
        c.combo("queryModeBox")->setCurrentIndex(1);
        c.openClose()->click();
        QVERIFY(c.led()->isOn());
        QVERIFY(!c.timer("pollTimer")->isActive());

        // A device that does not exist leaves the lamp dark, without a word.
        c.openClose()->click();
        c.open(QStringLiteral("/dev/ostrakit-no-such-tty"));
        QVERIFY(!c.led()->isOn());
        QVERIFY(!c.timer("pollTimer")->isActive());
        QVERIFY(messages.texts.isEmpty());
    }

    void editingThePortNameCloses()
    {
        START_PTY(pty);
        SerialPortDialog dialog;
        DialogControls c(dialog);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        c.open(pty.deviceEnd());
        QVERIFY(c.led()->isOn());

        c.portBox()->setFocus();
        QTest::keyClick(c.portBox(), Qt::Key_End);
        QVERIFY(c.led()->isOn());
        QTest::keyClick(c.portBox(), Qt::Key_X);
        QVERIFY(!c.led()->isOn());
        QCOMPARE(descriptorOf(pty.deviceEnd()), -1);
        QVERIFY(c.timer("pollTimer")->isActive());

        // The next open takes the name as it now stands.
        QTest::keyClick(c.portBox(), Qt::Key_Backspace);
        c.openClose()->click();
        QVERIFY(c.led()->isOn());
    }

    // A USB serial adapter pulled out while open, in the middle of a file transfer: the
    // port closes and the lamp goes dark.
    void vanishingDeviceClosesThePort()
    {
        START_PTY(pty);
        QTemporaryFile file;
        QVERIFY(file.open());
        file.write(QByteArray(1024 * 1024, 'x'));
        file.flush();

        MessageLog messages;
        SerialPortDialog dialog;
        DialogControls c(dialog);
        c.open(pty.deviceEnd());
        QVERIFY(c.led()->isOn());
        c.combo("autoSendTypeComboBox")->setCurrentIndex(1);
        c.sendFileEdit()->setText(file.fileName());
        pty.setReading(false);
        c.sendFileBtn()->click();
        QVERIFY(c.progress()->isVisibleTo(&dialog));

        pty.stop();
        QTRY_VERIFY_WITH_TIMEOUT(!c.led()->isOn(), 10000);
        QVERIFY(!c.timer("pollTimer")->isActive());
        QVERIFY(!c.progress()->isVisibleTo(&dialog));
        QCOMPARE(c.sendFileBtn()->text(), QStringLiteral("Send File"));
        QVERIFY(c.sendButton()->isEnabled());

        // Nothing is left half open: the button opens again, or fails quietly.
        c.openClose()->click();
        QVERIFY(!c.led()->isOn());
        QVERIFY(messages.texts.isEmpty());
    }

    void closedPortAsksToOpen()
    {
        MessageLog messages;
        SerialPortDialog dialog;
        DialogControls c(dialog);
        c.sendEdit()->setPlainText(QStringLiteral("hello"));
        c.sendFileEdit()->setText(QStringLiteral("/etc/hostname"));
        c.sendButton()->click();
        c.sendFileBtn()->click();
        QCOMPARE(messages.texts, QStringList(2, QStringLiteral("Please open the serial port.")));
        QCOMPARE(messages.titles, QStringList(2, QStringLiteral("Message")));
    }
};

QTEST_MAIN(TestSerialPortDialog)
#include "tst_serialportdialog.moc"
