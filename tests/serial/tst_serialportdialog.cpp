// The serial assistant's port: settings reaching the device, opening and closing, and a
// device that vanishes, on a pty pair standing in for a USB serial adapter.

#include "serialtestsupport.h"

#include <QtTest>

#include <termios.h>

namespace {

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

class TestSerialPortDialog : public QObject
{
    Q_OBJECT
    std::unique_ptr<OpenDialog> m;

private slots:
    void init()
    {
        m = std::make_unique<OpenDialog>();
        if (!m->skip.isEmpty())
            QSKIP(qPrintable(m->skip));
        QVERIFY(m->c.lit());
    }
    void cleanup() { m.reset(); }

    // A pty keeps the speed and stop bits it is given (it forces 8 data bits and no parity),
    // so those show whether a setting reached the device, while open and at the next open.
    void lineSettingsReachTheDevice()
    {
        const QString device = m->pty.deviceEnd();
        termios tio = termiosOf(device);
        QCOMPARE(cfgetospeed(&tio), speed_t(B115200));
        m->c.choose("baudRateBox", "2400");
        m->c.choose("stopBitsBox", "2");
        tio = termiosOf(device);
        QCOMPARE(cfgetispeed(&tio), speed_t(B2400));
        QVERIFY(tio.c_cflag & CSTOPB);
        QVERIFY(!(tio.c_cflag & CRTSCTS) && !(tio.c_iflag & (IXON | IXOFF)));

        m->c.button("openCloseButton")->click();
        QVERIFY(!m->c.lit() && !m->c.timer("pollTimer")->isActive());
        QCOMPARE(descriptorOf(device), -1);
        m->c.choose("baudRateBox", "19200");
        m->c.choose("stopBitsBox", "1");
        m->c.combo("queryModeBox")->setCurrentIndex(1); // event-driven reading needs no poll
        m->c.button("openCloseButton")->click();
        tio = termiosOf(device);
        QCOMPARE(cfgetospeed(&tio), speed_t(B19200));
        QVERIFY(!(tio.c_cflag & CSTOPB));
        QVERIFY(m->c.lit() && !m->c.timer("pollTimer")->isActive());

        // A device that does not exist leaves the lamp dark, without a word.
        m->c.button("openCloseButton")->click();
        m->c.open(QStringLiteral("/dev/ostrakit-no-such-tty"));
        QVERIFY(!m->c.lit());
        QVERIFY(m->messages.texts.isEmpty());
        QVERIFY(m->c.edit("recvEdit")->isReadOnly());
    }

    // Typing in the port box closes the port: the name it shows is the one the next open takes.
    void editingThePortNameCloses()
    {
        m->dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&m->dialog));
        QComboBox *port = m->c.combo("portBox");
        port->setFocus();
        QTest::keyClick(port, Qt::Key_End);
        QVERIFY(m->c.lit());
        QTest::keyClick(port, Qt::Key_X);
        QVERIFY(!m->c.lit());
        QCOMPARE(descriptorOf(m->pty.deviceEnd()), -1);
        QTest::keyClick(port, Qt::Key_Backspace);
        m->c.button("openCloseButton")->click();
        QVERIFY(m->c.lit());
    }

    // A USB serial adapter pulled out in the middle of a file transfer: the port closes,
    // the lamp goes dark, the send controls come back; nothing is left half open.
    void vanishingDeviceClosesThePort()
    {
        QTemporaryFile file;
        QVERIFY(file.open() && file.write(QByteArray(1024 * 1024, 'x')) > 0 && file.flush());
        m->c.combo("autoSendTypeComboBox")->setCurrentIndex(1);
        m->c.fileEdit()->setText(file.fileName());
        m->pty.setReading(false);
        m->c.button("sendFileBtn")->click();
        QVERIFY(m->c.progress()->isVisibleTo(&m->dialog));
        m->pty.stop();
        QTRY_VERIFY_WITH_TIMEOUT(!m->c.lit(), 10000);
        QVERIFY(!m->c.timer("pollTimer")->isActive());
        QVERIFY(!m->c.progress()->isVisibleTo(&m->dialog));
        QCOMPARE(m->c.button("sendFileBtn")->text(), QStringLiteral("Send File"));
        QVERIFY(m->c.button("sendButton")->isEnabled());
        m->c.button("openCloseButton")->click();
        QVERIFY(!m->c.lit());

        m->c.edit("sendEdit")->setPlainText(QStringLiteral("hello"));
        m->c.button("sendButton")->click();
        m->c.button("sendFileBtn")->click();
        QCOMPARE(m->messages.texts, QStringList(2, QStringLiteral("Please open the serial port.")));
        QCOMPARE(m->messages.titles, QStringList(2, QStringLiteral("Message")));
    }
};

QTEST_MAIN(TestSerialPortDialog)
#include "tst_serialportdialog.moc"
