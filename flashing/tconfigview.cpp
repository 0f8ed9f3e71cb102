#include "flashing/tconfigview.h"

#include "app/globals.h"
#include "app/programpaths.h"
#include "app/userdialogs.h"
#include "boardlink/tusbdevcommand.h"
#include "flashing/cmdlineoptions.h"
#include "flashing/flashpagestate.h"
#include "flashing/flashruntexts.h"
#include "flashing/velkaroini.h"
#include "shell/resourcetext.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyle>
#include <QTextEdit>
#include <QTimer>

namespace {

// Beside the program in the build tree, under share/ostrakit/ once installed.
QString programFolder()
{
    QString folder = ProgramPaths::dataFolder();
    folder.chop(1);
    return folder;
}

QString filesTitleText(ConfigPage::Kind kind)
{
    switch (kind) {
    case ConfigPage::UserBinRun:
        return TConfigView::tr("Please choose the user-bin to run: ");
    case ConfigPage::UserBinInstall:
        return TConfigView::tr("Please choose the user-bin to flash: ");
    default:
        return TConfigView::tr("Select the files for flash your board:");
    }
}

} // namespace

TConfigView::TConfigView(int kind, QWidget *parent)
    : TWidget(parent), kind(kind), userDataKey(VelkaroIni::kDefaultUserDataKey)
{
    labels = ConfigPage::itemLabels(pageKind());
    resize(691, 653);
    initWidget();
    connect(&run, &FlashRun::stepStarted, this, &TConfigView::showStep);
    connect(&run, &FlashRun::stepFinished, this, [this](int step, bool ok) {
        if (ok)
            currentStep = step + 1;
    });
    connect(&run, &FlashRun::finished, this, &TConfigView::runFinished);

    const VelkaroIni::ImageSet own = VelkaroIni::programImageSet(programFolder());
    if (own.isValid())
        initWithFromVelkaroIni(own.folder, own.iniFile);
}

// ---------------------------------------------------------------------------
// Controls

void TConfigView::initWidget()
{
    scrollArea = new QScrollArea(this);
    // The picture behind the page is added when the page is first shown (most pages stay
    // hidden for a whole session); the border, which shapes the page, is set at once.
    scrollArea->setStyleSheet(QStringLiteral("QScrollArea{border: 0px solid rgb(192,192,192)}"));
    scrollArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    content = new QWidget;
    content->setObjectName(QStringLiteral("configViewContent"));
    scrollArea->setWidget(content);
    // setWidget() marks the content as filling its own background, so nothing is drawn
    // beneath it; the content fills nothing, and old screen contents showed through
    // between the controls. The controls stand on the scroll area's picture.
    content->setAutoFillBackground(false);

    filesTitle = new QLabel(QStringLiteral("<b>%1</b>").arg(filesTitleText(pageKind())), content);
    for (const QString &label : labels)
        createItem(label);
    createOptions();
    createButtonsAndProgress();

    enterThisView();
    showProgressControls(false);
    cancelButton->hide();
    checkEditAndSelectAll();
}

void TConfigView::createItem(const QString &label)
{
    auto *box = new QCheckBox(label, content);
    auto *edit = new QLineEdit(content);
    auto *button = new QPushButton(QStringLiteral("..."), content);
    button->setStyleSheet(readFile(QStringLiteral(":/button_browerbutton.css")));
    connect(box, &QCheckBox::clicked, this, &TConfigView::buttonSelectStatusChanged);
    connect(button, &QPushButton::clicked, this, &TConfigView::browerButtonClicked);

    if (label == ConfigPage::kUserBinLabel) {
        // A user-bin page always downloads its image.
        box->setChecked(true);
        box->setEnabled(false);
    }
    if (label == ConfigPage::kCommandLineLabel && ConfigPage::hasCommandLineItem(pageKind())) {
        connect(edit, &QLineEdit::textChanged, this, &TConfigView::commandLineTextChanged);
        // Taken from beside the program itself, not from its images folder.
        edit->setText(readVelkaroIniKeyValue(programFolder() + QStringLiteral("/") + VelkaroIni::kFileName,
                                             VelkaroIni::commandLineKey(pageKind())));
    }
    checkBoxes.append(box);
    edits.append(edit);
    browerButtons.append(button);
}

