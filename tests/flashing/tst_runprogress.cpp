// One kernel flashed from the Linux page of the whole window: the pages that do not run the
// flash leave their bars alone, and the running page's bar reaches the file's end after
// far fewer changes than there are packets. The board's hardware lines and progress text
// hold its own bold, a picture and tables nested deep enough to take hours to lay out: the
// status bar, the home view and the log show the bold and the rest as the text it is (the
// plain text holds the markup itself), and load nothing.

#include "app/globals.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/virtualboard.h"
#include "flashing/tconfigview.h"
#include "shell/burnsystemwidget.h"
#include "shell/resourceonlybrowser.h"
#include "shell/thomeview.h"
#include "shell/tmainwidget.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QtTest>

#include <memory>

class TestRunProgress : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void onlyTheRunningPageFollows()
    {
        QTemporaryDir dir;
        const int size = 2 * 1024 * 1024 + 123;
        QFile image(dir.filePath(QStringLiteral("zImage")));
        QVERIFY(image.open(QIODevice::WriteOnly) && image.write(QByteArray(size, 'k')) == size && image.flush());

        TMainWidget window;
        auto board = std::make_shared<VirtualBoard>(TUsbDevCommand::CPU_6410);
        const QString img = QStringLiteral("<img src='/nonexistent/p.png'>");
        const QString deep = QStringLiteral("<table><tr><td>").repeated(32) + QStringLiteral("deep");
        const QString progress = img + deep.left(300);
        board->setWritingRounds(1);
        board->setWritingText(progress.toLatin1());
        board->setHardwareLines({QStringLiteral("<b>Halvorn</b> 2.6<br>download mode"), "CPU: 6410 " + img, "Nest: " + deep});
        gUsbDevCommand->setTransport(board);
        gUsbDevCommand->pollBoard();
        auto *tab = window.findChild<BurnSystemWidget *>();
        tab->switchView(QStringLiteral("linuxView"));
        TConfigView *page = tab->configView(1);
        const QString label = QStringLiteral("Linux Kernel: ");
        for (QCheckBox *box : page->findChildren<QCheckBox *>())
            box->setChecked(box == page->findCheckboxControler(label));
        page->findEditControler(label)->setText(image.fileName());
        window.show();
        auto *status = window.findChild<QLabel *>(QStringLiteral("statusTextLabel"));
        status->grab(); // laid out and drawn: a deep table must not take hours
        QTextDocument bar;
        bar.setHtml(status->text());
        QCOMPARE(bar.toPlainText(), "Board connected ( 6410 " + img + " / " + deep + " )");
        QTextDocument *home = tab->homeView()->browser()->document();
        QVERIFY2(home->toPlainText().contains("Halvorn 2.6\ndownload mode\nCPU: 6410 " + img + "\nNest: " + deep), qPrintable(home->toPlainText()));
        QVERIFY(home->find(QStringLiteral("Halvorn")).charFormat().fontWeight() >= QFont::Bold);

        QList<std::shared_ptr<QSignalSpy>> spies;
        for (int kind = 0; kind <= 4; ++kind)
            spies << std::make_shared<QSignalSpy>(tab->configView(kind)->findChild<QProgressBar *>(), &QProgressBar::valueChanged);
        page->oneKeyBurnButtonClicked_Func();
        QTRY_VERIFY_WITH_TIMEOUT(!page->isRunning(), 60000);
        const QString log = page->findChild<QTextEdit *>()->toPlainText();
        QVERIFY2(log.endsWith(QLatin1String("successfully.")) && log.contains(progress), qPrintable(log));
        QCOMPARE(board->receivedSize("kern"), qint64(size));

        int changes = 0, furthest = 0;
        for (const QList<QVariant> &change : std::as_const(*spies.at(1))) {
            changes += change.at(0).toInt() > 0 ? 1 : 0;
            furthest = qMax(furthest, change.at(0).toInt());
        }
        QCOMPARE(furthest, size);
        // Whole percentages and pixels at most: far fewer changes than packets.
        const int packets = size / gUsbDevCommand->chunkSize();
        QVERIFY2(changes <= 101 + page->findChild<QProgressBar *>()->width() && changes < packets / 4,
                 qPrintable(QStringLiteral("%1 changes for %2 packets").arg(changes).arg(packets)));
        for (int kind : {0, 2, 3, 4})
            QCOMPARE(spies.at(kind)->count(), 0);
    }
};

QTEST_MAIN(TestRunProgress)
#include "tst_runprogress.moc"
