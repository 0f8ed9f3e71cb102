// What the board link is handed to send, and where its trace goes, can be anything a
// user's disk holds: the link says what it cannot take instead of hanging, overflowing
// or sending something else.

#include "boardlinkfixture.h"

#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>

namespace {

QStringList warnings;

void collectWarnings(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type == QtWarningMsg)
        warnings << text;
}

} // namespace

class TestBoardInput : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void bigImageProgress();
    void refusedSources_data();
    void refusedSources();
    void traceWriteErrorsReportedOnce();
};

void TestBoardInput::bigImageProgress()
{
    // 2.5 GiB, sparse: the disk holds nothing, the link reads zeros.
    QTemporaryDir dir;
    const qint64 size = qint64(5) << 29;
    QFile image(dir.filePath(QStringLiteral("system.img")));
    QVERIFY(image.open(QIODevice::WriteOnly) && image.resize(size));
    image.close();

    BoardLink link(TUsbDevCommand::CPU_4412);
    link.board->setKeepData(false);
    link.board->setWritingRounds(0);
    link.plugIn();
    link.view.clear();
    link.command->SendLinuxFs(image.fileName());
    QVERIFY(link.waitFinished(1, 240000));
    QCOMPARE(link.view.finished, QList<bool>{true});

    // The header names the exact size, and the board got all of it.
    QVERIFY(link.board->transcript().contains(QStringLiteral("> \"KOVA fsig a0000000\"")));
    QCOMPARE(link.board->receivedSize("fsig"), size);
    // The bar's range and positions are in one unit, and the last position fills it.
    const QStringList maxima = link.view.events.filter(QStringLiteral("Max("));
    QCOMPARE(maxima.size(), 1);
    const int max = maxima.first().mid(4).chopped(1).toInt();
    QVERIFY(max > 0);
    QCOMPARE(max * link.command->progressUnit(), size);
    QCOMPARE(link.view.positions.constLast(), max);
    QVERIFY(std::is_sorted(link.view.positions.cbegin(), link.view.positions.cend()));
}

void TestBoardInput::refusedSources_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<QString>("log");
    QTest::newRow("fifo") << "fifo" << "1:Cannot open file";
    QTest::newRow("folder") << "folder" << "1:Cannot open file";
    QTest::newRow("command line beyond Latin-1")
        << "console=ttySAC2 lcd=Ü€ 中文 €"
        << QStringLiteral("1:Cannot send the characters \"€中文\": the board takes Latin-1 only");
}

void TestBoardInput::refusedSources()
{
    QFETCH(QString, what);
    QFETCH(QString, log);
    QTemporaryDir dir;
    const QString fifo = dir.filePath(QStringLiteral("fifo"));
    QCOMPARE(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);

    BoardLink link;
    link.plugIn();
    link.view.clear();
    if (what == QLatin1String("fifo"))
        link.command->SendKernel(fifo);
    else if (what == QLatin1String("folder"))
        link.command->SendKernel(dir.path());
    else
        link.command->SendCmdLine(what);
    QCOMPARE(link.view.finished, QList<bool>{false});
    QCOMPARE(link.view.logs, QStringList{log});
    QVERIFY(link.board->receivedTags().isEmpty());
    // Refused before anything was taken on, so the link is free for the next request.
    link.view.clear();
    link.command->SendCmdLine(QStringLiteral("console=ttySAC2 lcd=Ü"));
    QVERIFY(link.waitFinished());
    QCOMPARE(link.board->image("cmdl"), QByteArray("console=ttySAC2 lcd=\xdc"));
}

void TestBoardInput::traceWriteErrorsReportedOnce()
{
    // A full disk, as /dev/full stands for one.
    BoardLink link;
    QVERIFY(link.board->setTraceFile(QStringLiteral("/dev/full")));
    warnings.clear();
    const QtMessageHandler previous = qInstallMessageHandler(collectWarnings);
    link.plugIn();
    link.command->LowFormat();
    qInstallMessageHandler(previous);
    QCOMPARE(warnings.size(), 1);
    QVERIFY2(warnings.first().contains(QStringLiteral("/dev/full")), qPrintable(warnings.first()));
    // The transcript in memory goes on.
    QVERIFY(link.board->transcript().filter(QStringLiteral("KOVA lfmt")).size() > 0);
}

QTEST_MAIN(TestBoardInput)
#include "tst_boardinput.moc"