void TConfigView::createOptions()
{
    const ConfigPage::Kind k = pageKind();
    optionsTitle = new QLabel(QStringLiteral("<b>%1:</b>").arg(tr("Flash options")), content);

    if (ConfigPage::hasLowFormatOption(k)) {
        lowFormatCheckBox = new QCheckBox(tr("Low format flash"), content);
        lowFormatCheckBox->setObjectName(QStringLiteral("lowFormatCheckBox"));
    }

    if (ConfigPage::hasSkipCaliOption(k) || k == ConfigPage::WinCE) {
        skipCaliCheckBox = new QCheckBox(tr("Skip cali"), content);
        skipCaliCheckBox->setObjectName(QStringLiteral("skipCaliCheckBox"));
        skipCaliCheckBox->setVisible(ConfigPage::hasSkipCaliOption(k));
        connect(skipCaliCheckBox, &QCheckBox::stateChanged, this, &TConfigView::skipCaliCheckBoxChanged);
    }

    if (ConfigPage::hasHdmiOption(k)) {
        hdmiCheckBox = new QCheckBox(tr("Enable HDMI, Resolution: "), content);
        hdmiCheckBox->setObjectName(QStringLiteral("hdmiCheckBox"));
        resolutionComboBox = new QComboBox(content);
        resolutionComboBox->setObjectName(QStringLiteral("resolutionComboBox"));
        resolutionComboBox->addItems(ConfigPage::hdmiResolutions());
        resolutionComboBox->setCurrentIndex(ConfigPage::kDefaultHdmiResolutionIndex);
        connect(hdmiCheckBox, &QCheckBox::stateChanged, this, &TConfigView::hdmiStatusChanged);
    }

    if (ConfigPage::hasRamAddressField(k)) {
        ramAddressLabel = new QLabel(tr("RAM Address (Download/Loading): 0x"), content);
        ramAddressEdit = new QLineEdit(content);
        ramAddressEdit->setObjectName(QStringLiteral("ramAddressEdit"));
        ramAddressEdit->setAlignment(Qt::AlignLeft);
        ramAddressEdit->setToolTip(tr("Image will be loaded here by Halvorn."));
        // Only typing counts: the default a recognised board proposes must not stop the
        // next board from proposing its own.
        connect(ramAddressEdit, &QLineEdit::textEdited, this, [this] { ramAddressEdited = true; });
    }

    if (ConfigPage::isUserBinPage(k)) {
        runActionRadioButton = new QRadioButton(tr("Download and run"), content);
        runActionRadioButton->setObjectName(QStringLiteral("runActionRadioButton"));
        installActionRadioButton = new QRadioButton(tr("Install to NAND Flash"), content);
        installActionRadioButton->setObjectName(QStringLiteral("installActionRadioButton"));
        runActionRadioButton->setAutoExclusive(false);
        installActionRadioButton->setAutoExclusive(false);
        connect(runActionRadioButton, &QRadioButton::clicked, this, &TConfigView::runActionRadioButtonClicked);
        connect(installActionRadioButton, &QRadioButton::clicked, this,
                &TConfigView::installActionRadioButtonClicked);
    }
}

