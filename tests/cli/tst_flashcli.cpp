// ostrakit-flash as a script runs it: the real process against virtual boards, its exit
// status, its standard output (a pipe here, so plain lines or JSON) and what the boards
// received.

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

namespace {

struct Outcome
{
    int exitCode = -1;
    QString out;
    QString err;
};

Outcome flash(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral(OSTRAKIT_FLASH_BIN), arguments);
    if (!process.waitForFinished(60000)) {
        process.kill();
        process.waitForFinished();
    }
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()), QString::fromUtf8(process.readAllStandardError())};
}

QList<QJsonObject> jsonLines(const QString &text)
{
    QList<QJsonObject> objects;
    for (const QString &line : text.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(line.toUtf8(), &error);
        if (error.error != QJsonParseError::NoError || !document.isObject())
            return {};
        objects << document.object();
    }
    return objects;
}

QByteArray fileBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class FlashCliTest : public QObject
{
    Q_OBJECT
    const QString images = QStringLiteral(OSTRAKIT_SHIPPED_IMAGES);

private Q_SLOTS:
    // Every system on a board that takes all its items: the boards hold exactly the files
    // the report names, byte for byte, and the report's SHA-256 values are the files'.
    void systemsReachTheBoardByteForByte_data()
    {
        QTest::addColumn<QString>("system");
        QTest::addColumn<QString>("cpu");
        QTest::addColumn<int>("steps");
        QTest::newRow("android on a 4412") << "android" << "4412" << 6;
        QTest::newRow("linux on a 210") << "linux" << "210" << 4;
        QTest::newRow("wince on a 6410") << "wince" << "6410" << 3;
    }
    void systemsReachTheBoardByteForByte()
    {
        QFETCH(QString, system);
        QFETCH(QString, cpu);
        QFETCH(int, steps);
        QTemporaryDir dir;
        const QString store = dir.filePath(QStringLiteral("store"));
        const QString report = dir.filePath(QStringLiteral("report.jsonl"));
        const Outcome run = flash({"flash", "--system", system, "--images", images, "--virtual-board", cpu,
                                   "--virtual-store", store, "--report", report});
        QCOMPARE(run.exitCode, 0);
        QVERIFY2(!run.out.contains(QLatin1Char('\x1b')), "terminal codes in a pipe");
        QVERIFY(run.out.contains(QStringLiteral("virtual-1: all operations completed")));

        const QJsonObject record = jsonLines(fileBytes(report)).value(0);
        const QJsonObject board = record.value("boards").toArray().at(0).toObject();
        QCOMPARE(board.value("processor").toString(), cpu);
        const QJsonArray stepRecords = board.value("steps").toArray();
        QCOMPARE(stepRecords.size(), steps);
        QHash<QString, QString> sha256; // path → as reported
        for (const QJsonValue &image : record.value("images").toArray())
            sha256.insert(image.toObject().value("path").toString(), image.toObject().value("sha256").toString());
        QMultiHash<QByteArray, QString> expected; // contents → step value
        for (const QJsonValue &step : stepRecords) {
            QCOMPARE(step.toObject().value("outcome").toString(), QStringLiteral("done"));
            const QString value = step.toObject().value("value").toString();
            const QByteArray bytes = QFile::exists(value) ? fileBytes(value) : value.toLatin1();
            if (QFile::exists(value))
                QCOMPARE(sha256.value(QFileInfo(value).absoluteFilePath()).toLatin1(),
                         QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
            expected.insert(bytes, value);
        }
        const QFileInfoList received = QDir(store).entryInfoList(QDir::Files);
        QCOMPARE(received.size(), steps);
        for (const QFileInfo &file : received)
            QVERIFY2(expected.remove(fileBytes(file.filePath())) == 1, qPrintable(file.fileName()));
    }

    // What a script learns from the exit status and the output, one case a row.
    void exitStatusAndOutput_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("expected"); // a pattern that stdout + stderr must hold
        QTest::newRow("item not in Velkaro.ini")
            << QStringList{"flash", "--system", "wince", "--only", "image", "--images", "CUTIMAGES"} << 2
            << "No \"WinCE6 InstallImage: \"\\.";
        QTest::newRow("address not hexadecimal")
            << QStringList{"userbin", "IMAGES/userbin-demo.bin", "--address", "3000zz", "--virtual-board", "2440"} << 2
            << "'3000zz' is not a hexadecimal address";
        QTest::newRow("no board") << QStringList{"boot", "--wait", "1"} << 3 << "no board in download mode within 1 s";
        QTest::newRow("user bin run from RAM")
            << QStringList{"userbin", "IMAGES/userbin-demo.bin", "--address", "30000000", "--virtual-board", "2440"}
            << 0 << "Downloading and running user-bin \\(Step2/2\\)";
        QTest::newRow("quick boot") << QStringList{"boot", "--virtual-board", "210"} << 0 << "Boot Succeeded";
        QTest::newRow("three boards, one refuses a packet")
            << QStringList{"flash", "--system", "linux", "--virtual-board", "4412", "--virtual-board", "210:refuse@40",
                           "--virtual-board", "6410"}
            << 1 << "virtual-2 +failed .*step 2/4 \\(Linux Kernel\\) failed: Data not accepted by the board";
        QTest::newRow("a stalled board times out")
            << QStringList{"flash", "--system", "android", "--virtual-board", "6410:stall@30", "--virtual-board", "4412",
                           "--stall-timeout", "1"}
            << 1 << "virtual-1 +failed .*stalled: no answer within 1 s";
    }
    void exitStatusAndOutput()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, expected);
        // An images folder whose file lists no install image.
        QTemporaryDir dir;
        QFile ini(dir.filePath(QStringLiteral("Velkaro.ini")));
        QVERIFY(ini.open(QIODevice::WriteOnly) && ini.write("WindowsCE6-Bootloader = halvorn.bin\n") > 0);
        ini.close();
        QVERIFY(QFile::copy(images + "/halvorn.bin", dir.filePath(QStringLiteral("halvorn.bin"))));
        for (QString &argument : arguments) {
            argument.replace(QLatin1String("CUTIMAGES"), dir.path());
            argument.replace(QLatin1String("IMAGES"), images);
        }
        const Outcome run = flash(arguments);
        QVERIFY2(QRegularExpression(expected).match(run.out + run.err).hasMatch(), qPrintable(run.out + run.err));
        QCOMPARE(run.exitCode, exitCode);
        // The boards that did not fail went on to the end.
        if (exitCode == 1)
            QCOMPARE(run.out.count(QRegularExpression(QStringLiteral("^virtual-\\d +done "), QRegularExpression::MultilineOption)),
                     arguments.count(QStringLiteral("--virtual-board")) - 1);
    }

    // --json: every line an object; the events of a run in their order, ending in run-done.
    void jsonLinesDescribeTheRun()
    {
        const Outcome run = flash({"flash", "--system", "linux", "--images", images, "--only", "kernel,cmdline",
                                   "--virtual-board", "4412", "--json"});
        QCOMPARE(run.exitCode, 0);
        const QList<QJsonObject> events = jsonLines(run.out);
        QVERIFY2(events.size() > 6, qPrintable(run.out));
        QStringList kinds;
        for (const QJsonObject &event : events) {
            if (kinds.isEmpty() || kinds.last() != event.value("event").toString())
                kinds << event.value("event").toString();
        }
        QCOMPARE(kinds.first(), QStringLiteral("board"));
        QCOMPARE(kinds.mid(1, 3), (QStringList{"step", "progress", "log"}));
        QCOMPARE(kinds.count(QStringLiteral("step-done")), 2);
        QCOMPARE(kinds.mid(kinds.size() - 2), (QStringList{"done", "run-done"}));
        QCOMPARE(events.last().value("exit").toInt(), 0);
        QVERIFY(run.out.contains(QStringLiteral("\"text\":\"Send File completed, Waitting...\"")));
    }
};

QTEST_GUILESS_MAIN(FlashCliTest)
#include "tst_flashcli.moc"
