#include "serialtestsupport.h"

#include <QtTest>

// Runs with "--debug" among the program's arguments.
class TestSerialDebug : public QObject
{
    Q_OBJECT

private slots:
    void eventDrivenShowsCountsAndLeavesDataUnread()
    {
        OpenDialog d;
        if (!d.skip.isEmpty())
            QSKIP(qPrintable(d.skip));
        d.c.openClose()->click();
        d.c.combo("queryModeBox")->setCurrentIndex(1);
        d.c.openClose()->click();
        QVERIFY(d.c.led()->isOn());

        QVERIFY(d.pty.send("abc"));
        QTRY_COMPARE_WITH_TIMEOUT(d.c.recvEdit()->toPlainText(), QStringLiteral("3"), 10000);
        QVERIFY(d.pty.send("de"));
        // The count grows because nothing is read.
        QTRY_COMPARE_WITH_TIMEOUT(d.c.recvEdit()->toPlainText(), QStringLiteral("3\n5"), 10000);

        // Polling is not affected: it reads and shows the data.
        d.c.openClose()->click();
        d.c.combo("queryModeBox")->setCurrentIndex(0);
        d.c.openClose()->click();
        QVERIFY(d.pty.send("fg"));
        QTRY_VERIFY_WITH_TIMEOUT(d.c.recvEdit()->toPlainText().endsWith(QStringLiteral("fg")), 10000);
    }
};

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
