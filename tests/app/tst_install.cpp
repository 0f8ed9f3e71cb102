// A staged install (DESTDIR) of this build, as a package or an administrator makes it:
// bin/ holds programs only, the udev rule lies where udev reads rules, and the program
// started from the staged tree finds its translation and its image set.

#include "app/programpaths.h"
#include "flashing/velkaroini.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

namespace {

bool stage(const QString &destdir, const QString &prefix)
{
    QProcess install;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DESTDIR"), destdir);
    install.setProcessEnvironment(env);
    install.start(QStringLiteral(OSTRAKIT_CMAKE),
                  {QStringLiteral("--install"), QStringLiteral(OSTRAKIT_BUILD_DIR), QStringLiteral("--prefix"), prefix});
    if (!install.waitForFinished(120000) || install.exitCode() != 0) {
        qWarning("%s", install.readAll().constData());
        return false;
    }
    return true;
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TstInstall : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void systemInstallRunsInPlace()
    {
        QTemporaryDir dir;
        QVERIFY(stage(dir.path(), QStringLiteral("/usr")));
        const QString bin = dir.filePath(QStringLiteral("usr/bin"));

        const QStringList programs = QDir(bin).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        QVERIFY(programs.contains(QStringLiteral("ostrakit")));
        for (const QString &name : programs) {
            const QString path = bin + QLatin1Char('/') + name;
            QVERIFY2(QFileInfo(path).isFile() && QFileInfo(path).isExecutable() && readFile(path).startsWith("\x7f" "ELF"),
                     qPrintable(name + QStringLiteral(" is no program")));
        }
        QVERIFY(QFile::exists(dir.path() + QStringLiteral(OSTRAKIT_SYSTEM_UDEV_RULES_DIR)
                              + QStringLiteral("/70-ostrakit-halvorn.rules")));

        // What the program looks up, from where it lies.
        const QString data = ProgramPaths::dataFolder(bin);
        QCOMPARE(data, dir.filePath(QStringLiteral("usr/share/ostrakit/")));
        QTranslator translator;
        QVERIFY(translator.load(data + QStringLiteral("language-cn")));
        QVERIFY(VelkaroIni::programImageSet(QDir::cleanPath(data)).isValid());
        QVERIFY(QFile::exists(ProgramPaths::dataFolder(bin) + QStringLiteral("70-ostrakit-halvorn.rules")));

        QProcess version;
        version.start(bin + QStringLiteral("/ostrakit"), {QStringLiteral("--version")});
        QVERIFY(version.waitForFinished(30000));
        QVERIFY(version.readAllStandardOutput().startsWith("ostrakit "));

        // Started in Chinese with the virtual board. Had the translation not been found,
        // start-up would stop at its message box before the board link exists, and the
        // board would never be asked what it is.
        QVERIFY(QDir().mkpath(dir.filePath(QStringLiteral("home/.config/Ostrakit"))));
        QFile settings(dir.filePath(QStringLiteral("home/.config/Ostrakit/settings.ini")));
        QVERIFY(settings.open(QIODevice::WriteOnly));
        settings.write("[General]\nlanguage=cn\n");
        settings.close();
        const QString trace = dir.filePath(QStringLiteral("trace.txt"));
        QProcess program;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), dir.filePath(QStringLiteral("home/.config")));
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        program.setProcessEnvironment(env);
        program.start(bin + QStringLiteral("/ostrakit"),
                      {QStringLiteral("--virtual-board"), QStringLiteral("4412"), QStringLiteral("--board-trace"), trace});
        QVERIFY(program.waitForStarted());
        QElapsedTimer clock;
        clock.start();
        while (!readFile(trace).contains("GETHW 0") && clock.elapsed() < 30000 && program.state() == QProcess::Running)
            QTest::qWait(100);
        program.kill();
        program.waitForFinished();
        QVERIFY2(readFile(trace).contains("GETHW 0"), program.readAllStandardError().constData());
        // An installed program leaves no settings beside itself.
        QVERIFY(!QFile::exists(bin + QStringLiteral("/settings.ini")));
    }

    // udev never reads rules under /usr/local: a local install puts its rule in /etc.
    void localInstallRuleInEtc()
    {
        QTemporaryDir dir;
        QVERIFY(stage(dir.path(), QStringLiteral("/usr/local")));
        QVERIFY(QFile::exists(dir.filePath(QStringLiteral("etc/udev/rules.d/70-ostrakit-halvorn.rules"))));
        QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("usr/local/lib/udev"))));
        QVERIFY(QFile::exists(dir.filePath(QStringLiteral("usr/local/share/ostrakit/language-cn.qm"))));
    }
};

QTEST_MAIN(TstInstall)
#include "tst_install.moc"
