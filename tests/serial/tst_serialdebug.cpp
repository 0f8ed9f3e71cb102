#include "serialtestsupport.h"

#include <QtTest>

// Runs with "--debug" among the program's arguments: event-driven reading then only counts
// what waits unread, and a paused box shows no count.
class TestSerialDebug : public QObject
{
    Q_OBJECT
private slots:
    void eventDrivenShowsCounts()
    {
        OpenDialog d;
        if (!d.skip.isEmpty())
            QSKIP(qPrintable(d.skip));
        d.c.button("openCloseButton")->click();
        d.c.combo("queryModeBox")->setCurrentIndex(1);
        d.c.button("openCloseButton")->click();
        QVERIFY(d.pty.send("abc"));
        QTRY_COMPARE_WITH_TIMEOUT(d.c.edit("recvEdit")->toPlainText(), QStringLiteral("3"), 10000);
        d.c.box("pauseRecvCheckBox")->setChecked(true);
        QVERIFY(d.pty.send("de"));
        QTest::qWait(300);
        d.c.box("pauseRecvCheckBox")->setChecked(false);
        QVERIFY(d.pty.send("f"));
        QTRY_COMPARE_WITH_TIMEOUT(d.c.edit("recvEdit")->toPlainText(), QStringLiteral("3\n6"), 10000);
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
    return QTest::qExec(&test, argc, argv); // without the switch QtTest would not know
}

#include "tst_serialdebug.moc"
