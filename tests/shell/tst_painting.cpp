// The hand-painted controls and pages as a user sees them: fills per state, the picture
// and caption in their places, the lamp's glow. Pictures handed in are solid colours no
// control uses, so a match is the picture; glyphs are unsmoothed, so text is found by colour.

#include "serial/hled.h"
#include "shell/appbutton.h"
#include "shell/menubutton.h"
#include "shell/misctoolswidget.h"
#include "shell/tabbutton.h"
#include "shell/taboutview.h"
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
QPixmap solid(const QColor &colour, int w, int h)
{
    QPixmap p(w, h);
    p.fill(colour);
    return p;
}
// state: 0 normal, 1 held, 2 disabled
void setState(QAbstractButton *b, int state)
{
    b->setEnabled(state != 2);
    b->setDown(state == 1);
}
bool near(const QColor &a, const QColor &b, int tolerance)
{
    return qAbs(a.red() - b.red()) <= tolerance && qAbs(a.green() - b.green()) <= tolerance
           && qAbs(a.blue() - b.blue()) <= tolerance;
}

} // namespace

class TestPainting : public QObject
{
    Q_OBJECT
    QTemporaryDir dir;

private Q_SLOTS:
    void initTestCase()
    {
        QFont font = QApplication::font();
        font.setPixelSize(14);
        font.setStyleStrategy(QFont::NoAntialias);
        QApplication::setFont(font);
    }

    void buttonsPerState_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<QColor>("fill");   // TButton
        QTest::addColumn<QColor>("title");  // TitleButton
        QTest::addColumn<QColor>("menu");   // MenuButton
        QTest::addColumn<QColor>("caption"); // the menu row's and the tab's caption
        QTest::newRow("normal") << 0 << QColor(125, 185, 216) << QColor(194, 229, 251) << QColor(233, 236, 238)
                                << QColor(Qt::black);
        QTest::newRow("held") << 1 << QColor(140, 198, 42) << QColor(217, 93, 77) << QColor(125, 185, 216)
                              << QColor(Qt::white);
        QTest::newRow("disabled") << 2 << QColor(220, 220, 220) << QColor(217, 93, 77) << QColor(125, 185, 216)
                                  << QColor(Qt::white);
    }
    void buttonsPerState()
    {
        QFETCH(int, state);
        QFETCH(QColor, caption);
        const QPixmap picture = solid(state ? kHeld : kIdle, 11, 11);

        TButton button(QStringLiteral("Flash"));
        button.resize(120, 40);
        setState(&button, state);
        QImage image = render(&button);
        QTEST(QColor(image.pixel(0, 0)), "fill");
        const QRect text = boundsOf(image, Qt::white);
        QVERIFY(!text.isNull() && qAbs(text.center().x() - 60) <= 2 && qAbs(text.center().y() - 20) <= 3);

        QVERIFY(solid(kIdle, 11, 11).save(dir.filePath("n.png")) && solid(kHeld, 11, 11).save(dir.filePath("p.png")));
        TitleButton title(dir.filePath("n.png"), dir.filePath("p.png"));
        title.resize(32, 25);
        setState(&title, state);
        image = render(&title);
        QTEST(QColor(image.pixel(0, 0)), "title");
        QCOMPARE(boundsOf(image, state ? kHeld : kIdle), QRect(10, 7, 11, 11));

        MenuButton row;
        row.setText(QStringLiteral("Linux"));
        row.indentLevel = 1;
        row.menuIcon = solid(kIdle, 48, 48);
        row.resize(200, 32);
        setState(&row, state);
        image = render(&row);
        QTEST(QColor(image.pixel(199, 31)), "menu");
        QCOMPARE(boundsOf(image, kIdle), QRect(0, 4, 24, 24));
        const QRect rowText = boundsOf(image, caption);
        QVERIFY(rowText.left() >= 58 && rowText.left() <= 61 && qAbs(rowText.center().y() - 16) <= 3);

        TabButton tab;
        tab.setText(QStringLiteral("Download"));
        tab.tabIcon = solid(kIdle, 20, 20);
        tab.selectedIcon = solid(kHeld, 50, 50);
        tab.normalBackground = solid(QColor(200, 120, 20), 100, 70);
        tab.selectedBackground = solid(QColor(20, 90, 170), 100, 70);
        tab.resize(100, 70);
        setState(&tab, state);
        image = render(&tab);
        QCOMPARE(boundsOf(image, state ? kHeld : kIdle), QRect(32, 12, 36, 36));
        const QRect tabText = boundsOf(image, state ? QColor(Qt::white) : QColor(86, 124, 142));
        QVERIFY(QRect(2, 50, 96, 20).contains(tabText) && qAbs(tabText.center().x() - 50) <= 2);
    }

    // A held launcher shows its other picture a pixel down and right, and a blue caption.
    void appButton()
    {
        for (bool held : {false, true}) {
            AppButton button(QStringLiteral("Demo"), solid(kIdle, 80, 80), solid(kHeld, 80, 80));
            const QFontMetrics metrics(button.font());
            QCOMPARE(button.size(), QSize(64, metrics.ascent() + metrics.descent() + 69));
            button.setDown(held);
            const QImage image = render(&button, Qt::yellow);
            QCOMPARE(boundsOf(image, held ? kHeld : kIdle), QRect(held, held, 64, 64) & image.rect());
            const QRect text = boundsOf(image, held ? QColor(11, 152, 230) : QColor(Qt::black));
            QVERIFY(!text.isNull() && text.top() >= 69);
        }
    }

    // At 25 x 25: the glow brightens five times towards (10,10); the body shows its plain
    // colour at the left; nothing is drawn outside the circle.
    void lamp()
    {
        for (bool on : {true, false}) {
            HLed led;
            led.turnOn(on);
            led.resize(25, 25);
            const QColor base = on ? QColor(Qt::green) : QColor(Qt::darkGray);
            const QImage image = render(&led);
            QColor glow = base;
            for (int i = 0; i < 5; ++i)
                glow = glow.lighter(117);
            QVERIFY2(near(image.pixelColor(10, 10), glow, 14), qPrintable(image.pixelColor(10, 10).name()));
            QVERIFY2(near(image.pixelColor(4, 12), base.lighter(117), 14), qPrintable(image.pixelColor(4, 12).name()));
            QVERIFY(near(image.pixelColor(3, 12), base, 20));
            QVERIFY(near(image.pixelColor(19, 18), led.palette().color(QPalette::Light), 20));
            QCOMPARE(image.pixelColor(0, 24), kMagenta);
        }
    }

    void pages()
    {
        TAboutView about;
        about.resize(685, 621);
        const QRect version = boundsOf(render(&about, Qt::black), QColor(192, 192, 192));
        QVERIFY(QRect(685 - 240, 621 - 24, 240, 24).contains(version) && qAbs(version.center().x() - 565) <= 2);

        // The tools page's picture is narrower than the page: it must still reach every edge.
        MiscToolsWidget tools;
        tools.resize(890, 621);
        const QImage shot = tools.grab().toImage();
        for (const QPoint corner : {QPoint(0, 0), QPoint(889, 0), QPoint(889, 620)})
            QCOMPARE(shot.pixelColor(corner), QColor(246, 248, 249));
    }
};

QTEST_MAIN(TestPainting)
#include "tst_painting.moc"
