// The at-risk run: every enabled Stripe account's failing subscriptions, listed per status
// at once, valued per month and sorted for the at-risk pane.
#include "AtRiskRefresh.h"

#include "RevenueEngine.h"
#include "model/CurrencyConverter.h"
#include "stripe/StripeSource.h"

using namespace Qt::StringLiterals;

namespace AtRiskRefresh {

std::optional<AtRiskKind> kindOf(QStringView status)
{
    if (status == u"past_due")
        return AtRiskKind::PastDue;
    if (status == u"unpaid")
        return AtRiskKind::Unpaid;
    if (status == u"incomplete")
        return AtRiskKind::Incomplete;
    return std::nullopt;
}

Date sinceDate(const ExpandedSubscription &sub, AtRiskKind kind, Date now)
{
    // Not current_period_end: Stripe keeps it in the future while a period goes unpaid.
    std::optional<qint64> seconds;
    if (const auto &invoice = sub.latest_invoice) {
        if (kind == AtRiskKind::PastDue)
            seconds = invoice->next_payment_attempt;
        if (!seconds && invoice->charge)
            seconds = invoice->charge->created;
        if (!seconds)
            seconds = invoice->due_date;
        if (!seconds)
            seconds = invoice->created;
    }
    if (!seconds)
        seconds = sub.created;
    if (!seconds)
        seconds = now.unixSecondsTruncated();
    return Date::fromUnix(double(*seconds));
}

std::optional<AtRiskSub> atRisk(const ExpandedSubscription &sub, const Account &account, QStringView status, Date now)
{
    const std::optional<AtRiskKind> kind = kindOf(status);
    const double monthly = sub.approximateMonthlyAmount();
    if (!kind || !(monthly > 0))
        return std::nullopt;
    AtRiskSub record;
    record.id = sub.id;
    record.accountId = account.id;
    record.accountName = account.name;
    if (sub.customer) {
        record.customerEmail = sub.customer->email;
        record.customerName = sub.customer->name;
    }
    record.planLabel = sub.planLabel();
    record.monthlyAmount = monthly;
    record.currency = sub.currency;
    record.monthlyUSD = CurrencyConverter::toUSD(monthly, sub.currency.toLower());
    record.kind = *kind;
    record.sinceDate = sinceDate(sub, *kind, now);
    if (sub.latest_invoice)
        record.latestInvoiceId = sub.latest_invoice->id;
    if (const auto link = RevenueEngine::stripeURL(account, u"subscriptions/"_s + sub.id))
        record.dashboardURL = QUrl(*link);
    return record;
}

QHash<QString, RetryOutcome> keptRetryResults(const QHash<QString, RetryOutcome> &results,
                                              const QList<AtRiskSub> &before, const QList<AtRiskSub> &after)
{
    const auto invoiceOf = [](const QList<AtRiskSub> &subs, const QString &id) -> std::optional<std::optional<QString>> {
        for (const AtRiskSub &s : subs)
            if (s.id == id)
                return s.latestInvoiceId;
        return std::nullopt;
    };
    QHash<QString, RetryOutcome> kept;
    for (auto it = results.cbegin(); it != results.cend(); ++it) {
        const auto listed = invoiceOf(after, it.key());
        const auto shown = invoiceOf(before, it.key());
        if (listed && (!shown || *shown == *listed))
            kept.insert(it.key(), it.value());
    }
    return kept;
}

void sortForDisplay(QList<AtRiskSub> &subs)
{
    std::stable_sort(subs.begin(), subs.end(), [](const AtRiskSub &a, const AtRiskSub &b) {
        if (a.kind != b.kind)
            return a.kind < b.kind;
        return a.monthlyUSD > b.monthlyUSD;
    });
}

double monthlyTotalUSD(const QList<AtRiskSub> &subs)
{
    double total = 0;
    for (const AtRiskSub &s : subs)
        total += s.monthlyUSD;
    return total;
}

QList<Account> accountsToScan(const QList<Account> &accounts)
{
    QList<Account> out;
    for (const Account &a : accounts)
        if (a.enabled && a.hasStripeRecords())
            out.append(a);
    return out;
}

} // namespace AtRiskRefresh

// What one run's listings report. It lives in the run's frame, and the run awaits every
// listing before it ends, so none outlives it.
struct RevenueEngine::AtRiskListings
{
    QList<AtRiskSub> collected;
    QHash<QString, QString> failed; // by account id: what a listing of it said
    int done = 0;
};

