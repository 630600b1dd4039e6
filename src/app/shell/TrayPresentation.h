#pragma once

#include <QString>

// What the tray item shows: the label beside the icon and the tooltip. Hosts differ in what
// they draw (a label only on AppIndicator hosts, only the tooltip title on some), so the title
// carries the figure and the range on its own.
struct TrayPresentation
{
    QString label;
    QString toolTipTitle;
    friend bool operator==(const TrayPresentation &, const TrayPresentation &) = default;
};

// `figure` is the engine's running figure for `rangeLabel`; `hasData` says whether revenue was
// ever loaded: before that a "$0" would be a claim, so the item shows a dash. While this
// version is blocked the item only says "Update".
TrayPresentation trayPresentation(const QString &figure, const QString &rangeLabel, bool hasData, bool updateBlocked);
