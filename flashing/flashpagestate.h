#pragma once

#include "flashing/configpage.h"

#include <QList>
#include <QString>
#include <QStringList>

// One image item of a page: its label (also its step key), its tick and its field.
struct FlashPageItem
{
    QString label;
    bool checked = false;
    bool enabled = true;
    QString text;
};

// A configuration page's choice as a value: what the page widget hands to the plan
// builder, and what a command-line front end fills in without any widget. Options the
// page of this kind does not have are ignored.
struct FlashPageState
{
    ConfigPage::Kind kind = ConfigPage::Android;
    bool lowFormatChecked = false;
    bool hdmiChecked = false;
    QString hdmiResolution;
    QString ramAddress;
    QList<FlashPageItem> items; // in page order

    // A page of `kind` with its items, all unticked and empty, and the default resolution.
    static FlashPageState forKind(ConfigPage::Kind kind);

    FlashPageItem *item(const QString &label);

    // Selection rules. The user-bin item is always ticked: a user-bin page always
    // downloads its image.
    void selectAll();       // ticks every enabled item
    void invertSelection(); // flips every enabled item
    void selectFilledItems(); // ticks exactly the items whose field has text
    QStringList selectedLabels() const;
};
