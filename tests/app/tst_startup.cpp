// Start-up: program folder, language, font and translation from settings.ini.

#include "app/globals.h"
#include "app/startup.h"
#include "app/userdialogs.h"

#include <QApplication>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

class TstStartup : public QObject
{
    Q_OBJECT
    QStringList boxes;

    // Writes settings.ini the way the language view does ("key=value;..." in "General") and
    // applies it the way start-up does.
    void start(const QTemporaryDir &dir, const QString &values)
    {
        {
            QSettings writer(dir.filePath("settings.ini"), QSettings::IniFormat);
            for (const QString &pair : values.split(';', Qt::SkipEmptyParts))
                writer.setValue("General/" + pair.section('=', 0, 0), pair.section('=', 1));
        }
        QSettings settings(dir.filePath("settings.ini"), QSettings::IniFormat);
        settings.beginGroup("General");
        gLanguage = -1;
        Startup::applyLanguage(*qApp, Startup::programFolder(dir.path()), settings);
    }

private Q_SLOTS:
    // English unless "cn" is asked for and its translation is there; the size of the language
    // in force, 12 points by default; a missing translation says so and falls back.
    void languageAndFont()
    {
        UserDialogs::setInformationHandler([this](QWidget *parent, const QString &title, const QString &text) {
            QVERIFY(parent == nullptr);
            boxes << title + "|" + text;
        });
        const QList<std::tuple<QString, bool, int, int>> runs = { // settings, translation there, language, points
            {"", true, 0, 12}, {"language=en;fontSize_en=14;fontSize_cn=9", true, 0, 14}, {"language=CN;fontSize_en=13", true, 0, 13},
            {"language=de", false, 0, 12}, {"language=cn;fontSize_en=15;fontSize_cn=9", false, 0, 15}, {"language=cn;fontSize_cn=11", true, 1, 11}};
        for (const auto &[ini, translated, language, points] : runs) {
            QTemporaryDir dir;
            QVERIFY(!translated || QFile::copy(QStringLiteral(OSTRAKIT_BUILT_QM), dir.filePath("language-cn.qm")));
            boxes.clear();
            start(dir, ini);
            QCOMPARE(gLanguage, language);
            QCOMPARE(QApplication::font().pointSize(), points);
            QCOMPARE(QApplication::font().family() == QStringLiteral("微软雅黑"), language == 1);
            QCOMPARE(boxes, QStringList(language || !ini.contains("=cn") ? QStringList() : QStringList{"Message|Load language-cn.qm failed!"}));
        }
    }
};

QTEST_MAIN(TstStartup)
#include "tst_startup.moc"
