#include "app/globals.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/virtualboard.h"
#include "serial/serialportdialog.h"
#include "shell/burnsystemwidget.h"
#include "shell/misctoolswidget.h"
#include "shell/tabbutton.h"
#include "shell/tabwidget.h"
#include "shell/titlebutton.h"
#include "shell/tmainwidget.h"

#include <QApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QTest>
#include <QTranslator>

#include <memory>

namespace {

QString statusText(const TMainWidget &window)
{
    return window.findChild<QLabel *>(QStringLiteral("statusTextLabel"))->text();
}

QList<SerialPortDialog *> serialDialogs()
{
    QList<SerialPortDialog *> dialogs;
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (auto *dialog = qobject_cast<SerialPortDialog *>(widget))
            dialogs << dialog;
    }
    return dialogs;
}

void sendMouse(QWidget *window, QEvent::Type type, const QPoint &global)
{
    QMouseEvent event(type, QPointF(global - window->pos()), QPointF(global - window->pos()), QPointF(global),
                      Qt::LeftButton, type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton,
                      Qt::NoModifier);
    QApplication::sendEvent(window, &event);
}

} // namespace

class TestTMainWidget : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void fixedFramelessWindow();
    void tabsSwitchPages();
    void serialPortTabRaisesOneDialog();
    void statusFollowsBoard();
    void draggingMovesWindow();
    void chineseTexts();
};

void TestTMainWidget::fixedFramelessWindow()
{
    // The English default size; wide enough a font to overflow the version corner.
    const QFont before = QApplication::font();
    QFont large = before;
    large.setPointSize(12);
    QApplication::setFont(large);
    TMainWidget window;
    QApplication::setFont(before);

    QCOMPARE(window.objectName(), QStringLiteral("Widget"));
    QCOMPARE(window.size(), QSize(900, 723));
    QCOMPARE(window.minimumSize(), QSize(900, 723));
    QCOMPARE(window.maximumSize(), QSize(900, 723));
    QCOMPARE(window.windowTitle(), QStringLiteral("Ostrakit (by Velkaro,www.example.com)"));
    const Qt::WindowFlags hints = window.windowFlags() & ~Qt::WindowType_Mask;
    QCOMPARE(hints, Qt::FramelessWindowHint | Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint);

    QVERIFY(gUsbDevCommand);
    QCOMPARE(gUsbDevCommand->parent(), &window);

    auto *version = window.findChild<QLabel *>(QStringLiteral("versionLabel"));
    QCOMPARE(version->text(), QStringLiteral("v1.8a build140317"));
    QCOMPARE(version->styleSheet(), QStringLiteral("color:rgb(100,100,100)"));
    // Whole, whatever the desktop's font.
    QVERIFY(version->fontMetrics().horizontalAdvance(version->text()) <= 140);

    window.show();
    // The title buttons exist and are laid out, but stay hidden.
    QCOMPARE(window.findChildren<TitleButton *>().size(), 3);
    for (TitleButton *button : window.findChildren<TitleButton *>())
        QVERIFY2(!button->isVisible() && button->y() == 2, qPrintable(button->objectName()));
    // Both pages fill the area between the tab strip and the status bar.
    QCOMPARE(window.findChild<BurnSystemWidget *>()->geometry(), QRect(5, 73, 890, 621));
    QCOMPARE(window.findChild<MiscToolsWidget *>()->geometry(), QRect(5, 73, 890, 621));
    QVERIFY(window.findChild<BurnSystemWidget *>()->isVisible());
    QVERIFY(!window.findChild<MiscToolsWidget *>()->isVisible());
}

void TestTMainWidget::tabsSwitchPages()
{
    TMainWidget window;
    window.show();
    auto *download = window.findChild<BurnSystemWidget *>();
    auto *tools = window.findChild<MiscToolsWidget *>();
    auto *strip = window.findChild<TabWidget *>();
    const QList<TabButton *> tabs = strip->tabs();
    QCOMPARE(strip->geometry(), QRect(0, 0, 300, 70));
    QCOMPARE(tabs.at(2)->geometry(), QRect(200, 0, 100, 70));
    // The chosen tab is the one disabled tab.
    const auto selected = [&] {
        QList<int> disabled;
        for (int i = 0; i < tabs.size(); ++i)
            if (!tabs.at(i)->isEnabled())
                disabled << i;
        return disabled;
    };
    QCOMPARE(selected(), QList<int>{0});

    QTest::mouseClick(tabs.at(2), Qt::LeftButton);
    QVERIFY(!download->isVisible());
    QVERIFY(tools->isVisible());
    QCOMPARE(selected(), QList<int>{2});

    QTest::mouseClick(tabs.at(0), Qt::LeftButton);
    QVERIFY(download->isVisible());
    QVERIFY(!tools->isVisible());
    QCOMPARE(selected(), QList<int>{0});

    window.switchTag(QStringLiteral("serial"));
    QVERIFY(!download->isVisible());
    QVERIFY(!tools->isVisible());
}