void TConfigView::createButtonsAndProgress()
{
    const QString toolStyle = readFile(QStringLiteral(":/button3.css"));
    selectAllButton = new QPushButton(tr("Select all"), content);
    invertButton = new QPushButton(tr("Invert Selection"), content);
    imagesFolderButton = new QPushButton(tr("Location \"images\" path"), content);
    clearButton = new QPushButton(tr("Clear"), content);
    clearButton->setObjectName(QStringLiteral("clearButton"));
    selectAllButton->setObjectName(QStringLiteral("selectAllButton"));
    invertButton->setObjectName(QStringLiteral("invertButton"));
    imagesFolderButton->setObjectName(QStringLiteral("imagesFolderButton"));
    for (QPushButton *b : {selectAllButton, invertButton, imagesFolderButton, clearButton})
        b->setStyleSheet(toolStyle);
    connect(selectAllButton, &QPushButton::clicked, this, &TConfigView::selectAll);
    connect(invertButton, &QPushButton::clicked, this, &TConfigView::unselectAll);
    connect(imagesFolderButton, &QPushButton::clicked, this, &TConfigView::browerImagesFolderButtonClicked);
    connect(clearButton, &QPushButton::clicked, this, &TConfigView::clearLog);

    const bool runPage = pageKind() == ConfigPage::UserBinRun;
    startButton = new QPushButton(runPage ? tr("Download and Run") : tr("Start flashing"), content);
    startButton->setObjectName(QStringLiteral("startButton"));
    startButton->setStyleSheet(readFile(QStringLiteral(":/button_onekeybutton.css")));
    if (runPage)
        connect(startButton, &QPushButton::clicked, this, &TConfigView::runButtonClicked);
    else
        connect(startButton, &QPushButton::clicked, this, &TConfigView::oneKeyBurnButtonClicked);

    cancelButton = new QPushButton(tr("Flashing..."), content);
    cancelButton->setObjectName(QStringLiteral("cancelButton"));
    cancelButton->setStyleSheet(readFile(QStringLiteral(":/button_stop.css")));
    connect(cancelButton, &QPushButton::clicked, this, &TConfigView::cancelButtonClicked);

    infoTitle = new QLabel(QStringLiteral("<b>%1: </b>").arg(tr("Information")), content);
    statusLabel = new QLabel(content);
    statusLabel->setObjectName(QStringLiteral("statusLabel"));
    progressBar = new QProgressBar(content);
    progressBar->setRange(0, 100);
    progressBar->setValue(0);
    progressBar->setStyleSheet(readFile(QStringLiteral(":/progressbar.css")));
    transferLabel = new QLabel(content);
    transferLabel->setObjectName(QStringLiteral("transferLabel"));
    transferLabel->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    logBox = new QTextEdit(content);
    logBox->setObjectName(QStringLiteral("logBox"));
    logBox->setReadOnly(true);
    logBox->setStyleSheet(QStringLiteral("background-color:rgb(221,240,255)"));
}

void TConfigView::showEvent(QShowEvent *event)
{
    TWidget::showEvent(event);
    if (!scrollArea->styleSheet().contains(QLatin1String("background-image")))
        scrollArea->setStyleSheet(QStringLiteral(
            "QScrollArea{border: 0px solid rgb(192,192,192);background-image:url(:/viewbackground.png)}"));
}

void TConfigView::resizeEvent(QResizeEvent *event)
{
    TWidget::resizeEvent(event);
    scrollArea->setGeometry(0, 0, width(), height());
    int contentWidth = width();
    int contentHeight = placeControls(contentWidth);
    // A page taller than the view gets a scroll bar, which takes its width from the
    // content: lay out again in what is left, so that nothing runs under the bar.
    if (contentHeight > height()) {
        contentWidth -= scrollArea->style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, scrollArea);
        contentHeight = placeControls(contentWidth);
    }
    content->resize(contentWidth, qMax(contentHeight, height()));
}

