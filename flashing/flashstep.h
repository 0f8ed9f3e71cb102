#pragma once

#include "boardlink/tusbdevcommand.h"
#include "flashing/configpage.h"

#include <QString>

// The board command that carries out one step of a flash plan. Deciding it needs no board,
// so the run can be checked (and reused by a front end without widgets); issuing it is a
// plain call on the protocol object.
struct FlashStep
{
    enum Command {
        Unsupported, // no command for this step on this board: the run fails
        LowFormat,
        SendLcdType,
        SendHalvorn,
        SendCmdLine,
        SendKernel,
        SendRamdisk,
        SendUserDataFs,
        SendLinuxFs,
        SendCeLogo,
        SendCeNk,
        SendUserBin,
        SendAddrOfUserBin,
    };

    Command command = Unsupported;
    QString argument; // the step's value; unused by LowFormat
    bool flashIt = false; // SendUserBin only: install to flash rather than run from RAM

    // The command for the plan step (`key`, `value`) on a board with processor `cpu`.
    static FlashStep forPlanStep(const QString &key, const QString &value, ConfigPage::ActionMode mode,
                                 TUsbDevCommand::TBoardCPU cpu);

    // Issues the command on `board`; false for an unsupported step, when nothing is
    // issued. The outcome of an issued command arrives as the board's SendFinished(bool),
    // possibly before this returns.
    bool issueTo(TUsbDevCommand &board) const;
};
