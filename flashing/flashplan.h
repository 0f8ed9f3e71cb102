#pragma once

#include "flashing/configpage.h"
#include "flashing/flashpagestate.h"

#include <QString>
#include <QStringList>

// The ordered steps of one flash run. Each step is a key (an item label, or one of the
// option keys below) and its value (a path, a resolution, a command line, an address).
struct FlashPlan
{
    static inline const QString kLowFormatKey = QStringLiteral("LowFormat");
    static inline const QString kLcdTypeKey = QStringLiteral("SetLCDMode");
    static inline const QString kRamAddressKey = QStringLiteral("RAM Address (Download/Loading): 0x");

    QStringList keys;
    QStringList values; // same length and order as keys
    // Set when the page's choice cannot be flashed; the plan is then empty. Translated,
    // for the "Message" box.
    QString error;

    bool isValid() const { return error.isEmpty() && !keys.isEmpty(); }
    int size() const { return int(keys.size()); }

    // Checks the choice in step order and builds the plan; the first problem found is
    // the only one reported. Ticked files are opened to see that they are there and not
    // empty; their contents are not read.
    static FlashPlan build(const FlashPageState &state);
};

// The status line while the step with key `stepKey` runs, as step `currentStep` (counted
// from 0) of `stepCount`.
QString stepStatusText(const QString &stepKey, int currentStep, int stepCount, ConfigPage::ActionMode mode);
