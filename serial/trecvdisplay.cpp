#include "serial/trecvdisplay.h"

#include "serial/hexconversion.h"

#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

namespace {

// The characters the text widget turns into a paragraph break.
bool breaksLine(QChar c)
{
    return c == QLatin1Char('\n') || c == QLatin1Char('\r') || c == QChar::ParagraphSeparator;
}

} // namespace

TRecvDisplay::TRecvDisplay(QPlainTextEdit *edit, QObject *parent)
    : QObject(parent)
    , m_edit(edit)
{
}

void TRecvDisplay::showReceived(const QByteArray &bytes, const Options &options)
{
    m_edit->moveCursor(QTextCursor::End);
    // The device's text ends at a zero byte; what follows it in the same read is noise
    // from the line, not part of the console output.
    const QString text = QString::fromLatin1(bytes.constData(), qstrnlen(bytes.constData(), bytes.size()));
    if (options.pause || text.isEmpty())
        return;
    const QString shown = options.hex ? StringToHex(text) : text;
    if (shown.isEmpty())
        return;
    insertWithinCap(withLongLinesBroken(shown, m_edit->textCursor().positionInBlock()));
    // Like any terminal, follow the output.
    m_edit->ensureCursorVisible();
}

// The box keeps its last maximumBlockCount() lines. Left to itself, it would take in every
// line of a large read and then drop the oldest again, each of them built into the document
// first; here the lines of a read that would go at once are never inserted. Older lines
// that make room are still dropped by the box itself. What it holds afterwards is the same.
void TRecvDisplay::insertWithinCap(const QString &text)
{
    const int cap = m_edit->maximumBlockCount();
    if (cap <= 0) {
        m_edit->insertPlainText(text);
        return;
    }
    // Line breaks in `text` counted from its end, as the text widget counts them ("\r\n"
    // is one), until the oldest line that stays is found.
    int breaks = 0;
    for (int i = text.size() - 1; i >= 0; --i) {
        if (!breaksLine(text.at(i)))
            continue;
        const int after = i + 1;
        if (text.at(i) == QLatin1Char('\n') && i > 0 && text.at(i - 1) == QLatin1Char('\r'))
            --i;
        if (++breaks == cap) {
            // Nothing of what the box holds now survives this read.
            m_edit->clear();
            m_edit->insertPlainText(text.mid(after));
            return;
        }
    }
    m_edit->insertPlainText(text);
}

void TRecvDisplay::appendText(const QString &text, const Options &options)
{
    if (options.pause)
        return;
    m_edit->appendPlainText(text);
    clearIfScrolled(options);
}

void TRecvDisplay::appendHtml(const QString &html, const Options &options)
{
    if (options.pause)
        return;
    m_edit->appendHtml(html);
    clearIfScrolled(options);
}

void TRecvDisplay::clear()
{
    m_edit->clear();
}

void TRecvDisplay::clearIfScrolled(const Options &options)
{
    const QScrollBar *bar = m_edit->verticalScrollBar();
    if (options.autoClear && bar->value() > bar->minimum())
        m_edit->clear();
}

QString TRecvDisplay::withLongLinesBroken(const QString &text, int column) const
{
    QString out;
    out.reserve(text.size() + text.size() / MaxLineLength + 1);
    for (const QChar c : text) {
        if (breaksLine(c)) {
            column = 0;
        } else {
            if (column >= MaxLineLength) {
                out += QLatin1Char('\n');
                column = 0;
            }
            ++column;
        }
        out += c;
    }
    return out;
}
