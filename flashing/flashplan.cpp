#include "flashing/flashplan.h"

#include "boardlink/tusbdevcommand.h"
#include "flashing/cmdlineoptions.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

namespace {

FlashPlan refused(const QString &message)
{
    FlashPlan plan;
    plan.error = message;
    return plan;
}

// Empty when the file can be flashed, else the message that says why not.
QString checkImageFile(const QString &path)
{
    // A FIFO or a device would block the open, or never end; only files are images. A
    // folder fails to open and is reported as users have always seen it.
    const QFileInfo info(path);
    if (info.exists() && !info.isFile() && !info.isDir())
        return QCoreApplication::translate("TConfigView", "\"%1\" is not a regular file.").arg(path);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QCoreApplication::translate("TConfigView", "File not found \"%1\".").arg(path);
    // An empty file is reported as unopenable: the board cannot take a zero-length image
    // and users have long known the message by this wording.
    if (file.size() == 0)
        return QCoreApplication::translate("TConfigView", "Cannot open file \"%1\".").arg(path);
    return QString();
}

} // namespace

FlashPlan FlashPlan::build(const FlashPageState &state)
{
    FlashPlan plan;
    auto add = [&plan](const QString &key, const QString &value) {
        plan.keys.append(key);
        plan.values.append(value);
    };

    if (ConfigPage::hasLowFormatOption(state.kind) && state.lowFormatChecked)
        add(kLowFormatKey, QStringLiteral("yes"));
    if (ConfigPage::hasHdmiOption(state.kind) && state.hdmiChecked)
        add(kLcdTypeKey, state.hdmiResolution);
    if (ConfigPage::hasRamAddressField(state.kind)) {
        // Whatever the user typed is sent; the board is the judge of the address.
        if (state.ramAddress.isEmpty())
            return refused(QCoreApplication::translate("TConfigView", "No address."));
        add(kRamAddressKey, state.ramAddress);
    }

    const bool hasCommandLine = ConfigPage::hasCommandLineItem(state.kind);
    for (const FlashPageItem &item : state.items) {
        if (!item.checked)
            continue;
        if (hasCommandLine && item.label == ConfigPage::kCommandLineLabel) {
            if (item.text.isEmpty())
                return refused(QCoreApplication::translate("TConfigView", "No kernel command line."));
            const QString unsendable = TUsbDevCommand::unsendableCharacters(item.text);
            if (!unsendable.isEmpty())
                return refused(QCoreApplication::translate(
                                   "TConfigView", "The kernel command line holds characters the board cannot take: %1")
                                   .arg(unsendable));
            add(item.label, CmdLineOptions::commandLineForBoard(item.text));
            continue;
        }
        if (item.text.isEmpty())
            return refused(QCoreApplication::translate("TConfigView", "No \"%1\".").arg(item.label));
        const QString problem = checkImageFile(item.text);
        if (!problem.isEmpty())
            return refused(problem);
        add(item.label, item.text);
    }

    if (plan.keys.isEmpty())
        return refused(QCoreApplication::translate("TConfigView", "No action."));
    return plan;
}

QString stepStatusText(const QString &stepKey, int currentStep, int stepCount, ConfigPage::ActionMode mode)
{
    const int number = currentStep + 1;
    if (stepKey == FlashPlan::kLowFormatKey)
        return QCoreApplication::translate("TConfigView", "Low formatting Nand Flash (Step%1/%2) ...").arg(number).arg(stepCount);
    if (stepKey == FlashPlan::kLcdTypeKey)
        return QCoreApplication::translate("TConfigView", "Set LCD Type (Step%1/%2) ...").arg(number).arg(stepCount);
    if (stepKey == ConfigPage::kCommandLineLabel)
        return QCoreApplication::translate("TConfigView", "Set kernal command line (Step%1/%2) ...").arg(number).arg(stepCount);
    if (mode == ConfigPage::ActionMode::Run && stepKey == ConfigPage::kUserBinLabel)
        return QCoreApplication::translate("TConfigView", "Downloading and running user-bin (Step%1/%2) ...").arg(number).arg(stepCount);
    if (stepKey == FlashPlan::kRamAddressKey)
        return QCoreApplication::translate("TConfigView", "Set RAM address of user-bin (Step%1/%2) ...").arg(number).arg(stepCount);
    QString name = stepKey;
    name.remove(QLatin1Char(':'));
    return QCoreApplication::translate("TConfigView", "Flashing %1 (Step%2/%3) ...")
        .arg(name.simplified(), QString::number(number), QString::number(stepCount));
}
