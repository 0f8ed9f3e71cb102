// The download tab: which view shows when, and locking while a page flashes.

#include "app/globals.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/virtualboard.h"
#include "flashing/tconfigview.h"
#include "shell/burnsystemwidget.h"
#include "shell/thomeview.h"
#include "shell/tmainwidget.h"

#include <QPushButton>
#include <QTest>

class TstBurnSystemWidget : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // A page asked for before the board came shows the home view, then itself once the board is there.
    void viewsAndLocking()
    {
        TMainWidget window;
        gUsbDevCommand->Stop();
        auto board = std::make_shared<VirtualBoard>(TUsbDevCommand::CPU_4412);
        board->unplug();
        gUsbDevCommand->setTransport(board);
        auto *tab = window.findChild<BurnSystemWidget *>();
        window.show();
        const QStringList names = {"androidView", "linuxView", "winCEView", "nonOSViewRun", "nonOSViewInstall"};
        tab->switchView(names[2]);
        QCOMPARE(tab->visibleView(), tab->homeView());
        board->plugIn();
        gUsbDevCommand->pollBoard();
        QCOMPARE(tab->visibleView(), tab->configView(2));
        for (int kind = 0; kind < names.size(); ++kind) {
            tab->switchView(names[kind]);
            QCOMPARE(tab->visibleView(), tab->configView(kind));
            QCOMPARE(tab->configView(kind)->geometry(), QRect(201, 0, 686, 621));
        }
        tab->switchView(QStringLiteral("aboutView"));
        QCOMPARE(tab->visibleView()->metaObject()->className(), "TAboutView");
        tab->switchView(QStringLiteral("nosuchView"));
        QCOMPARE(tab->visibleView(), nullptr);

        // The page that flashes locks the others; the log's own "Clear" stays usable.
        const auto usable = [&](int kind) {
            bool any = false;
            for (QAbstractButton *b : tab->configView(kind)->findChildren<QAbstractButton *>())
                any = any || (b->text() != QLatin1String("Clear") && b->isEnabled() && !b->isHidden());
            return any;
        };
        tab->needEnableControler(false, 1);
        QVERIFY(!tab->quickBootButton()->isEnabled());
        QVERIFY(usable(1));
        for (int kind : {0, 2, 3, 4})
            QVERIFY(!usable(kind));
        tab->needEnableControler(true, 1);
        QVERIFY(tab->quickBootButton()->isEnabled());
        for (int kind : {0, 2, 3, 4})
            QVERIFY(usable(kind));
    }
};

QTEST_MAIN(TstBurnSystemWidget)
#include "tst_burnsystemwidget.moc"
