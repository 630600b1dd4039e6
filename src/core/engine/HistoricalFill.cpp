// The historical gap fill: once per process, after the first successful refresh, the
// 31–90-day range is rebuilt from each enabled Stripe account's succeeded charges.
#include "HistoricalFill.h"

#include "engine/InvoiceLinking.h"
#include "engine/StripeSources.h"
#include "stripe/StripeClient.h"
#include "stripe/StripeSource.h"

#include <QPointer>

using namespace Qt::StringLiterals;

HistoricalFill::HistoricalFill(Neighbours neighbours, const StripeSources &sources, TimeContext calendar,
                               std::shared_ptr<Clock> clock, QObject *parent)
    : QObject(parent)
    , m_neighbours(std::move(neighbours))
    , m_sources(sources)
    , m_calendar(std::move(calendar))
    , m_clock(std::move(clock))
{
}

void HistoricalFill::setLoading(bool loading)
{
    if (m_isLoading == loading)
        return;
    m_isLoading = loading;
    Q_EMIT isLoadingChanged();
}

void HistoricalFill::start()
{
    QList<Account> stripeAccounts;
    for (const Account &a : m_neighbours.accounts())
        if (a.enabled && a.hasStripeRecords()) // the demo business answers like Stripe
            stripeAccounts.append(a);
    // Without a Stripe account the flag stays down, so a later refresh tries again.
    if (stripeAccounts.isEmpty() || m_isLoading)
        return;
    const auto window = GapFill::window(m_clock->now(), m_calendar, deepLookbackDays);
    if (!window) {
        m_filled = true;
        return;
    }
    setLoading(true);
    m_tasks.start([&](CancellationToken token) { return runHistoricalGapFill(stripeAccounts, *window, token); });
}

QCoro::Task<> HistoricalFill::runHistoricalGapFill(QList<Account> accounts, GapFill::Window window,
                                                   CancellationToken token)
{
    QPointer<HistoricalFill> self(this);
    // All accounts' listings run side by side; each is awaited in turn. Charges are linked to
    // the invoices they paid exactly as in the recent load, from the same margin before the
    // window.
    std::vector<StripeClient::Reply<QList<RawCharge>>> fetches;
    std::vector<StripeClient::Reply<QList<RawInvoicePayment>>> linkFetches;
    fetches.reserve(accounts.size());
    linkFetches.reserve(accounts.size());
    // The sources (real or demo) stay alive while their requests run.
    std::vector<std::shared_ptr<const StripeSource>> sources;
    for (const Account &account : std::as_const(accounts)) {
        sources.push_back(m_sources.sourceFor(account));
        fetches.push_back(sources.back()->fetchSucceededChargesHistorical(window.start, window.end, token));
        linkFetches.push_back(sources.back()->fetchPaidInvoicePayments(InvoiceLinking::listingStart(window.start), token));
    }

    struct Loaded
    {
        qsizetype account;
        QList<RawCharge> charges;
        InvoiceLinking::Links links;
    };
    QList<Loaded> loaded;
    for (std::size_t i = 0; i < fetches.size(); ++i) {
        auto charges = co_await fetches[i];
        auto payments = co_await linkFetches[i];
        if (!charges.ok()) // a failing account adds nothing and is not reported
            continue;
        auto linked = co_await InvoiceLinking::link(sources[i], charges.value(), {}, std::move(payments), token);
        // The task is cancelled only when this object goes away.
        if (!self || token.isCancelled())
            co_return;
        // Without the links a subscription payment cannot be told from a sale, so the account
        // adds none of its charges, and says why its older history is missing.
        if (linked.failure) {
            m_neighbours.reportListingFailure(accounts.at(qsizetype(i)), u"invoice payments"_s, *linked.failure);
            continue;
        }
        if (linked.refused)
            m_neighbours.markMissingEventScope(accounts.at(qsizetype(i)).id);
        loaded.append({static_cast<qsizetype>(i), std::move(charges).value(), std::move(linked.links)});
    }
    if (!self || token.isCancelled())
        co_return;

    // From here on nothing suspends: reading the feed and replacing it happen in one step,
    // so a refresh that finished meanwhile is merged, not overwritten.
    const Date current = m_clock->now();
    QList<GapFill::HistoricalEvent> historical;
    for (const Loaded &l : std::as_const(loaded))
        for (const RawCharge &charge : l.charges)
            if (auto event = GapFill::fromCharge(charge, accounts.at(l.account), l.links, current))
                historical.append(std::move(*event));
    m_neighbours.adopt(historical);
    // An account added while this fill ran keeps the fill due for the next refresh.
    const QList<Account> known = m_neighbours.accounts();
    m_filled = std::all_of(known.cbegin(), known.cend(), [&](const Account &a) {
        return !(a.enabled && a.hasStripeRecords())
            || std::any_of(accounts.cbegin(), accounts.cend(), [&](const Account &f) { return f.id == a.id; });
    });
    setLoading(false);
}
