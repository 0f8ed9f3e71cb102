#include "shell/menubutton.h"
#include "shell/tmenu.h"

#include <QFontMetrics>
#include <QSignalSpy>
#include <QTest>

class TestTMenu : public QObject
{
    Q_OBJECT
private:
    static QList<int> selectedRows(const TMenu &menu)
    {
        QList<int> rows;
        for (int i = 0; i < menu.allButtons().size(); ++i)
            if (!menu.allButtons().at(i)->isEnabled())
                rows.append(i + 1);
        return rows;
    }

private Q_SLOTS:
    void rows()
    {
        TMenu menu;
        const QStringList texts = {"My development board", "Board is not connected", "Android", "Windows CE",
                                   "Linux", "User bin (No OS)", "Settings", "English / 中文", "About"};
        const QList<int> indents = {0, 1, 0, 0, 0, 0, 1, 1, 1};
        const QList<bool> grey = {false, true, false, false, false, false, true, false, false};
        const QList<bool> icon = {true, false, true, true, true, true, false, false, false};
        QCOMPARE(menu.allButtons().size(), 9);
        QCOMPARE(menu.shownButtons(), menu.allButtons());
        for (int i = 0; i < 9; ++i) {
            const MenuButton *row = menu.allButtons().at(i);
            QCOMPARE(row->text(), texts.at(i));
            QCOMPARE(row->indentLevel, indents.at(i));
            QCOMPARE(row->greyText, grey.at(i));
            QCOMPARE(!row->menuIcon.isNull(), icon.at(i));
        }
        QCOMPARE(selectedRows(menu), QList<int>{1});
    }

    void layout()
    {
        TMenu menu;
        menu.resize(200, 581);
        menu.show();
        QVERIFY(QTest::qWaitForWindowExposed(&menu));
        for (int i = 0; i < 9; ++i) {
            QCOMPARE(menu.allButtons().at(i)->geometry(), QRect(0, 32 * i, 200, 32));
            QVERIFY(menu.allButtons().at(i)->isVisible());
        }
    }

    // In the 12 point English default the longer captions run past the 200-pixel menu;
    // the rows then share a smaller size in which all of them fit, the status row in
    // both its texts.
    void captionsFitTheRow_data()
    {
        QTest::addColumn<int>("pointSize");
        QTest::addColumn<bool>("connected");
        QTest::newRow("12 pt, no board") << 12 << false;
        QTest::newRow("12 pt, board") << 12 << true;
        QTest::newRow("16 pt, no board") << 16 << false;
    }
    void captionsFitTheRow()
    {
        QFETCH(int, pointSize);
        QFETCH(bool, connected);
        TMenu menu;
        QFont f = menu.font();
        f.setPointSize(pointSize);
        menu.setFont(f);
        menu.resize(200, 581);
        menu.USBConnected(connected);
        menu.show();
        QVERIFY(QTest::qWaitForWindowExposed(&menu));
        const QFont shared = menu.allButtons().first()->font();
        QVERIFY(shared.pointSize() <= pointSize);
        for (MenuButton *row : menu.allButtons()) {
            QCOMPARE(row->font(), shared);
            QVERIFY2(QFontMetrics(shared).horizontalAdvance(row->text()) <= 200 - row->textRect().x(),
                     qPrintable(row->text()));
        }
    }

    void click_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<QString>("view");
        QTest::newRow("board") << 1 << "homeView";
        QTest::newRow("status row") << 2 << "homeView";
        QTest::newRow("Android") << 3 << "androidView";
        QTest::newRow("Windows CE") << 4 << "winCEView";
        QTest::newRow("Linux") << 5 << "linuxView";
        QTest::newRow("user bin") << 6 << "nonOSViewRun";
        QTest::newRow("Settings heading") << 7 << "";
        QTest::newRow("language") << 8 << "languageSettingView";
        QTest::newRow("about") << 9 << "aboutView";
    }

    void click()
    {
        QFETCH(int, row);
        QFETCH(QString, view);
        TMenu menu;
        menu.resize(200, 400);
        // Start from another selection so that a click on row 1 is a real change.
        QTest::mouseClick(menu.allButtons().at(row == 9 ? 7 : 8), Qt::LeftButton);
        QSignalSpy spy(&menu, &TMenu::switchView);
        QTest::mouseClick(menu.allButtons().at(row - 1), Qt::LeftButton);
        if (view.isEmpty()) {
            QCOMPARE(spy.count(), 0);
        } else {
            QCOMPARE(spy.count(), 1);
            QCOMPARE(spy.at(0).at(0).toString(), view);
        }
        QCOMPARE(selectedRows(menu), QList<int>{row});
    }

    void statusRow()
    {
        TMenu menu;
        MenuButton *status = menu.allButtons().at(1);
        menu.USBConnected(true);
        QCOMPARE(status->text(), QStringLiteral("Connected"));
        menu.USBConnected(false);
        QCOMPARE(status->text(), QStringLiteral("Board is not connected"));
    }

    void cpuRecognizedKeepsSelection()
    {
        TMenu menu;
        menu.resize(200, 400);
        QTest::mouseClick(menu.allButtons().at(4), Qt::LeftButton);
        QSignalSpy spy(&menu, &TMenu::switchView);
        menu.CpuRecognized();
        QCOMPARE(spy.count(), 0);
        QCOMPARE(selectedRows(menu), QList<int>{5});
        QCOMPARE(menu.shownButtons().size(), 9);
    }

    void cpuRecognizedRestoresFirstRow()
    {
        TMenu menu;
        menu.resize(200, 400);
        // Nothing selected, as after every row was enabled from outside.
        for (MenuButton *row : menu.allButtons())
            row->setEnabled(true);
        QSignalSpy spy(&menu, &TMenu::switchView);
        menu.CpuRecognized();
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.at(0).at(0).toString(), QStringLiteral("homeView"));
        QCOMPARE(selectedRows(menu), QList<int>{1});
        QCOMPARE(menu.allButtons().at(8)->geometry(), QRect(0, 256, 200, 32));
    }
};

QTEST_MAIN(TestTMenu)
#include "tst_tmenu.moc"
