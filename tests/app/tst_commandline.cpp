#include "app/commandline.h"

#include <QTest>

class TestCommandLine : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // "arguments|cpu|eMMC|trace" for a run; "arguments|!part of the message" for anything else.
    void parse()
    {
        const QStringList rows = {
            "|0||", "--debug|0||", "--virtual-board 4412|6||", "--virtual-board=210|1||", "--virtual-board 3358 --debug|8||",
            "--virtual-board 4412 --emmc 16g --board-trace /tmp/t.txt|6|16GB|/tmp/t.txt",
            "--virtual-board nonsense --help|!5250, 3358)", "-h|!Usage: ostrakit", "--version|!ostrakit 1.8a build140317",
            "--virtual-board 8086|!unknown processor '8086'", "--virtual-board S5P4412|!unknown processor",
            "--virtual-board|!Missing value after '--virtual-board'", "--virtualboard 4412|!Unknown option 'virtualboard'",
            "4412|!unexpected argument '4412'", "--virtual-board 4412 --emmc lots|!not an eMMC size",
            "--emmc 8GB|!--emmc needs --virtual-board", "--board-trace x|!--board-trace needs"};
        for (const QString &row : rows) {
            const QStringList r = row.split('|');
            const CommandLineOptions o = parseCommandLine(QStringList{"ostrakit"} + r[0].split(' ', Qt::SkipEmptyParts));
            if (r[1].startsWith('!')) {
                QVERIFY2(o.action != CommandLineOptions::Run && o.message.contains(r[1].mid(1)), qPrintable(row + " / " + o.message));
                QCOMPARE(o.action == CommandLineOptions::Fail, !row.contains("help") && !row.contains("-h|") && !row.contains("version"));
                continue;
            }
            QCOMPARE(int(o.action), int(CommandLineOptions::Run));
            QCOMPARE(int(o.virtualBoard), r[1].toInt());
            QCOMPARE(o.emmcSize, r[2]);
            QCOMPARE(o.traceFile, r[3]);
        }
    }
};

QTEST_APPLESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
