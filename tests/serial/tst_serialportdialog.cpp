#include "ptypair.h"
#include "serialtestsupport.h"

#include <QBoxLayout>
#include <QFormLayout>
#include <QLabel>
#include <QSpinBox>
#include <QTranslator>
#include <QtTest>

#include <QDir>
#include <QFileInfo>
#include <termios.h>

namespace {

// Every text of the form marked, so that a retranslation shows which ones it reached.
class MarkingTranslator : public QTranslator
{
public:
    QString translate(const char *context, const char *sourceText, const char *, int) const override
    {
        if (qstrcmp(context, "SerialPortDialogBase") != 0)
            return QString();
        return QLatin1Char('<') + QString::fromUtf8(sourceText) + QLatin1Char('>');
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

} // namespace

class TestSerialPortDialog : public QObject
{
    Q_OBJECT

private slots:
    void controls_data();
    void controls();
    void layout();
    void initialState();
    void settingBoxes_data();
    void settingBoxes();
    void retranslation();

    void lineSettingsReachTheDevice_data();
    void lineSettingsReachTheDevice();
    void openAndClose();
    void nonexistentDeviceStaysDarkSilently();
    void editingThePortNameCloses();
    void vanishingDeviceClosesThePort();
    void closedPortAsksToOpen_data();
    void closedPortAsksToOpen();

private:
    bool startPty(PtyPair &pty);
};

bool TestSerialPortDialog::startPty(PtyPair &pty)
{
    QString why;
    if (pty.start(&why))
        return true;
    QTest::qSkip(qPrintable(why), __FILE__, __LINE__);
    return false;
}

void TestSerialPortDialog::controls_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("className");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, const char *cls, const QString &text) {
        QTest::newRow(name) << QString::fromLatin1(name) << QString::fromLatin1(cls) << text;
    };
    const QChar colon(0xff1a);
    row("label_10", "QLabel", QStringLiteral("Recv") + colon);
    row("showBackCheckBox", "QCheckBox", "Echo");
    row("displayHEXCheckBox", "QCheckBox", "HEX");
    row("autoCleanRecvEditCheckBox", "QCheckBox", "Auto Clear");
    row("pauseRecvCheckBox", "QCheckBox", "Pause");
    row("clearRecvEditBoxBtn", "QPushButton", "Clear");
    row("recvEdit", "QPlainTextEdit", QString());
    row("label_11", "QLabel", QStringLiteral("Sent") + colon);
    row("sendHEXCheckBox", "QCheckBox", "Send Data in HEX");
    row("autoClearSendEditCheckBox", "QCheckBox", "Auto Clear");
    row("autoAddReturnCheckBox", "QCheckBox", "Append CR/LF");
    row("clearSendEditBtn", "QPushButton", "Clear");
    row("sendEdit", "QPlainTextEdit", QString());
    row("sendButton", "QPushButton", "Send");
    row("label", "QLabel", "Port:");
    row("portBox", "QComboBox", QString());
    row("label_2", "QLabel", "Speed(Baud):");
    row("baudRateBox", "QComboBox", QString());
    row("label_3", "QLabel", "Data bits:");
    row("dataBitsBox", "QComboBox", QString());
    row("label_4", "QLabel", "Parity:");
    row("parityBox", "QComboBox", QString());
    row("label_5", "QLabel", "Stop bits:");
    row("stopBitsBox", "QComboBox", QString());
    row("label_7", "QLabel", "Timeout:");
    row("timeoutBox", "QSpinBox", QString());
    row("label_6", "QLabel", "QueryMode:");
    row("queryModeBox", "QComboBox", QString());
    row("led", "HLed", QString());
    row("openCloseButton", "QPushButton", "Open/Close Port");
    row("autoSendCheckBox", "QCheckBox", "Auto");
    row("autoSendComboBox", "QComboBox", QString());
    row("label_8", "QLabel", "ms");
    row("autoSendTypeLabel", "QLabel", QStringLiteral("Auto send type") + colon);
    row("autoSendTypeComboBox", "QComboBox", QString());
    row("sendFileLabel", "QLabel", QStringLiteral("Send File") + colon);
    row("sendFileProgressBar", "QProgressBar", QString());
    row("sendFileEdit", "QLineEdit", QString());
    row("sendFileBrowerBtn", "QPushButton", "...");
    row("sendFileBtn", "QPushButton", "Send File");
}

