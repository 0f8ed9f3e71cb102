#include "shell/tlanguagesettingview.h"

#include "app/globals.h"
#include "app/userdialogs.h"
#include "shell/languagesetting.h"
#include "shell/resourcetext.h"

#include <QPushButton>

TLanguageSettingView::TLanguageSettingView(QWidget *parent)
    : QWidget(parent), settingsFile(programSettingsFile())
{
    const QString style = readFile(QStringLiteral(":/button_onekeybutton.css"));
    // Each language names itself, so neither caption is translated.
    cnButton = new QPushButton(QStringLiteral("中文"), this);
    cnButton->setGeometry(120, 200, 180, 40);
    cnButton->setStyleSheet(style);
    connect(cnButton, &QPushButton::clicked, this, &TLanguageSettingView::cnButtonClicked);

    enButton = new QPushButton(QStringLiteral("English"), this);
    enButton->setGeometry(340, 200, 180, 40);
    enButton->setStyleSheet(style);
    connect(enButton, &QPushButton::clicked, this, &TLanguageSettingView::enButtonClicked);
}

// The translation and the pictures were chosen at start, so the message speaks the new
// language and asks for a restart.
void TLanguageSettingView::enButtonClicked()
{
    setLanguageSetting(QStringLiteral("en"), settingsFile);
    gLanguage = 0;
    UserDialogs::information(this, tr("Message"), QStringLiteral("Ready, Please restart Ostrakit."));
}

void TLanguageSettingView::cnButtonClicked()
{
    setLanguageSetting(QStringLiteral("cn"), settingsFile);
    gLanguage = 1;
    UserDialogs::information(this, tr("Message"), QStringLiteral("请重新启动一下Ostrakit."));
}
