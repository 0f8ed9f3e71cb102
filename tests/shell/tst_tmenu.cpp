#include "shell/menubutton.h"
#include "shell/tmenu.h"

#include <QFontMetrics>
#include <QSignalSpy>
#include <QTest>

namespace {
QList<int> selectedRows(const TMenu &menu)
{
    QList<int> rows;
    for (int i = 0; i < menu.allButtons().size(); ++i)
        if (!menu.allButtons().at(i)->isEnabled())
            rows.append(i + 1);
    return rows;
}
} // namespace

class TestTMenu : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Each row leads to its view and becomes the one selected; "Settings" is a heading only.
    void clicks()
    {
        TMenu menu;
        menu.resize(200, 400);
        QCOMPARE(selectedRows(menu), QList<int>{1});
        const QStringList views = {"homeView", "homeView", "androidView", "winCEView", "linuxView",
                                   "nonOSViewRun", "", "languageSettingView", "aboutView"};
        for (int row = 9; row >= 1; --row) {
            QSignalSpy spy(&menu, &TMenu::switchView);
            QTest::mouseClick(menu.allButtons().at(row - 1), Qt::LeftButton);
            QCOMPARE(spy.size(), views[row - 1].isEmpty() ? 0 : 1);
            if (!spy.isEmpty())
                QCOMPARE(spy.at(0).at(0).toString(), views[row - 1]);
            QCOMPARE(selectedRows(menu), QList<int>{row});
        }
        menu.USBConnected(true);
        QCOMPARE(menu.allButtons().at(1)->text(), QStringLiteral("Connected"));
        menu.USBConnected(false);
        QCOMPARE(menu.allButtons().at(1)->text(), QStringLiteral("Board is not connected"));

        // A recognised board with nothing selected brings back the first row.
        for (MenuButton *row : menu.allButtons())
            row->setEnabled(true);
        QSignalSpy spy(&menu, &TMenu::switchView);
        menu.CpuRecognized();
        QCOMPARE(spy.size(), 1);
        QCOMPARE(selectedRows(menu), QList<int>{1});
    }

    // At the 12 point English default the rows share a smaller size in which all fit.
    void captionsFitTheRow()
    {
        for (bool connected : {false, true}) {
            TMenu menu;
            QFont f = menu.font();
            f.setPointSize(12);
            menu.setFont(f);
            menu.resize(200, 581);
            menu.USBConnected(connected);
            menu.show();
            QVERIFY(QTest::qWaitForWindowExposed(&menu));
            const QFont shared = menu.allButtons().first()->font();
            for (MenuButton *row : menu.allButtons()) {
                QCOMPARE(row->font(), shared);
                QVERIFY2(QFontMetrics(shared).horizontalAdvance(row->text()) <= 200 - row->textRect().x(),
                         qPrintable(row->text()));
            }
        }
    }
};

QTEST_MAIN(TestTMenu)
#include "tst_tmenu.moc"