int TConfigView::placeControls(int contentWidth)
{
    // The metrics are the page's; the controls that reach its right edge give up what a
    // scroll bar takes.
    const int narrower = width() - contentWidth;
    const int rowWidth = buttonWidth() - narrower;
    const int fieldWidth = editWidth() - narrower;
    const int left = buttonSpace();
    const int indent = 24;
    const int h = buttonHeight();
    const int row = h + 4;
    int y = buttonSpace();

    filesTitle->setGeometry(left, y, rowWidth, h);
    y += row;
    for (int i = 0; i < labels.size(); ++i) {
        checkBoxes[i]->setGeometry(left, y, rowWidth, h);
        y += row;
        edits[i]->setGeometry(indent, y, fieldWidth, h);
        browerButtons[i]->setGeometry(indent + fieldWidth + buttonSpace(), y, browerButtonWidth(), h);
        y += row + 4;
    }

    optionsTitle->setGeometry(left, y, rowWidth, h);
    y += row;
    if (lowFormatCheckBox || skipCaliCheckBox) {
        if (lowFormatCheckBox)
            lowFormatCheckBox->setGeometry(indent, y, 200, h);
        if (skipCaliCheckBox)
            skipCaliCheckBox->setGeometry(indent + 200 + buttonSpace(), y, 200, h);
        y += row;
    }
    if (hdmiCheckBox) {
        hdmiCheckBox->setGeometry(indent, y, 240, h);
        resolutionComboBox->setGeometry(indent + 240 + buttonSpace(), y, 180, h);
        y += row;
    }
    if (ramAddressEdit) {
        // The caption takes what it needs; the field runs to the row's end, wide enough
        // for the long defaults some boards propose ("4412-userbin-default-addr-should
        // be here"), which a 200-pixel field showed only the tail of.
        // The caption starts where the option boxes above draw theirs, a few pixels
        // inside their widgets; in English that leaves the field just room enough.
        ramAddressLabel->ensurePolished();
        const int labelLeft = indent - 4;
        // "0x" leads into the field, so the field starts where the caption ends.
        const int labelWidth = ramAddressLabel->sizeHint().width();
        ramAddressLabel->setGeometry(labelLeft, y, labelWidth, h);
        const int fieldLeft = labelLeft + labelWidth;
        ramAddressEdit->setGeometry(fieldLeft, y, qMax(200, left + rowWidth - fieldLeft), h);
        y += row;
    }
    if (runActionRadioButton) {
        runActionRadioButton->setGeometry(indent, y, 200, h);
        installActionRadioButton->setGeometry(indent + 200 + buttonSpace(), y, 240, h);
        y += row;
    }

    y += buttonSpace();
    // A caption longer than its button ("Invert Selection" in the 10 point of the
    // buttons' style sheet) widens the button rather than being cut off.
    auto toolWidth = [](QPushButton *b, int least) {
        b->ensurePolished();
        return qMax(least, b->fontMetrics().horizontalAdvance(b->text()) + 12);
    };
    int x = left;
    for (QPushButton *b : {selectAllButton, invertButton}) {
        const int w = toolWidth(b, toolButtonWidth());
        b->setGeometry(x, y, w, h);
        x += w + buttonSpace();
    }
    // The folder button's text is twice as long as the others'.
    imagesFolderButton->setGeometry(x, y, toolWidth(imagesFolderButton, 2 * toolButtonWidth()), h);
    const int clearWidth = toolWidth(clearButton, toolButtonWidth());
    clearButton->setGeometry(left + rowWidth - clearWidth, y, clearWidth, h);
    y += h + 2 * buttonSpace();

    startButton->setGeometry(left, y, rowWidth, 2 * h);
    cancelButton->setGeometry(left, y, rowWidth, 2 * h);
    y += 2 * h + 2 * buttonSpace();

    infoTitle->setGeometry(left, y, rowWidth, h);
    y += row;
    statusLabel->setGeometry(left, y, rowWidth, h);
    y += row;
    const int transferWidth = 240;
    progressBar->setGeometry(left, y, rowWidth - transferWidth - buttonSpace(), h);
    transferLabel->setGeometry(left + rowWidth - transferWidth, y, transferWidth, h);
    y += row;
    logBox->setGeometry(left, y, contentWidth - 2 * left, 160);
    y += 160 + buttonSpace();
    return y;
}

// ---------------------------------------------------------------------------
// Lookups and page state

QCheckBox *TConfigView::findCheckboxControler(const QString &label) const
{
    const int i = labels.indexOf(label);
    return i < 0 ? nullptr : checkBoxes.at(i);
}

QLineEdit *TConfigView::findEditControler(const QString &label) const
{
    const int i = labels.indexOf(label);
    return i < 0 ? nullptr : edits.at(i);
}

QPushButton *TConfigView::findBrowerButton(const QString &label) const
{
    const int i = labels.indexOf(label);
    return i < 0 ? nullptr : browerButtons.at(i);
}

