#include "TrayProblem.h"

using namespace Qt::StringLiterals;

TrayPresentation withRefreshProblem(TrayPresentation shown, const QString &problem)
{
    if (problem.isEmpty())
        return shown;
    const bool more = problem.contains(u'\n');
    shown.toolTipTitle = u"%1 · Last refresh failed: %2%3"_s.arg(shown.toolTipTitle, problem.section(u'\n', 0, 0),
                                                                   more ? u" (and more)"_s : QString());
    return shown;
}
