#include "flashing/flashstep.h"

#include "flashing/flashplan.h"

FlashStep FlashStep::forPlanStep(const QString &key, const QString &value, ConfigPage::ActionMode mode,
                                 TUsbDevCommand::TBoardCPU cpu)
{
    auto step = [&value](Command command) { return FlashStep{command, value, false}; };

    if (key == FlashPlan::kLowFormatKey)
        return step(LowFormat);
    if (key == FlashPlan::kLcdTypeKey)
        return step(SendLcdType);
    if (key == QLatin1String("Android BootLoader: ") || key == QLatin1String("Linux BootLoader: ")
        || key == QLatin1String("WinCE6 BootLoader: ") || key == ConfigPage::kHalvornLabel)
        return step(SendHalvorn);
    if (key == ConfigPage::kCommandLineLabel)
        return step(SendCmdLine);
    if (key == QLatin1String("Android Kernel: ") || key == QLatin1String("Linux Kernel: "))
        return step(SendKernel);
    if (key == ConfigPage::kAndroidRamdiskLabel || key == ConfigPage::kLinuxRamdiskLabel)
        return step(SendRamdisk);
    if (key == ConfigPage::kAndroidUserDataLabel) {
        // Only these boards take a user-data image of their own; elsewhere the run stops
        // here instead of sending one.
        if (!ConfigPage::isUserDataUsable(cpu))
            return {};
        return step(SendUserDataFs);
    }
    if (key == QLatin1String("Android RootFs/System Image: ") || key == QLatin1String("Linux RootFs: "))
        return step(SendLinuxFs);
    if (key == QLatin1String("WinCE6 BootLogo: "))
        return step(SendCeLogo);
    if (key == QLatin1String("WinCE6 InstallImage: "))
        return step(SendCeNk);
    if (key == ConfigPage::kUserBinLabel)
        return {SendUserBin, value, mode == ConfigPage::ActionMode::Install};
    if (key == FlashPlan::kRamAddressKey)
        return step(SendAddrOfUserBin);
    return {};
}

bool FlashStep::issueTo(TUsbDevCommand &board) const
{
    switch (command) {
    case Unsupported:
        return false;
    case LowFormat:
        board.LowFormat();
        break;
    case SendLcdType:
        board.SendLcdType(argument);
        break;
    case SendHalvorn:
        board.SendHalvorn(argument);
        break;
    case SendCmdLine:
        board.SendCmdLine(argument);
        break;
    case SendKernel:
        board.SendKernel(argument);
        break;
    case SendRamdisk:
        board.SendRamdisk(argument);
        break;
    case SendUserDataFs:
        board.SendUserDataFs(argument);
        break;
    case SendLinuxFs:
        board.SendLinuxFs(argument);
        break;
    case SendCeLogo:
        board.SendCeLogo(argument);
        break;
    case SendCeNk:
        board.SendCeNk(argument);
        break;
    case SendUserBin:
        board.SendUserBin(argument, flashIt);
        break;
    case SendAddrOfUserBin:
        board.SendAddrOfUserBin(argument);
        break;
    }
    return true;
}
