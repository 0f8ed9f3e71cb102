#include "flashing/cmdlineoptions.h"

#include <QtTest>

class TestCmdLineOptions : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // The box read from a command line: 1 ticked, 0 unticked, -1 left as it is.
    void skipCaliFromText()
    {
        const QList<QPair<const char *, int>> rows = {
            {"console=ttySAC0 skipcali=y lcd=S70", 1}, {"a skipcali=yes", 1}, {"a skipcali=n", 0}, {"a skipcali=1", 0},
            {"skipcali=n skipcali=y", 0}, {"skipcali=1 skipcali=y", 1}, {"SKIPCALI=Y", 0}, {"noskipcali=y", 0},
            {"   ", 0}, {"", -1}};
        for (const auto &[line, box] : rows) {
            const std::optional<bool> state = CmdLineOptions::skipCaliFromCommandLine(line);
            QCOMPARE(state ? int(*state) : -1, box);
        }
    }

    void textFromSkipCali_data()
    {
        QTest::addColumn<QString>("commandLine");
        QTest::addColumn<bool>("skipCali");
        QTest::addColumn<QString>("expected");
        QTest::newRow("old token moves to the end") << "console=ttySAC0 skipcali=n lcd=S70" << true << "console=ttySAC0 lcd=S70 skipcali=y";
        QTest::newRow("every token goes, blanks collapse") << "skipcali=1 a  skipcali=yes b\tc skipcali=" << false << "a b c";
        QTest::newRow("upper-case token is kept") << "SKIPCALI=Y" << false << "SKIPCALI=Y";
        QTest::newRow("blanks only, ticked") << "   " << true << "skipcali=y";
        QTest::newRow("empty line gets no lone token") << "" << true << "";
    }
    void textFromSkipCali()
    {
        QFETCH(QString, commandLine);
        QFETCH(bool, skipCali);
        const QString rewritten = CmdLineOptions::commandLineWithSkipCali(commandLine, skipCali);
        QTEST(rewritten, "expected");
        // The page reads the box back from the text it wrote: they must agree, or the box flips.
        QCOMPARE(CmdLineOptions::skipCaliFromCommandLine(rewritten).value_or(skipCali), skipCali);
    }
};

QTEST_GUILESS_MAIN(TestCmdLineOptions)
#include "tst_cmdlineoptions.moc"
