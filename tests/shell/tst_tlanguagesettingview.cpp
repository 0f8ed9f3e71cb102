#include "app/globals.h"
#include "app/userdialogs.h"
#include "shell/languagesetting.h"
#include "shell/tlanguagesettingview.h"

#include <QCoreApplication>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

class TestTLanguageSettingView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void writesOnlyTheLanguage();
    void buttons_data();
    void buttons();

private:
    struct Box {
        QString title;
        QString text;
    };
    QList<Box> boxes;
    std::unique_ptr<QTemporaryDir> folder;
};

void TestTLanguageSettingView::init()
{
    boxes.clear();
    folder = std::make_unique<QTemporaryDir>();
    QVERIFY(folder->isValid());
    UserDialogs::setInformationHandler([this](QWidget *, const QString &title, const QString &text) {
        boxes.append({title, text});
    });
}

void TestTLanguageSettingView::cleanup()
{
    UserDialogs::setInformationHandler({});
    gLanguage = 0;
}

void TestTLanguageSettingView::writesOnlyTheLanguage()
{
    QCOMPARE(programSettingsFile(), QCoreApplication::applicationDirPath() + QStringLiteral("/settings.ini"));
    const QString path = folder->filePath(QStringLiteral("settings.ini"));
    {
        QSettings settings(path, QSettings::IniFormat);
        settings.setValue(QStringLiteral("fontSize_cn"), 14);
        settings.setValue(QStringLiteral("language"), QStringLiteral("en"));
    }
    setLanguageSetting(QStringLiteral("cn"), path);

    QSettings settings(path, QSettings::IniFormat);
    QCOMPARE(settings.value(QStringLiteral("language")).toString(), QStringLiteral("cn"));
    QCOMPARE(settings.value(QStringLiteral("fontSize_cn")).toInt(), 14);
}

void TestTLanguageSettingView::buttons_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("startLanguage");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<int>("language");
    QTest::addColumn<QString>("message");
    QTest::newRow("English") << QStringLiteral("English") << 1 << QStringLiteral("en") << 0
                             << QStringLiteral("Ready, Please restart Ostrakit.");
    QTest::newRow("Chinese") << QStringLiteral("中文") << 0 << QStringLiteral("cn") << 1
                             << QStringLiteral("请重新启动一下Ostrakit.");
}

void TestTLanguageSettingView::buttons()
{
    QFETCH(QString, button);
    QFETCH(int, startLanguage);
    QFETCH(QString, stored);
    QFETCH(int, language);
    QFETCH(QString, message);

    gLanguage = startLanguage;
    const QString path = folder->filePath(QStringLiteral("settings.ini"));
    TLanguageSettingView view;
    view.setSettingsFile(path);
    view.show();
    QPushButton *pressed = nullptr;
    for (QPushButton *candidate : view.findChildren<QPushButton *>()) {
        if (candidate->text() == button)
            pressed = candidate;
    }
    QVERIFY(pressed);

    // A second press writes the same again and asks again.
    for (int press = 1; press <= 2; ++press) {
        QTest::mouseClick(pressed, Qt::LeftButton);
        QCOMPARE(gLanguage, language);
        QCOMPARE(QSettings(path, QSettings::IniFormat).value(QStringLiteral("language")).toString(), stored);
        QCOMPARE(boxes.size(), press);
        QCOMPARE(boxes.last().title, QStringLiteral("Message"));
        QCOMPARE(boxes.last().text, message);
    }
}

QTEST_MAIN(TestTLanguageSettingView)
#include "tst_tlanguagesettingview.moc"