TUsbDevCommand::TBoardCPU TConfigView::boardCpu() const
{
    return gUsbDevCommand ? gUsbDevCommand->boardCpu() : TUsbDevCommand::CPU_Unknown;
}

FlashPageState TConfigView::pageState() const
{
    FlashPageState state = FlashPageState::forKind(pageKind());
    state.lowFormatChecked = lowFormatCheckBox && lowFormatCheckBox->isChecked();
    state.hdmiChecked = hdmiCheckBox && hdmiCheckBox->isChecked();
    if (resolutionComboBox)
        state.hdmiResolution = resolutionComboBox->currentText();
    if (ramAddressEdit)
        state.ramAddress = ramAddressEdit->text();
    for (int i = 0; i < labels.size(); ++i) {
        FlashPageItem *item = state.item(labels.at(i));
        item->checked = checkBoxes.at(i)->isChecked();
        item->enabled = checkBoxes.at(i)->isEnabled();
        item->text = edits.at(i)->text();
    }
    return state;
}

void TConfigView::applyTicks(const FlashPageState &state)
{
    for (int i = 0; i < labels.size(); ++i)
        checkBoxes.at(i)->setChecked(state.items.at(i).checked);
    buttonSelectStatusChanged();
}

// ---------------------------------------------------------------------------
// Filling from the description file

void TConfigView::initWithFromVelkaroIni(const QString &imagesFolder, const QString &iniFile)
{
    const std::optional<VelkaroIni::PageFill> fill =
        VelkaroIni::readPageFill(pageKind(), VelkaroIni::ImageSet{imagesFolder, iniFile}, userDataKey);
    if (!fill)
        return;
    if (!fill->namesAnImage)
        appendLog(QStringLiteral("<font color=red>%1</font>").arg(VelkaroIni::namesNoImageMessage(iniFile).toHtmlEscaped()));

    lowFormat = fill->lowFormat;
    if (lowFormatCheckBox)
        lowFormatCheckBox->setChecked(lowFormat);

    if (hdmiCheckBox) {
        switch (fill->lcdType.action) {
        case VelkaroIni::LcdTypeChoice::SelectResolution:
            hdmiCheckBox->setChecked(true);
            resolutionComboBox->setCurrentIndex(fill->lcdType.resolutionIndex);
            break;
        case VelkaroIni::LcdTypeChoice::UncheckHdmi:
            hdmiCheckBox->setChecked(false);
            break;
        case VelkaroIni::LcdTypeChoice::KeepControls:
            break;
        }
    }

    for (const VelkaroIni::FieldValue &field : fill->fields) {
        if (QLineEdit *edit = findEditControler(field.label)) {
            edit->setText(field.text);
            if (field.label == ConfigPage::kCommandLineLabel)
                commandLineTextChanged();
        }
    }
    checkEditAndSelectAll();
    // A folder may name a ramdisk for a board that takes none; once the board is known
    // the item stays as the board allows, whatever the folder says.
    if (boardCpu() != TUsbDevCommand::CPU_Unknown) {
        setRamDiskControlsStatusReferToCpuType();
        setUserDataControlsStatusReferToCpuType();
    }
}

void TConfigView::reinitAndroidUserDataFromVelkaroIni()
{
    if (pageKind() != ConfigPage::Android)
        return;
    const VelkaroIni::ImageSet set = VelkaroIni::userDataImageSet(gImagesPath, programFolder());
    if (!set.isValid())
        return;
    findEditControler(ConfigPage::kAndroidUserDataLabel)
        ->setText(VelkaroIni::fieldText(set.folder, readVelkaroIniKeyValue(set.iniFile, userDataKey)));
}

void TConfigView::imagesPathUpdatedSlot()
{
    fillFromImagesFolder(gImagesPath);
}

void TConfigView::fillFromImagesFolder(const QString &folder)
{
    const VelkaroIni::ImageSet set = VelkaroIni::chosenImageSet(folder);
    if (set.isValid())
        initWithFromVelkaroIni(set.folder, set.iniFile);
}

