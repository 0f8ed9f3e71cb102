#include "flashing/configpage.h"

#include <QCoreApplication>

namespace ConfigPage {

QStringList itemLabels(Kind kind)
{
    switch (kind) {
    case Android:
        return {QStringLiteral("Android BootLoader: "), QStringLiteral("Android Kernel: "), kCommandLineLabel,
                kAndroidRamdiskLabel, QStringLiteral("Android RootFs/System Image: "), kAndroidUserDataLabel};
    case Linux:
        return {QStringLiteral("Linux BootLoader: "), QStringLiteral("Linux Kernel: "), kCommandLineLabel,
                kLinuxRamdiskLabel, QStringLiteral("Linux RootFs: ")};
    case WinCE:
        return {QStringLiteral("WinCE6 BootLoader: "), QStringLiteral("WinCE6 BootLogo: "),
                QStringLiteral("WinCE6 InstallImage: ")};
    case UserBinRun:
        return {kUserBinLabel};
    case UserBinInstall:
        return {kHalvornLabel, kUserBinLabel};
    }
    return {};
}

QString viewName(Kind kind)
{
    switch (kind) {
    case Android:
        return QStringLiteral("androidView");
    case Linux:
        return QStringLiteral("linuxView");
    case WinCE:
        return QStringLiteral("winCEView");
    case UserBinRun:
        return QStringLiteral("nonOSViewRun");
    case UserBinInstall:
        return QStringLiteral("nonOSViewInstall");
    }
    return QString();
}

bool isUserBinPage(Kind kind)
{
    return kind == UserBinRun || kind == UserBinInstall;
}

bool hasLowFormatOption(Kind kind)
{
    // Running a user bin from RAM writes nothing to flash, so there is nothing to format for.
    return kind == Android || kind == Linux || kind == WinCE || kind == UserBinInstall;
}

bool hasSkipCaliOption(Kind kind)
{
    return hasCommandLineItem(kind);
}

bool hasHdmiOption(Kind kind)
{
    return kind == Android || kind == Linux || kind == WinCE;
}

bool hasRamAddressField(Kind kind)
{
    return isUserBinPage(kind);
}

bool hasCommandLineItem(Kind kind)
{
    return kind == Android || kind == Linux;
}

TUsbDevCommand::TOS targetOs(Kind kind)
{
    switch (kind) {
    case Android:
        return TUsbDevCommand::OS_Android;
    case Linux:
        return TUsbDevCommand::OS_Linux;
    case WinCE:
        return TUsbDevCommand::OS_WinCE;
    case UserBinRun:
    case UserBinInstall:
        return TUsbDevCommand::OS_NoOS;
    }
    return TUsbDevCommand::OS_None;
}

std::optional<QString> defaultRamAddress(TUsbDevCommand::TBoardCPU cpu)
{
    switch (cpu) {
    case TUsbDevCommand::CPU_210:
        return QStringLiteral("20000000");
    case TUsbDevCommand::CPU_6410:
        return QStringLiteral("50000000");
    case TUsbDevCommand::CPU_2440:
    case TUsbDevCommand::CPU_2451:
    case TUsbDevCommand::CPU_2416:
        return QStringLiteral("30000000");
    // Nobody has told us where these boards load a user bin; the placeholder makes the
    // user type the address rather than trust a guess.
    case TUsbDevCommand::CPU_4412:
        return QStringLiteral("4412-userbin-default-addr-should be here");
    case TUsbDevCommand::CPU_5250:
        return QStringLiteral("5250-userbin-default-addr-should be here");
    case TUsbDevCommand::CPU_3358:
        return QStringLiteral("3358-userbin-default-addr-should be here");
    case TUsbDevCommand::CPU_Unknown:
        break;
    }
    return std::nullopt;
}

bool isBoardHaveHDMI(TUsbDevCommand::TBoardCPU cpu)
{
    return cpu == TUsbDevCommand::CPU_210 || cpu == TUsbDevCommand::CPU_4412 || cpu == TUsbDevCommand::CPU_5250;
}

bool isRamdiskUsable(TUsbDevCommand::TBoardCPU cpu)
{
    return cpu == TUsbDevCommand::CPU_4412 || cpu == TUsbDevCommand::CPU_5250;
}

bool isUserDataUsable(TUsbDevCommand::TBoardCPU cpu)
{
    return cpu == TUsbDevCommand::CPU_4412 || cpu == TUsbDevCommand::CPU_5250;
}

bool itemFollowsProcessor(Kind kind, const QString &label)
{
    switch (kind) {
    case Android:
        return label == kAndroidRamdiskLabel || label == kAndroidUserDataLabel;
    case Linux:
        return label == kLinuxRamdiskLabel;
    default:
        return false;
    }
}

bool isItemUsable(Kind kind, const QString &label, TUsbDevCommand::TBoardCPU cpu)
{
    if (!itemFollowsProcessor(kind, label))
        return true;
    return label == kAndroidUserDataLabel ? isUserDataUsable(cpu) : isRamdiskUsable(cpu);
}

const QStringList &hdmiResolutions()
{
    static const QStringList names = {
        QStringLiteral("HDMI1080P60"),   QStringLiteral("HDMI1080P50"),   QStringLiteral("HDMI1080I60"),
        QStringLiteral("HDMI1080I50"),   QStringLiteral("HDMI1080P30"),   QStringLiteral("HDMI1080P60D"),
        QStringLiteral("HDMI1080P50D"),  QStringLiteral("HDMI1080I60D"),  QStringLiteral("HDMI1080I50D"),
        QStringLiteral("HDMI1080P30D"),  QStringLiteral("HDMI720P60"),    QStringLiteral("HDMI720P50"),
        QStringLiteral("HDMI720P60D"),   QStringLiteral("HDMI720P50D"),   QStringLiteral("HDMI576P16X9"),
        QStringLiteral("HDMI576P16X9D"), QStringLiteral("HDMI576P4X3"),   QStringLiteral("HDMI576P4X3D"),
        QStringLiteral("HDMI480P16X9"),  QStringLiteral("HDMI480P16X9D"), QStringLiteral("HDMI480P4X3"),
        QStringLiteral("HDMI480P4X3D"),
    };
    return names;
}

QString hdmiHint()
{
    return QCoreApplication::translate("TConfigView", "Hint: To use only the HDMI output, do not connect the LCD.");
}

bool shouldAppendHdmiHint(const QString &logPlainText)
{
    return logPlainText.split(QLatin1Char('\n')).constLast() != hdmiHint();
}

} // namespace ConfigPage
