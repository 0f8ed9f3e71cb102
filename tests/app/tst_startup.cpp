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
        const QList<QPair<QString, int>> english = {{"", 12}, {"language=en;fontSize_en=14;fontSize_cn=9", 14},
                                                    {"language=CN;fontSize_en=13", 13}, {"language=de", 12}};
        for (const auto &[ini, size] : english) {
            QTemporaryDir dir;
            start(dir, ini);
            QCOMPARE(gLanguage, 0);
            QCOMPARE(QApplication::font().pointSize(), size);
        }
        QVERIFY(boxes.isEmpty());

        QTemporaryDir missing;
        start(missing, "language=cn;fontSize_en=15;fontSize_cn=9");
        QCOMPARE(boxes, QStringList{"Message|Load language-cn.qm failed!"});
        QCOMPARE(gLanguage, 0);
        QCOMPARE(QApplication::font().pointSize(), 15);
        QVERIFY(QApplication::font().family() != QStringLiteral("微软雅黑"));

        QTemporaryDir dir;
        QVERIFY(QFile::copy(QStringLiteral(OSTRAKIT_BUILT_QM), dir.filePath("language-cn.qm")));
        start(dir, "language=cn;fontSize_cn=11");
        QCOMPARE(boxes.size(), 1);
        QCOMPARE(gLanguage, 1);
        QCOMPARE(QApplication::font().pointSize(), 11);
        QCOMPARE(QApplication::font().family(), QStringLiteral("微软雅黑"));
        UserDialogs::setInformationHandler({});
    }
};

QTEST_MAIN(TstStartup)
#include "tst_startup.moc"
