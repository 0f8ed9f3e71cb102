#include "boardlink/boardtext.h"

#include <QList>
#include <QRegularExpression>

namespace BoardText {

namespace {

// Inline markup only; deeper than this a board is not formatting but attacking.
constexpr int kMaxDepth = 8;

// A colour is a name or "#" and hex digits, nothing that could be a path or a URL.
const QRegularExpression &fontTag()
{
    static const QRegularExpression re(QStringLiteral(
                                           R"re(^<font\s+color\s*=\s*(?:"([#A-Za-z0-9]{1,20})"|'([#A-Za-z0-9]{1,20})'|([#A-Za-z0-9]{1,20}))\s*>$)re"),
                                       QRegularExpression::CaseInsensitiveOption);
    return re;
}

const QRegularExpression &simpleTag()
{
    static const QRegularExpression re(QStringLiteral(R"re(^<(/?)(b|i|font|br)\s*(/?)>$)re"),
                                       QRegularExpression::CaseInsensitiveOption);
    return re;
}

QString escaped(QStringView text)
{
    return text.toString().toHtmlEscaped();
}

} // namespace

QString toSafeHtml(const QString &boardText)
{
    QString html;
    html.reserve(boardText.size() + 16);
    QList<QString> open; // names of the tags opened and not yet closed, innermost last
    qsizetype i = 0;
    while (i < boardText.size()) {
        const qsizetype lt = boardText.indexOf(QLatin1Char('<'), i);
        if (lt < 0) {
            html += escaped(QStringView(boardText).mid(i));
            break;
        }
        html += escaped(QStringView(boardText).mid(i, lt - i));
        const qsizetype gt = boardText.indexOf(QLatin1Char('>'), lt);
        // A tag never holds another "<"; the first one then is only a character.
        const qsizetype nextLt = boardText.indexOf(QLatin1Char('<'), lt + 1);
        if (gt < 0 || (nextLt >= 0 && nextLt < gt)) {
            html += QStringLiteral("&lt;");
            i = lt + 1;
            continue;
        }
        const QString tag = boardText.mid(lt, gt - lt + 1);
        QString kept;
        const QRegularExpressionMatch simple = simpleTag().match(tag);
        if (simple.hasMatch()) {
            const QString name = simple.captured(2).toLower();
            const bool closing = !simple.captured(1).isEmpty();
            if (name == QLatin1String("br")) {
                if (!closing)
                    kept = QStringLiteral("<br>");
            } else if (closing) {
                if (!open.isEmpty() && open.constLast() == name) {
                    open.removeLast();
                    kept = QStringLiteral("</%1>").arg(name);
                }
            } else if (name != QLatin1String("font") && simple.captured(3).isEmpty() && open.size() < kMaxDepth) {
                open.append(name);
                kept = QStringLiteral("<%1>").arg(name);
            }
        } else if (open.size() < kMaxDepth) {
            const QRegularExpressionMatch font = fontTag().match(tag);
            if (font.hasMatch()) {
                open.append(QStringLiteral("font"));
                kept = QStringLiteral("<font color=\"%1\">").arg(font.captured(1) + font.captured(2) + font.captured(3));
            }
        }
        html += kept.isEmpty() ? escaped(tag) : kept;
        i = gt + 1;
    }
    // The board's formatting ends with its line; it must not colour what follows it.
    while (!open.isEmpty())
        html += QStringLiteral("</%1>").arg(open.takeLast());
    return html;
}

} // namespace BoardText
