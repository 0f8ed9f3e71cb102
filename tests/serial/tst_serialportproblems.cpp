// Ports that cannot be opened, files that are not files and a far end that goes away in
// the middle of a file: the Serial assistant says what happened next to its lamp, and
// never hangs.

#include "serialtestsupport.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

namespace {

QString reason(const DialogControls &c)
{
    return c.get<QLabel>("portStateLabel")->text();
}

} // namespace

class TestSerialPortProblems : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void openFailureShownByTheLamp_data();
    void openFailureShownByTheLamp();
    void portInUse();
    void sendFileThatIsNoFile();
    void farEndGoneMidFile();
};

void TestSerialPortProblems::openFailureShownByTheLamp_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("text");
    QTest::newRow("missing") << "missing" << "%1 does not exist.";
    QTest::newRow("folder") << "folder" << "%1 is not a serial device.";
    QTest::newRow("fifo") << "fifo" << "%1 is not a serial device.";
}

void TestSerialPortProblems::openFailureShownByTheLamp()
{
    QFETCH(QString, kind);
    QFETCH(QString, text);
    QTemporaryDir dir;
    const QString path = dir.filePath(kind);
    if (kind == QLatin1String("folder"))
        QVERIFY(QDir(dir.path()).mkdir(kind));
    else if (kind == QLatin1String("fifo"))
        QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);

    MessageLog messages;
    SerialPortDialog dialog;
    DialogControls c{dialog};
    c.open(path);
    QVERIFY(!c.get<HLed>("led")->isOn());
    QCOMPARE(reason(c), text.arg(path));
    QVERIFY(messages.texts.isEmpty());
}

void TestSerialPortProblems::portInUse()
{
    OpenDialog first;
    if (!first.skip.isEmpty())
        QSKIP(qPrintable(first.skip));
    QVERIFY(first.c.get<HLed>("led")->isOn());
    QVERIFY(reason(first.c).isEmpty());

    SerialPortDialog second;
    DialogControls c{second};
    c.open(first.pty.deviceEnd());
    QVERIFY(!c.get<HLed>("led")->isOn());
    QVERIFY2(reason(c).contains(QStringLiteral("\"dialout\" group")), qPrintable(reason(c)));
    QVERIFY(first.messages.texts.isEmpty());
}

void TestSerialPortProblems::sendFileThatIsNoFile()
{
    OpenDialog d;
    if (!d.skip.isEmpty())
        QSKIP(qPrintable(d.skip));
    QTemporaryDir dir;
    const QString fifo = dir.filePath(QStringLiteral("fifo"));
    QCOMPARE(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    d.c.combo("autoSendTypeComboBox")->setCurrentIndex(1);
    for (const QString &path : {fifo, dir.path()}) {
        d.messages.texts.clear();
        d.c.fileEdit()->setText(path);
        d.c.button("sendFileBtn")->click();
        QCOMPARE(d.messages.texts, QStringList{QStringLiteral("File open failed.")});
        QVERIFY(!d.c.progress()->isVisible());
    }
}

void TestSerialPortProblems::farEndGoneMidFile()
{
    OpenDialog d;
    if (!d.skip.isEmpty())
        QSKIP(qPrintable(d.skip));
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("big.bin"));
    QFile file(path);
    const qint64 size = 4 << 20;
    QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(size));
    file.close();

    // The far end takes a little, then stops reading and finally goes away.
    d.c.fileEdit()->setText(path);
    d.c.button("sendFileBtn")->click();
    QTRY_VERIFY(d.pty.received().size() > 0);
    d.pty.setReading(false);
    QTest::qWait(200);
    d.pty.stop();
    QTRY_VERIFY_WITH_TIMEOUT(!d.c.get<HLed>("led")->isOn(), 10000);
    QCOMPARE(d.c.button("sendFileBtn")->text(), QStringLiteral("Send File"));
    const QRegularExpression said(QStringLiteral("^The port closed during the file send: (\\d+) of %1 bytes were sent\\.$").arg(size));
    const QRegularExpressionMatch match = said.match(reason(d.c));
    QVERIFY2(match.hasMatch(), qPrintable(reason(d.c)));
    const qint64 sent = match.captured(1).toLongLong();
    QVERIFY(sent >= d.pty.received().size() && sent < size);
}

QTEST_MAIN(TestSerialPortProblems)
#include "tst_serialportproblems.moc"
