#include "pictures.h"

#include "glyphs.h"
#include "palette.h"

#include <QFontMetrics>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QtMath>

using namespace Glyphs;

namespace {

enum class Lang { English, Chinese };

QString tx(Lang lang, const char* english, const char* chinese)
{
    return QString::fromUtf8(lang == Lang::Chinese ? chinese : english);
}

void drawText(QPainter& p, const QRectF& r, int flags, const QFont& f, const QColor& c,
              const QString& text)
{
    p.save();
    p.setFont(f);
    p.setPen(c);
    p.drawText(r, flags, text);
    p.restore();
}

// --- the main window -------------------------------------------------------------------

// Only a frame of this picture shows: the band right of the tabs, the 3-pixel line under
// them, the 5-pixel margins beside the pages and the status bar at the foot.
void mainBackground(QPainter& p, const QSize& s, Lang lang)
{
    const int w = s.width();
    const int h = s.height();
    p.fillRect(0, 0, w, h, QColor(221, 226, 229));
    p.fillRect(0, 0, w, 70, Palette::grey);
    p.fillRect(0, 69, w, 1, Palette::greyLine);
    p.fillRect(0, 70, w, 3, Palette::blue);

    // Word mark at the right end of the band.
    const QFont title = font(24, true);
    const QFont tagline = font(12);
    const QString name = QStringLiteral("Ostrakit");
    const QString line = tx(lang, "USB flashing for Halvorn boards",
                            "Halvorn 开发板 USB 烧写工具");
    const int textWidth = qMax(QFontMetrics(title).horizontalAdvance(name),
                               QFontMetrics(tagline).horizontalAdvance(line));
    const int textLeft = w - 24 - textWidth;
    mark(p, QRectF(textLeft - 52, 14, 42, 42));
    drawText(p, QRectF(textLeft, 12, textWidth, 30), Qt::AlignLeft | Qt::AlignVCenter, title,
             Palette::blueDeep, name);
    drawText(p, QRectF(textLeft, 40, textWidth, 18), Qt::AlignLeft | Qt::AlignVCenter, tagline,
             Palette::slate, line);

    // Status bar under the pages.
    p.fillRect(0, h - 29, w, 29, Palette::greyLight);
    p.fillRect(0, h - 30, w, 1, Palette::greyLine);
}

// --- tabs and title buttons ------------------------------------------------------------

void tabNormal(QPainter& p, const QSize& s, bool first)
{
    QLinearGradient fade(0, 0, 0, s.height());
    fade.setColorAt(0, QColor(241, 243, 245));
    fade.setColorAt(1, Palette::grey);
    p.fillRect(QRect(QPoint(0, 0), s), fade);
    // Tabs sit edge to edge; a light left edge and a dark right edge separate them.
    if (!first)
        p.fillRect(0, 8, 1, s.height() - 16, Palette::white);
    p.fillRect(s.width() - 1, 8, 1, s.height() - 16, Palette::greyLine);
    p.fillRect(0, s.height() - 1, s.width(), 1, Palette::greyLine);
}

void tabSelected(QPainter& p, const QSize& s)
{
    p.fillRect(QRect(QPoint(0, 0), s), Palette::blue);
    p.fillRect(0, 0, s.width(), 3, Palette::blueDark);
}

enum class TitleGlyph { Close, Menu, Minimise };

void titleGlyph(QPainter& p, const QSize& s, TitleGlyph glyph, bool clicked)
{
    const QColor ink = clicked ? Palette::white : Palette::blueDeep;
    p.setRenderHint(QPainter::Antialiasing, glyph == TitleGlyph::Close);
    const int w = s.width();
    switch (glyph) {
    case TitleGlyph::Close:
        p.setPen(QPen(ink, 1.8, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(1.5, 1.5), QPointF(w - 1.5, w - 1.5));
        p.drawLine(QPointF(w - 1.5, 1.5), QPointF(1.5, w - 1.5));
        break;
    case TitleGlyph::Menu:
        for (int y : {2, 5, 8})
            p.fillRect(1, y, w - 2, 2, ink);
        break;
    case TitleGlyph::Minimise:
        p.fillRect(1, 8, w - 2, 2, ink);
        break;
    }
}

// --- small icons -----------------------------------------------------------------------

// The status bar scales these to 12 x 12 without smoothing, so they are drawn at that size
// and the plug is placed on whole pixels.
void statusPlug(QPainter& p, const QSize&, bool connected)
{
    p.setRenderHint(QPainter::Antialiasing, false);
    const QColor ink = connected ? Palette::greenDark : Palette::greyMid;
    p.fillRect(4, 0, 1, 3, ink);
    p.fillRect(7, 0, 1, 3, ink);
    p.fillRect(2, 3, 8, 4, ink);
    p.fillRect(3, 7, 6, 1, ink);
    p.fillRect(5, 8, 2, 4, ink);
    if (!connected) {
        p.setRenderHint(QPainter::Antialiasing, true);
        p.setPen(QPen(Palette::red, 1.6, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(1, 11), QPointF(11, 1));
    }
}

using GlyphFn = void (*)(QPainter&, const QRectF&, const QColor&, const QColor&);

void badgeIcon(QPainter& p, const QSize& s, const QColor& fill, GlyphFn glyph, qreal inset)
{
    const QRectF whole(0.5, 0.5, s.width() - 1, s.height() - 1);
    badge(p, whole, fill);
    const qreal m = s.width() * inset;
    glyph(p, whole.adjusted(m, m, -m, -m), Palette::white, fill);
}

void downloadGlyph(QPainter& p, const QRectF& r, const QColor& ink, const QColor&)
{
    download(p, r, ink);
}

void serialGlyph(QPainter& p, const QRectF& r, const QColor& ink, const QColor&)
{
    serialPort(p, r, ink);
}

const QColor disabledFill(176, 184, 189);

// --- page backgrounds ------------------------------------------------------------------

// The home view draws this at its top left and lays the page browser on it at
// (22, 142, 660, 395): a banner above and a white card around the browser. Below the
// picture the page's own grey shows, so the picture starts out in that grey too.
void homeBackground(QPainter& p, const QSize& s, Lang lang)
{
    p.fillRect(QRect(QPoint(0, 0), s), Palette::grey);

    const QRectF banner(17, 10, 668, 120);
    p.setPen(Qt::NoPen);
    p.setBrush(Palette::blue);
    p.drawRoundedRect(banner, 4, 4);
    const qreal sceneW = 230;
    connectionScene(p, QRectF(banner.right() - 20 - sceneW, banner.top() + 16, sceneW,
                              sceneW * sceneHeight / sceneWidth));

    drawText(p, QRectF(banner.left() + 24, banner.top() + 20, 400, 34),
             Qt::AlignLeft | Qt::AlignVCenter, font(24, true), Palette::white,
             tx(lang, "My development board", "我的开发板"));
    drawText(p, QRectF(banner.left() + 24, banner.top() + 58, 360, 44),
             Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap, font(13),
             QColor(240, 248, 252),
             tx(lang, "Start Halvorn in USB download mode and connect the board. "
                      "Its details appear below.",
                "让开发板的 Halvorn 进入 USB 下载模式并连接电脑，开发板信息将显示在下方。"));

    p.setBrush(Palette::white);
    p.setPen(QPen(Palette::greyLine, 1));
    p.drawRect(QRectF(17.5, 137.5, 667, 403));
}

void utilitiesBackground(QPainter& p, const QSize& s)
{
    // The utilities page draws this twice side by side and the flashing pages tile it
    // behind their controls, so it must have no features that could show a seam.
    p.fillRect(QRect(QPoint(0, 0), s), QColor(246, 248, 249));
}

void aboutPicture(QPainter& p, const QSize& s, Lang lang)
{
    const int w = s.width();
    const int h = s.height();
    p.fillRect(0, 0, w, h, Palette::white);
    p.fillRect(0, 0, w, 236, Palette::blue);

    // The mark's own blue would vanish into the band; it sits on a white plate instead.
    p.setPen(Qt::NoPen);
    p.setBrush(Palette::white);
    p.drawRoundedRect(QRectF(40, 36, 112, 112), 28, 28);
    mark(p, QRectF(48, 44, 96, 96));
    drawText(p, QRectF(166, 46, 300, 52), Qt::AlignLeft | Qt::AlignVCenter, font(44, true),
             Palette::white, QStringLiteral("Ostrakit"));
    drawText(p, QRectF(168, 100, 480, 40), Qt::AlignLeft | Qt::AlignVCenter, font(16),
             QColor(240, 248, 252),
             tx(lang, "Flash ARM development boards over USB", "通过 USB 烧写 ARM 开发板"));
    connectionScene(p, QRectF(w - 48 - 220, 142, 220, 220 * sceneHeight / sceneWidth));

    // What it flashes.
    struct Item { const char* en; const char* cn; QColor fill; int kind; };
    const Item items[] = {
        {"Android", "Android", Palette::green, 0},
        {"Linux", "Linux", Palette::mist, 1},
        {"Windows CE", "Windows CE", Palette::amber, 2},
        {"User bin", "用户程序", Palette::red, 3},
    };
    drawText(p, QRectF(48, 266, 400, 24), Qt::AlignLeft | Qt::AlignVCenter, font(15, true),
             Palette::ink, tx(lang, "Images it installs", "可烧写的系统"));
    int x = 48;
    for (const Item& item : items) {
        const QRectF icon(x, 304, 40, 40);
        badge(p, icon, item.fill);
        const QRectF inner = icon.adjusted(6, 6, -6, -6);
        switch (item.kind) {
        case 0: handset(p, inner, Palette::white, item.fill); break;
        case 1: penguin(p, inner); break;
        case 2: window(p, inner, Palette::white, item.fill); break;
        default: chip(p, inner, Palette::white, item.fill); break;
        }
        drawText(p, QRectF(x + 50, 304, 100, 40), Qt::AlignLeft | Qt::AlignVCenter, font(14),
                 Palette::ink, tx(lang, item.en, item.cn));
        x += 150;
    }

    p.fillRect(48, 378, w - 96, 1, Palette::greyLine);
    drawText(p, QRectF(48, 396, w - 96, 24), Qt::AlignLeft | Qt::AlignVCenter, font(15, true),
             Palette::ink, tx(lang, "Processors", "支持的处理器"));
    const char* cpus[] = {"210", "6410", "2440", "2451", "2416", "4412", "5250", "3358"};
    x = 48;
    for (const char* cpu : cpus) {
        const QRectF chipBox(x, 432, 62, 30);
        p.setPen(QPen(Palette::blue, 1.5));
        p.setBrush(Palette::greyLight);
        p.drawRoundedRect(chipBox, 4, 4);
        drawText(p, chipBox, Qt::AlignCenter, font(14, true), Palette::slate,
                 QString::fromLatin1(cpu));
        x += 74;
    }

    drawText(p, QRectF(48, 492, w - 96, 44), Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap,
             font(13), Palette::slate,
             tx(lang, "Works with boards whose Halvorn boot loader runs in USB download mode. "
                      "Includes a serial assistant for the board's console.",
                "适用于 Halvorn 引导程序处于 USB 下载模式的开发板，并附带用于开发板串口控制台的串口助手。"));
    drawText(p, QRectF(48, h - 40, 300, 24), Qt::AlignLeft | Qt::AlignVCenter, font(12),
             Palette::greyMid, QStringLiteral("Velkaro"));
}

// --- unused pictures -------------------------------------------------------------------

void sdCardTool(QPainter& p, const QSize& s)
{
    const qreal k = s.width() / 256.0;
    p.scale(k, k);
    QPainterPath card;
    card.moveTo(56, 20);
    card.lineTo(164, 20);
    card.lineTo(204, 60);
    card.lineTo(204, 224);
    card.arcTo(QRectF(188, 220, 16, 16), 0, -90);
    card.lineTo(64, 236);
    card.arcTo(QRectF(52, 220, 16, 16), -90, -90);
    card.lineTo(52, 28);
    card.arcTo(QRectF(52, 20, 16, 16), 180, -90);
    card.closeSubpath();
    p.setPen(Qt::NoPen);
    p.setBrush(Palette::blueDark);
    p.drawPath(card);
    p.setBrush(QColor(232, 236, 238));
    for (int i = 0; i < 7; ++i)
        p.drawRoundedRect(QRectF(72 + 16 * i, 34, 10, 30), 2, 2);
    p.setBrush(Palette::white);
    p.drawRoundedRect(QRectF(70, 96, 118, 112), 6, 6);
    p.setBrush(Palette::blue);
    p.drawRect(QRectF(84, 116, 90, 8));
    p.drawRect(QRectF(84, 134, 64, 8));
    // The boot loader going onto the card.
    p.setBrush(Palette::green);
    p.drawEllipse(QPointF(188, 196), 50, 50);
    download(p, QRectF(158, 166, 60, 60), Palette::white);
}

void appDemo(QPainter& p, const QSize& s)
{
    const QRectF whole(1, 1, s.width() - 2, s.height() - 2);
    badge(p, whole, Palette::blueDark);
    const qreal cell = whole.width() * 0.26;
    const qreal gap = whole.width() * 0.08;
    const qreal left = whole.center().x() - cell - gap / 2;
    const QColor fills[] = {Palette::white, Palette::green, Palette::green, Palette::white};
    for (int i = 0; i < 4; ++i) {
        const QRectF r(left + (i % 2) * (cell + gap), left + (i / 2) * (cell + gap), cell, cell);
        p.setBrush(fills[i]);
        p.setPen(Qt::NoPen);
        p.drawRoundedRect(r, cell * 0.25, cell * 0.25);
    }
}

void aboutMark(QPainter& p, const QSize& s)
{
    p.setPen(Qt::NoPen);
    p.setBrush(Palette::blue);
    p.drawEllipse(QRectF(1, 1, s.width() - 2, s.height() - 2));
    const qreal u = s.width() / 64.0;
    p.setBrush(Palette::white);
    p.drawEllipse(QPointF(32 * u, 18 * u), 4.5 * u, 4.5 * u);
    p.drawRoundedRect(QRectF(27.5 * u, 27 * u, 9 * u, 24 * u), 2 * u, 2 * u);
}

void checkBox(QPainter& p, const QSize& s, bool ticked)
{
    const QRectF r(0.5, 0.5, s.width() - 1, s.height() - 1);
    p.setPen(ticked ? QPen(Palette::blueDark, 1) : QPen(Palette::greyMid, 1));
    p.setBrush(ticked ? Palette::blue : Palette::white);
    p.drawRoundedRect(r.adjusted(0.5, 0.5, -0.5, -0.5), 2.5, 2.5);
    if (ticked)
        check(p, r, Palette::white);
}

void updateAlert(QPainter& p, const QSize& s)
{
    p.setPen(Qt::NoPen);
    p.setBrush(Palette::green);
    p.drawEllipse(QRectF(0.5, 0.5, s.width() - 1, s.height() - 1));
    arrowUp(p, QRectF(3, 3, s.width() - 6, s.height() - 6), Palette::white);
}

void updateAlertBackground(QPainter& p, const QSize& s)
{
    const QRectF card(0.5, 0.5, s.width() - 1, s.height() - 1);
    p.setPen(QPen(Palette::greyLine, 1));
    p.setBrush(Palette::white);
    p.drawRect(card);
    p.fillRect(QRectF(1, 1, s.width() - 2, 28), Palette::blue);
    p.fillRect(QRectF(1, s.height() - 40, s.width() - 2, 39), Palette::greyLight);
}

void usbPlug(QPainter& p, const QSize& s, bool plugged)
{
    const qreal u = s.width() / 48.0;
    p.scale(u, u);
    p.setPen(Qt::NoPen);
    const QColor ink = plugged ? Palette::greenDark : Palette::greyMid;
    // The socket on the left, the plug coming in from the right.
    p.setBrush(Palette::slate);
    p.drawRoundedRect(QRectF(2, 12, 14, 24), 2, 2);
    p.setBrush(Palette::greyLight);
    p.drawRect(QRectF(6, 16, 10, 16));
    const qreal x = plugged ? 6 : 20;
    p.setBrush(QColor(200, 206, 210));
    p.drawRect(QRectF(x, 17, 14, 14));
    p.setBrush(Palette::slate);
    p.drawRect(QRectF(x + 3, 20, 3, 3));
    p.drawRect(QRectF(x + 3, 25, 3, 3));
    p.setBrush(ink);
    p.drawRoundedRect(QRectF(x + 14, 14, 14, 20), 3, 3);
    p.drawRect(QRectF(x + 27, 21, 48 - x - 27, 6));
}

void warningSign(QPainter& p, const QSize& s)
{
    const qreal u = s.width() / 32.0;
    p.scale(u, u);
    p.setPen(QPen(Palette::amber, 3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Palette::amber);
    p.drawPolygon(QPolygonF({{16, 3}, {30, 28}, {2, 28}}));
    p.setPen(Qt::NoPen);
    p.setBrush(Palette::white);
    p.drawRoundedRect(QRectF(14.4, 10, 3.2, 11), 1.4, 1.4);
    p.drawEllipse(QPointF(16, 24.5), 1.9, 1.9);
}

void connectBadge(QPainter& p, const QSize& s)
{
    const QRectF whole(0.5, 0.5, s.width() - 1, s.height() - 1);
    badge(p, whole, Palette::green);
    plug(p, whole.adjusted(4, 4, -4, -4), Palette::white);
}

} // namespace

QList<Picture> stillPictures()
{
    using Fn = std::function<void(QPainter&, const QSize&)>;
    auto badgeWith = [](QColor fill, GlyphFn glyph, qreal inset) -> Fn {
        return [=](QPainter& p, const QSize& s) { badgeIcon(p, s, fill, glyph, inset); };
    };
    const QSize tab(36, 36);
    const QSize row(24, 24);
    const QSize title(11, 11);

    return {
        {"icon.png", {64, 64}, [](QPainter& p, const QSize& s) { mark(p, QRectF(QPointF(), s)); }},
        {"background.png", {900, 723},
         [](QPainter& p, const QSize& s) { mainBackground(p, s, Lang::English); }},
        {"background-cn.png", {900, 723},
         [](QPainter& p, const QSize& s) { mainBackground(p, s, Lang::Chinese); }},
        {"close_normal.png", title,
         [](QPainter& p, const QSize& s) { titleGlyph(p, s, TitleGlyph::Close, false); }},
        {"close_clicked.png", title,
         [](QPainter& p, const QSize& s) { titleGlyph(p, s, TitleGlyph::Close, true); }},
        {"menu_normal.png", title,
         [](QPainter& p, const QSize& s) { titleGlyph(p, s, TitleGlyph::Menu, false); }},
        {"menu_clicked.png", title,
         [](QPainter& p, const QSize& s) { titleGlyph(p, s, TitleGlyph::Menu, true); }},
        {"mini_normal.png", title,
         [](QPainter& p, const QSize& s) { titleGlyph(p, s, TitleGlyph::Minimise, false); }},
        {"mini_clicked.png", title,
         [](QPainter& p, const QSize& s) { titleGlyph(p, s, TitleGlyph::Minimise, true); }},
        {"connected_icon.png", {12, 12},
         [](QPainter& p, const QSize& s) { statusPlug(p, s, true); }},
        {"disconnected_icon.png", {12, 12},
         [](QPainter& p, const QSize& s) { statusPlug(p, s, false); }},
        {"tabnormal.png", {100, 70}, [](QPainter& p, const QSize& s) { tabNormal(p, s, false); }},
        {"tabnormal_1btn.png", {100, 70},
         [](QPainter& p, const QSize& s) { tabNormal(p, s, true); }},
        {"tabselected.png", {100, 70}, tabSelected},
        {"tabdownload_icon.png", tab, badgeWith(Palette::green, downloadGlyph, 0.12)},
        {"serialport_icon.png", tab, badgeWith(Palette::blueDark, serialGlyph, 0.1)},
        {"tabtools_icon.png", tab, badgeWith(Palette::slate, gear, 0.14)},
        {"tabdownload_icon_disable.png", tab, badgeWith(disabledFill, downloadGlyph, 0.12)},
        {"serialport_icon_disabled.png", tab, badgeWith(disabledFill, serialGlyph, 0.1)},
        {"tabtools_icon_disabled.png", tab, badgeWith(disabledFill, gear, 0.14)},
        {"wren210_icon.png", row, badgeWith(Palette::blueDark, board, 0.06)},
        {"android_logo.png", row, badgeWith(Palette::green, handset, 0.06)},
        {"wince_icon.png", row, badgeWith(Palette::amber, window, 0.08)},
        {"linux_logo.png", row,
         [](QPainter& p, const QSize& s) {
             const QRectF whole(0.5, 0.5, s.width() - 1, s.height() - 1);
             badge(p, whole, Palette::mist);
             penguin(p, whole.adjusted(1, 1, -1, -1));
         }},
        {"nonos.png", row, badgeWith(Palette::red, chip, 0.06)},
        {"homeviewbackground.png", {690, 554},
         [](QPainter& p, const QSize& s) { homeBackground(p, s, Lang::English); }},
        {"homeviewbackground-cn.png", {690, 554},
         [](QPainter& p, const QSize& s) { homeBackground(p, s, Lang::Chinese); }},
        {"viewbackground.png", {690, 621}, utilitiesBackground},
        {"aboueme.png", {690, 607},
         [](QPainter& p, const QSize& s) { aboutPicture(p, s, Lang::English); }},
        {"aboueme-cn.png", {690, 607},
         [](QPainter& p, const QSize& s) { aboutPicture(p, s, Lang::Chinese); }},
        {"putty.png", {80, 80},
         [](QPainter& p, const QSize& s) { terminal(p, QRectF(QPointF(), s)); }},
        {"pellmark.png", {256, 256}, sdCardTool},
        {"appdemo_icon64.png", {64, 64}, appDemo},
        {"app-about.png", {64, 64}, aboutMark},
        {"connect.png", {32, 32}, connectBadge},
        {"select.png", {16, 16}, [](QPainter& p, const QSize& s) { checkBox(p, s, true); }},
        {"unselect.png", {16, 16}, [](QPainter& p, const QSize& s) { checkBox(p, s, false); }},
        {"updatealert.png", {32, 32}, updateAlert},
        {"updatealert_background.png", {320, 120}, updateAlertBackground},
        {"usbplugin.png", {48, 48}, [](QPainter& p, const QSize& s) { usbPlug(p, s, true); }},
        {"usbunplugin.png", {48, 48}, [](QPainter& p, const QSize& s) { usbPlug(p, s, false); }},
        {"warning.png", {32, 32}, warningSign},
    };
}

QList<QImage> loadingFrames(QList<QColor>* colours)
{
    // Index i is the blue at i/255 coverage over white, so antialiased edges survive.
    colours->clear();
    for (int i = 0; i < 256; ++i) {
        const qreal t = i / 255.0;
        colours->append(QColor::fromRgbF(1 - t * (1 - Palette::blueDark.redF()),
                                         1 - t * (1 - Palette::blueDark.greenF()),
                                         1 - t * (1 - Palette::blueDark.blueF())));
    }

    const int spokes = 12;
    const QSize size(32, 32);
    QList<QImage> frames;
    for (int frame = 0; frame < spokes; ++frame) {
        QImage coverage(size, QImage::Format_Grayscale8);
        coverage.fill(0);
        QPainter p(&coverage);
        p.setRenderHint(QPainter::Antialiasing);
        p.translate(16, 16);
        for (int i = 0; i < spokes; ++i) {
            // The spoke at the head of the turn is darkest; the tail fades out.
            const int age = (frame - i + spokes) % spokes;
            const int level = qMax(40, 255 - age * 22);
            p.save();
            p.rotate(360.0 * i / spokes);
            p.setPen(QPen(QColor(level, level, level), 3, Qt::SolidLine, Qt::RoundCap));
            p.drawLine(QPointF(0, -8), QPointF(0, -13));
            p.restore();
        }
        p.end();

        QImage indexed(size, QImage::Format_Indexed8);
        indexed.setColorCount(256);
        for (int i = 0; i < 256; ++i)
            indexed.setColor(i, colours->at(i).rgb());
        for (int y = 0; y < size.height(); ++y)
            memcpy(indexed.scanLine(y), coverage.constScanLine(y), size_t(size.width()));
        frames.append(indexed);
    }
    return frames;
}
