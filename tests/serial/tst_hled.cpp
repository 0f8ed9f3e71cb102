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
    void sizes();
    void ledWidth_data();
    void ledWidth();
    void glowAndRim_data();
    void glowAndRim();
    void tinyLampsDrawNoGlow_data();
    void tinyLampsDrawNoGlow();
    void switching();
    void setColorRepaintsButKeepsGreen();
};

void TestHLed::sizes()
{
    HLed led;
    QCOMPARE(led.sizeHint(), QSize(20, 20));
    QCOMPARE(led.minimumSizeHint(), QSize(16, 16));
    QCOMPARE(led.color(), QColor(Qt::green));
    QVERIFY(led.isOn());
}

void TestHLed::ledWidth_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("width");
    QTest::newRow("25x25") << QSize(25, 25) << 23;
    QTest::newRow("wide") << QSize(40, 20) << 18;
    QTest::newRow("tall") << QSize(12, 30) << 10;
    QTest::newRow("2x2") << QSize(2, 2) << 0;
    QTest::newRow("1x1") << QSize(1, 1) << 0;
}

void TestHLed::ledWidth()
{
    QFETCH(QSize, size);
    HLed led;
    led.resize(size);
    QCOMPARE(led.ledWidth(), size.width() < 2 ? 0 : qMin(size.width(), size.height()) - 2);
    QTEST(led.ledWidth(), "width");
}

void TestHLed::glowAndRim_data()
{
    QTest::addColumn<bool>("on");
    QTest::addColumn<QColor>("base");
    QTest::newRow("on") << true << QColor(Qt::green);
    QTest::newRow("off") << false << QColor(Qt::darkGray);
}

// At 25 x 25 the lamp is 23 wide: 15 glow discs from (5,5) shrinking to (9,9), five
// lighter shades at factor 117; the rim circle has its centre at (12,12), radius 10.
void TestHLed::glowAndRim()
{
    QFETCH(bool, on);
    QFETCH(QColor, base);
    HLed led;
    led.turnOn(on);
    const QImage image = paint(led, 25);

    // The glow steps up five times towards its highlight, off centre at the upper left.
    const QColor highlight = image.pixelColor(10, 10);
    QVERIFY2(near(highlight, lightened(base, 117, 5)), qPrintable(highlight.name()));
    QVERIFY2(near(image.pixelColor(12, 12), lightened(base, 117, 5), 40), qPrintable(image.pixelColor(12, 12).name()));
    const QColor firstStep = image.pixelColor(4, 12);
    QVERIFY2(near(firstStep, lightened(base, 117, 1)), qPrintable(firstStep.name()));
    // Between the glow and the rim the body shows its plain colour.
    const QColor body = image.pixelColor(3, 12);
    QVERIFY2(near(body, base, 20), qPrintable(body.name()));

    // Brightest where both arc runs start (37.5 degrees below 3 o'clock), darkest where
    // they close (142.5 degrees), after eleven darkenings by 110.
    const QColor light = led.palette().color(QPalette::Light);
    const QColor lowerRight = image.pixelColor(19, 18);
    const QColor upperLeft = image.pixelColor(4, 5);
    QVERIFY2(near(lowerRight, light, 20), qPrintable(lowerRight.name()));
    QVERIFY2(near(upperLeft, darkened(light, 110, 11), 20), qPrintable(upperLeft.name()));
    // Nothing is drawn outside the circle.
    QCOMPARE(image.pixelColor(0, 24), Background);
    QCOMPARE(image.pixelColor(24, 0), Background);
}

void TestHLed::tinyLampsDrawNoGlow_data()
{
    QTest::addColumn<int>("size");
    QTest::newRow("1 (width 0)") << 1;
    QTest::newRow("2 (width 0)") << 2;
    QTest::newRow("3 (width 1)") << 3;
}

void TestHLed::tinyLampsDrawNoGlow()
{
    QFETCH(int, size);
    HLed led;
    const QImage image = paint(led, size);
    const QColor glow = lightened(QColor(Qt::green), 100 + 260 / 1, 1);
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

void TestHLed::switching()
{
    HLed led;
    led.turnOff();
    QVERIFY(!led.isOn());
    QVERIFY(near(paint(led, 25).pixelColor(3, 12), QColor(Qt::darkGray), 20));
    led.toggle();
    QVERIFY(led.isOn());
    led.toggle();
    QVERIFY(!led.isOn());
    led.turnOff(false);
    QVERIFY(led.isOn());
    led.turnOn(false);
    QVERIFY(!led.isOn());
    led.turnOn();
    QVERIFY(led.isOn());
    QVERIFY(near(paint(led, 25).pixelColor(3, 12), QColor(Qt::green), 20));
}

void TestHLed::setColorRepaintsButKeepsGreen()
{
    CountingLed led;
    led.resize(25, 25);
    led.show();
    QVERIFY(QTest::qWaitForWindowExposed(&led));
    QTRY_VERIFY(led.paints > 0);

    led.paints = 0;
    led.setColor(Qt::red);
    QTRY_VERIFY(led.paints > 0);
    QCOMPARE(led.color(), QColor(Qt::green));
    const QColor body = paint(led, 25).pixelColor(3, 12);
    QVERIFY2(near(body, QColor(Qt::green), 20), qPrintable(body.name()));

    // The same colour again changes nothing and asks for no repaint.
    QCoreApplication::processEvents();
    led.paints = 0;
    led.setColor(Qt::green);
    QCoreApplication::processEvents();
    QCOMPARE(led.paints, 0);
}

QTEST_MAIN(TestHLed)
#include "tst_hled.moc"
