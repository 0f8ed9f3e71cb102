#pragma once

#include <QString>

#include <optional>

// The kernel command line options that live inside the command line text rather than in
// a board command of their own.
namespace CmdLineOptions {

// The "Skip cali" box stands for this token at the end of the command line.
inline const QString kSkipCaliToken = QStringLiteral("skipcali=y");

// What the command line says about "Skip cali": the first token starting "skipcali=y"
// ticks it, the first starting "skipcali=n" unticks it, no such token unticks it. An empty
// line says nothing, so the box keeps its state.
std::optional<bool> skipCaliFromCommandLine(const QString &commandLine);

// The command line after the "Skip cali" box was set to `skipCali`: every "skipcali=..."
// token is dropped, blanks between tokens become single blanks and, when ticked,
// "skipcali=y" goes to the end. An empty line stays empty.
QString commandLineWithSkipCali(const QString &commandLine, bool skipCali);

// The command line as it is sent: the board takes one line, so line breaks typed into the
// field are dropped (not replaced by blanks).
QString commandLineForBoard(const QString &commandLine);

} // namespace CmdLineOptions
