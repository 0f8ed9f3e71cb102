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
#include <QFile>
#include <QProcess>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

namespace {

// cmake --install into `destdir`, as a package build stages it.
bool stage(const QString &destdir, const QString &prefix)
{
    qputenv("DESTDIR", QFile::encodeName(destdir));
    const int status = QProcess::execute(QStringLiteral(OSTRAKIT_CMAKE), {"--install", OSTRAKIT_BUILD_DIR, "--prefix", prefix});
    qunsetenv("DESTDIR");
    return status == 0;
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
    // udev never reads rules under /usr/local: a local install puts its rule in /etc.
    void stagedInstallRunsInPlace_data()
    {
        QTest::addColumn<QString>("prefix");
        QTest::addColumn<QString>("rules");
        QTest::newRow("system") << "/usr" << OSTRAKIT_SYSTEM_UDEV_RULES_DIR;
        QTest::newRow("local") << "/usr/local" << "/etc/udev/rules.d";
    }
    void stagedInstallRunsInPlace()
    {
        QFETCH(QString, prefix);
        QFETCH(QString, rules);
        QTemporaryDir dir;
        QVERIFY(stage(dir.path(), prefix));
        const QString bin = dir.path() + prefix + QStringLiteral("/bin");
        const QStringList programs = QDir(bin).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        QVERIFY(programs.contains(QStringLiteral("ostrakit")));
        for (const QString &name : programs) {
            const QString path = bin + QLatin1Char('/') + name;
            QVERIFY2(QFileInfo(path).isFile() && QFileInfo(path).isExecutable() && readFile(path).startsWith("\x7f" "ELF"),
                     qPrintable(name + QStringLiteral(" is no program")));
        }
        QVERIFY(QFile::exists(dir.path() + rules + QStringLiteral("/70-ostrakit-halvorn.rules")));
        QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("usr/local/lib/udev"))));

        // What the program looks up, from where it lies.
        const QString data = ProgramPaths::dataFolder(bin);
        QCOMPARE(data, dir.path() + prefix + QStringLiteral("/share/ostrakit/"));
        QTranslator translator;
        QVERIFY(translator.load(data + QStringLiteral("language-cn")));
        QVERIFY(VelkaroIni::programImageSet(QDir::cleanPath(data)).isValid() && QFile::exists(data + "70-ostrakit-halvorn.rules"));

        // Started in Chinese with the virtual board. Had the translation not been found,
        // start-up would stop at its message box before the board link exists, and the
        // board would never be asked what it is.
        QVERIFY(writeFile(dir.filePath(QStringLiteral("home/.config/Ostrakit/settings.ini")), "[General]\nlanguage=cn\n"));
        const QString trace = dir.filePath(QStringLiteral("trace.txt"));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(dir.filePath(QStringLiteral("home/.config"))));
        QProcess program;
        program.start(bin + QStringLiteral("/ostrakit"),
                      {QStringLiteral("--virtual-board"), QStringLiteral("4412"), QStringLiteral("--board-trace"), trace});
        QVERIFY(program.waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(readFile(trace).contains("GETHW 0") || program.state() != QProcess::Running, 30000);
        program.kill();
        program.waitForFinished();
        QVERIFY2(readFile(trace).contains("GETHW 0"), program.readAllStandardError().constData());
        QVERIFY(!QFile::exists(bin + QStringLiteral("/settings.ini")));
    }

    // "settings.ini" in the program's folder while it may be written (the build tree, a
    // portable copy), else the user's own. An installed program with no per-user file yet:
    // a "[General]" file written by hand beside it starts it in Chinese; the language view
    // then writes the user's own file, again under "[General]", and leaves the
    // administrator's alone.
    void settingsFile()
    {
        UserDialogs::setInformationHandler([](QWidget *, const QString &, const QString &) {});
        QTemporaryDir dir;
        const QString bin = dir.filePath(QStringLiteral("bin")), config = dir.filePath(QStringLiteral("config"));
        const QString own = bin + QStringLiteral("/settings.ini"), user = config + QStringLiteral("/Ostrakit/settings.ini");
        QVERIFY(QDir().mkpath(bin));
        QCOMPARE(ProgramPaths::settingsFile(bin, config), own);
        QVERIFY(QFile::setPermissions(bin, QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther));
        QCOMPARE(ProgramPaths::settingsFile(bin, config), user);
        QVERIFY(QFile::setPermissions(bin, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));

        QVERIFY(QDir().mkpath(dir.filePath(QStringLiteral("share/ostrakit"))));
        QVERIFY(QFile::copy(QStringLiteral(OSTRAKIT_BUILT_QM), dir.filePath(QStringLiteral("share/ostrakit/language-cn.qm"))));
        const QByteArray byHand = "[General]\nlanguage=cn\nfontSize_cn=11\n";
        QVERIFY(writeFile(own, byHand));
        gLanguage = -1;
        {
            QSettings settings(ProgramPaths::settingsFileToRead(bin, config), QSettings::IniFormat);
            Startup::applyLanguage(*qApp, ProgramPaths::dataFolder(bin), settings);
        }
        QVERIFY(gLanguage == 1 && QApplication::font().pointSize() == 11);

        TLanguageSettingView view;
        view.setSettingsFile(ProgramPaths::settingsFile(bin, config));
        for (QPushButton *button : view.findChildren<QPushButton *>()) {
            if (button->text() == QLatin1String("English"))
                QTest::mouseClick(button, Qt::LeftButton);
        }
        const QByteArray written = readFile(user);
        QVERIFY2(written.startsWith("[General]\n") && written.contains("\nlanguage=en\n"), written.constData());
        QCOMPARE(readFile(own), byHand);
        QCOMPARE(ProgramPaths::settingsFileToRead(bin, config), user);

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