void TestSerialPortDialog::controls()
{
    QFETCH(QString, name);
    QFETCH(QString, className);
    QFETCH(QString, text);
    SerialPortDialog dialog;
    const QWidget *w = dialog.findChild<QWidget *>(name);
    QVERIFY(w);
    QCOMPARE(QString::fromLatin1(w->metaObject()->className()), className);
    if (w->metaObject()->indexOfProperty("text") >= 0 && !w->inherits("QLineEdit") && !w->inherits("QSpinBox"))
        QCOMPARE(w->property("text").toString(), text);
}

void TestSerialPortDialog::layout()
{
    SerialPortDialog dialog;
    QCOMPARE(dialog.size(), QSize(836, 501));
    const auto layout = [&](const char *name) {
        QLayout *l = dialog.findChild<QLayout *>(QLatin1String(name));
        if (!l)
            qFatal("no layout %s", name);
        return l;
    };
    const auto itemName = [](QLayoutItem *item) {
        if (item->widget())
            return item->widget()->objectName();
        if (item->layout())
            return item->layout()->objectName();
        return QStringLiteral("spacer");
    };
    const auto names = [&](QLayout *l) {
        QStringList list;
        for (int i = 0; i < l->count(); ++i)
            list << itemName(l->itemAt(i));
        return list;
    };

    QCOMPARE(dialog.layout(), layout("horizontalLayout_2"));
    QCOMPARE(names(layout("horizontalLayout_2")), QStringList({"verticalLayout", "verticalLayout_2"}));
    auto *left = qobject_cast<QBoxLayout *>(layout("verticalLayout"));
    QCOMPARE(names(left), QStringList({"horizontalLayout_5", "recvEdit", "horizontalLayout_4", "sendEdit", "sendButton"}));
    for (int i = 0; i < left->count(); ++i)
        QCOMPARE(left->stretch(i), i == 3 ? 3 : 0);
    QCOMPARE(names(layout("verticalLayout_2")),
             QStringList({"formLayout", "horizontalLayout", "spacer", "horizontalLayout_7", "horizontalLayout_8",
                          "spacer", "horizontalLayout_6", "horizontalLayout_3", "sendFileBtn"}));
    QCOMPARE(names(layout("horizontalLayout_5")),
             QStringList({"label_10", "showBackCheckBox", "displayHEXCheckBox", "autoCleanRecvEditCheckBox",
                          "pauseRecvCheckBox", "clearRecvEditBoxBtn"}));
    QCOMPARE(names(layout("horizontalLayout_4")),
             QStringList({"label_11", "sendHEXCheckBox", "autoClearSendEditCheckBox", "autoAddReturnCheckBox",
                          "clearSendEditBtn"}));
    QCOMPARE(names(layout("horizontalLayout")), QStringList({"led", "openCloseButton"}));
    QCOMPARE(names(layout("horizontalLayout_7")), QStringList({"autoSendCheckBox", "autoSendComboBox", "label_8"}));
    QCOMPARE(names(layout("horizontalLayout_8")), QStringList({"autoSendTypeLabel", "autoSendTypeComboBox"}));
    QCOMPARE(names(layout("horizontalLayout_6")), QStringList({"sendFileLabel", "sendFileProgressBar"}));
    QCOMPARE(names(layout("horizontalLayout_3")), QStringList({"sendFileEdit", "sendFileBrowerBtn"}));

    auto *form = qobject_cast<QFormLayout *>(layout("formLayout"));
    QVERIFY(form);
    const QStringList rows[] = {{"label", "portBox"},       {"label_2", "baudRateBox"}, {"label_3", "dataBitsBox"},
                                {"label_4", "parityBox"},   {"label_5", "stopBitsBox"}, {"label_7", "timeoutBox"},
                                {"label_6", "queryModeBox"}};
    QCOMPARE(form->rowCount(), 7);
    for (int r = 0; r < 7; ++r) {
        QCOMPARE(form->itemAt(r, QFormLayout::LabelRole)->widget()->objectName(), rows[r].at(0));
        QCOMPARE(form->itemAt(r, QFormLayout::FieldRole)->widget()->objectName(), rows[r].at(1));
    }

    for (const char *name : {"horizontalLayout_2", "verticalLayout", "verticalLayout_2", "formLayout", "horizontalLayout",
                             "horizontalLayout_3", "horizontalLayout_4", "horizontalLayout_5", "horizontalLayout_6",
                             "horizontalLayout_7", "horizontalLayout_8"})
        QVERIFY2(layout(name)->spacing() == 6, name);

    // Spacers: 20 x 40 growing, then 20 x 20 fixed.
    QLayout *right = layout("verticalLayout_2");
    QSpacerItem *grow = right->itemAt(2)->spacerItem();
    QSpacerItem *fixed = right->itemAt(5)->spacerItem();
    QVERIFY(grow && fixed);
    QCOMPARE(grow->sizeHint(), QSize(20, 40));
    QCOMPARE(grow->sizePolicy().verticalPolicy(), QSizePolicy::Expanding);
    QCOMPARE(fixed->sizeHint(), QSize(20, 20));
    QCOMPARE(fixed->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);

    // Sizes the form gives its controls.
    const auto widget = [&](const char *name) { return dialog.findChild<QWidget *>(QLatin1String(name)); };
    QCOMPARE(widget("clearRecvEditBoxBtn")->maximumWidth(), 75);
    QCOMPARE(widget("clearSendEditBtn")->maximumWidth(), 75);
    QCOMPARE(widget("sendEdit")->maximumHeight(), 80);
    QCOMPARE(widget("sendButton")->minimumHeight(), 40);
    QCOMPARE(widget("sendFileBtn")->minimumHeight(), 40);
    QCOMPARE(widget("led")->minimumSize(), QSize(20, 20));
    QCOMPARE(widget("led")->maximumSize(), QSize(25, 25));
    QCOMPARE(widget("autoSendCheckBox")->maximumWidth(), 70);
    QCOMPARE(widget("sendFileProgressBar")->minimumWidth(), 180);
    QCOMPARE(widget("sendFileProgressBar")->maximumWidth(), 180);
    QCOMPARE(widget("sendFileEdit")->maximumWidth(), 200);
    QCOMPARE(widget("sendFileBrowerBtn")->maximumWidth(), 40);
    QCOMPARE(widget("label_10")->font().weight(), QFont::Bold);
    QCOMPARE(widget("label_11")->font().weight(), QFont::Bold);
    QCOMPARE(widget("autoSendTypeLabel")->font().weight(), QFont::Normal);
}

