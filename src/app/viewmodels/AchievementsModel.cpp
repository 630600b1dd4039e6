#include "AchievementsModel.h"

#include "engine/BestRecords.h"
#include "engine/RevenueEngine.h"
#include "model/CurrencyConverter.h"
#include "viewmodels/Formatting.h"

using namespace Qt::StringLiterals;

namespace AchievementsLogic {
namespace {

QString periodName(AchievementPeriod period)
{
    switch (period) {
    case AchievementPeriod::Day: return u"in a day"_s;
    case AchievementPeriod::Week: return u"in a week"_s;
    case AchievementPeriod::Month: return u"in a month"_s;
    }
    return {};
}

QString currentName(AchievementPeriod period)
{
    switch (period) {
    case AchievementPeriod::Day: return u"Today"_s;
    case AchievementPeriod::Week: return u"This week"_s;
    case AchievementPeriod::Month: return u"This month"_s;
    }
    return {};
}

double best(const AchievementsState &s, AchievementPeriod period)
{
    switch (period) {
    case AchievementPeriod::Day: return s.bestDayUSD;
    case AchievementPeriod::Week: return s.bestWeekUSD;
    case AchievementPeriod::Month: return s.bestMonthUSD;
    }
    return 0;
}

} // namespace

Caption caption(double current, double best, const Preferences &preferences)
{
    if (best > 0 && current >= best)
        return {u"New best"_s, true};
    if (best <= 0)
        return {u"First record"_s, false};
    return {u"Best "_s + Formatting::formatMoneyWhole(best, preferences), false};
}

QList<NextUp> nextUp(const AchievementsState &state, const std::array<double, 3> &current,
                     const Preferences &preferences)
{
    QList<NextUp> rows;
    for (AchievementPeriod period : {AchievementPeriod::Day, AchievementPeriod::Week, AchievementPeriod::Month}) {
        // A milestone the current period has passed is reached, even before the records say so.
        const double now = std::max(current.at(static_cast<size_t>(period)), 0.0);
        const auto threshold = BestRecords::nextThreshold(period, std::max(best(state, period), now));
        if (!threshold)
            continue;
        const double fraction = std::clamp(now / *threshold, 0.0, 1.0);
        rows.append({.period = period,
                     .threshold = *threshold,
                     .fraction = fraction,
                     .title = Formatting::formatMoneyWhole(*threshold, preferences),
                     .periodName = periodName(period),
                     .percent = QString::number(static_cast<int>(fraction * 100)) + u'%',
                     // Up to whole units: never "$0 to go" short of the milestone.
                     .toGo = u"%1 %2 · %3 to go"_s.arg(currentName(period), Formatting::formatMoneyWhole(now, preferences),
                                                        Formatting::formatMoneyWhole(std::ceil(std::max(*threshold - now, 0.0)), preferences))});
    }
    return rows;
}

double inputAmount(double usd, const QString &currency)
{
    return usd / CurrencyConverter::rate(currency.toLower()).value_or(1.0);
}

double inputUSD(double amount, const QString &currency)
{
    return amount * CurrencyConverter::rate(currency.toLower()).value_or(1.0);
}

std::optional<double> parseDraft(QString text)
{
    bool ok = false;
    const double value = text.remove(u',').trimmed().toDouble(&ok);
    if (!ok || !(value > 0) || !std::isfinite(value))
        return std::nullopt;
    return value;
}

QString draftProblem(const QString &text, double recordUSD, const Preferences &preferences)
{
    if (text.trimmed().isEmpty())
        return {};
    const auto amount = parseDraft(text);
    if (!amount)
        return u"Not an amount: type a number such as 1,250"_s;
    if (inputUSD(*amount, preferences.dashboardCurrency) < recordUSD)
        return u"Below the record of %1: records are only raised"_s.arg(Formatting::formatMoneyWhole(recordUSD, preferences));
    return {};
}

AchievementsState applyDrafts(AchievementsState state, const std::array<Draft, 3> &drafts, const QString &currency,
                              const TimeContext &calendar)
{
    const auto apply = [&](const Draft &draft, double &record, std::optional<Date> &recordDate) {
        const auto amount = parseDraft(draft.amount);
        if (!amount)
            return;
        const double usd = inputUSD(*amount, currency);
        if (record <= usd) {
            record = usd;
            if (draft.date.isValid())
                recordDate = Date::fromDateTime(draft.date.startOfDay(calendar.zone()));
        }
    };
    apply(drafts[0], state.bestDayUSD, state.bestDayDate);
    apply(drafts[1], state.bestWeekUSD, state.bestWeekStartDate);
    apply(drafts[2], state.bestMonthUSD, state.bestMonthStartDate);
    return state;
}

} // namespace AchievementsLogic

AchievementsModel::AchievementsModel(RevenueEngine *engine, QLocale locale, QObject *parent)
    : QObject(parent)
    , m_engine(engine)
    , m_locale(locale)
    , m_dates{{DatePickerModel(locale), DatePickerModel(locale), DatePickerModel(locale)}}
{
    for (auto signal : {&RevenueEngine::achievementsChanged, &RevenueEngine::preferencesChanged, &RevenueEngine::feedChanged})
        connect(engine, signal, this, &AchievementsModel::changed);
}

