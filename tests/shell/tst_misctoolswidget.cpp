#include "shell/appbutton.h"
#include "shell/misctoolswidget.h"

#include <QTest>

class TestMiscToolsWidget : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void launchersInOneRow();
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

QTEST_MAIN(TestMiscToolsWidget)
#include "tst_misctoolswidget.moc"
