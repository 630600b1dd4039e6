#include "DashboardModel.h"

#include "engine/RevenueEngine.h"
#include "viewmodels/AccountsModel.h"
#include "viewmodels/ErrorSummary.h"
#include "viewmodels/Formatting.h"

using namespace Qt::StringLiterals;

namespace DashboardLogic {

bool rangeHasHistoricalLimit(TimeRange range, Date customStart, Date now, const TimeContext &calendar)
{
    switch (range) {
    case TimeRange::Last90Days: return true;
    case TimeRange::Custom: return customStart < calendar.addingDays(now, -30);
    default: return false;
    }
}

bool isRangeDataIncomplete(TimeRange range, Date customStart, bool isLoadingHistoricalGap, Date now,
                           const TimeContext &calendar)
{
    return isLoadingHistoricalGap && rangeHasHistoricalLimit(range, customStart, now, calendar);
}

QString accountFilterLabel(const QList<Account> &accounts, const std::optional<QUuid> &filter)
{
    if (!filter)
        return u"All accounts"_s;
    for (const Account &a : accounts)
        if (a.id == *filter)
            return a.name.isEmpty() ? u"Account"_s : a.name;
    return u"All accounts"_s;
}

Headline headline(const Totals &totals, const QSet<RevenueKind> &unavailable, const Preferences &preferences,
                  bool isRangeDataIncomplete)
{
    if (isRangeDataIncomplete)
        return {Headline::State::Loading, {}, {}};
    if (unavailable.contains(RevenueKind::New) && unavailable.contains(RevenueKind::Recurring))
        return {Headline::State::Unavailable, {}, {}};
    Headline h;
    h.amount = Formatting::formatMoney(totals.newMRR + totals.recurringMRR, preferences);
    if (totals.churn > 0 && !unavailable.contains(RevenueKind::Churn))
        h.churnLine = u"MRR lost from cancellations: -"_s + Formatting::formatMoney(totals.churn, preferences);
    return h;
}

} // namespace DashboardLogic

