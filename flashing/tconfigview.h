#pragma once

#include "flashing/configpage.h"
#include "flashing/flashplan.h"
#include "flashing/flashrun.h"
#include "flashing/transferrate.h"
#include "flashing/visibleprogress.h"
#include "shell/twidget.h"

#include <QElapsedTimer>
#include <QList>
#include <QString>
#include <QStringList>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QRadioButton;
class QScrollArea;
class QTextEdit;

// The page on which the user picks what to write to the board for one operating system
// (or a user bin), and which then runs that choice step by step. The rules behind it live
// in ConfigPage, VelkaroIni, FlashPageState, FlashPlan and FlashStep; this class holds the
// controls and turns their state into those values and back.
class TConfigView : public TWidget
{
    Q_OBJECT
public:
    // `kind` is a ConfigPage::Kind.
    explicit TConfigView(int kind, QWidget *parent = nullptr);

    int viewKind() const { return kind; }

    QCheckBox *findCheckboxControler(const QString &label) const;
    QLineEdit *findEditControler(const QString &label) const;
    QPushButton *findBrowerButton(const QString &label) const;

    QStringList getSelectedKeyList() const { return selectedKeys; }

    void initWithFromVelkaroIni(const QString &imagesFolder, const QString &iniFile);
    void reinitAndroidUserDataFromVelkaroIni();
    // What imagesPathUpdatedSlot() does for a folder chosen earlier than now.
    void fillFromImagesFolder(const QString &folder);
    void checkEditAndSelectAll();
    void enableAllButton(bool e);
    void resetView();

    bool buildBurnSteps();
    QString stepStatusText(int step) const;
    const FlashPlan &burnPlan() const { return plan; }
    bool isRunning() const { return run.isRunning(); }

    int editWidth() const { return width() - 94; }
    int browerButtonWidth() const { return 50; }
    int toolButtonWidth() const { return 100; }
    int buttonSpace() const { return 8; }
    int buttonWidth() const { return width() - 16; }
    int buttonHeight() const { return 25; }

Q_SIGNALS:
    void listUpdated();
    void needEnableControler(bool enable, int kind);
    void imagesPathUpdated();
    void switchView(QString viewName);

public Q_SLOTS:
    void selectAll();
    void unselectAll();
    void buttonSelectStatusChanged();
    void browerButtonClicked();
    void browerImagesFolderButtonClicked();
    void imagesPathUpdatedSlot();
    void runActionRadioButtonClicked();
    void installActionRadioButtonClicked();
    void enterThisView();
    void clearLog();

    void oneKeyBurnButtonClicked();
    void runButtonClicked();
    void oneKeyBurnButtonClicked_Func();
    void cancelButtonClicked();

    void skipCaliCheckBoxChanged();
    void commandLineTextChanged();
    void hdmiStatusChanged();

    // Board signals, wired by Global::connectUSBSlots.
    void USBConnected(bool connected);
    void USBReportLog(int level, QString text);
    void USBSendFinished(bool ok);
    void USBSendMaxSize(int maxSize);
    void USBSendCurrentPos(int pos);
    void USBNewDeviceAttached(QString info);
    void CpuRecognized();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void initWidget();
    void createItem(const QString &label);
    void createOptions();
    void createButtonsAndProgress();
    int placeControls(int contentWidth);

    ConfigPage::Kind pageKind() const { return ConfigPage::Kind(kind); }
    TUsbDevCommand::TBoardCPU boardCpu() const;
    FlashPageState pageState() const;
    void applyTicks(const FlashPageState &state);
    void setRamDiskControlsStatusReferToCpuType();
    void setUserDataControlsStatusReferToCpuType();
    void applyItemProcessorRule(const QString &label);
    void applyHdmiVisibility();
    void startRun(ConfigPage::ActionMode mode);
    void showStep(int step);
    void runFinished(FlashRun::Outcome outcome);
    void appendLog(const QString &html);
    static qint64 progressUnit();
    void showProgressControls(bool show);

    int kind;
    QStringList labels;
    QList<QCheckBox *> checkBoxes;
    QList<QLineEdit *> edits;
    QList<QPushButton *> browerButtons;
    QStringList selectedKeys;

    QScrollArea *scrollArea = nullptr;
    QWidget *content = nullptr;
    QLabel *filesTitle = nullptr;
    QLabel *optionsTitle = nullptr;
    QLabel *infoTitle = nullptr;

    QCheckBox *lowFormatCheckBox = nullptr;
    QCheckBox *skipCaliCheckBox = nullptr;
    QCheckBox *hdmiCheckBox = nullptr;
    QComboBox *resolutionComboBox = nullptr;
    QLabel *ramAddressLabel = nullptr;
    QLineEdit *ramAddressEdit = nullptr;
    bool ramAddressEdited = false;
    QRadioButton *runActionRadioButton = nullptr;
    QRadioButton *installActionRadioButton = nullptr;

    QPushButton *selectAllButton = nullptr;
    QPushButton *invertButton = nullptr;
    QPushButton *imagesFolderButton = nullptr;
    QPushButton *clearButton = nullptr;
    QPushButton *startButton = nullptr;
    QPushButton *cancelButton = nullptr;
    QLabel *statusLabel = nullptr;
    QProgressBar *progressBar = nullptr;
    QLabel *transferLabel = nullptr;
    QTextEdit *logBox = nullptr;

    bool lowFormat = false;
    QString userDataKey;
    ConfigPage::ActionMode actionMode = ConfigPage::ActionMode::Install;
    FlashPlan plan;
    int currentStep = 0;
    FlashRun run;

    TransferRate transferRate;
    VisibleProgress shownProgress;
    QElapsedTimer transferClock;
};
