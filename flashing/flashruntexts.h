#pragma once

#include <QString>

// The texts a flash run shows in its boxes and its log, translated. Log lines are HTML
// paragraphs for the page's rich-text log box.
namespace FlashRunTexts {

QString messageTitle();
QString flashingFailed();
QString allCompleted();
QString abortHint();

// A board log line: level 1 is an error and shows red, everything else black.
QString boardLogLine(int level, const QString &text);
// The line that ends a successful run, in blue.
QString completedLogLine();
// Starts every run after the first in the same log, so the runs stay apart.
QString runSeparatorLine();
// A hint in the log, in green.
QString hintLogLine(const QString &text);

} // namespace FlashRunTexts
