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
private:
    QStringList boxes;

    // Writes settings.ini into a fresh folder, the way the language view writes it
    // ("key=value;..." in the "General" group), and applies it the way start-up does.
    void start(const QTemporaryDir &dir, const QString &values)
    {
        {
            QSettings writer(dir.filePath("settings.ini"), QSettings::IniFormat);
            writer.beginGroup("General");
            for (const QString &pair : values.split(';', Qt::SkipEmptyParts))
                writer.setValue(pair.section('=', 0, 0), pair.section('=', 1));
        }
        QSettings settings(dir.filePath("settings.ini"), QSettings::IniFormat);
        settings.beginGroup("General");
        Startup::applyLanguage(*qApp, Startup::programFolder(dir.path()), settings);
    }

private Q_SLOTS:
    void init()
    {
        boxes.clear();
        gLanguage = -1;
        UserDialogs::setInformationHandler([this](QWidget *parent, const QString &title, const QString &text) {
            QVERIFY(parent == nullptr);
            boxes << title + "|" + text;
        });
    }
    void cleanupTestCase() { UserDialogs::setInformationHandler({}); }

    void programFolder_data()
    {
        QTest::addColumn<QString>("appDir");
        QTest::addColumn<QString>("folder");
        QTest::newRow("plain") << "/opt/ostrakit" << "/opt/ostrakit/";
        QTest::newRow("slash kept") << "/opt/ostrakit/" << "/opt/ostrakit/";
        QTest::newRow("backslash kept") << "C:\\tools\\" << "C:\\tools\\";
        QTest::newRow("empty stays empty") << "" << "";
    }
    void programFolder()
    {
        QFETCH(QString, appDir);
        QFETCH(QString, folder);
        QCOMPARE(Startup::programFolder(appDir), folder);
    }

    void englishChoices_data()
    {
        QTest::addColumn<QString>("ini");
        QTest::addColumn<int>("pointSize");
        QTest::newRow("no settings") << "" << 12;
        QTest::newRow("en with size") << "language=en;fontSize_en=14;fontSize_cn=9" << 14;
        QTest::newRow("upper-case CN is not Chinese") << "language=CN;fontSize_en=13" << 13;
        QTest::newRow("other language") << "language=de" << 12;
    }
    void englishChoices()
    {
        QFETCH(QString, ini);
        QFETCH(int, pointSize);
        QTemporaryDir dir;
        start(dir, ini);
        QCOMPARE(gLanguage, 0);
        QCOMPARE(QApplication::font().pointSize(), pointSize);
        QVERIFY(boxes.isEmpty());
    }

    void missingTranslationFallsBackToEnglish()
    {
        QTemporaryDir dir;
        start(dir, "language=cn;fontSize_en=15;fontSize_cn=9");
        QCOMPARE(boxes, QStringList{"Message|Load language-cn.qm failed!"});
        QCOMPARE(gLanguage, 0);
        QCOMPARE(QApplication::font().pointSize(), 15);
        QVERIFY(QApplication::font().family() != QStringLiteral("微软雅黑"));
    }

    // Last: it leaves the translation installed.
    void chineseWithTranslation()
    {
        QTemporaryDir dir;
        QVERIFY(QFile::copy(QStringLiteral(OSTRAKIT_BUILT_QM), dir.filePath("language-cn.qm")));
        start(dir, "language=cn;fontSize_cn=11");
        QVERIFY(boxes.isEmpty());
        QCOMPARE(gLanguage, 1);
        QCOMPARE(QApplication::font().pointSize(), 11);
        QCOMPARE(QApplication::font().family(), QStringLiteral("微软雅黑"));
    }
};

QTEST_MAIN(TstStartup)
#include "tst_startup.moc"