void TConfigView::browerImagesFolderButtonClicked()
{
    const QString folder =
        UserDialogs::existingDirectory(this, tr("Select the images directory from DVD"), QStringLiteral("/media"));
    if (folder.isEmpty())
        return;
    if (!VelkaroIni::isImagesFolder(folder)) {
        UserDialogs::information(this, FlashRunTexts::messageTitle(), VelkaroIni::notAnImagesFolderMessage());
        return;
    }
    gImagesPath = folder;
    Q_EMIT imagesPathUpdated();
}

void TConfigView::USBNewDeviceAttached(QString info)
{
    const VelkaroIni::UserDataChoice choice = VelkaroIni::userDataForBoard(boardCpu(), pageKind(), info);
    userDataKey = choice.key;
    if (choice.refill)
        reinitAndroidUserDataFromVelkaroIni();
}

// ---------------------------------------------------------------------------
// Selection and browsing

void TConfigView::checkEditAndSelectAll()
{
    FlashPageState state = pageState();
    state.selectFilledItems();
    applyTicks(state);
}

void TConfigView::selectAll()
{
    FlashPageState state = pageState();
    state.selectAll();
    applyTicks(state);
}

void TConfigView::unselectAll()
{
    FlashPageState state = pageState();
    state.invertSelection();
    applyTicks(state);
}

void TConfigView::buttonSelectStatusChanged()
{
    selectedKeys = pageState().selectedLabels();
    Q_EMIT listUpdated();
}

void TConfigView::browerButtonClicked()
{
    const int i = browerButtons.indexOf(qobject_cast<QPushButton *>(sender()));
    if (i < 0)
        return;
    if (labels.at(i) == ConfigPage::kCommandLineLabel && ConfigPage::hasCommandLineItem(pageKind()))
        return;
    const QString current = edits.at(i)->text();
    const QString file = UserDialogs::getOpenFileName(this, tr("Select File"),
                                                   current.isEmpty() ? QStringLiteral(".") : current,
                                                   tr("Image Files(*)"));
    if (file.isEmpty())
        return;
    edits.at(i)->setText(toNativePathSeparators(file));
    checkBoxes.at(i)->setChecked(true);
    buttonSelectStatusChanged();
}

void TConfigView::runActionRadioButtonClicked()
{
    runActionRadioButton->setChecked(true);
    installActionRadioButton->setChecked(false);
    Q_EMIT switchView(ConfigPage::viewName(ConfigPage::UserBinRun));
}

void TConfigView::installActionRadioButtonClicked()
{
    runActionRadioButton->setChecked(false);
    installActionRadioButton->setChecked(true);
    Q_EMIT switchView(ConfigPage::viewName(ConfigPage::UserBinInstall));
}

void TConfigView::enterThisView()
{
    if (!runActionRadioButton)
        return;
    const bool runPage = pageKind() == ConfigPage::UserBinRun;
    runActionRadioButton->setChecked(runPage);
    installActionRadioButton->setChecked(!runPage);
}

// ---------------------------------------------------------------------------
// Command line options

void TConfigView::skipCaliCheckBoxChanged()
{
    if (!ConfigPage::hasSkipCaliOption(pageKind()))
        return;
    findCheckboxControler(ConfigPage::kCommandLineLabel)->setChecked(true);
    buttonSelectStatusChanged();
    QLineEdit *edit = findEditControler(ConfigPage::kCommandLineLabel);
    if (edit->text().isEmpty())
        return;
    edit->setText(CmdLineOptions::commandLineWithSkipCali(edit->text(), skipCaliCheckBox->isChecked()));
}

void TConfigView::commandLineTextChanged()
{
    if (!ConfigPage::hasSkipCaliOption(pageKind()) || !skipCaliCheckBox)
        return;
    // Following the text must not rewrite the text in turn.
    disconnect(skipCaliCheckBox, &QCheckBox::stateChanged, this, &TConfigView::skipCaliCheckBoxChanged);
    const std::optional<bool> skip =
        CmdLineOptions::skipCaliFromCommandLine(findEditControler(ConfigPage::kCommandLineLabel)->text());
    if (skip)
        skipCaliCheckBox->setChecked(*skip);
    connect(skipCaliCheckBox, &QCheckBox::stateChanged, this, &TConfigView::skipCaliCheckBoxChanged);
}

