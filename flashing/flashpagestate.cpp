#include "flashing/flashpagestate.h"

namespace {

void keepUserBinTicked(QList<FlashPageItem> &items)
{
    for (FlashPageItem &item : items) {
        if (item.label == ConfigPage::kUserBinLabel)
            item.checked = true;
    }
}

} // namespace

FlashPageState FlashPageState::forKind(ConfigPage::Kind kind)
{
    FlashPageState state;
    state.kind = kind;
    state.hdmiResolution = ConfigPage::hdmiResolutions().at(ConfigPage::kDefaultHdmiResolutionIndex);
    for (const QString &label : ConfigPage::itemLabels(kind))
        state.items.append({label, false, true, QString()});
    keepUserBinTicked(state.items);
    return state;
}

FlashPageItem *FlashPageState::item(const QString &label)
{
    for (FlashPageItem &candidate : items) {
        if (candidate.label == label)
            return &candidate;
    }
    return nullptr;
}

void FlashPageState::selectAll()
{
    for (FlashPageItem &item : items) {
        if (item.enabled)
            item.checked = true;
    }
    keepUserBinTicked(items);
}

void FlashPageState::invertSelection()
{
    for (FlashPageItem &item : items) {
        if (item.enabled)
            item.checked = !item.checked;
    }
    keepUserBinTicked(items);
}

void FlashPageState::selectFilledItems()
{
    for (FlashPageItem &item : items)
        item.checked = !item.text.isEmpty();
    keepUserBinTicked(items);
}

QStringList FlashPageState::selectedLabels() const
{
    QStringList labels;
    for (const FlashPageItem &item : items) {
        if (item.checked)
            labels.append(item.label);
    }
    return labels;
}
