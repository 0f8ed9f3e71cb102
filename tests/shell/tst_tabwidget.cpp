#include "shell/tabbutton.h"
#include "shell/tabwidget.h"

#include <QSignalSpy>
#include <QTest>

class TestTabWidget : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void startsOnDownload();
    void clicks_data();
    void clicks();
};

void TestTabWidget::startsOnDownload()
{
    TabWidget strip;
    QCOMPARE(strip.size(), QSize(300, 70));
    const QList<TabButton *> tabs = strip.tabs();
    QCOMPARE(tabs.size(), 3);
    QCOMPARE(tabs.at(0)->text(), QStringLiteral("Download"));
    QCOMPARE(tabs.at(1)->text(), QStringLiteral("Serial Port"));
    QCOMPARE(tabs.at(2)->text(), QStringLiteral("Utilities"));
    QVERIFY(tabs.at(0)->firstTab);
    QVERIFY(!tabs.at(1)->firstTab && !tabs.at(2)->firstTab);
    QVERIFY(!tabs.at(0)->isEnabled());
    QVERIFY(tabs.at(1)->isEnabled() && tabs.at(2)->isEnabled());

    strip.show();
    for (int i = 0; i < tabs.size(); ++i)
        QCOMPARE(tabs.at(i)->geometry(), QRect(100 * i, 0, 100, 70));
}

void TestTabWidget::clicks_data()
{
    QTest::addColumn<QList<int>>("clicked");
    QTest::addColumn<QStringList>("switches");
    QTest::addColumn<int>("serialOpens");
    QTest::addColumn<int>("selected");

    QTest::newRow("utilities") << QList<int>{2} << QStringList{QStringLiteral("tools")} << 0 << 2;
    QTest::newRow("back to download") << QList<int>{2, 0}
                                      << QStringList{QStringLiteral("tools"), QStringLiteral("burnSystem")} << 0 << 0;
    QTest::newRow("serial keeps download") << QList<int>{1, 1} << QStringList{} << 2 << 0;
    QTest::newRow("serial keeps utilities") << QList<int>{2, 1} << QStringList{QStringLiteral("tools")} << 1 << 2;
}

void TestTabWidget::clicks()
{
    QFETCH(QList<int>, clicked);
    QFETCH(QStringList, switches);
    QFETCH(int, serialOpens);
    QFETCH(int, selected);

    TabWidget strip;
    strip.show();
    QSignalSpy switchSpy(&strip, &TabWidget::switchTag);
    QSignalSpy serialSpy(&strip, &TabWidget::openSerialPortAss);
    const QList<TabButton *> tabs = strip.tabs();
    for (int index : clicked)
        QTest::mouseClick(tabs.at(index), Qt::LeftButton);

    QStringList names;
    for (const QList<QVariant> &arguments : std::as_const(switchSpy))
        names << arguments.at(0).toString();
    QCOMPARE(names, switches);
    QCOMPARE(serialSpy.size(), serialOpens);
    // The chosen tab is the one disabled tab.
    for (int i = 0; i < tabs.size(); ++i)
        QCOMPARE(tabs.at(i)->isEnabled(), i != selected);
}

QTEST_MAIN(TestTabWidget)
#include "tst_tabwidget.moc"
