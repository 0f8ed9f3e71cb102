#include "shell/appbutton.h"
#include "shell/misctoolswidget.h"

#include <QTest>

class TestMiscToolsWidget : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void launchersInOneRow();
    void backgroundCoversThePage();
};

void TestMiscToolsWidget::launchersInOneRow()
{
    MiscToolsWidget page;
    page.resize(890, 621);
    page.show();
    auto *narrow = new AppButton(QStringLiteral("Go"), QPixmap(), QPixmap());
    auto *wide = new AppButton(QStringLiteral("A launcher with a long name"), QPixmap(), QPixmap());
    auto *last = new AppButton(QStringLiteral("Demo"), QPixmap(), QPixmap());
    page.addAppButton(narrow);
    page.addAppButton(wide);
    page.addAppButton(last);
    page.resize(900, 621);

    QCOMPARE(narrow->parent(), &page);
    QCOMPARE(narrow->pos(), QPoint(40, 40));
    QCOMPARE(wide->pos(), QPoint(40 + 64 + 40, 40));
    QVERIFY(wide->width() > 64);
    QCOMPARE(last->pos(), QPoint(wide->x() + wide->width() + 40, 40));
    QCOMPARE(last->size(), last->buttonSize());
}

// The page is 890 x 621 in the main window; its picture must reach every corner, or the
// window's own grey shows as a band along an edge.
void TestMiscToolsWidget::backgroundCoversThePage()
{
    MiscToolsWidget page;
    page.resize(890, 621);
    const QImage shot = page.grab().toImage();
    const QColor picture(246, 248, 249);
    for (const QPoint corner : {QPoint(0, 0), QPoint(889, 0), QPoint(0, 620), QPoint(889, 620), QPoint(445, 620)})
        QCOMPARE(shot.pixelColor(corner), picture);
}

QTEST_MAIN(TestMiscToolsWidget)
#include "tst_misctoolswidget.moc"
