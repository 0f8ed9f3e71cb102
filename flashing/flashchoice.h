#pragma once

#include "boardlink/tusbdevcommand.h"
#include "flashing/configpage.h"
#include "flashing/flashplan.h"

#include <QString>
#include <QStringList>

// What a configuration page would flash, chosen without the page: the items it ticks
// from an images folder's "Velkaro.ini", narrowed and amended by the options a script
// gives, and then the same plan the page builds for the board that is attached.
struct FlashChoice
{
    ConfigPage::Kind kind = ConfigPage::Android;
    ConfigPage::ActionMode mode = ConfigPage::ActionMode::Install;
    QString imagesFolder;  // flashing pages: where "Velkaro.ini" is
    QStringList only;      // short item names (itemShortName); empty: all the file lists
    bool lowFormat = false;
    bool skipCali = false;
    QString hdmiResolution; // empty: as "Velkaro.ini" says
    bool commandLineSet = false;
    QString commandLine;
    QString userBinFile;   // user-bin pages
    QString ramAddress;

    // The plan for a board with processor `cpu` that described itself with `hwInfo`;
    // `cpu` CPU_Unknown gives the plan a page shows before any board is attached, which
    // checks every image. On a problem the plan carries the page's message.
    FlashPlan planFor(TUsbDevCommand::TBoardCPU cpu, const QString &hwInfo) const;
};

// The name a script gives an item: "bootloader", "kernel", "cmdline", "ramdisk", "rootfs",
// "userdata", "bootlogo", "image" (the WinCE install image), "userbin", "halvorn".
QString itemShortName(const QString &label);
// The short names of a page's items, in page order.
QStringList itemShortNames(ConfigPage::Kind kind);

// What the board says about itself after `key` (e.g. "RAM", "EMMC", "NAND") on one of its
// hardware lines; empty when it says nothing.
QString hardwareValue(const QString &hwInfo, const QString &key);
