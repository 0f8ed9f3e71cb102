#pragma once

#include <QList>
#include <QPixmap>
#include <QPoint>
#include <QString>
#include <QWidget>

class BurnSystemWidget;
class MiscToolsWidget;
class QLabel;
class TabWidget;
class TitleButton;

namespace Ui {
class Widget;
}

// The program's one window: frameless and of fixed size, with the tab strip at the top,
// the download and utilities pages, and a status bar that follows the board link.
class TMainWidget : public QWidget
{
    Q_OBJECT
public:
    explicit TMainWidget(QWidget *parent = nullptr);
    ~TMainWidget() override;

    void setStatusBarText(const QString &text);
    void updateStatusBar(bool connected);

public Q_SLOTS:
    void checkUpdate();
    void mini();
    void popMenu();
    void USBConnected(bool connected);
    void USBSendFinished(bool result);
    void USBReportLog(int logCatalog, QString msg);
    void USBSendMaxSize(int MaxSize);
    void USBSendCurrentPos(int Pos);
    void USBNewDeviceAttached(QString HwInfo);
    void CpuRecognized();
    void USBAccessProblem(QString node, int error);
    void switchTag(const QString &name);
    void openSerialPortAss();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    bool boardPresent() const;

    Ui::Widget *ui = nullptr;
    QString hardwareInfo;
    QPoint windowPosAtPress;
    QPoint dragOffset;
    QPoint pressPos;
    bool dragging = false;
    TabWidget *tabWidget = nullptr;
    TitleButton *closeButton = nullptr;
    TitleButton *miniButton = nullptr;
    TitleButton *menuButton = nullptr;
    QPixmap background;
    QString backgroundToTake; // until the first paint takes it in
    QLabel *statusTextLabel = nullptr;
    QLabel *statusIconLabel = nullptr;
    QPixmap connectedIcon;
    QPixmap disconnectedIcon;
    QLabel *versionLabel = nullptr;
    BurnSystemWidget *burnSystemWidget = nullptr;
    MiscToolsWidget *miscToolsWidget = nullptr;
    QList<QWidget *> pages;
};