void TConfigView::hdmiStatusChanged()
{
    if (hdmiCheckBox->isChecked() && ConfigPage::shouldAppendHdmiHint(logBox->toPlainText()))
        appendLog(FlashRunTexts::hintLogLine(ConfigPage::hdmiHint()));
}

// ---------------------------------------------------------------------------
// Processor rules

void TConfigView::CpuRecognized()
{
    const TUsbDevCommand::TBoardCPU cpu = boardCpu();
    if (ramAddressEdit && !ramAddressEdited) {
        if (const std::optional<QString> address = ConfigPage::defaultRamAddress(cpu))
            ramAddressEdit->setText(*address);
    }
    applyHdmiVisibility();
    setRamDiskControlsStatusReferToCpuType();
    setUserDataControlsStatusReferToCpuType();
}

void TConfigView::applyHdmiVisibility()
{
    if (!hdmiCheckBox)
        return;
    const bool visible = ConfigPage::isBoardHaveHDMI(boardCpu());
    hdmiCheckBox->setVisible(visible);
    resolutionComboBox->setVisible(visible);
}

void TConfigView::setRamDiskControlsStatusReferToCpuType()
{
    applyItemProcessorRule(pageKind() == ConfigPage::Linux ? ConfigPage::kLinuxRamdiskLabel
                                                           : ConfigPage::kAndroidRamdiskLabel);
}

void TConfigView::setUserDataControlsStatusReferToCpuType()
{
    applyItemProcessorRule(ConfigPage::kAndroidUserDataLabel);
}

void TConfigView::applyItemProcessorRule(const QString &label)
{
    const int i = labels.indexOf(label);
    if (i < 0 || !ConfigPage::itemFollowsProcessor(pageKind(), label))
        return;
    const bool usable = ConfigPage::isItemUsable(pageKind(), label, boardCpu());
    if (!usable) {
        edits.at(i)->clear();
        checkBoxes.at(i)->setChecked(false);
    }
    edits.at(i)->setEnabled(usable);
    checkBoxes.at(i)->setEnabled(usable);
    browerButtons.at(i)->setVisible(usable);
    buttonSelectStatusChanged();
}

void TConfigView::enableAllButton(bool e)
{
    for (int i = 0; i < labels.size(); ++i) {
        checkBoxes.at(i)->setEnabled(e && labels.at(i) != ConfigPage::kUserBinLabel);
        edits.at(i)->setEnabled(e);
        browerButtons.at(i)->setEnabled(e);
    }
    for (QWidget *w : std::initializer_list<QWidget *>{
             selectAllButton, invertButton, imagesFolderButton, startButton, lowFormatCheckBox, skipCaliCheckBox,
             hdmiCheckBox, resolutionComboBox, ramAddressEdit, runActionRadioButton, installActionRadioButton}) {
        if (w)
            w->setEnabled(e);
    }
}

void TConfigView::resetView()
{
    if (run.isRunning())
        return;
    showProgressControls(false);
    enableAllButton(true);
    setRamDiskControlsStatusReferToCpuType();
    setUserDataControlsStatusReferToCpuType();
    Q_EMIT needEnableControler(true, kind);
    startButton->show();
    cancelButton->hide();
    progressBar->setRange(0, 100);
    progressBar->setValue(0);
    statusLabel->clear();
    transferLabel->clear();
    if (boardCpu() != TUsbDevCommand::CPU_Unknown)
        applyHdmiVisibility();
}

// ---------------------------------------------------------------------------
// The run

bool TConfigView::buildBurnSteps()
{
    currentStep = 0;
    plan = FlashPlan::build(pageState());
    if (!plan.error.isEmpty()) {
        UserDialogs::information(this, FlashRunTexts::messageTitle(), plan.error);
        return false;
    }
    return plan.isValid();
}

QString TConfigView::stepStatusText(int step) const
{
    return ::stepStatusText(plan.keys.value(step), currentStep, plan.size(), actionMode);
}

