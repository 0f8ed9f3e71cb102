#pragma once

#include "boardlink/tusbdevcommand.h"

#include <QString>
#include <QStringList>

#include <optional>

// The rules of a flashing configuration page that need no widget: which page shows which
// items and options, and how the recognised processor changes them. The page widget
// applies these; a command-line front end can use them to build the same plans.
namespace ConfigPage {

// The view kinds, numbered as the page's constructor and needEnableControler() carry them.
enum Kind : int {
    Android = 0,
    Linux = 1,
    WinCE = 2,
    UserBinRun = 3,
    UserBinInstall = 4,
};

// "Start flashing" installs, "Download and run" runs a user bin from RAM.
enum class ActionMode : int {
    Install = 4,
    Run = 5,
};

// Item labels double as step keys, so they are never translated.
inline const QString kCommandLineLabel = QStringLiteral("Kernel CommandLine: ");
inline const QString kUserBinLabel = QStringLiteral("No OS Image: ");
inline const QString kHalvornLabel = QStringLiteral("Halvorn: ");
inline const QString kAndroidRamdiskLabel = QStringLiteral("Android Ramdisk: ");
inline const QString kLinuxRamdiskLabel = QStringLiteral("Linux Ramdisk: ");
inline const QString kAndroidUserDataLabel = QStringLiteral("Android Userdata Image: ");

// The item labels of a page, in page order; empty for an unknown kind.
QStringList itemLabels(Kind kind);

// The download tab's name for the page ("androidView", ...).
QString viewName(Kind kind);

bool isUserBinPage(Kind kind);
bool hasLowFormatOption(Kind kind);
// The "Skip cali" box is made on the WinCE page too, but hidden there; this says where it
// is shown and where the command line is kept in step with it.
bool hasSkipCaliOption(Kind kind);
bool hasHdmiOption(Kind kind);
bool hasRamAddressField(Kind kind);
bool hasCommandLineItem(Kind kind);

// The operating system the board link is told about before a run.
TUsbDevCommand::TOS targetOs(Kind kind);

// The address the user-bin pages propose once a processor is known, or nothing where the
// field should keep its text.
std::optional<QString> defaultRamAddress(TUsbDevCommand::TBoardCPU cpu);

// Boards with an HDMI output; elsewhere the HDMI controls are hidden.
bool isBoardHaveHDMI(TUsbDevCommand::TBoardCPU cpu);

// Only these boards take a ramdisk and an Android user-data image. Before a processor is
// recognised the items are not usable either.
bool isRamdiskUsable(TUsbDevCommand::TBoardCPU cpu);
bool isUserDataUsable(TUsbDevCommand::TBoardCPU cpu);

// The item whose usability follows the processor on this page: the ramdisk on the Android
// and Linux pages, the user data on the Android page.
bool itemFollowsProcessor(Kind kind, const QString &label);
// Whether that item is usable on `cpu`; items that do not follow the processor always are.
bool isItemUsable(Kind kind, const QString &label, TUsbDevCommand::TBoardCPU cpu);

// The HDMI resolutions in combo box order; the name is what the board is sent.
const QStringList &hdmiResolutions();
constexpr int kDefaultHdmiResolutionIndex = 5;

// Shown in the log when HDMI is switched on.
QString hdmiHint();
// Whether the hint should be added to a log whose plain text is `logPlainText`: not when
// its last line already is the hint, so ticking the box repeatedly adds it once.
bool shouldAppendHdmiHint(const QString &logPlainText);

} // namespace ConfigPage