void TestSerialPortDialog::initialState()
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
    QCOMPARE(c.timer("sendFileTimer")->interval(), 0);
    QVERIFY(!c.timer("sendFileTimer")->isSingleShot());
    QCOMPARE(c.timer("autoSendTimer")->interval(), 1000);
    QVERIFY(!c.timer("autoSendTimer")->isSingleShot());

    auto *timeout = c.get<QSpinBox>("timeoutBox");
    QCOMPARE(timeout->minimum(), -1);
    QCOMPARE(timeout->maximum(), 10000);
    QCOMPARE(timeout->singleStep(), 10);
    QCOMPARE(timeout->value(), 10);
    QCOMPARE(timeout->suffix(), QStringLiteral(" ms"));
}

void TestSerialPortDialog::settingBoxes_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<QVariantList>("data");
    QTest::addColumn<QString>("current");
    QTest::newRow("port") << "portBox" << QStringList({"/dev/ttyS0", "/dev/ttyS1", "/dev/ttyUSB0", "/dev/ttyUSB1"})
                          << QVariantList({{}, {}, {}, {}}) << "/dev/ttyS0";
    QTest::newRow("baud") << "baudRateBox" << QStringList({"1200", "2400", "4800", "9600", "19200", "115200"})
                          << QVariantList({1200, 2400, 4800, 9600, 19200, 115200}) << "115200";
    QTest::newRow("parity") << "parityBox" << QStringList({"NONE", "ODD", "EVEN"}) << QVariantList({0, 1, 2})
                            << "NONE";
    QTest::newRow("data bits") << "dataBitsBox" << QStringList({"5", "6", "7", "8"}) << QVariantList({5, 6, 7, 8})
                               << "8";
    QTest::newRow("stop bits") << "stopBitsBox" << QStringList({"1", "2"}) << QVariantList({0, 1}) << "1";
    QTest::newRow("query mode") << "queryModeBox" << QStringList({"Polling", "EventDriven"}) << QVariantList({0, 1})
                                << "Polling";
    QTest::newRow("period") << "autoSendComboBox" << QStringList({"500", "1000", "2000", "3000", "5000", "8000"})
                            << QVariantList({{}, {}, {}, {}, {}, {}}) << "1000";
    QTest::newRow("type") << "autoSendTypeComboBox" << QStringList({"The text to be sent", "File"})
                          << QVariantList({0, 1}) << "The text to be sent";
}

void TestSerialPortDialog::settingBoxes()
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