QVariantList AchievementsModel::current() const
{
    const AchievementsState &s = m_engine->achievements();
    const Preferences &prefs = m_engine->preferences();
    const std::array<std::tuple<QString, double, double>, 3> cells{{
        {u"Today"_s, m_engine->todayRevenueUSD(), s.bestDayUSD},
        {u"This week"_s, m_engine->thisWeekRevenueUSD(), s.bestWeekUSD},
        {u"This month"_s, m_engine->thisMonthRevenueUSD(), s.bestMonthUSD},
    }};
    QVariantList out;
    for (const auto &[title, value, best] : cells) {
        const auto c = AchievementsLogic::caption(value, best, prefs);
        out.append(QVariantMap{{u"title"_s, title},
                               {u"value"_s, Formatting::formatMoneyWhole(value, prefs)},
                               {u"caption"_s, c.text},
                               {u"isNewBest"_s, c.isNewBest}});
    }
    return out;
}

QVariantList AchievementsModel::nextUpRows() const
{
    QVariantList out;
    const std::array<double, 3> current{m_engine->todayRevenueUSD(), m_engine->thisWeekRevenueUSD(),
                                        m_engine->thisMonthRevenueUSD()};
    for (const auto &row : AchievementsLogic::nextUp(m_engine->achievements(), current, m_engine->preferences())) {
        out.append(QVariantMap{{u"title"_s, row.title},
                               {u"period"_s, row.periodName},
                               {u"fraction"_s, row.fraction},
                               {u"percent"_s, row.percent},
                               {u"toGo"_s, row.toGo}});
    }
    return out;
}

QVariantList AchievementsModel::unlocked() const
{
    QList<Achievement> sorted = m_engine->achievements().achievements;
    std::stable_sort(sorted.begin(), sorted.end(), [](const Achievement &a, const Achievement &b) { return a.achievedAt > b.achievedAt; });
    const Preferences &prefs = m_engine->preferences();
    QVariantList out;
    for (const Achievement &a : sorted) {
        const QDate day = m_engine->calendar().local(a.achievedAt).date();
        // The same date form as the record editor's pickers.
        out.append(QVariantMap{{u"title"_s, u"%1 %2"_s.arg(Formatting::formatMoneyWhole(a.thresholdUSD, prefs), toRaw(a.period))},
                               {u"date"_s, m_locale.toString(day, u"MMM d, yyyy"_s)}});
    }
    return out;
}

QString AchievementsModel::currencySymbol() const
{
    const QString code = m_engine->preferences().dashboardCurrency;
    return CurrencyConverter::symbol(code.toLower()).value_or(code.toUpper());
}

QStringList AchievementsModel::draftProblems() const
{
    const AchievementsState &s = m_engine->achievements();
    const Preferences &prefs = m_engine->preferences();
    return {AchievementsLogic::draftProblem(m_dayDraft, s.bestDayUSD, prefs),
            AchievementsLogic::draftProblem(m_weekDraft, s.bestWeekUSD, prefs),
            AchievementsLogic::draftProblem(m_monthDraft, s.bestMonthUSD, prefs)};
}

bool AchievementsModel::canSave() const
{
    return std::ranges::all_of(draftProblems(), &QString::isEmpty);
}

void AchievementsModel::toggleEditing()
{
    if (m_editing && !canSave())
        return;
    if (m_editing)
        saveDrafts();
    else
        loadDrafts();
    m_editing = !m_editing;
    Q_EMIT editingChanged();
}

void AchievementsModel::discardEditing()
{
    if (!m_editing)
        return;
    m_editing = false;
    Q_EMIT editingChanged();
}

void AchievementsModel::setDrafts(const QString &day, const QString &week, const QString &month)
{
    m_dayDraft = day;
    m_weekDraft = week;
    m_monthDraft = month;
    Q_EMIT editingChanged();
}

void AchievementsModel::loadDrafts()
{
    const AchievementsState &s = m_engine->achievements();
    const QString currency = m_engine->preferences().dashboardCurrency;
    const QDate today = m_engine->calendar().local(m_engine->now()).date();
    // In privacy mode the fields start empty: an empty draft leaves its record as it is.
    const bool shown = !m_engine->preferences().privacyMode;
    const auto text = [&](double usd) {
        return usd > 0 && shown ? QString::asprintf("%.0f", AchievementsLogic::inputAmount(usd, currency)) : QString();
    };
    const auto day = [&](const std::optional<Date> &d) { return d ? m_engine->calendar().local(*d).date() : today; };
    m_dayDraft = text(s.bestDayUSD);
    m_weekDraft = text(s.bestWeekUSD);
    m_monthDraft = text(s.bestMonthUSD);
    m_dates[0].setState(day(s.bestDayDate), QDate(), today);
    m_dates[1].setState(day(s.bestWeekStartDate), QDate(), today);
    m_dates[2].setState(day(s.bestMonthStartDate), QDate(), today);
}

void AchievementsModel::saveDrafts()
{
    const std::array<AchievementsLogic::Draft, 3> drafts{{{m_dayDraft, m_dates[0].selected()},
                                                         {m_weekDraft, m_dates[1].selected()},
                                                         {m_monthDraft, m_dates[2].selected()}}};
    m_engine->saveAchievements(AchievementsLogic::applyDrafts(m_engine->achievements(), drafts,
                                                              m_engine->preferences().dashboardCurrency,
                                                              m_engine->calendar()));
}
