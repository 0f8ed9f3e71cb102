#include "ptypair.h"
#include "serialtestsupport.h"

#include <QtTest>

// Runs with "--debug" among the program's arguments.
class TestSerialDebug : public QObject
{
    Q_OBJECT

private slots:
    void eventDrivenShowsCountsAndLeavesDataUnread();
    void pollingIsUnaffected();
};

void TestSerialDebug::eventDrivenShowsCountsAndLeavesDataUnread()
{
    PtyPair pty;
    QString why;
    if (!pty.start(&why))
        QSKIP(qPrintable(why));
    SerialPortDialog dialog;
    DialogControls c(dialog);
    c.combo("queryModeBox")->setCurrentIndex(1);
    c.open(pty.deviceEnd());
    QVERIFY(c.led()->isOn());

    QVERIFY(pty.send("abc"));
    QTRY_COMPARE_WITH_TIMEOUT(c.recvEdit()->toPlainText(), QStringLiteral("3"), 10000);
    QVERIFY(pty.send("de"));
    // The count grows because nothing is read.
    QTRY_COMPARE_WITH_TIMEOUT(c.recvEdit()->toPlainText(), QStringLiteral("3\n5"), 10000);
}

void TestSerialDebug::pollingIsUnaffected()
{
    PtyPair pty;
    QString why;
    if (!pty.start(&why))
        QSKIP(qPrintable(why));
    SerialPortDialog dialog;
    DialogControls c(dialog);
    c.open(pty.deviceEnd());
    QVERIFY(pty.send("abc"));
    QTRY_COMPARE_WITH_TIMEOUT(c.recvEdit()->toPlainText(), QStringLiteral("abc"), 10000);
}

int main(int argc, char *argv[])
{
    std::vector<char *> args(argv, argv + argc);
    char debug[] = "--debug";
    args.push_back(debug);
    int appArgc = int(args.size());
    QApplication app(appArgc, args.data());
    TestSerialDebug test;
    // QtTest gets the arguments without the switch it would not know.
    return QTest::qExec(&test, argc, argv);
}

#include "tst_serialdebug.moc"
