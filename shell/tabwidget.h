#pragma once

#include <QList>
#include <QString>
#include <QWidget>

class TabButton;

// The main window's strip of three tabs. "Download" and "Utilities" switch the page;
// "Serial Port" only opens the serial assistant and is never shown as selected.
class TabWidget : public QWidget
{
    Q_OBJECT
public:
    explicit TabWidget(QWidget *parent = nullptr);

    QList<TabButton *> tabs() const { return buttons; }

Q_SIGNALS:
    void switchTag(const QString &name);
    void openSerialPortAss();

public Q_SLOTS:
    void btnClicked();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    QList<TabButton *> buttons;
    // The page each tab stands for, by tab index; empty for a tab that opens a window.
    QList<QString> pageNames;
};
