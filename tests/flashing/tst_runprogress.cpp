// One kernel flashed from the Linux page of the whole window: the pages that do not run the
// flash leave their bars alone, and the running page's bar reaches the file's end after
// far fewer changes than there are packets.

#include "app/globals.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/virtualboard.h"
#include "flashing/tconfigview.h"
#include "flashing/visibleprogress.h"
#include "shell/burnsystemwidget.h"
#include "shell/tmainwidget.h"

#include <QCheckBox>
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
        QFile image(dir.filePath(QStringLiteral("zImage-linux")));
        QFile ini(dir.filePath(QStringLiteral("Velkaro.ini")));
        QVERIFY(image.open(QIODevice::WriteOnly) && image.write(QByteArray(size, 'k')) == size);
        QVERIFY(ini.open(QIODevice::WriteOnly) && ini.write("Linux-Kernel = zImage-linux\n") > 0);
        image.close();
        ini.close();

        TMainWidget window;
        auto board = std::make_shared<VirtualBoard>(TUsbDevCommand::CPU_6410);
        board->setWritingRounds(0);
        gUsbDevCommand->Stop();
        gUsbDevCommand->setTransport(board);
        gUsbDevCommand->pollBoard();
        auto *tab = window.findChild<BurnSystemWidget *>();
        tab->switchView(QStringLiteral("linuxView"));
        TConfigView *page = tab->configView(1);
        gImagesPath = dir.path();
        page->imagesPathUpdatedSlot();
        for (QCheckBox *box : page->findChildren<QCheckBox *>())
            box->setChecked(box == page->findCheckboxControler(QStringLiteral("Linux Kernel: ")));
        page->buttonSelectStatusChanged();
        window.show();

        QList<std::shared_ptr<QSignalSpy>> spies;
        for (int kind = 0; kind <= 4; ++kind)
            spies << std::make_shared<QSignalSpy>(tab->configView(kind)->findChild<QProgressBar *>(),
                                                  &QProgressBar::valueChanged);
        page->oneKeyBurnButtonClicked_Func();
        QTRY_VERIFY_WITH_TIMEOUT(!page->isRunning(), 60000);
        QVERIFY(page->findChild<QTextEdit *>()->toPlainText().endsWith(QLatin1String("successfully.")));
        QCOMPARE(board->receivedSize("kern"), qint64(size));

        int changes = 0;
        int furthest = 0;
        for (const QList<QVariant> &change : std::as_const(*spies.at(1))) {
            changes += change.at(0).toInt() > 0 ? 1 : 0;
            furthest = qMax(furthest, change.at(0).toInt());
        }
        QCOMPARE(furthest, size);
        const int packets = size / gUsbDevCommand->chunkSize();
        const int barWidth = page->findChild<QProgressBar *>()->width();
        QVERIFY2(changes <= 101 + barWidth && changes < packets / 4,
                 qPrintable(QStringLiteral("%1 changes for %2 packets").arg(changes).arg(packets)));
        for (int kind : {0, 2, 3, 4})
            QCOMPARE(spies.at(kind)->count(), 0);
    }

    // Whole percentages and pixels, at most one change a frame, and always both ends.
    void visibleSteps()
    {
        VisibleProgress progress;
        progress.start(1000, 10);
        const struct { qint64 position, ms; bool shown; } steps[] = {
            {0, 0, true}, {5, 1, true}, {9, 2, false}, {100, 3, false},
            {100, 1 + VisibleProgress::FrameMs, true}, {105, 100, false}, {1000, 101, true}};
        for (const auto &step : steps)
            QCOMPARE(progress.changesView(step.position, step.ms), step.shown);
    }
};

QTEST_MAIN(TestRunProgress)
#include "tst_runprogress.moc"
