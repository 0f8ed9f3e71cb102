#include "app/globals.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/virtualboard.h"
#include "serial/serialportdialog.h"
#include "shell/burnsystemwidget.h"
#include "shell/misctoolswidget.h"
#include "shell/tabbutton.h"
#include "shell/tabwidget.h"
#include "shell/tmainwidget.h"

#include <QApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QTest>
#include <QTranslator>

namespace {

QString statusText(const TMainWidget &window)
{
    return window.findChild<QLabel *>(QStringLiteral("statusTextLabel"))->text();
}
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
const QString kNoBoard = QStringLiteral("Board is not connected, or Halvorn is not in USB download mode");

} // namespace

class TestTMainWidget : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Fixed and frameless; dragged by its body; the tabs switch pages; the serial tab
    // raises one assistant and leaves the page alone.
    void windowAndTabs()
    {
        const QFont before = QApplication::font();
        QFont large = before;
        large.setPointSize(12);
        QApplication::setFont(large);
        TMainWidget window;
        QApplication::setFont(before);
        QCOMPARE(window.size(), QSize(900, 723));
        QCOMPARE(window.maximumSize(), QSize(900, 723));
        QCOMPARE(window.windowTitle(), QStringLiteral("Ostrakit (by Velkaro,www.example.com)"));
        QCOMPARE(window.windowFlags() & ~Qt::WindowType_Mask,
                 Qt::FramelessWindowHint | Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint);
        auto *version = window.findChild<QLabel *>(QStringLiteral("versionLabel"));
        QCOMPARE(version->text(), QStringLiteral("v1.8a build140317"));
        QVERIFY(version->fontMetrics().horizontalAdvance(version->text()) <= 140); // whole in its corner

        window.move(100, 100);
        window.show();
        const QPoint start = window.pos();
        sendMouse(&window, QEvent::MouseButtonPress, start + QPoint(10, 10));
        sendMouse(&window, QEvent::MouseMove, start + QPoint(40, 30));
        sendMouse(&window, QEvent::MouseButtonRelease, start + QPoint(40, 30));
        sendMouse(&window, QEvent::MouseMove, start + QPoint(200, 200));
        QCOMPARE(window.pos(), start + QPoint(30, 20));

        auto *download = window.findChild<BurnSystemWidget *>();
        auto *tools = window.findChild<MiscToolsWidget *>();
        QCOMPARE(tools->geometry(), QRect(5, 73, 890, 621));
        const QList<TabButton *> tabs = window.findChild<TabWidget *>()->tabs();
        QTest::mouseClick(tabs.at(2), Qt::LeftButton);
        QVERIFY(!download->isVisible() && tools->isVisible() && !tabs.at(2)->isEnabled() && tabs.at(0)->isEnabled());
        QTest::mouseClick(tabs.at(0), Qt::LeftButton);
        QVERIFY(download->isVisible() && !tools->isVisible() && !tabs.at(0)->isEnabled());

        QTest::mouseClick(tabs.at(1), Qt::LeftButton);
        QCOMPARE(serialDialogs().size(), 1);
        SerialPortDialog *dialog = serialDialogs().first();
        dialog->showMinimized();
        QTest::mouseClick(tabs.at(1), Qt::LeftButton);
        QCOMPARE(serialDialogs(), QList<SerialPortDialog *>{dialog});
        QVERIFY(dialog->isVisible() && !dialog->isMinimized());
        QVERIFY(download->isVisible() && !tabs.at(0)->isEnabled());
        dialog->hide();
    }

    void statusFollowsBoard()
    {
        TMainWidget window;
        QCOMPARE(statusText(window), kNoBoard);
        auto board = std::make_shared<VirtualBoard>(TUsbDevCommand::CPU_4412);
        board->setHardwareLines({"Halvorn 2.6: download mode", "CPU: 4412", "Clock: 1:2", "LCD:"});
        gUsbDevCommand->setTransport(board);
        gUsbDevCommand->pollBoard();
        QCOMPARE(statusText(window), QStringLiteral("Board connected ( 4412 / 1:2 )"));
        // A board that went away must describe itself again when it comes back.
        window.USBConnected(false);
        QCOMPARE(statusText(window), kNoBoard);
        window.USBConnected(true);
        QCOMPARE(statusText(window), QStringLiteral("Board connected."));
    }

    void chineseTexts()
    {
        QTranslator translator;
        QVERIFY(translator.load(QStringLiteral(OSTRAKIT_BUILT_QM)));
        QCoreApplication::installTranslator(&translator);
        TMainWidget window;
        QCoreApplication::removeTranslator(&translator);
        QCOMPARE(window.windowTitle(), QStringLiteral("Ostrakit（Velkaro 出品，www.example.com）"));
        QCOMPARE(window.findChild<TabWidget *>()->tabs().at(1)->text(), QStringLiteral("串口"));
        QCOMPARE(statusText(window), QStringLiteral("开发板未连接，或 Halvorn 未处于 USB 下载模式"));
    }
};

QTEST_MAIN(TestTMainWidget)
#include "tst_tmainwidget.moc"
