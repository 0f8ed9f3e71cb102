#pragma once

#include <QList>
#include <QString>
#include <QWidget>

class QPushButton;
class TAboutView;
class TConfigView;
class THomeView;
class TLanguageSettingView;
class TMenu;

// The page under the "Download" tab: the menu and "Quick Boot" on the left, and on the
// right a stack of views addressed by name, one visible at a time.
class BurnSystemWidget : public QWidget
{
    Q_OBJECT
public:
    explicit BurnSystemWidget(QWidget *parent = nullptr);

    QString currentViewName() const { return currentView; }
    // The view shown now, or null when every view is hidden.
    QWidget *visibleView() const;
    // The configuration page of a view kind (0 Android ... 4 user bin install), built
    // now if it has not been shown before.
    TConfigView *configView(int kind);
    TMenu *menu() const { return menuWidget; }
    THomeView *homeView() const { return home; }
    QPushButton *quickBootButton() const { return quickBoot; }

public Q_SLOTS:
    void needEnableControler(bool enabled, int elseView);
    void imagesPathUpdatedSlot();
    void quickStartButtonClicked();
    void USBConnected(bool connected);
    void USBSendFinished(bool result);
    void USBReportLog(int logCatalog, QString msg);
    void USBSendMaxSize(int MaxSize);
    void USBSendCurrentPos(int Pos);
    void USBNewDeviceAttached(QString HwInfo);
    void CpuRecognized();
    void switchView(const QString &name);

protected:
    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    // What the board, the other pages and the images folder told the pages, kept for the
    // pages not built yet and handed to each when it is built, in the order it came.
    struct PageEvent
    {
        enum Type { Log, Disconnected, Device, Cpu, Lock, ImagesPath };
        PageEvent(Type type, int number = 0, bool enable = false, const QString &text = QString())
            : type(type), number(number), enable(enable), text(text)
        {
        }
        Type type;
        int number; // Log: the level; Lock: the page that asked
        bool enable;
        QString text; // Log: the line; Device: the board's description; ImagesPath: the folder
    };

    bool boardPresent() const;
    TConfigView *builtConfigView(int kind) const;
    // Where the page of `kind` is kept; null for a kind that has no page.
    TConfigView *const *pageSlot(int kind) const;
    bool allPagesBuilt() const;
    // Where every view lies inside the tab of `size`: right of the menu.
    static QRect viewRect(const QSize &size);
    // Takes in a view built late: hidden, in its place, and laid out with the others.
    void adopt(QWidget *view);
    // The about view for "aboutView", else the language view; built when first asked for.
    QWidget *lateView(const QString &name);
    void remember(const PageEvent &event);
    void handOver(TConfigView *page, const PageEvent &event);

    TMenu *menuWidget = nullptr;
    THomeView *home = nullptr;
    TAboutView *about = nullptr;
    TLanguageSettingView *language = nullptr;
    TConfigView *androidView = nullptr;
    TConfigView *winCEView = nullptr;
    TConfigView *linuxView = nullptr;
    TConfigView *nonOSViewRun = nullptr;
    TConfigView *nonOSViewInstall = nullptr;
    // The views built so far: the home view at once, every other one on first show.
    QList<QWidget *> views;
    QList<PageEvent> pendingEvents;
    QPushButton *quickBoot = nullptr;
    QString currentView = QStringLiteral("homeView");
};
