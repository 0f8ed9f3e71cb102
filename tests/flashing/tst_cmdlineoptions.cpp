#include "flashing/cmdlineoptions.h"

#include <QtTest>

class TestCmdLineOptions : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // The box read from a command line: 1 ticked, 0 unticked, -1 left as it is. The text the
    // box writes back; the page reads the box from it again, so they must agree or the box flips.
    void skipCaliToken()
    {
        const QList<QPair<const char *, int>> read = {
            {"console=ttySAC0 skipcali=y lcd=S70", 1}, {"a skipcali=yes", 1}, {"a skipcali=n", 0}, {"a skipcali=1", 0},
            {"skipcali=n skipcali=y", 0}, {"skipcali=1 skipcali=y", 1}, {"SKIPCALI=Y", 0}, {"noskipcali=y", 0},
            {"   ", 0}, {"", -1}};
        for (const auto &[line, box] : read) {
            const std::optional<bool> state = CmdLineOptions::skipCaliFromCommandLine(line);
            QCOMPARE(state ? int(*state) : -1, box);
        }
        const QList<std::tuple<QString, bool, QString>> written = {
            {"console=ttySAC0 skipcali=n lcd=S70", true, "console=ttySAC0 lcd=S70 skipcali=y"},
            {"skipcali=1 a  skipcali=yes b\tc skipcali=", false, "a b c"}, {"SKIPCALI=Y", false, "SKIPCALI=Y"},
            {"   ", true, "skipcali=y"}, {"", true, ""}};
        for (const auto &[line, skipCali, expected] : written) {
            const QString rewritten = CmdLineOptions::commandLineWithSkipCali(line, skipCali);
            QCOMPARE(rewritten, expected);
            QCOMPARE(CmdLineOptions::skipCaliFromCommandLine(rewritten).value_or(skipCali), skipCali);
        }
    }
};

QTEST_GUILESS_MAIN(TestCmdLineOptions)
#include "tst_cmdlineoptions.moc"
