#include "app/globals.h"
#include "app/userdialogs.h"
#include "shell/languagesetting.h"
#include "shell/tlanguagesettingview.h"

#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

class TestTLanguageSettingView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Each button stores its language (and nothing else of the file), and asks for a restart.
    void buttons()
    {
        QCOMPARE(programSettingsFile(), QCoreApplication::applicationDirPath() + QStringLiteral("/settings.ini"));
        QStringList boxes;
        UserDialogs::setInformationHandler([&](QWidget *, const QString &title, const QString &text) { boxes << title + '|' + text; });
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("settings.ini"));
        QSettings(path, QSettings::IniFormat).setValue(QStringLiteral("fontSize_cn"), 14);
        TLanguageSettingView view;
        view.setSettingsFile(path);
        const QStringList rows = {"中文|cn|1|Message|请重新启动一下Ostrakit.", "English|en|0|Message|Ready, Please restart Ostrakit."};
        for (const QString &row : rows) {
            const QStringList r = row.split('|');
            for (QPushButton *button : view.findChildren<QPushButton *>())
                if (button->text() == r[0])
                    QTest::mouseClick(button, Qt::LeftButton);
            QSettings settings(path, QSettings::IniFormat);
            QCOMPARE(settings.value(QStringLiteral("language")).toString(), r[1]);
            QCOMPARE(settings.value(QStringLiteral("fontSize_cn")).toInt(), 14);
            QCOMPARE(gLanguage, r[2].toInt());
            QCOMPARE(boxes.takeFirst(), r[3] + '|' + r[4]);
        }
        QVERIFY(boxes.isEmpty());
        UserDialogs::setInformationHandler({});
    }
};

QTEST_MAIN(TestTLanguageSettingView)
#include "tst_tlanguagesettingview.moc"
