#include "app/commandline.h"

#include <QTest>

class TestCommandLine : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void parse_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("action");
        QTest::addColumn<int>("cpu");
        QTest::addColumn<QString>("emmc");
        QTest::addColumn<QString>("trace");
        QTest::addColumn<QString>("messagePart");

        using O = CommandLineOptions;
        using C = TUsbDevCommand;
        QTest::newRow("nothing") << QStringList{} << int(O::Run) << int(C::CPU_Unknown) << "" << "" << "";
        QTest::newRow("serial debug switch") << QStringList{"--debug"} << int(O::Run) << int(C::CPU_Unknown) << ""
                                             << "" << "";
        QTest::newRow("4412") << QStringList{"--virtual-board", "4412"} << int(O::Run) << int(C::CPU_4412) << ""
                              << "" << "";
        QTest::newRow("210 with =") << QStringList{"--virtual-board=210"} << int(O::Run) << int(C::CPU_210) << ""
                                    << "" << "";
        QTest::newRow("3358, debug after") << QStringList{"--virtual-board", "3358", "--debug"} << int(O::Run)
                                           << int(C::CPU_3358) << "" << "" << "";
        QTest::newRow("eMMC and trace") << QStringList{"--virtual-board", "4412", "--emmc", "16g", "--board-trace",
                                                       "/tmp/t.txt"}
                                        << int(O::Run) << int(C::CPU_4412) << "16GB" << "/tmp/t.txt" << "";
        QTest::newRow("help") << QStringList{"--virtual-board", "nonsense", "--help"} << int(O::ShowHelp)
                              << int(C::CPU_Unknown) << "" << "" << "--virtual-board <CPU>";
        QTest::newRow("short help") << QStringList{"-h"} << int(O::ShowHelp) << int(C::CPU_Unknown) << "" << ""
                                    << "Usage: ostrakit";
        QTest::newRow("version") << QStringList{"--version"} << int(O::ShowVersion) << int(C::CPU_Unknown) << ""
                                 << "" << "ostrakit 1.8a build140317";
        QTest::newRow("unknown CPU") << QStringList{"--virtual-board", "8086"} << int(O::Fail) << int(C::CPU_Unknown)
                                     << "" << "" << "unknown processor '8086'";
        QTest::newRow("CPU with a prefix") << QStringList{"--virtual-board", "S5P4412"} << int(O::Fail)
                                           << int(C::CPU_Unknown) << "" << "" << "unknown processor";
        QTest::newRow("CPU missing") << QStringList{"--virtual-board"} << int(O::Fail) << int(C::CPU_Unknown) << ""
                                     << "" << "Missing value after '--virtual-board'";
        QTest::newRow("unknown option") << QStringList{"--virtualboard", "4412"} << int(O::Fail)
                                        << int(C::CPU_Unknown) << "" << "" << "Unknown option 'virtualboard'";
        QTest::newRow("stray argument") << QStringList{"4412"} << int(O::Fail) << int(C::CPU_Unknown) << "" << ""
                                        << "unexpected argument '4412'";
        QTest::newRow("bad eMMC size") << QStringList{"--virtual-board", "4412", "--emmc", "lots"} << int(O::Fail)
                                       << int(C::CPU_4412) << "" << "" << "not an eMMC size";
        QTest::newRow("eMMC without board") << QStringList{"--emmc", "8GB"} << int(O::Fail) << int(C::CPU_Unknown)
                                            << "" << "" << "--emmc needs --virtual-board";
        QTest::newRow("trace without board") << QStringList{"--board-trace", "x"} << int(O::Fail)
                                             << int(C::CPU_Unknown) << "" << "" << "--board-trace needs";
    }

    void parse()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, action);
        QFETCH(int, cpu);
        QFETCH(QString, emmc);
        QFETCH(QString, trace);
        QFETCH(QString, messagePart);

        const CommandLineOptions options = parseCommandLine(QStringList{"ostrakit"} + arguments);
        QCOMPARE(int(options.action), action);
        if (action == CommandLineOptions::Run) {
            QCOMPARE(int(options.virtualBoard), cpu);
            QCOMPARE(options.emmcSize, emmc);
            QCOMPARE(options.traceFile, trace);
            QVERIFY(options.message.isEmpty());
        } else {
            QVERIFY2(options.message.contains(messagePart), qPrintable(options.message));
        }
    }

};

QTEST_APPLESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