void TConfigView::oneKeyBurnButtonClicked()
{
    startRun(ConfigPage::ActionMode::Install);
}

void TConfigView::runButtonClicked()
{
    startRun(ConfigPage::ActionMode::Run);
}

void TConfigView::startRun(ConfigPage::ActionMode mode)
{
    actionMode = mode;
    startButton->setEnabled(false);
    // Lets the pressed button repaint as disabled before the plan is checked and the
    // first transfer blocks the interface.
    QTimer::singleShot(10, this, &TConfigView::oneKeyBurnButtonClicked_Func);
}

void TConfigView::oneKeyBurnButtonClicked_Func()
{
    if (run.isRunning())
        return;
    if (!buildBurnSteps()) {
        startButton->setEnabled(true);
        return;
    }

    showProgressControls(true);
    enableAllButton(false);
    Q_EMIT needEnableControler(false, kind);
    startButton->hide();
    cancelButton->show();
    startButton->setEnabled(true);
    // On the taller pages the progress and the log lie below the fold, and the focus
    // leaving the disabled start button scrolls the page somewhere in between: bring the
    // foot of the page into view for the run.
    QScrollBar *bar = scrollArea->verticalScrollBar();
    bar->setValue(bar->maximum());
    if (!logBox->document()->isEmpty())
        appendLog(FlashRunTexts::runSeparatorLine());

    run.start(gUsbDevCommand, plan, pageKind(), actionMode);
}

void TConfigView::showStep(int step)
{
    currentStep = step;
    progressBar->setRange(0, 100);
    progressBar->setValue(0);
    transferLabel->clear();
    statusLabel->setText(stepStatusText(step));
}

void TConfigView::runFinished(FlashRun::Outcome outcome)
{
    switch (outcome) {
    case FlashRun::Completed:
        resetView();
        appendLog(FlashRunTexts::completedLogLine());
        break;
    case FlashRun::Failed:
        UserDialogs::information(this, FlashRunTexts::messageTitle(), FlashRunTexts::flashingFailed());
        resetView();
        break;
    case FlashRun::Disconnected:
        // USBConnected returns the page to idle, with no box: the user pulled the cable.
        break;
    }
}

void TConfigView::USBSendFinished(bool ok)
{
    run.boardFinished(ok);
}

void TConfigView::cancelButtonClicked()
{
    UserDialogs::information(nullptr, FlashRunTexts::messageTitle(), FlashRunTexts::abortHint());
}

void TConfigView::USBConnected(bool connected)
{
    if (connected)
        return;
    run.boardConnected(false);
    resetView();
}

void TConfigView::USBReportLog(int level, QString text)
{
    appendLog(FlashRunTexts::boardLogLine(level, text));
}

// Every page hears the board link, but only the one running a flash follows its transfer.
void TConfigView::USBSendMaxSize(int maxSize)
{
    if (!run.isRunning())
        return;
    progressBar->setMaximum(maxSize);
    shownProgress.start(maxSize, progressBar->width());
    transferClock.start();
    transferRate.start(maxSize * progressUnit(), 0);
}

void TConfigView::USBSendCurrentPos(int pos)
{
    if (!run.isRunning())
        return;
    const qint64 nowMs = transferClock.isValid() ? transferClock.elapsed() : 0;
    if (shownProgress.changesView(pos, nowMs))
        progressBar->setValue(pos);
    // The rate is resampled only twice a second; the text changes only then.
    if (transferClock.isValid() && transferRate.update(pos * progressUnit(), nowMs))
        transferLabel->setText(transferRate.text());
}

qint64 TConfigView::progressUnit()
{
    // Images of 2 GiB and more come in larger units; the speed is still in bytes.
    return gUsbDevCommand ? gUsbDevCommand->progressUnit() : 1;
}

void TConfigView::clearLog()
{
    logBox->clear();
}

void TConfigView::appendLog(const QString &html)
{
    logBox->append(html);
    logBox->moveCursor(QTextCursor::End);
}

void TConfigView::showProgressControls(bool show)
{
    statusLabel->setVisible(show);
    progressBar->setVisible(show);
    transferLabel->setVisible(show);
}
