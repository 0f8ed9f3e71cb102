// The download tab: its menu, which view shows when, and locking while a page flashes.

#include "app/globals.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/virtualboard.h"
#include "flashing/tconfigview.h"
#include "shell/burnsystemwidget.h"
#include "shell/menubutton.h"
#include "shell/thomeview.h"
#include "shell/tmainwidget.h"
#include "shell/tmenu.h"

#include <QPushButton>
#include <QTest>

class TstBurnSystemWidget : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // A page asked for before the board came shows the home view, then itself once the
    // board is there; "Settings" is a heading that leaves the page; the flashing page
    // locks the others (the log's own "Clear" stays usable).
    void viewsAndLocking()
    {
        TMainWidget window;
        gUsbDevCommand->Stop();
        auto board = std::make_shared<VirtualBoard>(TUsbDevCommand::CPU_4412);
        board->unplug();
        gUsbDevCommand->setTransport(board);
        auto *tab = window.findChild<BurnSystemWidget *>();
        window.show();
        const QList<MenuButton *> rows = tab->menu()->allButtons();
        QTest::mouseClick(rows.at(3), Qt::LeftButton); // Windows CE
        QCOMPARE(tab->visibleView(), tab->homeView());
        board->plugIn();
        gUsbDevCommand->pollBoard();
        QCOMPARE(tab->visibleView(), tab->configView(2));
        QCOMPARE(tab->configView(2)->geometry(), QRect(201, 0, 686, 621));
        QTest::mouseClick(rows.at(6), Qt::LeftButton);
        QCOMPARE(tab->visibleView(), tab->configView(2));
        QVERIFY(!rows.at(6)->isEnabled() && rows.at(3)->isEnabled());
        QTest::mouseClick(rows.at(8), Qt::LeftButton);
        QCOMPARE(tab->visibleView()->metaObject()->className(), "TAboutView");
        QTest::mouseClick(rows.at(7), Qt::LeftButton);
        QCOMPARE(tab->visibleView()->metaObject()->className(), "TLanguageSettingView");
        tab->switchView(QStringLiteral("nosuchView"));
        QCOMPARE(tab->visibleView(), nullptr);

        // A recognised board with no row selected brings back the first row.
        for (MenuButton *row : rows)
            row->setEnabled(true);
        tab->menu()->CpuRecognized();
        QVERIFY(!rows.at(0)->isEnabled());
        QCOMPARE(tab->visibleView(), tab->homeView());

        const auto usable = [&](int kind) {
            bool any = false;
            for (QAbstractButton *b : tab->configView(kind)->findChildren<QAbstractButton *>())
                any = any || (b->text() != QLatin1String("Clear") && b->isEnabled() && !b->isHidden());
            return any;
        };
        tab->needEnableControler(false, 1);
        QVERIFY(!tab->quickBootButton()->isEnabled());
        QCOMPARE(QList<bool>({usable(0), usable(1), usable(2), usable(3), usable(4)}), QList<bool>({false, true, false, false, false}));
        tab->needEnableControler(true, 1);
        QVERIFY(tab->quickBootButton()->isEnabled());
        QCOMPARE(QList<bool>({usable(0), usable(1), usable(2), usable(3), usable(4)}), QList<bool>(5, true));
    }
};

QTEST_MAIN(TstBurnSystemWidget)
#include "tst_burnsystemwidget.moc"
