#include "shell/tmenu.h"

#include "shell/menubutton.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPair>

#include <algorithm>

namespace {
const char *const kViewNameProperty = "ostrakitViewName";
constexpr int kRowHeight = 32;
// Smaller than this the menu would be harder to read than an elided caption.
constexpr int kMinCaptionPointSize = 8;
} // namespace

TMenu::TMenu(QWidget *parent)
    : QWidget(parent)
{
    addRow(tr("My development board"), QStringLiteral(":/wren210_icon.png"), 0, false, QStringLiteral("homeView"));
    statusRow = addRow(tr("Board is not connected"), QString(), 1, true, QStringLiteral("homeView"));
    addRow(tr("Android"), QStringLiteral(":/android_logo.png"), 0, false, QStringLiteral("androidView"));
    addRow(tr("Windows CE"), QStringLiteral(":/wince_icon.png"), 0, false, QStringLiteral("winCEView"));
    addRow(tr("Linux"), QStringLiteral(":/linux_logo.png"), 0, false, QStringLiteral("linuxView"));
    addRow(tr("User bin (No OS)"), QStringLiteral(":/nonos.png"), 0, false, QStringLiteral("nonOSViewRun"));
    // A heading: it can be highlighted like any row but brings up no view.
    addRow(tr("Settings"), QString(), 1, true, QString());
    // Offered in both languages at once, so that a user who cannot read the current one
    // still finds it.
    addRow(QStringLiteral("English / 中文"), QString(), 1, false, QStringLiteral("languageSettingView"));
    addRow(tr("About"), QString(), 1, false, QStringLiteral("aboutView"));

    reAddAllButton();
    buttons.first()->setEnabled(false);
}

MenuButton *TMenu::addRow(const QString &text, const QString &icon, int indent, bool grey, const QString &viewName)
{
    auto *button = new MenuButton(this);
    button->setText(text);
    if (!icon.isEmpty())
        button->menuIcon = QPixmap(icon);
    button->indentLevel = indent;
    button->greyText = grey;
    button->setProperty(kViewNameProperty, viewName);
    connect(button, &MenuButton::clicked, this, &TMenu::btnClicked);
    buttons.append(button);
    return button;
}

QString TMenu::viewNameOf(const MenuButton *button) const
{
    return button ? button->property(kViewNameProperty).toString() : QString();
}

void TMenu::btnClicked()
{
    auto *clicked = qobject_cast<MenuButton *>(sender());
    if (!clicked)
        return;
    for (MenuButton *button : std::as_const(shown))
        button->setEnabled(button != clicked);
    const QString viewName = viewNameOf(clicked);
    if (!viewName.isEmpty())
        Q_EMIT switchView(viewName);
}

void TMenu::relayoutButtons()
{
    for (int i = 0; i < shown.size(); ++i)
        shown.at(i)->setGeometry(0, kRowHeight * i, width(), kRowHeight);
    fitCaptions();
}

// The rows are as wide as the menu, which is narrow: "My development board" and "Board
// is not connected" do not fit in the 12 point English default. All rows share the
// largest size, up to the menu's own, in which every caption (both texts of the status
// row, so that connecting does not change it) fits.
void TMenu::fitCaptions()
{
    QFont caption = font();
    if (caption.pointSize() <= 0)
        return;
    QList<QPair<QString, int>> captions; // text and the room it has
    for (MenuButton *button : std::as_const(shown))
        captions.append({button->text(), button->captionRoom()});
    for (const QString &status : {tr("Connected"), tr("Board is not connected")})
        captions.append({status, statusRow->captionRoom()});
    auto fits = [&captions](const QFont &f) {
        const QFontMetrics metrics(f);
        return std::all_of(captions.cbegin(), captions.cend(), [&metrics](const QPair<QString, int> &c) {
            return metrics.horizontalAdvance(c.first) <= c.second;
        });
    };
    while (!fits(caption) && caption.pointSize() > kMinCaptionPointSize)
        caption.setPointSize(caption.pointSize() - 1);
    for (MenuButton *button : std::as_const(buttons))
        button->setFont(caption);
}

void TMenu::reAddAllButton()
{
    shown.clear();
    shown = buttons;
    for (MenuButton *button : std::as_const(buttons))
        button->setVisible(shown.contains(button));
}

void TMenu::USBConnected(bool connected)
{
    statusRow->setText(connected ? tr("Connected") : tr("Board is not connected"));
    statusRow->update();
}

void TMenu::CpuRecognized()
{
    reAddAllButton();
    const bool hasSelection = std::any_of(shown.cbegin(), shown.cend(),
                                          [](const MenuButton *button) { return !button->isEnabled(); });
    if (!hasSelection) {
        buttons.first()->setEnabled(false);
        Q_EMIT switchView(QStringLiteral("homeView"));
    }
    relayoutButtons();
}

void TMenu::USBReportLog(int, QString) {}
void TMenu::USBSendFinished(bool) {}
void TMenu::USBSendMaxSize(int) {}
void TMenu::USBSendCurrentPos(int) {}
void TMenu::USBNewDeviceAttached(QString) {}

void TMenu::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    relayoutButtons();
}

void TMenu::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), QColor(233, 236, 238));
}
