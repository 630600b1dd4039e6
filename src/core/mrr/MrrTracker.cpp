#include "MrrTracker.h"

#include "model/CurrencyConverter.h"
#include "mrr/MrrGoal.h"
#include "mrr/MrrHistory.h"
#include "mrr/MrrMath.h"
#include "mrr/MrrSnapshots.h"
#include "mrr/MrrSource.h"
#include "mrr/PayPalMrr.h"

#include <QPointer>

using namespace Qt::StringLiterals;

struct MrrTracker::Inputs
{
    QHash<QUuid, MrrListing> listings; // by Stripe account, as last listed
    QSet<QUuid> attempted;             // accounts listed at least once, whatever came of it
    QList<PaymentEvent> paypalEvents;
    QList<MrrSnapshot> snapshots;
    qsizetype accounts = 0; // enabled accounts measured: without any there is no day to record
};

MrrTracker::MrrTracker(MrrEnvironment environment, QObject *parent)
    : QObject(parent)
    , m_env(std::move(environment))
    , m_inputs(std::make_unique<Inputs>())
{
    m_inputs->snapshots = m_env.storage.loadMrrSnapshots(&m_damaged);
    for (const FileDamage &damage : std::as_const(m_damaged))
        if (damage.blocksWrites)
            m_env.storage.holdWrites(damage.file, damage.reason);
    m_state.snapshots = m_inputs->snapshots;
    // Until the first listing, the last snapshot is the best figure there is.
    if (!m_inputs->snapshots.isEmpty()) {
        const MrrSnapshot &last = m_inputs->snapshots.last();
        m_state.summary.mrrUsd = last.mrrUsd;
        m_state.summary.arrUsd = 12.0 * last.mrrUsd;
        m_state.summary.activeCustomers = last.activeCustomers;
        m_state.summary.arpaUsd = last.activeCustomers > 0 ? last.mrrUsd / last.activeCustomers : 0;
        m_state.summary.approximate = last.approximate;
        m_state.months = MrrSnapshots::months(m_inputs->snapshots, m_env.clock->now(), m_env.calendar, historyMonths);
    }
}

MrrTracker::~MrrTracker() = default;

QString MrrTracker::label(QStringView displayCurrency) const
{
    const QString figure = CurrencyConverter::formatCompact(m_state.summary.mrrUsd, displayCurrency);
    return m_state.summary.approximate ? u"~"_s + figure : figure;
}

void MrrTracker::setSettings(const MrrSettings &settings)
{
    if (settings == m_settings)
        return;
    m_settings = settings;
    recompute();
}

void MrrTracker::startRefresh(const QList<Account> &accounts, const QList<PaymentEvent> &paypalEvents, bool force)
{
    m_tasks.start([&](CancellationToken token) { return refresh(accounts, paypalEvents, force, token); });
}

QCoro::Task<> MrrTracker::refresh(QList<Account> accounts, QList<PaymentEvent> paypalEvents, bool force,
                                  CancellationToken token)
{
    QPointer<MrrTracker> self(this);
    QSet<QUuid> paypalAccounts;
    QList<Account> stripeAccounts;
    for (const Account &account : std::as_const(accounts)) {
        if (!account.enabled)
            continue;
        if (account.hasStripeRecords())
            stripeAccounts.append(account);
        else
            paypalAccounts.insert(account.id);
    }
    m_inputs->accounts = stripeAccounts.size() + paypalAccounts.size();
    paypalEvents.removeIf([&paypalAccounts](const PaymentEvent &e) { return !paypalAccounts.contains(e.accountId); });
    m_inputs->paypalEvents = std::move(paypalEvents);
    // Accounts gone or disabled take their subscriptions with them at once.
    QSet<QUuid> listed;
    for (const Account &account : std::as_const(stripeAccounts))
        listed.insert(account.id);
    m_inputs->listings.removeIf([&listed](const auto &entry) { return !listed.contains(entry.key()); });

    const double monotonic = m_env.clock->monotonicSeconds();
    bool missing = false;
    for (const Account &account : std::as_const(stripeAccounts))
        missing = missing || !m_inputs->attempted.contains(account.id);
    const bool stale = !m_listedAt || monotonic - *m_listedAt >= minimumListingSeconds;
    if (m_listingRunning || (!force && !stale && !missing) || !m_env.stripeSource) {
        recompute();
        co_return;
    }

    m_listingRunning = true;
    setLoading(true, m_state.lastError);
    // A year of paid invoices covers twelve months of periods, the yearly ones included.
    const Date since = m_env.calendar.startOfMonth(m_env.clock->now()).addingSeconds(-366.0 * 86400.0);
    QStringList errors;
    for (const Account &account : std::as_const(stripeAccounts)) {
        m_inputs->attempted.insert(account.id);
        auto source = m_env.stripeSource(account);
        auto listing = co_await MrrSource::load(source, account.id, since, token);
        if (!self || token.isCancelled()) {
            if (self)
                m_listingRunning = false;
            co_return;
        }
        if (listing)
            m_inputs->listings.insert(account.id, std::move(listing).value());
        else
            errors.append(u"[%1] %2"_s.arg(account.name, listing.error()));
    }
    m_listingRunning = false;
    m_listedAt = monotonic;
    setLoading(false, errors.isEmpty() ? std::nullopt : std::optional<QString>(errors.join(u" · "_s)));
    recompute();
}

