// The hand-painted controls as a user sees them: fills per state, the picture and caption
// in their places, the lamp's glow. Pictures handed in are solid colours no control uses,
// so a match is the picture; glyphs are unsmoothed, so text is found by colour.

#include "serial/hled.h"
#include "shell/appbutton.h"
#include "shell/menubutton.h"
#include "shell/misctoolswidget.h"
#include "shell/picturesahead.h"
#include "shell/thomeview.h"
#include "shell/tabbutton.h"
#include "shell/tbutton.h"
#include "shell/titlebutton.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QColor kIdle(10, 20, 30), kHeld(40, 160, 60), kMagenta(255, 0, 255);

QImage render(QWidget *w, const QColor &under = kMagenta)
{
    QImage image(w->size(), QImage::Format_RGB32);
    image.fill(under);
    w->render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}
QRect boundsOf(const QImage &image, const QColor &colour)
{
    QRect bounds;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) == colour.rgb())
                bounds |= QRect(x, y, 1, 1);
    return bounds;
}
QPixmap solid(const QColor &colour, int size)
{
    QPixmap p(size, size);
    p.fill(colour);
    return p;
}

} // namespace

class TestPainting : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void controls()
    {
        QFont font = QApplication::font();
        font.setPixelSize(14);
        font.setStyleStrategy(QFont::NoAntialias);
        QApplication::setFont(font);
        QTemporaryDir dir;
        QVERIFY(solid(kIdle, 11).save(dir.filePath("n.png")) && solid(kHeld, 11).save(dir.filePath("p.png")));
        // Held or disabled, the close button turns red and shows its other picture; a menu row turns blue.
        const QColor grey(233, 236, 238), blue(125, 185, 216);
        const QList<std::tuple<int, QColor, QColor, QColor>> states = {{0, blue, QColor(194, 229, 251), grey},
            {1, QColor(140, 198, 42), QColor(217, 93, 77), blue}, {2, QColor(220, 220, 220), QColor(217, 93, 77), blue}};
        for (const auto &[state, fill, titleFill, rowFill] : states) {
            TButton button(QStringLiteral("Flash"));
            TitleButton title(dir.filePath("n.png"), dir.filePath("p.png"));
            TabButton tab;
            tab.setText(QStringLiteral("Flash"));
            MenuButton row;
            for (QAbstractButton *b : std::initializer_list<QAbstractButton *>{&button, &title, &tab, &row}) {
                b->setEnabled(state != 2);
                b->setDown(state == 1);
            }
            button.resize(120, 40);
            QImage image = render(&button);
            QCOMPARE(QColor(image.pixel(0, 0)), fill);
            QVERIFY(qAbs(boundsOf(image, Qt::white).center().x() - 60) <= 2);
            title.resize(32, 25);
            image = render(&title);
            QCOMPARE(QColor(image.pixel(0, 0)), titleFill);
            QCOMPARE(boundsOf(image, state ? kHeld : kIdle), QRect(10, 7, 11, 11));
            row.resize(200, 32);
            QCOMPARE(QColor(render(&row).pixel(0, 0)), rowFill);
            tab.resize(100, 76); // held or chosen (disabled), a tab's caption shows white under its icon
            QVERIFY(!state || boundsOf(render(&tab), Qt::white).top() >= 50);
        }

        // A held launcher shows its other picture a pixel down and right, and a blue caption;
        // the lamp glows five steps brighter towards (10,10), and draws nothing outside its circle.
        for (bool held : {false, true}) {
            AppButton button(QStringLiteral("Demo"), solid(kIdle, 80), solid(kHeld, 80));
            button.setDown(held);
            const QImage image = render(&button, Qt::yellow);
            QCOMPARE(boundsOf(image, held ? kHeld : kIdle), QRect(held, held, 64, 64) & image.rect());
            QVERIFY(boundsOf(image, held ? QColor(11, 152, 230) : QColor(Qt::black)).top() >= 69);
            HLed led;
            led.turnOn(held);
            led.resize(25, 25);
            const QImage lamp = render(&led);
            QColor glow = held ? QColor(Qt::green) : QColor(Qt::darkGray);
            for (int i = 0; i < 5; ++i)
                glow = glow.lighter(117);
            const QColor centre = lamp.pixelColor(10, 10);
            QVERIFY2(qAbs(centre.red() - glow.red()) + qAbs(centre.green() - glow.green()) + qAbs(centre.blue() - glow.blue()) <= 30,
                     qPrintable(centre.name()));
            QCOMPARE(lamp.pixelColor(0, 24), kMagenta);
        }

        // The tools page's picture is narrower than the page: it must still reach every edge.
        MiscToolsWidget tools;
        tools.resize(890, 621);
        const QImage shot = tools.grab().toImage();
        for (const QPoint corner : {QPoint(0, 0), QPoint(889, 0), QPoint(889, 620)})
            QCOMPARE(shot.pixelColor(corner), QColor(246, 248, 249));
    }

    // Pictures decoded ahead are the pictures asked for, each whole once; what is not
    // ahead (any more) is read on the spot, and a missing one stays null instead of hanging.
    void picturesAhead()
    {
        QTemporaryDir dir;
        const QString idle = dir.filePath("idle.png"), held = dir.filePath("held.png"), gone = dir.filePath("gone.png");
        QVERIFY(solid(kIdle, 7).save(idle) && solid(kHeld, 9).save(held));
        PicturesAhead::decode({idle, gone, held, idle});
        for (int round = 0; round < 2; ++round) {
            QCOMPARE(PicturesAhead::take(held).toImage().pixelColor(8, 8), kHeld);
            QCOMPARE(PicturesAhead::take(idle).size(), QSize(7, 7));
            QVERIFY(PicturesAhead::take(gone).isNull());
        }
        // The home view takes its picture in when it is first painted.
        THomeView home;
        home.resize(690, 554);
        const QImage picture(THomeView::backgroundPath());
        QVERIFY(!picture.isNull());
        PicturesAhead::decode({THomeView::backgroundPath()});
        QCOMPARE(home.grab().toImage().pixelColor(5, 5), picture.pixelColor(5, 5));
    }
};

QTEST_MAIN(TestPainting)
#include "tst_painting.moc"
