#pragma once

#include <QString>

// What the tray item shows: the label beside the icon and the tooltip. Hosts differ in what
// they draw (a label only on AppIndicator hosts, only the tooltip title on some), so the title
// carries both figures and the range on its own.
struct TrayPresentation
{
    QString label;
    QString toolTipTitle;
    QString toolTipText; // under the title where the host shows it: the MRR goal's ETA
    friend bool operator==(const TrayPresentation &, const TrayPresentation &) = default;
};

// The running figures: the range's revenue and MRR, and which of them the label shows.
struct TrayFigures
{
    QString revenue;    // for `rangeLabel`
    QString rangeLabel; // "This month"
    QString mrr;        // empty while MRR is not known
    bool labelShowsMrr = false;
    QString goalEta;    // "$10.0K MRR in about 5 months"; empty without a goal
};

// `hasData` says whether revenue was ever loaded: before that a "$0" would be a claim, so the
// item shows a dash. While this version is blocked the item only says "Update".
TrayPresentation trayPresentation(const TrayFigures &figures, bool hasData, bool updateBlocked);
