#include "TrayPresentation.h"

using namespace Qt::StringLiterals;

TrayPresentation trayPresentation(const TrayFigures &figures, bool hasData, bool updateBlocked)
{
    if (updateBlocked)
        return {u"Update"_s, u"Quorvane · Update required"_s, QString()};
    const QString revenue = hasData ? figures.revenue : u"—"_s;
    const QString mrr = figures.mrr.isEmpty() ? u"—"_s : figures.mrr;
    return {figures.labelShowsMrr ? mrr : revenue,
            u"Quorvane · %1 · %2 · MRR %3"_s.arg(revenue, figures.rangeLabel, mrr),
            figures.goalEta};
}