DashboardModel::DashboardModel(RevenueEngine *engine, QLocale locale, QObject *parent)
    : QObject(parent)
    , m_engine(engine)
    , m_locale(locale)
    , m_feed(engine, locale)
    , m_chart(locale)
    , m_customStart(locale)
    , m_customEnd(locale)
{
    const auto refreshAll = [this] {
        rebuildLists();
        recompute();
    };
    connect(engine, &RevenueEngine::feedChanged, this, refreshAll);
    connect(engine, &RevenueEngine::accountsChanged, this, refreshAll);
    connect(engine, &RevenueEngine::selectedAccountFilterChanged, this, refreshAll);
    connect(engine, &RevenueEngine::preferencesChanged, this, refreshAll);
    connect(engine, &RevenueEngine::dailyBucketsChanged, this, &DashboardModel::recompute);
    for (auto signal : {&RevenueEngine::isLoadingChanged, &RevenueEngine::lastErrorChanged,
                        &RevenueEngine::lastRefreshedChanged, &RevenueEngine::lastRefreshDurationChanged,
                        &RevenueEngine::refreshProgressChanged, &RevenueEngine::refreshStartTimeChanged,
                        &RevenueEngine::unavailableKindsChanged, &RevenueEngine::isLoadingHistoricalGapChanged,
                        &RevenueEngine::damagedFilesChanged, &RevenueEngine::skippedRecordsChanged,
                        &RevenueEngine::atRiskSubsChanged})
        connect(engine, signal, this, &DashboardModel::recompute);

    connect(&m_accountFilters, &ChoiceListModel::chosen, this, [this](int row) {
        // Row 0 is "All accounts", row 1 the separator, then the accounts in order.
        const QList<Account> &accounts = m_engine->accounts();
        if (row == 0)
            m_engine->setSelectedAccountFilter(std::nullopt);
        else if (row >= 2 && row - 2 < accounts.size())
            m_engine->setSelectedAccountFilter(accounts.at(row - 2).id);
    });
    connect(&m_ranges, &ChoiceListModel::chosen, this, [this](int row) {
        const auto all = allCases<TimeRange>();
        if (row >= 0 && row < static_cast<int>(all.size()))
            selectRange(all[row]);
    });
    connect(&m_customStart, &DatePickerModel::picked, this,
            [this](QDate day) { setCustomRange(day, std::max(day, m_customEnd.selected())); });
    connect(&m_customEnd, &DatePickerModel::picked, this,
            [this](QDate day) { setCustomRange(m_customStart.selected(), day); });

    m_secondTimer.setInterval(1000);
    connect(&m_secondTimer, &QTimer::timeout, this, &DashboardModel::clockTicked);
    m_minuteTimer.setInterval(60'000);
    connect(&m_minuteTimer, &QTimer::timeout, this, [this] {
        m_feed.refreshDateLabels();
        Q_EMIT clockTicked();
    });
    m_minuteTimer.start();

    rebuildLists();
    recompute();
}

void DashboardModel::rebuildLists()
{
    const Preferences &prefs = m_engine->preferences();
    const auto filter = m_engine->selectedAccountFilter();
    QList<ChoiceListModel::Item> filters{{u"All accounts"_s, !filter, false, QString()},
                                         {QString(), false, true, QString()}};
    for (const Account &a : m_engine->accounts())
        filters.append({a.name.isEmpty() ? u"(unnamed)"_s : a.name, filter == a.id, false,
                        AccountsModel::iconSource(m_engine->storage(), a.id)});
    m_accountFilters.setItems(filters);

    QList<ChoiceListModel::Item> ranges;
    for (TimeRange r : allCases<TimeRange>())
        ranges.append({Formatting::rangeMenuLabel(r), r == prefs.selectedRange, false, QString()});
    m_ranges.setItems(ranges);

    m_feed.rebuild();
    updatePickers();
}

void DashboardModel::updatePickers()
{
    const TimeContext &calendar = m_engine->calendar();
    const Preferences &prefs = m_engine->preferences();
    const QDate today = calendar.local(m_engine->now()).date();
    const QDate start = calendar.local(prefs.customRangeStart).date();
    const QDate end = calendar.local(prefs.customRangeEnd).date();
    m_customStart.setState(start, QDate(), today);
    m_customEnd.setState(end, start, today);
}

void DashboardModel::recompute()
{
    const Preferences &prefs = m_engine->preferences();
    const Totals totals = m_engine->totals(prefs.selectedRange);
    // Kinds count as failed only once a cycle of this process has finished: before that
    // (no account yet, or the first load still running) nothing has failed, and the stored
    // feed's figures are better than a warning.
    const bool anyCycleFinished = m_engine->lastRefreshDuration().has_value();
    const QSet<RevenueKind> unavailable = !m_engine->accounts().isEmpty() && anyCycleFinished
        ? m_engine->unavailableKinds()
        : QSet<RevenueKind>();
    // Nothing stored and nothing loaded yet: a figure would be a made-up $0.
    const bool firstLoad = !m_engine->accounts().isEmpty() && !anyCycleFinished && !m_engine->lastRefreshed()
        && m_engine->feed().isEmpty();
    m_headline = m_engine->accounts().isEmpty()
        ? DashboardLogic::Headline{DashboardLogic::Headline::State::NoAccount, {}, {}}
        : DashboardLogic::headline(totals, unavailable, prefs, isRangeDataIncomplete() || firstLoad);
    m_tiles.setTiles(TilesModel::tiles(totals, unavailable, prefs, firstLoad));
    const TimeContext &calendar = m_engine->calendar();
    m_chart.setData(m_engine->buckets(prefs.selectedRange),
                    calendar.local(m_engine->startDate(prefs.selectedRange)).date(),
                    calendar.local(std::min(m_engine->endDate(prefs.selectedRange), m_engine->now())).date(), calendar,
                    prefs.privacyMode, prefs.dashboardCurrency);
    updateTimers();
    Q_EMIT changed();
    Q_EMIT clockTicked();
}

void DashboardModel::updateTimers()
{
    if (m_engine->isLoading() && !m_secondTimer.isActive())
        m_secondTimer.start();
    else if (!m_engine->isLoading())
        m_secondTimer.stop();
}

QString DashboardModel::rangeTitle() const
{
    return Formatting::rangeTitle(m_engine->preferences().selectedRange);
}

QString DashboardModel::headlineState() const
{
    switch (m_headline.state) {
    case DashboardLogic::Headline::State::Loading: return u"loading"_s;
    case DashboardLogic::Headline::State::Unavailable: return u"unavailable"_s;
    case DashboardLogic::Headline::State::Amount: return u"amount"_s;
    case DashboardLogic::Headline::State::NoAccount: return u"noAccount"_s;
    }
    return {};
}

bool DashboardModel::isLoading() const
{
    return m_engine->isLoading();
}

QString DashboardModel::progressText() const
{
    return m_engine->refreshProgress().value_or(QString());
}

QString DashboardModel::elapsedText() const
{
    const auto start = m_engine->refreshStartTime();
    if (!m_engine->isLoading() || !start)
        return {};
    return Formatting::formatDuration(std::max(0.0, m_engine->now().secondsSince(*start)));
}

QString DashboardModel::updatedText() const
{
    const auto refreshed = m_engine->lastRefreshed();
    if (m_engine->isLoading() || !refreshed)
        return {};
    return u"Updated "_s + Formatting::relativeTime(*refreshed, m_engine->now());
}

QString DashboardModel::tookText() const
{
    const auto duration = m_engine->lastRefreshDuration();
    if (m_engine->isLoading() || !m_engine->lastRefreshed() || !duration)
        return {};
    return u"Took "_s + Formatting::formatDuration(*duration);
}

bool DashboardModel::isFillingHistory() const
{
    return m_engine->isLoadingHistoricalGap();
}

void DashboardModel::tryDemo()
{
    m_engine->addDemoAccount();
}

void DashboardModel::removeDemo()
{
    m_engine->removeDemoAccounts();
}

void DashboardModel::keepDemo()
{
    m_demoKept = true;
    Q_EMIT changed();
}

bool DashboardModel::hasAccounts() const
{
    return !m_engine->accounts().isEmpty();
}

bool DashboardModel::showsDemo() const
{
    return m_engine->showsDemo();
}

bool DashboardModel::offersDemoRemoval() const
{
    const QList<Account> &accounts = m_engine->accounts();
    const bool demo = std::any_of(accounts.cbegin(), accounts.cend(), [](const Account &a) { return a.isDemo(); });
    return demo && m_engine->hasOwnAccounts() && !m_demoKept;
}

QString DashboardModel::accountFilterLabel() const
{
    return DashboardLogic::accountFilterLabel(m_engine->accounts(), m_engine->selectedAccountFilter());
}

QString DashboardModel::rangeLabel() const
{
    return Formatting::rangeMenuLabel(m_engine->preferences().selectedRange);
}

bool DashboardModel::isCustomRange() const
{
    return m_engine->preferences().selectedRange == TimeRange::Custom;
}

bool DashboardModel::isRangeDataIncomplete() const
{
    const Preferences &p = m_engine->preferences();
    return DashboardLogic::isRangeDataIncomplete(p.selectedRange, p.customRangeStart, m_engine->isLoadingHistoricalGap(),
                                                 m_engine->now(), m_engine->calendar());
}

bool DashboardModel::rangeHasHistoricalLimit() const
{
    const Preferences &p = m_engine->preferences();
    return DashboardLogic::rangeHasHistoricalLimit(p.selectedRange, p.customRangeStart, m_engine->now(),
                                                   m_engine->calendar());
}

int DashboardModel::feedCount() const
{
    return static_cast<int>(m_engine->filteredFeedIndices().size());
}

QString DashboardModel::notesText() const
{
    QStringList lines;
    for (const FileDamage &damage : m_engine->damagedFiles())
        lines.append(DamagedFiles::describe(damage));
    lines.append(Formatting::unconvertedNotes(m_engine->feed(), m_engine->filteredFeedIndices()));
    lines.append(Formatting::skippedRecordNotes(m_engine->skippedRecords(), m_engine->accounts()));
    return lines.join(u'\n');
}

QString DashboardModel::lastError() const
{
    return m_engine->lastError().value_or(QString());
}

ErrorSummary DashboardModel::error() const
{
    QHash<QString, QString> providers;
    for (const Account &account : m_engine->accounts())
        providers.insert(account.name, account.provider == AccountProvider::PayPal ? u"PayPal"_s : u"Stripe"_s);
    return summarizeError(lastError(), providers);
}

QString DashboardModel::errorSummary() const
{
    return error().summary;
}

QString DashboardModel::errorDetails() const
{
    return error().details;
}

QString DashboardModel::errorActionText() const
{
    return error().accountToEdit.isEmpty() ? u"Try again"_s : u"Edit account"_s;
}

void DashboardModel::actOnError()
{
    const QString name = error().accountToEdit;
    for (const Account &account : m_engine->accounts())
        if (!name.isEmpty() && account.name == name && !account.isDemo()) {
            Q_EMIT accountEditRequested(account.id);
            return;
        }
    refresh();
}

QString DashboardModel::feedEmptyText() const
{
    // Other accounts have events: this one's emptiness is the news, not a missing load.
    if (m_engine->selectedAccountFilter() && !m_engine->feed().isEmpty())
        return u"No activity for %1 in this range"_s.arg(accountFilterLabel());
    if (m_engine->isLoading())
        return u"No events yet — pulling…"_s;
    if (m_engine->lastError())
        return u"No events loaded."_s;
    return m_engine->lastRefreshed() ? u"No events yet."_s : u"No events yet — pulling…"_s;
}

bool DashboardModel::privacyMode() const
{
    return m_engine->preferences().privacyMode;
}

QString DashboardModel::privacySymbol() const
{
    return privacyMode() ? u"eye.slash.fill"_s : u"eye"_s;
}

QString DashboardModel::privacyTooltip() const
{
    return privacyMode() ? u"Privacy mode ON — numbers hidden. Click to show."_s
                         : u"Privacy mode — hide all $ amounts for screenshots."_s;
}

bool DashboardModel::hasAtRisk() const
{
    return m_engine->atRiskMonthlyTotalUSD() > 0;
}

QString DashboardModel::atRiskLine() const
{
    const qsizetype n = m_engine->atRiskSubs().size();
    return u"At risk \u00B7 %1 subscription%2"_s.arg(QString::number(n), n == 1 ? QString() : u"s"_s);
}

QString DashboardModel::atRiskAmountLine() const
{
    return Formatting::formatMoney(m_engine->atRiskMonthlyTotalUSD(), m_engine->preferences())
           + u"/mo potentially recoverable"_s;
}

QString DashboardModel::atRiskTooltip() const
{
    return u"At risk %1 subscriptions \u00B7 %2/mo recoverable"_s.arg(
        QString::number(m_engine->atRiskSubs().size()),
        Formatting::formatMoney(m_engine->atRiskMonthlyTotalUSD(), m_engine->preferences()));
}

void DashboardModel::savePreferences(const std::function<void(Preferences &)> &edit)
{
    Preferences p = m_engine->preferences();
    edit(p);
    m_engine->setPreferences(p);
}

void DashboardModel::togglePrivacy()
{
    savePreferences([](Preferences &p) { p.privacyMode = !p.privacyMode; });
}

void DashboardModel::refresh()
{
    m_engine->triggerRefresh();
}

void DashboardModel::cancelRefresh()
{
    m_engine->cancelCurrentRefresh();
}

void DashboardModel::selectRange(TimeRange range)
{
    savePreferences([range](Preferences &p) { p.selectedRange = range; });
}

void DashboardModel::setCustomRange(QDate start, QDate end)
{
    const TimeContext &calendar = m_engine->calendar();
    const QDate today = calendar.local(m_engine->now()).date();
    start = std::min(start, today);
    end = std::clamp(end, start, today);
    savePreferences([&](Preferences &p) {
        p.customRangeStart = Date::fromDateTime(start.startOfDay(calendar.zone()));
        p.customRangeEnd = Date::fromDateTime(end.startOfDay(calendar.zone()));
    });
}
