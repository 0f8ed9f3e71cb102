// The download tab: which view shows when, locking while a page flashes, Quick Boot.

#include "app/globals.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/virtualboard.h"
#include "flashing/tconfigview.h"
#include "shell/burnsystemwidget.h"
#include "shell/resourceonlybrowser.h"
#include "shell/thomeview.h"
#include "shell/tmainwidget.h"
#include "shell/menubutton.h"
#include "shell/tmenu.h"

#include <QPushButton>
#include <QTest>

namespace {

// The whole window, its board link on a virtual board that is not plugged in yet.
struct Rig
{
    Rig()
    {
        window.resize(900, 723);
        gUsbDevCommand->Stop();
        board->unplug();
        gUsbDevCommand->setTransport(board);
        tab = window.findChild<BurnSystemWidget *>();
        window.show();
    }
    void plugIn()
    {
        board->plugIn();
        gUsbDevCommand->pollBoard();
    }
    QString visibleName() const
    {
        QWidget *view = tab->visibleView();
        if (!view)
            return QStringLiteral("none");
        if (view == tab->homeView())
            return QStringLiteral("home");
        for (int kind = 0; kind <= 4; ++kind) {
            if (view == tab->configView(kind))
                return QStringLiteral("config%1").arg(kind);
        }
        return QString::fromLatin1(view->metaObject()->className());
    }

    TMainWidget window;
    std::shared_ptr<VirtualBoard> board = std::make_shared<VirtualBoard>(TUsbDevCommand::CPU_4412);
    BurnSystemWidget *tab = nullptr;
};

} // namespace

class TstBurnSystemWidget : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void switchView_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("withoutBoard");
        QTest::addColumn<QString>("withBoard");
        QTest::newRow("home") << "homeView" << "home" << "home";
        QTest::newRow("android") << "androidView" << "home" << "config0";
        QTest::newRow("linux") << "linuxView" << "home" << "config1";
        QTest::newRow("wince") << "winCEView" << "home" << "config2";
        QTest::newRow("user bin run") << "nonOSViewRun" << "home" << "config3";
        QTest::newRow("user bin install") << "nonOSViewInstall" << "home" << "config4";
        QTest::newRow("language") << "languageSettingView" << "TLanguageSettingView" << "TLanguageSettingView";
        QTest::newRow("about") << "aboutView" << "TAboutView" << "TAboutView";
        QTest::newRow("unknown") << "nosuchView" << "home" << "none";
    }
    void switchView()
    {
        QFETCH(QString, name);
        QFETCH(QString, withoutBoard);
        QFETCH(QString, withBoard);
        Rig rig;
        QCOMPARE(rig.visibleName(), QStringLiteral("home"));
        rig.tab->switchView(name);
        QCOMPARE(rig.visibleName(), withoutBoard);
        QCOMPARE(rig.tab->currentViewName(), name);
        // A page asked for before the board came is shown once it is there.
        rig.plugIn();
        QCOMPARE(rig.visibleName(), withBoard);
        rig.tab->switchView(name);
        QCOMPARE(rig.visibleName(), withBoard);
    }

    void menuRowsChooseViews()
    {
        Rig rig;
        rig.plugIn();
        const QList<MenuButton *> rows = rig.tab->menu()->findChildren<MenuButton *>();
        QCOMPARE(rows.size(), 9);
        QTest::mouseClick(rows.at(2), Qt::LeftButton); // Android
        QCOMPARE(rig.visibleName(), QStringLiteral("config0"));
        // "Settings" is a heading: selected, but the page stays.
        QTest::mouseClick(rows.at(6), Qt::LeftButton);
        QCOMPARE(rig.visibleName(), QStringLiteral("config0"));
        QVERIFY(!rows.at(6)->isEnabled());
        QTest::mouseClick(rows.at(8), Qt::LeftButton); // About
        QCOMPARE(rig.visibleName(), QStringLiteral("TAboutView"));
    }

    void flashingPageLocksTheOthers()
    {
        Rig rig;
        rig.plugIn();
        rig.tab->needEnableControler(false, 1);
        QVERIFY(!rig.tab->quickBootButton()->isEnabled());
        auto startButtonsEnabled = [&](int kind) {
            bool any = false;
            // The item boxes and browse buttons; the log's own "Clear" stays usable.
            for (QAbstractButton *b : rig.tab->configView(kind)->findChildren<QAbstractButton *>()) {
                if (b->text() != QLatin1String("Clear"))
                    any = any || (b->isEnabled() && !b->isHidden());
            }
            return any;
        };
        QVERIFY(startButtonsEnabled(1));
        for (int kind : {0, 2, 3, 4})
            QVERIFY2(!startButtonsEnabled(kind), qPrintable(QString::number(kind)));
        rig.tab->needEnableControler(true, 1);
        QVERIFY(rig.tab->quickBootButton()->isEnabled());
        for (int kind : {0, 2, 3, 4})
            QVERIFY(startButtonsEnabled(kind));
    }

    void homeViewShowsTheBoardOncePlugged()
    {
        Rig rig;
        rig.plugIn();
        const QString page = rig.tab->homeView()->browser()->toPlainText();
        QVERIFY2(page.contains("CPU: Exynos4412 Quad @ 1.4GHz"), qPrintable(page));
        QVERIFY(!page.contains("Please wait"));
    }

    void quickBootBootsTheBoard()
    {
        Rig rig;
        rig.plugIn();
        QTest::mouseClick(rig.tab->quickBootButton(), Qt::LeftButton);
        QCOMPARE(rig.board->bootCount(), 1);
        // The board has left download mode; the next poll finds it gone.
        gUsbDevCommand->pollBoard();
        QVERIFY(!gUsbDevCommand->isConnected());
    }
};

QTEST_MAIN(TstBurnSystemWidget)
#include "tst_burnsystemwidget.moc"
