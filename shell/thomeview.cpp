#include "shell/thomeview.h"

#include "app/globals.h"
#include "boardlink/boardtext.h"
#include "app/programpaths.h"
#include "boardlink/boardaccess.h"
#include "shell/picturesahead.h"
#include "shell/resourceonlybrowser.h"
#include "shell/resourcetext.h"

#include <QFont>
#include <QPainter>
#include <QRegularExpression>
#include <QTimer>
#include <QUrl>

THomeView::THomeView(QWidget *parent)
    : QWidget(parent)
    , backgroundToTake(backgroundPath())
    , webView(new ResourceOnlyBrowser(this))
{
    // The pages draw their own bordered table; a second frame around it would only
    // crowd the background picture.
    webView->setFrameShape(QFrame::NoFrame);
    // The pages are written for the 660 x 395 box over the background picture; at the
    // 12 point English default the help page would need scrolling, so the text here is
    // held to 10 points (the Chinese default) whatever the application font is.
    QFont text = webView->font();
    if (text.pointSize() > kMaxPointSize)
        text.setPointSize(kMaxPointSize);
    webView->setFont(text);
    webView->setGeometry(22, 142, 660, 395);
}

QString THomeView::backgroundPath()
{
    return gLanguage == 1 ? QStringLiteral(":/homeviewbackground-cn.png") : QStringLiteral(":/homeviewbackground.png");
}

void THomeView::updateWebViewAfterFirstPaint(bool connected, const QString &text)
{
    pendingPage = PendingPage{connected, text};
}

void THomeView::updateWebView(bool connected, const QString &text)
{
    pendingPage.reset();
    const bool chinese = gLanguage == 1;
    if (!connected) {
        const QUrl help(chinese ? QStringLiteral("qrc:/homeview-cn.html") : QStringLiteral("qrc:/homeview.html"));
        // setHtml() leaves the old source in place, and asking for the same source again
        // would only scroll; the help page has to come back after the information page.
        if (webView->source() == help)
            webView->reload();
        else
            webView->setSource(help);
        return;
    }
    QStringList lines = text.split(QLatin1Char('\n'));
    for (QString &line : lines)
        line = BoardText::toSafeHtml(line);
    const QString info = lines.join(QLatin1String("<br>"));
    QString page = readFile(chinese ? QStringLiteral(":/homeview_connected-cn.html")
                                    : QStringLiteral(":/homeview_connected.html"));
    // The boot loader formats its own lines (bold names and the like), so its text goes
    // in as markup, as far as that markup is harmless.
    page.replace(QLatin1String("$HWINFO$"), info);
    webView->setHtml(page);
}

void THomeView::USBConnected(bool connected)
{
    // The board link asks the board for its hardware information inside its own handler
    // of the same signal, which runs before ours: by now the information page is up, and
    // anything shown here would cover it.
    if (!connected)
        updateWebView(false, QString());
}

void THomeView::USBNewDeviceAttached(QString HwInfo)
{
    updateWebView(true, HwInfo);
}

void THomeView::USBAccessProblem(QString node, int error)
{
    if (error == 0) {
        // A board that became usable brings its information page right after this.
        updateWebView(false, QString());
        return;
    }
    BoardAccessProblem problem;
    problem.node = node;
    problem.error = error;
    // A command quoted in the hint gets a line of its own (the stop after it goes), to be
    // read and copied whole.
    QString hint = BoardAccess::hintText(problem, ProgramPaths::udevRuleFile()).toHtmlEscaped();
    hint.replace(QRegularExpression(QStringLiteral("&quot;(.+?)&quot;[.,，。]?\\s*")), QStringLiteral("<br><code>\\1</code><br>"));
    hint.replace(QStringLiteral("&amp;&amp; "), QStringLiteral("&amp;&amp;<br>"));
    webView->setHtml(QStringLiteral("<html><body><h3 style=\"color:#b00000\">%1</h3><p>%2</p></body></html>")
                         .arg(BoardAccess::statusText(problem).toHtmlEscaped(), hint));
}

void THomeView::USBReportLog(int, QString) {}
void THomeView::USBSendFinished(bool) {}
void THomeView::USBSendMaxSize(int) {}
void THomeView::USBSendCurrentPos(int) {}
void THomeView::CpuRecognized() {}

void THomeView::paintEvent(QPaintEvent *)
{
    PicturesAhead::takeOnce(backgroundToTake, background);
    QPainter painter(this);
    painter.drawPixmap(0, 0, background);
    if (pendingPage) {
        // Posted, so that this paint reaches the screen first.
        QTimer::singleShot(0, this, [this] {
            if (pendingPage)
                updateWebView(pendingPage->connected, pendingPage->text);
        });
    }
}
