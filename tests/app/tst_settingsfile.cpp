// Which "settings.ini" the program uses, and that it is the file a person writes by hand:
// keys under "[General]".

#include "app/globals.h"
#include "app/programpaths.h"
#include "app/startup.h"
#include "app/userdialogs.h"
#include "shell/languagesetting.h"
#include "shell/tlanguagesettingview.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

namespace {

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

class TstSettingsFile : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        UserDialogs::setInformationHandler([](QWidget *, const QString &, const QString &) {});
    }

    void whichFile_data()
    {
        QTest::addColumn<bool>("readOnly");
        QTest::addColumn<bool>("installed");
        QTest::addColumn<bool>("perUser");
        QTest::newRow("build tree or portable copy") << false << false << false;
        QTest::newRow("read-only program folder") << true << false << true;
        QTest::newRow("installed bin/") << false << true << true;
    }
    void whichFile()
    {
        QFETCH(bool, readOnly);
        QFETCH(bool, installed);
        QFETCH(bool, perUser);
        QTemporaryDir dir;
        const QString bin = dir.filePath(QStringLiteral("bin"));
        QVERIFY(QDir().mkpath(bin));
        if (installed)
            QVERIFY(QDir().mkpath(dir.filePath(QStringLiteral("share/ostrakit"))));
        if (readOnly)
            QVERIFY(QFile::setPermissions(bin, QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther));
        const QString config = dir.filePath(QStringLiteral("config"));
        QCOMPARE(ProgramPaths::settingsFile(bin, config),
                 perUser ? config + QStringLiteral("/Ostrakit/settings.ini") : bin + QStringLiteral("/settings.ini"));
        QFile::setPermissions(bin, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    // An installed program with no per-user file yet: a "[General]" file written by hand
    // beside it starts it in Chinese; the language view then writes the user's own file,
    // again under "[General]", and leaves the administrator's alone.
    void handWrittenGeneralSection()
    {
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
    }

    // A file an earlier release wrote under "[%General]" keeps its language, and the next
    // choice leaves one "[General]" section.
    void earlierReleaseFile()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("settings.ini"));
        QVERIFY(writeFile(path, "[%General]\nlanguage=cn\n"));
        QSettings settings(path, QSettings::IniFormat);
        QCOMPARE(Startup::settingValue(settings, QStringLiteral("language"), QStringLiteral("en")).toString(),
                 QStringLiteral("cn"));
        setLanguageSetting(QStringLiteral("en"), path);
        QCOMPARE(readFile(path), QByteArray("[General]\nlanguage=en\n"));
    }
};

QTEST_MAIN(TstSettingsFile)
#include "tst_settingsfile.moc"
