// Installed as a package or an administrator installs it: a staged install (DESTDIR) keeps
// bin/ for programs, puts the udev rule where udev reads rules, and the program started
// from there finds its translation and images; "settings.ini" goes where the user may
// write, and is the file a person writes by hand, with its keys under "[General]".

#include "app/globals.h"
#include "app/programpaths.h"
#include "app/startup.h"
#include "app/userdialogs.h"
#include "flashing/velkaroini.h"
#include "shell/languagesetting.h"
#include "shell/tlanguagesettingview.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QPushButton>
#include <QSettings>
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
    const bool done = install.waitForFinished(120000) && install.exitCode() == 0;
    if (!done)
        qWarning("%s", install.readAll().constData());
    return done;
}

bool writeFile(const QString &path, const QByteArray &data)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
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
        QVERIFY(QFile::exists(dir.path() + QStringLiteral(OSTRAKIT_SYSTEM_UDEV_RULES_DIR "/70-ostrakit-halvorn.rules")));

        // What the program looks up, from where it lies.
        const QString data = ProgramPaths::dataFolder(bin);
        QCOMPARE(data, dir.filePath(QStringLiteral("usr/share/ostrakit/")));
        QTranslator translator;
        QVERIFY(translator.load(data + QStringLiteral("language-cn")));
        QVERIFY(VelkaroIni::programImageSet(QDir::cleanPath(data)).isValid());
        QVERIFY(QFile::exists(data + QStringLiteral("70-ostrakit-halvorn.rules")));

        // Started in Chinese with the virtual board. Had the translation not been found,
        // start-up would stop at its message box before the board link exists, and the
        // board would never be asked what it is.
        QVERIFY(writeFile(dir.filePath(QStringLiteral("home/.config/Ostrakit/settings.ini")), "[General]\nlanguage=cn\n"));
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

    void whichSettingsFile_data()
    {
        QTest::addColumn<bool>("readOnly");
        QTest::newRow("build tree or portable copy") << false;
        QTest::newRow("read-only program folder") << true;
    }
    void whichSettingsFile()
    {
        QFETCH(bool, readOnly);
        QTemporaryDir dir;
        const QString bin = dir.filePath(QStringLiteral("bin"));
        QVERIFY(QDir().mkpath(bin));
        if (readOnly)
            QVERIFY(QFile::setPermissions(bin, QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther));
        const QString config = dir.filePath(QStringLiteral("config"));
        QCOMPARE(ProgramPaths::settingsFile(bin, config), readOnly ? config + QStringLiteral("/Ostrakit/settings.ini")
                                                                                : bin + QStringLiteral("/settings.ini"));
        QFile::setPermissions(bin, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    // An installed program with no per-user file yet: a "[General]" file written by hand
    // beside it starts it in Chinese; the language view then writes the user's own file,
    // again under "[General]", and leaves the administrator's alone.
    void handWrittenGeneralSection()
    {
        UserDialogs::setInformationHandler([](QWidget *, const QString &, const QString &) {});
        QTemporaryDir dir;
        const QString bin = dir.filePath(QStringLiteral("bin"));
        const QString config = dir.filePath(QStringLiteral("config"));
        QVERIFY(QDir().mkpath(dir.filePath(QStringLiteral("share/ostrakit"))));
        QVERIFY(QFile::copy(QStringLiteral(OSTRAKIT_BUILT_QM), dir.filePath(QStringLiteral("share/ostrakit/language-cn.qm"))));
        const QByteArray byHand = "[General]\nlanguage=cn\nfontSize_cn=11\n";
        QVERIFY(writeFile(bin + QStringLiteral("/settings.ini"), byHand));

        gLanguage = -1;
        {
            QSettings settings(ProgramPaths::settingsFileToRead(bin, config), QSettings::IniFormat);
            Startup::applyLanguage(*qApp, ProgramPaths::dataFolder(bin), settings);
        }
        QCOMPARE(gLanguage, 1);
        QCOMPARE(QApplication::font().pointSize(), 11);

        TLanguageSettingView view;
        view.setSettingsFile(ProgramPaths::settingsFile(bin, config));
        for (QPushButton *button : view.findChildren<QPushButton *>()) {
            if (button->text() == QLatin1String("English"))
                QTest::mouseClick(button, Qt::LeftButton);
        }
        const QByteArray written = readFile(config + QStringLiteral("/Ostrakit/settings.ini"));
        QVERIFY2(written.startsWith("[General]\n") && written.contains("\nlanguage=en\n"), written.constData());
        QCOMPARE(readFile(bin + QStringLiteral("/settings.ini")), byHand);
        QCOMPARE(ProgramPaths::settingsFileToRead(bin, config), config + QStringLiteral("/Ostrakit/settings.ini"));

        // A file an earlier release wrote under "[%General]" keeps its language, and the
        // next choice leaves one "[General]" section.
        const QString earlier = dir.filePath(QStringLiteral("earlier.ini"));
        QVERIFY(writeFile(earlier, "[%General]\nlanguage=cn\n"));
        QSettings settings(earlier, QSettings::IniFormat);
        QCOMPARE(Startup::settingValue(settings, QStringLiteral("language"), QStringLiteral("en")).toString(), QStringLiteral("cn"));
        setLanguageSetting(QStringLiteral("en"), earlier);
        QCOMPARE(readFile(earlier), QByteArray("[General]\nlanguage=en\n"));
    }
};

QTEST_MAIN(TstInstall)
#include "tst_install.moc"