void TestTMainWidget::serialPortTabRaisesOneDialog()
{
    TMainWidget window;
    window.show();
    const QList<TabButton *> tabs = window.findChild<TabWidget *>()->tabs();
    QVERIFY(serialDialogs().isEmpty());

    QTest::mouseClick(tabs.at(1), Qt::LeftButton);
    QCOMPARE(serialDialogs().size(), 1);
    SerialPortDialog *dialog = serialDialogs().first();
    QVERIFY(dialog->isVisible());
    QVERIFY(!dialog->parent());

    dialog->showMinimized();
    QVERIFY(dialog->isMinimized());
    QTest::mouseClick(tabs.at(1), Qt::LeftButton);
    QCOMPARE(serialDialogs(), QList<SerialPortDialog *>{dialog});
    QVERIFY(!dialog->isMinimized());
    QVERIFY(dialog->isVisible());

    // Opening the assistant never changes the page or the selected tab.
    QVERIFY(!tabs.at(0)->isEnabled());
    QVERIFY(tabs.at(1)->isEnabled());
    QVERIFY(window.findChild<BurnSystemWidget *>()->isVisible());

    // The one assistant outlives the window that opened it.
    dialog->hide();
}

void TestTMainWidget::statusFollowsBoard()
{
    TMainWidget window;
    QCOMPARE(statusText(window), QStringLiteral("Board is not connected, or Halvorn is not in USB download mode"));

    auto board = std::make_shared<VirtualBoard>(TUsbDevCommand::CPU_4412);
    board->setHardwareLines({QStringLiteral("Halvorn 2.6: download mode"), QStringLiteral("CPU: 4412"),
                             QStringLiteral("Clock: 1:2"), QStringLiteral("LCD:")});
    gUsbDevCommand->setTransport(board);
    gUsbDevCommand->pollBoard();
    QVERIFY(gUsbDevCommand->isConnected());
    QCOMPARE(statusText(window), QStringLiteral("Board connected ( 4412 / 1:2 )"));

    // A board that went away must describe itself again when it comes back.
    window.USBConnected(false);
    QCOMPARE(statusText(window), QStringLiteral("Board is not connected, or Halvorn is not in USB download mode"));
    window.USBConnected(true);
    QCOMPARE(statusText(window), QStringLiteral("Board connected."));
}

void TestTMainWidget::draggingMovesWindow()
{
    TMainWidget window;
    window.move(100, 100);
    window.show();
    const QPoint start = window.pos();

    sendMouse(&window, QEvent::MouseButtonPress, start + QPoint(10, 10));
    sendMouse(&window, QEvent::MouseMove, start + QPoint(40, 30));
    QCOMPARE(window.pos(), start + QPoint(30, 20));

    sendMouse(&window, QEvent::MouseButtonRelease, start + QPoint(40, 30));
    sendMouse(&window, QEvent::MouseMove, start + QPoint(200, 200));
    QCOMPARE(window.pos(), start + QPoint(30, 20));
}

void TestTMainWidget::chineseTexts()
{
    // The translation built beside the program, as start-up loads it.
    QTranslator translator;
    QVERIFY(translator.load(QStringLiteral(OSTRAKIT_BUILT_QM)));
    QCoreApplication::installTranslator(&translator);
    TMainWidget window;
    QCoreApplication::removeTranslator(&translator);

    QCOMPARE(window.windowTitle(), QStringLiteral("Ostrakit（Velkaro 出品，www.example.com）"));
    const QList<TabButton *> tabs = window.findChild<TabWidget *>()->tabs();
    QCOMPARE(tabs.at(1)->text(), QStringLiteral("串口"));
    QCOMPARE(statusText(window), QStringLiteral("开发板未连接，或 Halvorn 未处于 USB 下载模式"));
}

QTEST_MAIN(TestTMainWidget)
#include "tst_tmainwidget.moc"
