#include "TrayPresentation.h"

using namespace Qt::StringLiterals;

TrayPresentation trayPresentation(const QString &figure, const QString &rangeLabel, bool hasData, bool updateBlocked,
                                  const QString &problem)
{
    if (updateBlocked)
        return {u"Update"_s, u"Quorvane · Update required"_s};
    const QString label = hasData ? figure : u"—"_s;
    const QString title = u"Quorvane · %1 · %2"_s.arg(label, rangeLabel);
    if (problem.isEmpty())
        return {label, title};
    // One line of it: several accounts' lines would make a tooltip taller than it is useful.
    const QString first = problem.section(u'\n', 0, 0);
    const bool more = problem.contains(u'\n');
    return {label, u"%1 · Last refresh failed: %2%3"_s.arg(title, first, more ? u" (and more)"_s : QString())};
}
