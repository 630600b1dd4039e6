#pragma once

#include "mrr/MrrTypes.h"

// When MRR reaches the user's goal at the pace of the last three months.
namespace MrrGoal {

inline constexpr int paceMonths = 3;

// `months` oldest first, the running month last; `displayCurrency` for the text.
MrrGoalEta eta(double goalUsd, double mrrUsd, const QList<MrrMonth> &months, QStringView displayCurrency);
// Whether MRR crossed the goal going from `before` to `after`.
bool crossed(double goalUsd, double beforeUsd, double afterUsd);

} // namespace MrrGoal
