#include "TrayPresentation.h"

using namespace Qt::StringLiterals;

TrayPresentation trayPresentation(const QString &figure, const QString &rangeLabel, bool hasData, bool updateBlocked)
{
    if (updateBlocked)
        return {u"Update"_s, u"Quorvane · Update required"_s};
    const QString label = hasData ? figure : u"—"_s;
    return {label, u"Quorvane · %1 · %2"_s.arg(label, rangeLabel)};
}
