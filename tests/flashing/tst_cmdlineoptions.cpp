#include "flashing/cmdlineoptions.h"

#include <QtTest>

class TestCmdLineOptions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void skipCaliFromText_data();
    void skipCaliFromText();
    void textFromSkipCali_data();
    void textFromSkipCali();
};

// An empty line says nothing, so the box keeps whatever state it had.
enum Box { Unchanged = -1, Unticked = 0, Ticked = 1 };

void TestCmdLineOptions::skipCaliFromText_data()
{
    QTest::addColumn<QString>("commandLine");
    QTest::addColumn<int>("box");

    QTest::newRow("token at the end") << "console=ttySAC0 skipcali=y" << int(Ticked);
    QTest::newRow("token in the middle") << "console=ttySAC0 skipcali=y lcd=S70" << int(Ticked);
    QTest::newRow("yes counts as y") << "a skipcali=yes" << int(Ticked);
    QTest::newRow("explicit n") << "a skipcali=n" << int(Unticked);
    QTest::newRow("other value counts as absent") << "a skipcali=1" << int(Unticked);
    QTest::newRow("no token") << "console=ttySAC0" << int(Unticked);
    QTest::newRow("first token decides (n then y)") << "skipcali=n skipcali=y" << int(Unticked);
    QTest::newRow("absent value skipped, y decides") << "skipcali=1 skipcali=y" << int(Ticked);
    QTest::newRow("upper case is another token") << "SKIPCALI=Y" << int(Unticked);
    QTest::newRow("prefix glued to another token") << "noskipcali=y" << int(Unticked);
    QTest::newRow("blanks only") << "   " << int(Unticked);
    QTest::newRow("empty") << "" << int(Unchanged);
}

void TestCmdLineOptions::skipCaliFromText()
{
    QFETCH(QString, commandLine);
    QFETCH(int, box);

    const std::optional<bool> state = CmdLineOptions::skipCaliFromCommandLine(commandLine);
    QCOMPARE(state.has_value() ? int(*state) : int(Unchanged), box);
}

void TestCmdLineOptions::textFromSkipCali_data()
{
    QTest::addColumn<QString>("commandLine");
    QTest::addColumn<bool>("skipCali");
    QTest::addColumn<QString>("expected");

    QTest::newRow("old token moves to the end")
        << "console=ttySAC0 skipcali=n lcd=S70" << true << "console=ttySAC0 lcd=S70 skipcali=y";
    QTest::newRow("untick, double blanks collapse") << "a  skipcali=y  b" << false << "a b";
    QTest::newRow("tick adds the token") << "console=ttySAC0" << true << "console=ttySAC0 skipcali=y";
    QTest::newRow("every skipcali token goes") << "skipcali=1 a skipcali=yes b skipcali=" << false << "a b";
    QTest::newRow("tabs inside a token become a blank") << "a\tb c" << false << "a b c";
    QTest::newRow("blank-only parts leave no gap") << "a \t b" << true << "a b skipcali=y";
    QTest::newRow("upper-case token is kept") << "SKIPCALI=Y" << false << "SKIPCALI=Y";
    // Only blanks: nothing to keep, so the token stands alone without a blank before it.
    QTest::newRow("blanks only, ticked") << "   " << true << "skipcali=y";
    QTest::newRow("empty line gets no lone token") << "" << true << "";
}

void TestCmdLineOptions::textFromSkipCali()
{
    QFETCH(QString, commandLine);
    QFETCH(bool, skipCali);
    QFETCH(QString, expected);
    const QString rewritten = CmdLineOptions::commandLineWithSkipCali(commandLine, skipCali);
    QCOMPARE(rewritten, expected);
    // The page reads the box back from the text it just wrote: the two must agree, or the
    // box would flip on its own. An emptied line says nothing and leaves the box as set.
    QCOMPARE(CmdLineOptions::skipCaliFromCommandLine(rewritten).value_or(skipCali), skipCali);
}

QTEST_GUILESS_MAIN(TestCmdLineOptions)
#include "tst_cmdlineoptions.moc"
