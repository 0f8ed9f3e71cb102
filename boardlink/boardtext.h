#pragma once

#include <QString>

// Text that comes from a board (its hardware lines, the progress texts of the idle poll)
// shown in a rich-text widget. Boot loaders format their lines with a little markup, so
// bold, italic, font colours and line breaks are kept; everything else is shown as the
// characters it is. The result never names a file or a URL (a widget would load it),
// never nests deeper than a few levels (layout cost grows fast with depth), and shows no
// more characters than the board sent.
namespace BoardText {

QString toSafeHtml(const QString &boardText);

} // namespace BoardText
