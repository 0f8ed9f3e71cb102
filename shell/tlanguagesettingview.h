#pragma once

#include <QString>
#include <QWidget>

class QPushButton;

// Two buttons that store the interface language for the next start.
class TLanguageSettingView : public QWidget
{
    Q_OBJECT
public:
    explicit TLanguageSettingView(QWidget *parent = nullptr);

    // Where the choice is written; the program folder's "settings.ini" unless changed.
    void setSettingsFile(const QString &path) { settingsFile = path; }

public Q_SLOTS:
    void enButtonClicked();
    void cnButtonClicked();

private:
    QPushButton *enButton = nullptr;
    QPushButton *cnButton = nullptr;
    QString settingsFile;
};
