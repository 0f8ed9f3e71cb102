#pragma once

#include <QList>
#include <QString>
#include <QWidget>

class MenuButton;

// The left-hand menu of the download tab. The selected row is the disabled one; every
// row but the "Settings" heading names the view it brings up.
class TMenu : public QWidget
{
    Q_OBJECT
public:
    explicit TMenu(QWidget *parent = nullptr);

    void relayoutButtons();
    void reAddAllButton();

    // Rows top to bottom, for the download tab and for tests.
    const QList<MenuButton *> &allButtons() const { return buttons; }
    const QList<MenuButton *> &shownButtons() const { return shown; }
    // The view a row brings up; empty for the heading.
    QString viewNameOf(const MenuButton *button) const;

Q_SIGNALS:
    void switchView(QString viewName);

public Q_SLOTS:
    void btnClicked();

    void USBConnected(bool connected);
    void USBReportLog(int level, QString text);
    void USBSendFinished(bool ok);
    void USBSendMaxSize(int maxSize);
    void USBSendCurrentPos(int pos);
    void USBNewDeviceAttached(QString hwInfo);
    void CpuRecognized();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void fitCaptions();
    MenuButton *addRow(const QString &text, const QString &icon, int indent, bool grey, const QString &viewName);

    QList<MenuButton *> buttons;
    QList<MenuButton *> shown;
    MenuButton *statusRow = nullptr;
};