void MrrTracker::setLoading(bool loading, std::optional<QString> error)
{
    if (m_state.isLoading == loading && m_state.lastError == error)
        return;
    m_state.isLoading = loading;
    m_state.lastError = std::move(error);
    Q_EMIT stateChanged();
}

void MrrTracker::recompute()
{
    const Date now = m_env.clock->now();
    MrrState state = m_state;
    if (m_inputs->listings.isEmpty() && m_inputs->paypalEvents.isEmpty() && !m_listedAt) {
        state.goal = MrrGoal::eta(m_settings.goalUsd, state.summary.mrrUsd, state.months, m_settings.displayCurrency);
        if (!(state == m_state)) {
            m_state = std::move(state);
            Q_EMIT stateChanged();
        }
        return;
    }
    QList<MrrSubscription> subscriptions;
    QHash<QString, QList<MrrInvoiceLine>> lines;
    for (const MrrListing &listing : std::as_const(m_inputs->listings)) {
        subscriptions.append(listing.subscriptions);
        for (auto it = listing.lines.cbegin(); it != listing.lines.cend(); ++it)
            lines[it.key()].append(it.value());
    }
    // With Stripe accounts of which none could be listed, what the snapshots saw is all
    // there is: better than a year of zeros.
    if (m_inputs->listings.isEmpty() && !m_inputs->attempted.isEmpty()) {
        if (m_inputs->snapshots.isEmpty())
            return;
        const MrrSnapshot &last = m_inputs->snapshots.last();
        state.months = MrrSnapshots::months(m_inputs->snapshots, now, m_env.calendar, historyMonths);
        state.monthMovements.clear();
        state.summary = MrrSummary{last.mrrUsd, 12.0 * last.mrrUsd, 0, last.activeCustomers,
                                   last.activeCustomers > 0 ? last.mrrUsd / last.activeCustomers : 0, 0, 0, last.approximate};
        state.goal = MrrGoal::eta(m_settings.goalUsd, state.summary.mrrUsd, state.months, m_settings.displayCurrency);
        if (!(state == m_state)) {
            m_state = std::move(state);
            Q_EMIT stateChanged();
        }
        return;
    }
    const MrrHistory::Rebuilt rebuilt = MrrHistory::rebuild(subscriptions, lines, now, m_env.calendar,
                                                            m_settings.countTrials, historyMonths);
    state.months = rebuilt.months;
    state.monthMovements = rebuilt.monthMovements;
    state.summary = rebuilt.summary;

    // PayPal has no history to rebuild: its estimate counts in today's figures only.
    const QList<MrrSubscription> paypal = PayPalMrr::estimate(m_inputs->paypalEvents, now);
    if (!paypal.isEmpty()) {
        const MrrMath::CustomerMrr estimated = MrrMath::customerMrr(paypal, now, false);
        state.summary.mrrUsd += MrrMath::total(estimated);
        state.summary.arrUsd = 12.0 * state.summary.mrrUsd;
        state.summary.activeCustomers += MrrMath::activeCustomers(estimated);
        state.summary.arpaUsd = state.summary.activeCustomers > 0 ? state.summary.mrrUsd / state.summary.activeCustomers : 0;
        state.summary.approximate = true;
    }
    state.goal = MrrGoal::eta(m_settings.goalUsd, state.summary.mrrUsd, state.months, m_settings.displayCurrency);
    state.updatedAt = now;

    const double before = m_inputs->snapshots.isEmpty() ? state.summary.mrrUsd : m_inputs->snapshots.last().mrrUsd;
    const MrrSnapshot today{m_env.calendar.startOfDay(now), state.summary.mrrUsd, state.summary.activeCustomers,
                            state.summary.approximate};
    const bool recorded = std::any_of(m_inputs->snapshots.cbegin(), m_inputs->snapshots.cend(),
                                      [&today](const MrrSnapshot &s) { return s == today; });
    if (m_inputs->accounts > 0 && !recorded) {
        QList<MrrSnapshot> snapshots = MrrSnapshots::record(m_inputs->snapshots, today);
        const Storage::Saved saved = m_env.storage.saveMrrSnapshots(snapshots);
        m_inputs->snapshots = std::move(snapshots);
        if (!saved)
            state.lastError = u"Could not save %1: %2"_s.arg(QString::fromLatin1(Storage::mrrSnapshotsFile), saved.error());
    }
    state.snapshots = m_inputs->snapshots;
    const bool reached = MrrGoal::crossed(m_settings.goalUsd, before, state.summary.mrrUsd);
    if (!(state == m_state)) {
        m_state = std::move(state);
        Q_EMIT stateChanged();
    }
    if (reached)
        Q_EMIT goalReached(m_settings.goalUsd);
}