void TestSerialPortDialog::retranslation()
{
    SerialPortDialog dialog;
    DialogControls c(dialog);
    MarkingTranslator translator;
    QCoreApplication::installTranslator(&translator);
    QCoreApplication::sendPostedEvents(&dialog, QEvent::LanguageChange);

    QCOMPARE(dialog.windowTitle(), QStringLiteral("<Dialog>"));
    QCOMPARE(c.get<QLabel>("label_10")->text(), QStringLiteral("<Recv") + QChar(0xff1a) + QLatin1Char('>'));
    QCOMPARE(c.sendFileBtn()->text(), QStringLiteral("<Send File>"));
    QCOMPARE(c.get<QPushButton>("sendFileBrowerBtn")->text(), QStringLiteral("<...>"));
    QCOMPARE(c.get<QLabel>("label_6")->text(), QStringLiteral("<QueryMode:>"));
    int marked = 0;
    for (QWidget *w : dialog.findChildren<QWidget *>()) {
        const QString text = w->property("text").toString();
        if (w->inherits("QLineEdit") || w->inherits("QComboBox") || w->inherits("QSpinBox") || text.isEmpty())
            continue;
        QVERIFY2(text.startsWith(QLatin1Char('<')), qPrintable(w->objectName()));
        ++marked;
    }
    QCOMPARE(marked, 26);
    // The suffix is no text of the table, and the type items keep their first language.
    QCOMPARE(c.get<QSpinBox>("timeoutBox")->suffix(), QStringLiteral(" ms"));
    QCOMPARE(c.combo("autoSendTypeComboBox")->itemText(1), QStringLiteral("File"));
    QCoreApplication::removeTranslator(&translator);
}

void TestSerialPortDialog::lineSettingsReachTheDevice_data()
{
    QTest::addColumn<bool>("whileOpen");
    QTest::newRow("chosen while closed") << false;
    QTest::newRow("chosen while open") << true;
}

// A pty keeps the speed and the stop bits it is given (it forces 8 data bits and no
// parity), so those show whether a setting reached the device.
void TestSerialPortDialog::lineSettingsReachTheDevice()
{
    QFETCH(bool, whileOpen);
    PtyPair pty;
    if (!startPty(pty))
        return;
    SerialPortDialog dialog;
    DialogControls c(dialog);
    if (whileOpen) {
        c.open(pty.deviceEnd());
        QVERIFY(c.led()->isOn());
        const termios before = termiosOf(pty.deviceEnd());
        QCOMPARE(cfgetospeed(&before), speed_t(B115200));
    }
    c.combo("baudRateBox")->setCurrentIndex(c.combo("baudRateBox")->findText("2400"));
    c.combo("stopBitsBox")->setCurrentIndex(c.combo("stopBitsBox")->findText("2"));
    if (!whileOpen)
        c.open(pty.deviceEnd());
    QVERIFY(c.led()->isOn());

    termios tio = termiosOf(pty.deviceEnd());
    QCOMPARE(cfgetospeed(&tio), speed_t(B2400));
    QCOMPARE(cfgetispeed(&tio), speed_t(B2400));
    QVERIFY(tio.c_cflag & CSTOPB);
    QVERIFY(!(tio.c_cflag & CRTSCTS));
    QVERIFY(!(tio.c_iflag & (IXON | IXOFF)));

    c.combo("stopBitsBox")->setCurrentIndex(c.combo("stopBitsBox")->findText("1"));
    c.combo("baudRateBox")->setCurrentIndex(c.combo("baudRateBox")->findText("19200"));
    tio = termiosOf(pty.deviceEnd());
    QCOMPARE(cfgetospeed(&tio), speed_t(B19200));
    QVERIFY(!(tio.c_cflag & CSTOPB));
}

void TestSerialPortDialog::openAndClose()
{
    PtyPair pty;
    if (!startPty(pty))
        return;
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

void TestSerialPortDialog::nonexistentDeviceStaysDarkSilently()
{
    MessageLog messages;
    SerialPortDialog dialog;
    DialogControls c(dialog);
    c.open(QStringLiteral("/dev/ostrakit-no-such-tty"));
    QVERIFY(!c.led()->isOn());
    QVERIFY(!c.timer("pollTimer")->isActive());
    QVERIFY(messages.texts.isEmpty());
}

void TestSerialPortDialog::editingThePortNameCloses()
{
    PtyPair pty;
    if (!startPty(pty))
        return;
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

// A USB serial adapter pulled out while open: the port closes and the lamp goes dark,
// also in the middle of a file transfer.
void TestSerialPortDialog::vanishingDeviceClosesThePort()
{
    PtyPair pty;
    if (!startPty(pty))
        return;
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

void TestSerialPortDialog::closedPortAsksToOpen_data()
{
    QTest::addColumn<QString>("button");
    QTest::newRow("send") << "sendButton";
    QTest::newRow("send file") << "sendFileBtn";
}

void TestSerialPortDialog::closedPortAsksToOpen()
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

QTEST_MAIN(TestSerialPortDialog)
#include "tst_serialportdialog.moc"