QCoro::Task<> RevenueEngine::runAtRiskRefresh(CancellationToken token)
{
    QList<Account> accounts = AtRiskRefresh::accountsToScan(m_accounts);
    const double monotonicNow = m_env.clock->monotonicSeconds();
    accounts.removeIf([&](const Account &a) { return !m_atRiskBackoff.isDue(a.id.toString(), monotonicNow); });
    if (accounts.isEmpty() || m_isLoadingAtRisk || !m_credentialsReady)
        co_return;
    QPointer<RevenueEngine> self(this);
    assign(m_isLoadingAtRisk, true, &RevenueEngine::isLoadingAtRiskChanged);
    co_await refreshAtRiskSubs(accounts, token);
    if (self)
        assign(m_isLoadingAtRisk, false, &RevenueEngine::isLoadingAtRiskChanged);
}

QCoro::Task<> RevenueEngine::listAtRisk(QPointer<RevenueEngine> engine, Account account, QString status,
                                        CancellationToken token, AtRiskListings *listings)
{
    QList<AtRiskSub> found;
    if (engine) {
        const std::shared_ptr<const StripeSource> source = engine->stripeSource(account);
        auto reply = co_await source->fetchSubscriptionsByStatus(status, token);
        // A failed listing adds nothing; it is reported, and its account waits before the next try.
        if (engine && !reply.ok())
            listings->failed.insert(account.id.toString(),
                                    u"[%1] At-risk subscriptions not listed: %2"_s.arg(account.name, reply.error().description()));
        if (engine && reply.ok()) {
            const Date now = engine->now();
            for (const ExpandedSubscription &sub : reply.value())
                if (auto record = AtRiskRefresh::atRisk(sub, account, status, now))
                    found.append(std::move(*record));
        }
    }
    listings->collected.append(std::move(found));
    ++listings->done;
    if (engine && !token.isCancelled())
        engine->assign(engine->m_atRiskRefreshDone, listings->done, &RevenueEngine::atRiskRefreshDoneChanged);
}

QCoro::Task<> RevenueEngine::refreshAtRiskSubs(QList<Account> accounts, CancellationToken token)
{
    QPointer<RevenueEngine> self(this);
    assign(m_atRiskRefreshTotal, int(accounts.size() * AtRiskRefresh::statuses.size()),
           &RevenueEngine::atRiskRefreshTotalChanged);
    assign(m_atRiskRefreshDone, 0, &RevenueEngine::atRiskRefreshDoneChanged);
    AtRiskListings listings;
    std::vector<QCoro::Task<>> running;
    for (const Account &account : std::as_const(accounts))
        for (const QString &status : AtRiskRefresh::statuses)
            running.push_back(listAtRisk(self, account, status, token, &listings));
    for (const QCoro::Task<> &listing : running)
        co_await listing;
    if (!self || token.isCancelled())
        co_return;
    const std::optional<QString> reported = m_atRiskBackoff.text();
    for (const Account &account : std::as_const(accounts)) {
        const QString id = account.id.toString();
        const auto failed = listings.failed.constFind(id);
        m_atRiskBackoff.record(id, failed == listings.failed.cend() ? std::nullopt : std::optional(*failed),
                               m_env.clock->monotonicSeconds());
    }
    if (m_atRiskBackoff.text() != reported)
        Q_EMIT lastErrorChanged();
    // An account removed or disabled while it was listed shows nothing.
    const QList<Account> scanned = AtRiskRefresh::accountsToScan(m_accounts);
    listings.collected.removeIf([&](const AtRiskSub &sub) {
        return std::none_of(scanned.cbegin(), scanned.cend(), [&](const Account &a) { return a.id == sub.accountId; });
    });
    AtRiskRefresh::sortForDisplay(listings.collected);
    QHash<QString, RetryOutcome> kept = AtRiskRefresh::keptRetryResults(m_retryResults, m_atRiskSubs, listings.collected);
    assign(m_atRiskSubs, listings.collected, &RevenueEngine::atRiskSubsChanged);
    assign(m_retryResults, std::move(kept), &RevenueEngine::retryResultsChanged);
}

double RevenueEngine::atRiskMonthlyTotalUSD() const
{
    return AtRiskRefresh::monthlyTotalUSD(m_atRiskSubs);
}
