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

// The exit code (-1 after a crash or a hang), stdout and stderr of one run.
std::tuple<int, QString, QString> flash(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral(OSTRAKIT_FLASH_BIN), arguments);
    if (!process.waitForFinished(60000))
        process.kill(), process.waitForFinished();
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()), QString::fromUtf8(process.readAllStandardError())};
}

QByteArray fileBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// One object a line; nothing at all when a line is not one.
QList<QJsonObject> jsonLines(const QByteArray &text)
{
    QList<QJsonObject> objects;
    for (const QByteArray &line : text.split('\n')) {
        if (!line.isEmpty() && !QJsonDocument::fromJson(line).isObject())
            return {};
        if (!line.isEmpty())
            objects << QJsonDocument::fromJson(line).object();
    }
    return objects;
}

} // namespace

class FlashCliTest : public QObject
{
    Q_OBJECT
    const QString images = QStringLiteral(OSTRAKIT_SHIPPED_IMAGES);

private Q_SLOTS:
    // Every system on a board that takes all its items: the boards hold exactly the files
    // the report names, byte for byte, and the report's SHA-256 values are the files'.
    // Stdout is a pipe: plain lines, or with --json the run's events in their order.
    void systemsReachTheBoardByteForByte_data()
    {
        QTest::addColumn<QString>("system");
        QTest::addColumn<QString>("cpu");
        QTest::addColumn<int>("steps");
        QTest::addColumn<bool>("json");
        QTest::newRow("android on a 4412") << "android" << "4412" << 6 << false;
        QTest::newRow("linux on a 210, json") << "linux" << "210" << 4 << true;
        QTest::newRow("wince on a 6410") << "wince" << "6410" << 3 << false;
    }
    void systemsReachTheBoardByteForByte()
    {
        QFETCH(QString, system);
        QFETCH(QString, cpu);
        QFETCH(int, steps);
        QFETCH(bool, json);
        QTemporaryDir dir;
        const QString store = dir.filePath(QStringLiteral("store")), report = dir.filePath(QStringLiteral("report.jsonl"));
        QStringList arguments{"flash", "--system", system, "--images", images, "--virtual-board", cpu,
                              "--virtual-store", store, "--report", report};
        const auto [exitCode, out, err] = flash(json ? arguments << "--json" : arguments);
        QCOMPARE(exitCode, 0);
        if (json) {
            // Each kind of event in the order it first comes; a step-done for every step.
            QStringList kinds;
            for (const QJsonObject &event : jsonLines(out.toUtf8()))
                kinds << event["event"].toString();
            QCOMPARE(kinds.count(QStringLiteral("step-done")), steps);
            QCOMPARE(kinds.constLast(), QStringLiteral("run-done"));
            kinds.removeDuplicates();
            QCOMPARE(kinds, (QStringList{"board", "step", "progress", "log", "step-done", "done", "run-done"}));
            QVERIFY(out.contains(QStringLiteral("\"text\":\"Send File completed, Waitting...\"")));
            QCOMPARE(jsonLines(out.toUtf8()).constLast().value("exit").toInt(-1), 0);
        } else {
            QVERIFY2(!out.contains(QLatin1Char('\x1b')) && out.contains(QStringLiteral("virtual-1: all operations completed")),
                     qPrintable(out));
        }

        const QJsonObject record = jsonLines(fileBytes(report)).value(0);
        const QJsonObject board = record["boards"].toArray().at(0).toObject();
        QCOMPARE(board["processor"].toString(), cpu);
        const QJsonArray reported = record["images"].toArray();
        for (const QJsonValue &image : reported)
            QCOMPARE(image["sha256"].toString().toLatin1(),
                     QCryptographicHash::hash(fileBytes(image["path"].toString()), QCryptographicHash::Sha256).toHex());
        QMultiHash<QByteArray, QString> expected; // contents → step value
        for (const QJsonValue &step : board["steps"].toArray()) {
            QCOMPARE(step["outcome"].toString(), QStringLiteral("done"));
            const QString value = step["value"].toString();
            expected.insert(QFile::exists(value) ? fileBytes(value) : value.toLatin1(), value);
        }
        QCOMPARE(expected.size(), steps);
        QCOMPARE(reported.size(), int(std::count_if(expected.cbegin(), expected.cend(), [](const QString &v) { return QFile::exists(v); })));
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
        QTest::newRow("item not in Velkaro.ini") << QStringList{"flash", "--system", "wince", "--only", "image", "--images", "CUT"}
                                                 << 2 << "No \"WinCE6 InstallImage: \"\\.";
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
        QVERIFY(ini.open(QIODevice::WriteOnly) && ini.write("WindowsCE6-Bootloader = halvorn.bin\n") > 0 && ini.flush());
        arguments.replaceInStrings(QStringLiteral("CUT"), dir.path()).replaceInStrings(QStringLiteral("IMAGES"), images);
        const auto [code, out, err] = flash(arguments);
        QVERIFY2(QRegularExpression(expected).match(out + err).hasMatch(), qPrintable(out + err));
        QCOMPARE(code, exitCode);
        // The boards that did not fail went on to the end.
        if (exitCode == 1)
            QCOMPARE(out.count(QRegularExpression(QStringLiteral("^virtual-\\d +done "), QRegularExpression::MultilineOption)),
                     arguments.count(QStringLiteral("--virtual-board")) - 1);
    }
};

QTEST_GUILESS_MAIN(FlashCliTest)
#include "tst_flashcli.moc"
