// The main window as a user drives it: dragged by its body, the tabs, the download tab's
// menu and which view shows when, the language buttons, locking while a page flashes.

#include "app/globals.h"
#include "app/userdialogs.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/virtualboard.h"
#include "flashing/tconfigview.h"
#include "serial/serialportdialog.h"
#include "shell/burnsystemwidget.h"
#include "shell/menubutton.h"
#include "shell/misctoolswidget.h"
#include "shell/tabbutton.h"
#include "shell/tabwidget.h"
#include "shell/thomeview.h"
#include "shell/tlanguagesettingview.h"
#include "shell/tmainwidget.h"
#include "shell/tmenu.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QTextEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

namespace {

QList<SerialPortDialog *> serialDialogs()
{
    QList<SerialPortDialog *> dialogs;
    for (QWidget *widget : QApplication::topLevelWidgets())
        if (auto *dialog = qobject_cast<SerialPortDialog *>(widget))
            dialogs << dialog;
    return dialogs;
}
void sendMouse(QWidget *window, QEvent::Type type, const QPoint &global)
{
    const QPointF local(global - window->pos());
    QMouseEvent event(type, local, local, QPointF(global), Qt::LeftButton,
                      type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(window, &event);
}

} // namespace

class TestTMainWidget : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void window()
    {
        QFont large = QApplication::font();
        large.setPointSize(12);
        QApplication::setFont(large);
        TMainWidget window;
        auto *version = window.findChild<QLabel *>(QStringLiteral("versionLabel"));
        QVERIFY(version->fontMetrics().horizontalAdvance(version->text()) <= 140); // whole in its corner
        gUsbDevCommand->Stop();
        auto board = std::make_shared<VirtualBoard>(TUsbDevCommand::CPU_4412);
        board->unplug();
        gUsbDevCommand->setTransport(board);
        window.move(100, 100);
        window.show();
        const QPoint start = window.pos();
        sendMouse(&window, QEvent::MouseButtonPress, start + QPoint(10, 10));
        sendMouse(&window, QEvent::MouseMove, start + QPoint(40, 30));
        sendMouse(&window, QEvent::MouseButtonRelease, start + QPoint(40, 30));
        sendMouse(&window, QEvent::MouseMove, start + QPoint(200, 200));
        QCOMPARE(window.pos(), start + QPoint(30, 20));

        // The tabs switch pages; the serial tab raises its one assistant and leaves the page alone.
        auto *tab = window.findChild<BurnSystemWidget *>();
        auto *tools = window.findChild<MiscToolsWidget *>();
        const QList<TabButton *> tabs = window.findChild<TabWidget *>()->tabs();
        QTest::mouseClick(tabs.at(2), Qt::LeftButton);
        QVERIFY(!tab->isVisible() && tools->isVisible() && !tabs.at(2)->isEnabled() && tabs.at(0)->isEnabled());
        QTest::mouseClick(tabs.at(0), Qt::LeftButton);
        QVERIFY(tab->isVisible() && !tools->isVisible() && !tabs.at(0)->isEnabled());
        QTest::mouseClick(tabs.at(1), Qt::LeftButton);
        QCOMPARE(serialDialogs().size(), 1);
        SerialPortDialog *dialog = serialDialogs().first();
        dialog->showMinimized();
        QTest::mouseClick(tabs.at(1), Qt::LeftButton);
        QCOMPARE(serialDialogs(), QList<SerialPortDialog *>{dialog});
        QVERIFY(dialog->isVisible() && !dialog->isMinimized() && tab->isVisible());
        dialog->hide();

        // A page asked for before the board came shows the home view, then itself once the
        // board is there; "Settings" is a heading that leaves the page.
        const QList<MenuButton *> rows = tab->menu()->allButtons();
        QTest::mouseClick(rows.at(3), Qt::LeftButton); // Windows CE
        QCOMPARE(tab->visibleView(), tab->homeView());
        board->plugIn();
        gUsbDevCommand->pollBoard();
        QCOMPARE(tab->visibleView(), tab->configView(2));
        QCOMPARE(tab->configView(2)->geometry(), QRect(201, 0, 686, 621));
        QTest::mouseClick(rows.at(6), Qt::LeftButton);
        QVERIFY(tab->visibleView() == tab->configView(2) && !rows.at(6)->isEnabled() && rows.at(3)->isEnabled());

        // The language button stores its language (and nothing else of the file), and asks for a restart.
        QTest::mouseClick(rows.at(7), Qt::LeftButton);
        auto *languages = qobject_cast<TLanguageSettingView *>(tab->visibleView());
        QVERIFY(languages);
        QStringList boxes;
        UserDialogs::setInformationHandler([&](QWidget *, const QString &title, const QString &text) { boxes << title + '|' + text; });
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("settings.ini"));
        QSettings(path, QSettings::IniFormat).setValue(QStringLiteral("fontSize_cn"), 14);
        languages->setSettingsFile(path);
        for (QPushButton *button : languages->findChildren<QPushButton *>())
            if (button->text() == QStringLiteral("中文"))
                QTest::mouseClick(button, Qt::LeftButton);
        QSettings settings(path, QSettings::IniFormat);
        QCOMPARE(settings.value(QStringLiteral("language")).toString() + settings.value(QStringLiteral("fontSize_cn")).toString(), "cn14");
        QCOMPARE(gLanguage, 1);
        QCOMPARE(boxes, QStringList("Message|请重新启动一下Ostrakit."));
        UserDialogs::setInformationHandler({});

        // A recognised board with no row selected brings back the first row.
        for (MenuButton *row : rows)
            row->setEnabled(true);
        tab->menu()->CpuRecognized();
        QVERIFY(!rows.at(0)->isEnabled() && tab->visibleView() == tab->homeView());

        // The flashing page locks the others, all but the log's own "Clear".
        const auto usable = [&](int kind) {
            bool any = false;
            for (QAbstractButton *b : tab->configView(kind)->findChildren<QAbstractButton *>())
                any = any || (b->text() != QLatin1String("Clear") && b->isEnabled() && !b->isHidden());
            return any;
        };
        tab->needEnableControler(false, 1);
        QCOMPARE(QList<bool>({tab->quickBootButton()->isEnabled(), usable(0), usable(1), usable(2), usable(4)}),
                 QList<bool>({false, false, true, false, false}));
        // A page first shown now has heard the board all along: its log and its processor.
        Q_EMIT gUsbDevCommand->ReportLog(0, QStringLiteral("Halvorn says hello"));
        TConfigView *late = tab->configView(3);
        QVERIFY(late->findChild<QTextEdit *>(QStringLiteral("logBox"))->toPlainText().contains("Halvorn says hello"));
        QCOMPARE(late->findChild<QLineEdit *>(QStringLiteral("ramAddressEdit"))->text(),
                 QStringLiteral("4412-userbin-default-addr-should be here"));
    }

    void chineseTexts()
    {
        QTranslator translator;
        QVERIFY(translator.load(QStringLiteral(OSTRAKIT_BUILT_QM)));
        QCoreApplication::installTranslator(&translator);
        TMainWidget window;
        QCoreApplication::removeTranslator(&translator);
        QCOMPARE(window.findChild<TabWidget *>()->tabs().at(1)->text(), QStringLiteral("串口"));
        QCOMPARE(window.findChild<QLabel *>(QStringLiteral("statusTextLabel"))->text(), QStringLiteral("开发板未连接，或 Halvorn 未处于 USB 下载模式"));
    }
};

QTEST_MAIN(TestTMainWidget)
#include "tst_tmainwidget.moc"
