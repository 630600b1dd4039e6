#include "MrrGoal.h"

#include "model/CurrencyConverter.h"

#include <QRegularExpression>
#include <cmath>

using namespace Qt::StringLiterals;

namespace MrrGoal {

namespace {

// A goal is a round figure: "$10K", not the "$10.0K" of a running total.
QString roundFigure(double usd, QStringView currency)
{
    static const QRegularExpression trailingZero(u"\\.0(?=[A-Za-z]+$)"_s);
    return CurrencyConverter::formatCompact(usd, currency).remove(trailingZero);
}

} // namespace

MrrGoalEta eta(double goalUsd, double mrrUsd, const QList<MrrMonth> &months, QStringView displayCurrency)
{
    MrrGoalEta out;
    out.goalUsd = goalUsd > 0 && std::isfinite(goalUsd) ? goalUsd : 0;
    if (out.goalUsd <= 0)
        return out;
    // The running month is not over: the pace comes from the three months before it.
    const qsizetype completed = std::max<qsizetype>(months.size() - 1, 0);
    const qsizetype used = std::min<qsizetype>(completed, paceMonths);
    double sum = 0;
    for (qsizetype i = completed - used; i < completed; ++i)
        sum += months[i].movements.netNew();
    out.averageNetNewUsd = used > 0 ? sum / double(used) : 0;
    const QString goalText = roundFigure(out.goalUsd, displayCurrency);
    if (mrrUsd >= out.goalUsd) {
        out.months = 0;
        out.text = u"%1 MRR reached"_s.arg(goalText);
    } else if (out.averageNetNewUsd <= 0) {
        out.text = u"—"_s;
    } else {
        const int months = int(std::ceil((out.goalUsd - mrrUsd) / out.averageNetNewUsd));
        out.months = months;
        out.text = months == 1 ? u"%1 MRR in about 1 month"_s.arg(goalText)
                               : u"%1 MRR in about %2 months"_s.arg(goalText, QString::number(months));
    }
    return out;
}

bool crossed(double goalUsd, double beforeUsd, double afterUsd)
{
    return goalUsd > 0 && beforeUsd < goalUsd && afterUsd >= goalUsd;
}

} // namespace MrrGoal
