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

class TestSerialPortProblems : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void portTroubles();
};

// Ports that cannot be opened (one of them held by another dialog); what a file send or the
// start of auto send says when there is nothing to send or no file to send from; and a far
// end that goes away in the middle of a file send.
void TestSerialPortProblems::portTroubles()
{
    OpenDialog d;
    if (!d.skip.isEmpty())
        QSKIP(qPrintable(d.skip));
    const auto reason = [](const DialogControls &c) { return c.get<QLabel>("portStateLabel")->text(); };
    QVERIFY(reason(d.c).isEmpty());
    QTemporaryDir dir;
    const QString fifo = dir.filePath(QStringLiteral("fifo"));
    QCOMPARE(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    const QString failures[][2] = {
        {dir.filePath(QStringLiteral("missing")), QStringLiteral("%1 does not exist.")},
        {dir.path(), QStringLiteral("%1 is not a serial device.")}, {fifo, QStringLiteral("%1 is not a serial device.")},
        {d.pty.deviceEnd(), QStringLiteral("No permission to open %1 (or it is in use): join the \"dialout\" group "
                                           "(sudo adduser $USER dialout), then log in again.")}};
    SerialPortDialog second;
    DialogControls c{second};
    for (const auto &failure : failures) {
        c.open(failure[0]);
        QVERIFY(!c.lit());
        QCOMPARE(reason(c), failure[1].arg(failure[0]));
    }
    QVERIFY(d.messages.isEmpty());

    // A manual send with the text type says nothing; only the file type complains.
    const QString missing = dir.filePath(QStringLiteral("missing"));
    const QList<std::tuple<const char *, int, QString, QString>> rows = {
        {"sendFileBtn", 1, "", "Please select the file you want to send."}, {"sendFileBtn", 0, "", ""},
        {"sendFileBtn", 1, missing, "File open failed."}, {"sendFileBtn", 0, missing, ""},
        {"sendFileBtn", 1, fifo, "File open failed."}, {"sendFileBtn", 1, dir.path(), "File open failed."},
        {"autoSendCheckBox", 0, missing, "Please enter the content you want to send."},
        {"autoSendCheckBox", 1, "", "Please select the file you want to automatically send."}};
    for (const auto &[button, type, path, message] : rows) {
        d.messages.clear();
        d.c.combo("autoSendTypeComboBox")->setCurrentIndex(type);
        d.c.fileEdit()->setText(path);
        d.c.get<QAbstractButton>(button)->click();
        QCOMPARE(d.messages, message.isEmpty() ? QStringList() : QStringList(message));
        QVERIFY(!d.c.progress()->isVisibleTo(&d.dialog) && !d.c.box("autoSendCheckBox")->isChecked());
        QVERIFY(!d.c.get<QTimer>("autoSendTimer")->isActive());
    }

    const QString path = dir.filePath(QStringLiteral("big.bin"));
    const qint64 size = 4 << 20;
    QVERIFY(QFile(path).open(QIODevice::WriteOnly) && QFile::resize(path, size));
    // The far end takes a little, then stops reading and finally goes away.
    d.c.combo("autoSendTypeComboBox")->setCurrentIndex(0);
    d.c.fileEdit()->setText(path);
    d.c.button("sendFileBtn")->click();
    QTRY_VERIFY(d.pty.received.size() > 0);
    d.pty.setReading(false);
    QTest::qWait(200);
    d.pty.stop();
    QTRY_VERIFY_WITH_TIMEOUT(!d.c.lit(), 10000);
    QCOMPARE(d.c.button("sendFileBtn")->text(), QStringLiteral("Send File"));
    const QRegularExpression said(QStringLiteral("^The port closed during the file send: (\\d+) of %1 bytes were sent\\.$").arg(size));
    const QRegularExpressionMatch match = said.match(reason(d.c));
    QVERIFY2(match.hasMatch(), qPrintable(reason(d.c)));
    QVERIFY(match.captured(1).toLongLong() >= d.pty.received.size() && match.captured(1).toLongLong() < size);
}

QTEST_MAIN(TestSerialPortProblems)
#include "tst_serialportproblems.moc"
