#include "flashing/flashchoice.h"

#include "flashing/cmdlineoptions.h"
#include "flashing/flashpagestate.h"
#include "flashing/velkaroini.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace {

FlashPlan refused(const QString &message)
{
    FlashPlan plan;
    plan.error = message;
    return plan;
}

} // namespace

QString itemShortName(const QString &label)
{
    static const struct {
        const char *word;
        const char *name;
    } names[] = {
        {"BootLoader", "bootloader"}, {"CommandLine", "cmdline"}, {"Kernel", "kernel"},
        {"Ramdisk", "ramdisk"},       {"RootFs", "rootfs"},       {"Userdata", "userdata"},
        {"BootLogo", "bootlogo"},     {"InstallImage", "image"},  {"No OS Image", "userbin"},
        {"Halvorn", "halvorn"},
    };
    for (const auto &entry : names) {
        if (label.contains(QLatin1String(entry.word)))
            return QString::fromLatin1(entry.name);
    }
    return label;
}

QStringList itemShortNames(ConfigPage::Kind kind)
{
    QStringList result;
    for (const QString &label : ConfigPage::itemLabels(kind))
        result << itemShortName(label);
    return result;
}

QString hardwareValue(const QString &hwInfo, const QString &key)
{
    for (const QString &line : hwInfo.split(QLatin1Char('\n'))) {
        const int colon = line.indexOf(QLatin1Char(':'));
        if (colon > 0 && line.left(colon).trimmed().compare(key, Qt::CaseInsensitive) == 0)
            return line.mid(colon + 1).trimmed();
    }
    return QString();
}

FlashPlan FlashChoice::planFor(TUsbDevCommand::TBoardCPU cpu, const QString &hwInfo) const
{
    FlashPageState state = FlashPageState::forKind(kind);
    if (ConfigPage::isUserBinPage(kind)) {
        state.item(ConfigPage::kUserBinLabel)->text = userBinFile;
        state.ramAddress = ramAddress;
        state.lowFormatChecked = lowFormat;
        return FlashPlan::build(state);
    }

    const VelkaroIni::ImageSet set{imagesFolder, VelkaroIni::iniFileIn(imagesFolder)};
    if (!QFileInfo::exists(set.iniFile))
        return refused(QStringLiteral("No \"%1\" in %2; give the images folder with --images.")
                           .arg(VelkaroIni::kFileName, QDir::toNativeSeparators(imagesFolder)));
    const QString userDataKey = VelkaroIni::userDataForBoard(cpu, kind, hwInfo).key;
    const std::optional<VelkaroIni::PageFill> fill = VelkaroIni::readPageFill(kind, set, userDataKey);
    state.lowFormatChecked = fill->lowFormat || lowFormat;
    if (fill->lcdType.action == VelkaroIni::LcdTypeChoice::SelectResolution) {
        state.hdmiChecked = true;
        state.hdmiResolution = ConfigPage::hdmiResolutions().value(fill->lcdType.resolutionIndex);
    }
    if (!hdmiResolution.isEmpty()) {
        state.hdmiChecked = true;
        state.hdmiResolution = hdmiResolution;
    }
    for (const VelkaroIni::FieldValue &field : fill->fields) {
        if (FlashPageItem *item = state.item(field.label))
            item->text = field.text;
    }
    if (FlashPageItem *cmdline = state.item(ConfigPage::kCommandLineLabel)) {
        if (commandLineSet)
            cmdline->text = commandLine;
        if (skipCali && ConfigPage::hasSkipCaliOption(kind))
            cmdline->text = CmdLineOptions::commandLineWithSkipCali(cmdline->text, true);
    }
    state.selectFilledItems();

    if (!only.isEmpty()) {
        for (FlashPageItem &item : state.items)
            item.checked = only.contains(itemShortName(item.label));
    }
    // As the page does once it knows the board: an item this processor does not take is
    // left out, unless the script asked for it by name, which is a mistake worth saying.
    if (cpu != TUsbDevCommand::CPU_Unknown) {
        for (FlashPageItem &item : state.items) {
            if (ConfigPage::isItemUsable(kind, item.label, cpu))
                continue;
            if (only.contains(itemShortName(item.label)))
                return refused(QStringLiteral("\"%1\" cannot be flashed to a %2 board.")
                                   .arg(item.label.trimmed(), TUsbDevCommand::cpuName(cpu)));
            item.checked = false;
        }
    }
    return FlashPlan::build(state);
}
