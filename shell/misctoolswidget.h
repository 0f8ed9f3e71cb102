#pragma once

#include <QList>
#include <QPixmap>
#include <QWidget>

class AppButton;

// The page under the "Utilities" tab: a row of launchers for companion programs on a
// background picture. No launcher is offered yet, so the page shows its background.
class MiscToolsWidget : public QWidget
{
    Q_OBJECT
public:
    explicit MiscToolsWidget(QWidget *parent = nullptr);

    // Takes the launcher as a child and puts it at the end of the row.
    void addAppButton(AppButton *button);
    QList<AppButton *> appButtons() const { return apps; }

public Q_SLOTS:
    void openWindowApps();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void layoutAppButtons();

    QPixmap background;
    QList<AppButton *> apps;
};
