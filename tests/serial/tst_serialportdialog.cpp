#include "ptypair.h"
#include "serialtestsupport.h"

#include <QBoxLayout>
#include <QFormLayout>
#include <QLabel>
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
    // The object names are how the other serial tests and the translations find the
    // controls; the texts are what the user reads.
    void controls()
    {
        const QString colon(QChar(0xff1a));
        const struct { const char *name, *cls; QString text; } rows[] = {
            {"label_10", "QLabel", "Recv" + colon}, {"showBackCheckBox", "QCheckBox", "Echo"},
            {"displayHEXCheckBox", "QCheckBox", "HEX"}, {"autoCleanRecvEditCheckBox", "QCheckBox", "Auto Clear"},
            {"pauseRecvCheckBox", "QCheckBox", "Pause"}, {"clearRecvEditBoxBtn", "QPushButton", "Clear"},
            {"recvEdit", "QPlainTextEdit", {}}, {"label_11", "QLabel", "Sent" + colon},
            {"sendHEXCheckBox", "QCheckBox", "Send Data in HEX"}, {"autoClearSendEditCheckBox", "QCheckBox", "Auto Clear"},
            {"autoAddReturnCheckBox", "QCheckBox", "Append CR/LF"}, {"clearSendEditBtn", "QPushButton", "Clear"},
            {"sendEdit", "QPlainTextEdit", {}}, {"sendButton", "QPushButton", "Send"},
            {"label", "QLabel", "Port:"}, {"portBox", "QComboBox", {}},
            {"label_2", "QLabel", "Speed(Baud):"}, {"baudRateBox", "QComboBox", {}},
            {"label_3", "QLabel", "Data bits:"}, {"dataBitsBox", "QComboBox", {}},
            {"label_4", "QLabel", "Parity:"}, {"parityBox", "QComboBox", {}},
            {"label_5", "QLabel", "Stop bits:"}, {"stopBitsBox", "QComboBox", {}},
            {"label_7", "QLabel", "Timeout:"}, {"timeoutBox", "QSpinBox", {}},
            {"label_6", "QLabel", "QueryMode:"}, {"queryModeBox", "QComboBox", {}},
            {"led", "HLed", {}}, {"openCloseButton", "QPushButton", "Open/Close Port"},
            {"autoSendCheckBox", "QCheckBox", "Auto"}, {"autoSendComboBox", "QComboBox", {}},
            {"label_8", "QLabel", "ms"}, {"autoSendTypeLabel", "QLabel", "Auto send type" + colon},
            {"autoSendTypeComboBox", "QComboBox", {}}, {"sendFileLabel", "QLabel", "Send File" + colon},
            {"sendFileProgressBar", "QProgressBar", {}}, {"sendFileEdit", "QLineEdit", {}},
            {"sendFileBrowerBtn", "QPushButton", "..."}, {"sendFileBtn", "QPushButton", "Send File"},
        };
        SerialPortDialog dialog;
        for (const auto &row : rows) {
            const QWidget *w = dialog.findChild<QWidget *>(QLatin1String(row.name));
            QVERIFY2(w, row.name);
            QCOMPARE(w->metaObject()->className(), row.cls);
            if (w->metaObject()->indexOfProperty("text") >= 0 && !w->inherits("QLineEdit") && !w->inherits("QSpinBox"))
                QCOMPARE(w->property("text").toString(), row.text);
        }
    }

    void layout()
    {

        SerialPortDialog dialog;
        QCOMPARE(dialog.size(), QSize(836, 501));
        const auto layout = [&](const char *name) {
            QLayout *l = dialog.findChild<QLayout *>(QLatin1String(name));
            if (!l)
                qFatal("no layout %s", name);
            return l;
        };
        const auto names = [](QLayout *l) {
            QStringList list;
            for (int i = 0; i < l->count(); ++i) {
                QLayoutItem *item = l->itemAt(i);
                list << (item->widget() ? item->widget()->objectName()
                         : item->layout() ? item->layout()->objectName() : QStringLiteral("spacer"));
            }
            return list;
        };

        QCOMPARE(dialog.layout(), layout("horizontalLayout_2"));
        const QPair<const char *, QStringList> boxes[] = {
            {"horizontalLayout_2", {"verticalLayout", "verticalLayout_2"}},
            {"verticalLayout", {"horizontalLayout_5", "recvEdit", "horizontalLayout_4", "sendEdit", "sendButton"}},
            {"verticalLayout_2", {"formLayout", "horizontalLayout", "spacer", "horizontalLayout_7", "horizontalLayout_8",
                                  "spacer", "horizontalLayout_6", "horizontalLayout_3", "sendFileBtn"}},
            {"horizontalLayout_5", {"label_10", "showBackCheckBox", "displayHEXCheckBox", "autoCleanRecvEditCheckBox",
                                    "pauseRecvCheckBox", "clearRecvEditBoxBtn"}},
            {"horizontalLayout_4", {"label_11", "sendHEXCheckBox", "autoClearSendEditCheckBox", "autoAddReturnCheckBox",
                                    "clearSendEditBtn"}},
            {"horizontalLayout", {"led", "openCloseButton"}},
            {"horizontalLayout_7", {"autoSendCheckBox", "autoSendComboBox", "label_8"}},
            {"horizontalLayout_8", {"autoSendTypeLabel", "autoSendTypeComboBox"}},
            {"horizontalLayout_6", {"sendFileLabel", "sendFileProgressBar"}},
            {"horizontalLayout_3", {"sendFileEdit", "sendFileBrowerBtn"}},
        };
        for (const auto &[name, children] : boxes) {
            QCOMPARE(names(layout(name)), children);
            QVERIFY2(layout(name)->spacing() == 6, name);
        }
        auto *left = qobject_cast<QBoxLayout *>(layout("verticalLayout"));
        for (int i = 0; i < left->count(); ++i)
            QCOMPARE(left->stretch(i), i == 3 ? 3 : 0);

        auto *form = qobject_cast<QFormLayout *>(layout("formLayout"));
        QVERIFY(form);
        QCOMPARE(form->spacing(), 6);
        const QStringList rows[] = {{"label", "portBox"},     {"label_2", "baudRateBox"}, {"label_3", "dataBitsBox"},
                                    {"label_4", "parityBox"}, {"label_5", "stopBitsBox"}, {"label_7", "timeoutBox"},
                                    {"label_6", "queryModeBox"}};
        QCOMPARE(form->rowCount(), 7);
        for (int r = 0; r < 7; ++r) {
            QCOMPARE(form->itemAt(r, QFormLayout::LabelRole)->widget()->objectName(), rows[r].at(0));
            QCOMPARE(form->itemAt(r, QFormLayout::FieldRole)->widget()->objectName(), rows[r].at(1));
        }

        // Spacers: 20 x 40 growing, then 20 x 20 fixed.
        QSpacerItem *grow = layout("verticalLayout_2")->itemAt(2)->spacerItem();
        QSpacerItem *fixed = layout("verticalLayout_2")->itemAt(5)->spacerItem();
        QVERIFY(grow && fixed);
        QCOMPARE(grow->sizeHint(), QSize(20, 40));
        QCOMPARE(grow->sizePolicy().verticalPolicy(), QSizePolicy::Expanding);
        QCOMPARE(fixed->sizeHint(), QSize(20, 20));
        QCOMPARE(fixed->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);

        using Metric = int (QWidget::*)() const;
        const struct { const char *name; Metric metric; int value; } sizes[] = {
            {"clearRecvEditBoxBtn", &QWidget::maximumWidth, 75}, {"clearSendEditBtn", &QWidget::maximumWidth, 75},
            {"sendEdit", &QWidget::maximumHeight, 80},           {"sendButton", &QWidget::minimumHeight, 40},
            {"sendFileBtn", &QWidget::minimumHeight, 40},        {"led", &QWidget::minimumWidth, 20},
            {"led", &QWidget::minimumHeight, 20},                {"led", &QWidget::maximumWidth, 25},
            {"led", &QWidget::maximumHeight, 25},                {"autoSendCheckBox", &QWidget::maximumWidth, 70},
            {"sendFileProgressBar", &QWidget::minimumWidth, 180}, {"sendFileProgressBar", &QWidget::maximumWidth, 180},
            {"sendFileEdit", &QWidget::maximumWidth, 200},       {"sendFileBrowerBtn", &QWidget::maximumWidth, 40},
        };
        const auto widget = [&](const char *name) { return dialog.findChild<QWidget *>(QLatin1String(name)); };
        for (const auto &size : sizes)
            QVERIFY2((widget(size.name)->*size.metric)() == size.value, size.name);
        QCOMPARE(widget("label_10")->font().weight(), QFont::Bold);
        QCOMPARE(widget("label_11")->font().weight(), QFont::Bold);
        QCOMPARE(widget("autoSendTypeLabel")->font().weight(), QFont::Normal);
    }

    void initialState()
    {
        SerialPortDialog dialog;
        DialogControls c(dialog);
        // A plain window with the three buttons (Qt adds the title and system menu hints).
        QCOMPARE(dialog.windowType(), Qt::Window);
        QCOMPARE(int(dialog.windowFlags() & 0x0800C000), 0x0800C000);
        QVERIFY(!(dialog.windowFlags() & (Qt::WindowStaysOnTopHint | Qt::WindowContextHelpButtonHint)));
        QVERIFY(dialog.windowTitle().startsWith(QStringLiteral("Serial assistant (by Velkaro, ")));
        QVERIFY(dialog.windowTitle().endsWith(QLatin1Char(')')));

        for (const char *hidden : {"queryModeBox", "label_6", "sendFileProgressBar", "timeoutBox", "label_7"})
            QVERIFY2(dialog.findChild<QWidget *>(QLatin1String(hidden))->isHidden(), hidden);
        QVERIFY(c.recvEdit()->isReadOnly());
        QCOMPARE(c.recvEdit()->maximumBlockCount(), 800);
        QVERIFY(!c.led()->isOn());
        QVERIFY(!c.timer("pollTimer")->isActive());
        QCOMPARE(c.timer("pollTimer")->interval(), 40);
        for (const auto &[timer, interval] : {std::pair("sendFileTimer", 0), std::pair("autoSendTimer", 1000)}) {
            QCOMPARE(c.timer(timer)->interval(), interval);
            QVERIFY(!c.timer(timer)->isSingleShot());
        }

        auto *timeout = c.get<QSpinBox>("timeoutBox");
        QCOMPARE(timeout->minimum(), -1);
        QCOMPARE(timeout->maximum(), 10000);
        QCOMPARE(timeout->singleStep(), 10);
        QCOMPARE(timeout->value(), 10);
        QCOMPARE(timeout->suffix(), QStringLiteral(" ms"));
    }

    // Item texts, item data (an invalid entry: no data), the current text.
    void settingBoxes_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QStringList>("texts");
        QTest::addColumn<QVariantList>("data");
        QTest::addColumn<QString>("current");
        const QVariant none;
        QTest::newRow("port") << "portBox" << QStringList{"/dev/ttyS0", "/dev/ttyS1", "/dev/ttyUSB0", "/dev/ttyUSB1"}
                              << QVariantList(4, none) << "/dev/ttyS0";
        QTest::newRow("baud") << "baudRateBox" << QStringList{"1200", "2400", "4800", "9600", "19200", "115200"}
                              << QVariantList{1200, 2400, 4800, 9600, 19200, 115200} << "115200";
        QTest::newRow("parity") << "parityBox" << QStringList{"NONE", "ODD", "EVEN"} << QVariantList{0, 1, 2} << "NONE";
        QTest::newRow("data bits") << "dataBitsBox" << QStringList{"5", "6", "7", "8"} << QVariantList{5, 6, 7, 8} << "8";
        QTest::newRow("stop bits") << "stopBitsBox" << QStringList{"1", "2"} << QVariantList{0, 1} << "1";
        QTest::newRow("query mode") << "queryModeBox" << QStringList{"Polling", "EventDriven"} << QVariantList{0, 1}
                                    << "Polling";
        QTest::newRow("period") << "autoSendComboBox" << QStringList{"500", "1000", "2000", "3000", "5000", "8000"}
                                << QVariantList(6, none) << "1000";
        QTest::newRow("type") << "autoSendTypeComboBox" << QStringList{"The text to be sent", "File"}
                              << QVariantList{0, 1} << "The text to be sent";
    }

    void settingBoxes()
    {
        QFETCH(QString, name);
        QFETCH(QStringList, texts);
        QFETCH(QVariantList, data);
        SerialPortDialog dialog;
        auto *box = dialog.findChild<QComboBox *>(name);
        QVERIFY(box);
        QCOMPARE(box->count(), texts.size());
        for (int i = 0; i < box->count(); ++i) {
            QCOMPARE(box->itemText(i), texts.at(i));
            QCOMPARE(box->itemData(i).isValid(), data.at(i).isValid());
            if (data.at(i).isValid())
                QCOMPARE(box->itemData(i).toInt(), data.at(i).toInt());
        }
        QTEST(box->currentText(), "current");
        QCOMPARE(box->isEditable(), name == QLatin1String("portBox"));
    }

    void retranslation()
    {
        SerialPortDialog dialog;
        DialogControls c(dialog);
        const QMap<QString, QString> before = textsOf(dialog);
        QCOMPARE(before.size(), 26);
        MarkingTranslator translator;
        QCoreApplication::installTranslator(&translator);
        QCoreApplication::sendPostedEvents(&dialog, QEvent::LanguageChange);

        QCOMPARE(dialog.windowTitle(), QStringLiteral("<Dialog>"));
        const QMap<QString, QString> after = textsOf(dialog);
        QCOMPARE(after.keys(), before.keys());
        for (auto it = before.cbegin(); it != before.cend(); ++it)
            QCOMPARE(after.value(it.key()), QLatin1Char('<') + it.value() + QLatin1Char('>'));
        // The suffix is no text of the table, and the type items keep their first language.
        QCOMPARE(c.get<QSpinBox>("timeoutBox")->suffix(), QStringLiteral(" ms"));
        QCOMPARE(c.combo("autoSendTypeComboBox")->itemText(1), QStringLiteral("File"));
        QCoreApplication::removeTranslator(&translator);
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
        QVERIFY(messages.texts.isEmpty());
    }

    void nonexistentDeviceStaysDarkSilently()
    {
        MessageLog messages;
        SerialPortDialog dialog;
        DialogControls c(dialog);
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

    void closedPortAsksToOpen_data()
    {
        QTest::addColumn<QString>("button");
        QTest::newRow("send") << "sendButton";
        QTest::newRow("send file") << "sendFileBtn";
    }

    void closedPortAsksToOpen()
    {
        QFETCH(QString, button);
        MessageLog messages;
        SerialPortDialog dialog;
        DialogControls c(dialog);
        c.sendEdit()->setPlainText(QStringLiteral("hello"));
        dialog.findChild<QPushButton *>(button)->click();
        QCOMPARE(messages.texts, QStringList({"Please open the serial port."}));
        QCOMPARE(messages.titles, QStringList({"Message"}));
    }
};

QTEST_MAIN(TestSerialPortDialog)
#include "tst_serialportdialog.moc"
