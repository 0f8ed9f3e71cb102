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
        QStringList texts;
        for (const MenuButton *row : menu.allButtons())
            texts << row->text();
        QCOMPARE(texts, QStringList({"My development board", "Board is not connected", "Android", "Windows CE",
                                     "Linux", "User bin (No OS)", "Settings", "English / 中文", "About"}));
        QCOMPARE(menu.shownButtons(), menu.allButtons());
        QCOMPARE(selectedRows(menu), QList<int>{1});
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

    void cpuRecognized_data()
    {
        QTest::addColumn<int>("selected"); // 0: nothing selected, as after every row was enabled from outside
        QTest::addColumn<QStringList>("switches");
        QTest::addColumn<int>("selectedAfter");
        QTest::newRow("selection kept") << 5 << QStringList() << 5;
        QTest::newRow("no selection: back to the first row") << 0 << QStringList{"homeView"} << 1;
    }

    void cpuRecognized()
    {
        QFETCH(int, selected);
        TMenu menu;
        menu.resize(200, 400);
        for (MenuButton *row : menu.allButtons())
            row->setEnabled(true);
        if (selected)
            QTest::mouseClick(menu.allButtons().at(selected - 1), Qt::LeftButton);
        QSignalSpy spy(&menu, &TMenu::switchView);
        menu.CpuRecognized();
        QStringList switches;
        for (const QList<QVariant> &arguments : std::as_const(spy))
            switches << arguments.at(0).toString();
        QTEST(switches, "switches");
        QFETCH(int, selectedAfter);
        QCOMPARE(selectedRows(menu), QList<int>{selectedAfter});
        QCOMPARE(menu.shownButtons().size(), 9);
        // Rows stack 32 pixels apart, as wide as the menu.
        QCOMPARE(menu.allButtons().at(8)->geometry(), QRect(0, 256, 200, 32));
    }
};

QTEST_MAIN(TestTMenu)
#include "tst_tmenu.moc"
