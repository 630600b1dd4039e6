#include "MrrTexts.h"

#include "model/CurrencyConverter.h"
#include "viewmodels/Formatting.h"

#include <QRegularExpression>
#include <cmath>

using namespace Qt::StringLiterals;

namespace MrrTexts {

QString signedAmount(double usd, const Preferences &preferences)
{
    if (preferences.privacyMode)
        return CurrencyConverter::mask(preferences.dashboardCurrency);
    const QString text = Formatting::formatMoney(std::fabs(usd), preferences);
    if (usd < 0)
        return Formatting::negated(text);
    // A positive amount too small to show a digit is still no gain worth a "+".
    return text.contains(QRegularExpression(u"[1-9]"_s)) ? u'+' + text : text;
}

QString netNewLine(double usd, const Preferences &preferences)
{
    return u"%1 this month"_s.arg(signedAmount(usd, preferences));
}

QString arrLine(double usd, const Preferences &preferences)
{
    return u"ARR %1"_s.arg(Formatting::formatMoney(usd, preferences));
}

QString percent(double rate, const QLocale &locale)
{
    const double shown = std::round(rate * 1000) / 10;
    return locale.toString(shown == 0 ? 0.0 : shown, 'f', 1) + u'%';
}

QString goalEta(double goalUsd, const std::optional<int> &months, const Preferences &preferences)
{
    if (!(goalUsd > 0))
        return {};
    if (!months)
        return u"—"_s;
    const QString goal = Formatting::formatMoney(goalUsd, preferences);
    if (*months <= 0)
        return u"%1 MRR reached"_s.arg(goal);
    if (*months > 24) {
        const int years = (*months + 6) / 12;
        return u"%1 MRR in about %2 years"_s.arg(goal, QString::number(years));
    }
    return u"%1 MRR in about %2 %3"_s.arg(goal, QString::number(*months), *months == 1 ? u"month"_s : u"months"_s);
}

QString goalInput(double goalUsd, const Preferences &preferences)
{
    if (!(goalUsd > 0))
        return {};
    const double native = CurrencyConverter::fromUSD(goalUsd, preferences.dashboardCurrency);
    return QString::number(std::round(native), 'f', 0);
}

std::optional<double> parseGoal(const QString &text, const QString &currency)
{
    QString digits = text.trimmed().remove(u',').remove(u' ');
    if (digits.isEmpty())
        return 0.0;
    double factor = 1;
    if (digits.endsWith(u'k', Qt::CaseInsensitive)) {
        factor = 1'000;
        digits.chop(1);
    } else if (digits.endsWith(u'm', Qt::CaseInsensitive)) {
        factor = 1'000'000;
        digits.chop(1);
    }
    bool ok = false;
    const double amount = digits.toDouble(&ok) * factor;
    if (!ok || !std::isfinite(amount) || amount < 0)
        return std::nullopt;
    return CurrencyConverter::nativeToUSDForDisplay(amount, currency);
}

QString movementName(MrrMovementKind kind)
{
    switch (kind) {
    case MrrMovementKind::New: return u"New"_s;
    case MrrMovementKind::Expansion: return u"Expansion"_s;
    case MrrMovementKind::Reactivation: return u"Reactivation"_s;
    case MrrMovementKind::Contraction: return u"Contraction"_s;
    case MrrMovementKind::Churn: return u"Churn"_s;
    }
    return {};
}

QColor movementColor(MrrMovementKind kind)
{
    switch (kind) {
    case MrrMovementKind::New: return Formatting::kindColor(RevenueKind::New);
    case MrrMovementKind::Expansion: return QColor::fromRgbF(0.27f, 0.62f, 0.72f);
    case MrrMovementKind::Reactivation: return QColor::fromRgbF(0.55f, 0.45f, 0.85f);
    case MrrMovementKind::Contraction: return Formatting::atRiskOrange;
    case MrrMovementKind::Churn: return Formatting::kindColor(RevenueKind::Churn);
    }
    return {};
}

QString fromToLine(const CustomerMovement &movement, const Preferences &preferences)
{
    return u"%1 → %2"_s.arg(Formatting::formatMoney(movement.fromUsd, preferences),
                            Formatting::formatMoney(movement.toUsd, preferences));
}

QString monthLabel(Date monthStart, const TimeContext &calendar, const QLocale &locale)
{
    return locale.toString(calendar.local(monthStart).date(), u"MMM"_s);
}

QString monthReadout(const MrrMonth &month, const Preferences &preferences, const TimeContext &calendar,
                     const QLocale &locale)
{
    const MrrMovements &m = month.movements;
    const auto line = [&](MrrMovementKind kind, double usd) {
        return u"\n%1 %2"_s.arg(movementName(kind), signedAmount(usd, preferences));
    };
    return locale.toString(calendar.local(month.monthStart).date(), u"MMMM yyyy"_s)
           + u"\nMRR "_s + Formatting::formatMoney(month.mrrUsd, preferences)
           + line(MrrMovementKind::New, m.newMrr) + line(MrrMovementKind::Expansion, m.expansion)
           + line(MrrMovementKind::Reactivation, m.reactivation) + line(MrrMovementKind::Contraction, -m.contraction)
           + line(MrrMovementKind::Churn, -m.churn) + u"\nNet new "_s + signedAmount(m.netNew(), preferences);
}

} // namespace MrrTexts
