#include "paintprobe.h"

#include "shell/taboutview.h"

#include <QElapsedTimer>
#include <QPushButton>
#include <QTest>

class TestTAboutView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void updateCheckIsOnlyAPause();
    void versionAtBottomRight();
};

void TestTAboutView::initTestCase()
{
    PaintProbe::useCrispFont();
}

void TestTAboutView::updateCheckIsOnlyAPause()
{
    TAboutView view;
    view.show();
    auto *button = view.findChild<QPushButton *>();
    QVERIFY(button);
    QVERIFY(!button->isVisible()); // the check is not offered
    QElapsedTimer clock;
    clock.start();
    button->click();
    QCOMPARE(button->text(), QStringLiteral("Checking ..."));
    QVERIFY(!button->isEnabled());

    QTRY_VERIFY_WITH_TIMEOUT(button->isEnabled(), 5000);
    QVERIFY2(clock.elapsed() >= 2000, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(button->text(), QStringLiteral("Check for updates"));
}

void TestTAboutView::versionAtBottomRight()
{
    TAboutView view;
    view.resize(685, 621);
    const QImage image = PaintProbe::render(&view, Qt::black);
    const QRect text = PaintProbe::boundsOf(image, QColor(192, 192, 192));
    QVERIFY(!text.isNull());
    QVERIFY2(QRect(685 - 240, 621 - 24, 240, 24).contains(text),
             qPrintable(QStringLiteral("%1,%2 %3x%4").arg(text.x()).arg(text.y()).arg(text.width()).arg(text.height())));
    QVERIFY(qAbs(text.center().x() - (685 - 120)) <= 2);
}

QTEST_MAIN(TestTAboutView)
#include "tst_taboutview.moc"
