#include "serial/hled.h"

#include <QImage>
#include <QPainter>
#include <QtTest>

namespace {

const QColor Background(255, 0, 255);

QImage paint(HLed &led, int size)
{
    led.resize(size, size);
    QImage image(size, size, QImage::Format_ARGB32);
    image.fill(Background);
    led.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}

QColor lightened(QColor c, int factor, int times)
{
    for (int i = 0; i < times; ++i)
        c = c.lighter(factor);
    return c;
}

QColor darkened(QColor c, int factor, int times)
{
    for (int i = 0; i < times; ++i)
        c = c.darker(factor);
    return c;
}

bool near(QColor a, QColor b, int tolerance = 14)
{
    return qAbs(a.red() - b.red()) <= tolerance && qAbs(a.green() - b.green()) <= tolerance
        && qAbs(a.blue() - b.blue()) <= tolerance;
}

class CountingLed : public HLed
{
public:
    int paints = 0;

protected:
    void paintEvent(QPaintEvent *event) override
    {
        ++paints;
        HLed::paintEvent(event);
    }
};

} // namespace

class TestHLed : public QObject
{
    Q_OBJECT

private slots:
    void defaultsAndWidth()
    {
        HLed led;
        QCOMPARE(led.sizeHint(), QSize(20, 20));
        QCOMPARE(led.minimumSizeHint(), QSize(16, 16));
        QCOMPARE(led.color(), QColor(Qt::green));
        QVERIFY(led.isOn());
        // The smaller side less two, never below zero.
        const QSize sizes[] = {{40, 20}, {12, 30}, {1, 1}};
        const int widths[] = {18, 10, 0};
        for (int i = 0; i < 3; ++i) {
            led.resize(sizes[i]);
            QCOMPARE(led.ledWidth(), widths[i]);
        }
    }

    void glowAndRim_data()
    {
        QTest::addColumn<bool>("on");
        QTest::addColumn<QColor>("base");
        QTest::newRow("on") << true << QColor(Qt::green);
        QTest::newRow("off") << false << QColor(Qt::darkGray);
    }
    // At 25 x 25 the lamp is 23 wide: 15 glow discs from (5,5) shrinking to (9,9), five
    // lighter shades at factor 117; the rim circle has its centre at (12,12), radius 10.
    void glowAndRim()
    {
        QFETCH(bool, on);
        QFETCH(QColor, base);
        HLed led;
        led.turnOn(on);
        const QImage image = paint(led, 25);
        // The glow steps up five times towards its highlight, off centre at the upper left;
        // between the glow and the rim the body shows its plain colour.
        const QPoint points[] = {{10, 10}, {4, 12}, {3, 12}};
        const QColor expected[] = {lightened(base, 117, 5), lightened(base, 117, 1), base};
        const int tolerance[] = {14, 14, 20};
        for (int i = 0; i < 3; ++i)
            QVERIFY2(near(image.pixelColor(points[i]), expected[i], tolerance[i]), qPrintable(image.pixelColor(points[i]).name()));

        // Brightest where both arc runs start (37.5 degrees below 3 o'clock), darkest where
        // they close (142.5 degrees), after eleven darkenings by 110.
        const QColor light = led.palette().color(QPalette::Light);
        QVERIFY2(near(image.pixelColor(19, 18), light, 20), qPrintable(image.pixelColor(19, 18).name()));
        QVERIFY2(near(image.pixelColor(4, 5), darkened(light, 110, 11), 20), qPrintable(image.pixelColor(4, 5).name()));
        // Nothing is drawn outside the circle.
        QCOMPARE(image.pixelColor(0, 24), Background);
        QCOMPARE(image.pixelColor(24, 0), Background);
    }

    // Widths 0 and 1: no glow, and for 0 nothing at all (and no division by zero).
    void tinyLampsDrawNoGlow()
    {
        HLed led;
        const QColor glow = lightened(QColor(Qt::green), 100 + 260 / 1, 1);
        for (int size : {1, 2, 3}) {
            const QImage image = paint(led, size);
            for (int y = 0; y < size; ++y) {
                for (int x = 0; x < size; ++x) {
                    const QColor c = image.pixelColor(x, y);
                    if (size <= 2)
                        QCOMPARE(c, Background);
                    else
                        QVERIFY2(!near(c, glow, 4), qPrintable(c.name()));
                }
            }
        }
    }

    void switchingAndColour()
    {
        CountingLed led;
        led.turnOff();
        QVERIFY(!led.isOn());
        QVERIFY(near(paint(led, 25).pixelColor(3, 12), QColor(Qt::darkGray), 20));
        led.toggle();
        QVERIFY(led.isOn());
        led.turnOff(false);
        QVERIFY(led.isOn());
        led.turnOn(false);
        QVERIFY(!led.isOn());
        led.turnOn();
        QVERIFY(led.isOn());

        // A new colour asks for a repaint, but the lamp stays green; the same colour asks for none.
        led.show();
        QVERIFY(QTest::qWaitForWindowExposed(&led));
        QTRY_VERIFY(led.paints > 0);
        led.paints = 0;
        led.setColor(Qt::red);
        QTRY_VERIFY(led.paints > 0);
        QCOMPARE(led.color(), QColor(Qt::green));
        QVERIFY(near(paint(led, 25).pixelColor(3, 12), QColor(Qt::green), 20));
        QCoreApplication::processEvents();
        led.paints = 0;
        led.setColor(Qt::green);
        QCoreApplication::processEvents();
        QCOMPARE(led.paints, 0);
    }
};

QTEST_MAIN(TestHLed)
#include "tst_hled.moc"
