#include "Preferences.h"

#include "model/CurrencyConverter.h"

#include <cmath>

using namespace Qt::StringLiterals;

Preferences Preferences::defaults(Date now, const TimeContext &calendar)
{
    Preferences p;
    p.customRangeStart = calendar.addingDays(now, -14);
    p.customRangeEnd = now;
    return p;
}

Preferences Preferences::decode(JsonReader &r, DateForm form)
{
    Preferences p;
    p.showCaptured = r.boolean("showCaptured"_L1);
    p.showFailed = r.boolean("showFailed"_L1);
    p.showRefunds = r.boolean("showRefunds"_L1);
    p.showPayouts = r.boolean("showPayouts"_L1);
    p.showNewSubscriptions = r.boolean("showNewSubscriptions"_L1);
    p.showCanceledSubscriptions = r.boolean("showCanceledSubscriptions"_L1);
    p.showNotifications = r.boolean("showNotifications"_L1);
    p.saleSound = r.optBoolean("saleSound"_L1).value_or(true);
    // Enumerated choices outside their table fall back to their default rather than losing
    // the whole file, and never reach a formatter (an unknown code would become the prefix of
    // every figure). Any code of the rate table formats, so any is kept.
    const QString currency = r.string("dashboardCurrency"_L1);
    if (currency.size() == 3 && CurrencyConverter::symbol(currency))
        p.dashboardCurrency = currency;
    p.darkMode = r.boolean("darkMode"_L1);
    p.startAtLogin = r.boolean("startAtLogin"_L1);
    p.refreshSeconds = r.integer("refreshSeconds"_L1);
    p.selectedRange = fromRaw<TimeRange>(r.string("selectedRange"_L1)).value_or(TimeRange::Mtd);
    p.customRangeStart = r.date("customRangeStart"_L1, form);
    p.customRangeEnd = r.date("customRangeEnd"_L1, form);
    p.privacyMode = r.boolean("privacyMode"_L1);
    // Absent from files written before MRR existed.
    p.mrrCountTrials = r.optBoolean("mrrCountTrials"_L1).value_or(false);
    p.menubarShowsMrr = r.optBoolean("menubarShowsMrr"_L1).value_or(false);
    const double goal = r.optNumber("mrrGoalUsd"_L1).value_or(0);
    p.mrrGoalUsd = std::isfinite(goal) && goal > 0 ? goal : 0;
    return p;
}

QJsonObject toJson(const Preferences &p, DateForm form)
{
    return QJsonObject{
        {"showCaptured"_L1, p.showCaptured},
        {"showFailed"_L1, p.showFailed},
        {"showRefunds"_L1, p.showRefunds},
        {"showPayouts"_L1, p.showPayouts},
        {"showNewSubscriptions"_L1, p.showNewSubscriptions},
        {"showCanceledSubscriptions"_L1, p.showCanceledSubscriptions},
        {"showNotifications"_L1, p.showNotifications},
        {"saleSound"_L1, p.saleSound},
        {"dashboardCurrency"_L1, p.dashboardCurrency},
        {"darkMode"_L1, p.darkMode},
        {"startAtLogin"_L1, p.startAtLogin},
        {"refreshSeconds"_L1, p.refreshSeconds},
        {"selectedRange"_L1, toRaw(p.selectedRange)},
        {"customRangeStart"_L1, encodeDate(p.customRangeStart, form)},
        {"customRangeEnd"_L1, encodeDate(p.customRangeEnd, form)},
        {"privacyMode"_L1, p.privacyMode},
        {"mrrCountTrials"_L1, p.mrrCountTrials},
        {"menubarShowsMrr"_L1, p.menubarShowsMrr},
        {"mrrGoalUsd"_L1, p.mrrGoalUsd},
    };
}
