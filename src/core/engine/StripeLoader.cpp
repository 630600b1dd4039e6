// Loading one account's provider activity into events.
#include "RevenueEngine.h"

#include "engine/ChurnCustomers.h"
#include "engine/PayPalEvents.h"
#include "engine/InvoiceLinking.h"
#include "engine/StripeClassifier.h"
#include "icons/IconCache.h"
#include "paypal/PayPalClient.h"
#include "stripe/StripeSource.h"

#include <QPointer>

using namespace Qt::StringLiterals;

namespace {

bool isScopeRefusal(const StripeError &error)
{
    return error.kind() == StripeError::Kind::Http && (error.status() == 401 || error.status() == 403);
}

QString cancelledText()
{
    return u"Operation canceled"_s;
}

QList<RawCharge> chargesOf(const QList<SucceededChargeEvent> &events)
{
    QList<RawCharge> charges;
    charges.reserve(events.size());
    for (const SucceededChargeEvent &event : events)
        charges.append(event.charge);
    return charges;
}

} // namespace

QCoro::Task<Result<StripeLoad, QString>> RevenueEngine::loadFromStripe(Account account, Date since, CancellationToken token)
{
    QPointer<RevenueEngine> self(this);
    startIconCaching(account);
    const std::shared_ptr<const StripeSource> client = m_sources.sourceFor(account);
    const Preferences prefs = m_preferences;
    StripeLoad load;

    // Every listing starts now and they run side by side. All are awaited before anything
    // else happens, so no request outlives the load; a failed invoice listing stops the rest.
    const CancellationToken listings = token.linked();
    auto invoicesTask = client->fetchPaidInvoices(since, listings);
    auto chargesTask = client->fetchStandaloneCharges(since, listings);
    auto paymentsTask = client->fetchPaidInvoicePayments(InvoiceLinking::listingStart(since), listings);
    auto cancellationsTask = client->fetchSubscriptionCancellations(since, listings);
    std::optional<StripeClient::Reply<QList<FailedPaymentEvent>>> failedTask;
    if (prefs.showFailed)
        failedTask.emplace(client->fetchFailedPayments(since, listings));
    std::optional<StripeClient::Reply<QList<RefundEvent>>> refundsTask;
    if (prefs.showRefunds)
        refundsTask.emplace(client->fetchRefunds(since, listings));

    const auto invoices = co_await invoicesTask;
    if (!invoices.ok())
        listings.cancel();
    const auto charges = co_await chargesTask;
    const auto payments = co_await paymentsTask;
    const auto cancellations = co_await cancellationsTask;
    std::optional<Result<QList<FailedPaymentEvent>, StripeError>> failed;
    if (failedTask)
        failed = co_await *failedTask;
    std::optional<Result<QList<RefundEvent>, StripeError>> refunds;
    if (refundsTask)
        refunds = co_await *refundsTask;
    if (!self || token.isCancelled())
        co_return cancelledText();
    if (!invoices.ok())
        co_return invoices.error().description();
    load.loadedKinds << RevenueKind::New << RevenueKind::Recurring;
    // Without the charges the totals lack every one-off sale: say so rather than show less.
    if (!charges.ok())
        reportListingFailure(account, u"charges"_s, charges.error());
    const QList<SucceededChargeEvent> standalone = charges.ok() ? charges.value() : QList<SucceededChargeEvent>{};

    // A subscription payment appears both as the paid invoice and as its charge; only the
    // invoice counts. The links come first, since they may take more requests and nothing of
    // the engine is touched before the last answer is in.
    const InvoiceLinking::Outcome linked =
        co_await InvoiceLinking::link(client, chargesOf(standalone), invoices.value(), payments, token);
    if (!self || token.isCancelled())
        co_return cancelledText();
    QSet<QString> paying;
    for (const SucceededChargeEvent &event : standalone)
        if (linked.links.contains(event.charge.id))
            paying.insert(event.charge.id);
    // When the links fail, the invoices still count and so does every charge whose own shape
    // says it is a sale; the current-shape charges that cannot be told from a subscription
    // payment wait, and the account asks again from the same point next time.
    const bool chargesWait = linked.failure && std::any_of(standalone.begin(), standalone.end(), [&](const auto &event) {
        return InvoiceLinking::isUnplaced(event.charge, linked.links);
    });
    if (chargesWait) {
        reportListingFailure(account, u"invoice payments"_s, *linked.failure);
        load.askAgainFromSameStart = true;
    }
    // A key refused the invoice payments keeps the links the older object shape carries, and
    // the account is flagged so the user learns why totals may be high.
    if (linked.refused)
        markMissingEventScope(account.id);
    load.supersededEventIds = paying;

    if (cancellations.ok()) {
        load.loadedKinds << RevenueKind::Churn;
    } else if (isScopeRefusal(cancellations.error())) {
        markMissingEventScope(account.id);
    } else if (cancellations.error().kind() == StripeError::Kind::Http) {
        assign(m_lastError,
               std::optional<QString>(u"[%1] churn fetch HTTP %2: %3"_s.arg(account.name,
                                                                             QString::number(cancellations.error().status()),
                                                                             cancellations.error().body().left(140))),
               &RevenueEngine::lastErrorChanged);
    } else {
        assign(m_lastError,
               std::optional<QString>(u"[%1] churn fetch: %2"_s.arg(account.name, cancellations.error().description())),
               &RevenueEngine::lastErrorChanged);
    }

    for (const RawInvoice &invoice : invoices.value()) {
        PaymentEvent event = StripeClassifier::fromPaidInvoice(invoice, account);
        const bool keep = event.kind == RevenueKind::New ? prefs.showNewSubscriptions && prefs.showCaptured : prefs.showCaptured;
        if (keep)
            load.events.append(std::move(event));
    }

    if (prefs.showCaptured) {
        for (const SucceededChargeEvent &charge : standalone) {
            if (paying.contains(charge.charge.id) || charge.charge.amount.value_or(0) <= 0)
                continue;
            if (chargesWait && !charge.charge.carriesInvoiceLink)
                continue;
            load.events.append(StripeClassifier::fromStandaloneCharge(charge, account));
        }
    }
    if (prefs.showCanceledSubscriptions && cancellations.ok()) {
        co_await lookUpChurnCustomers(account, client, cancellations.value(), token);
        if (!self || token.isCancelled())
            co_return cancelledText();
        for (const SubscriptionCancellation &c : cancellations.value()) {
            PaymentEvent event = StripeClassifier::fromCancellation(c, account);
            ChurnCustomers::describe(event, c.subscription, churnCustomer(account.id, c.subscription.customer));
            load.events.append(std::move(event));
        }
    }

    if (failed && failed->ok()) {
        load.loadedKinds << RevenueKind::Failed;
        for (const FailedPaymentEvent &f : failed->value())
            load.events.append(StripeClassifier::fromFailedPayment(f, account));
    } else if (failed && isScopeRefusal(failed->error())) {
        markMissingEventScope(account.id);
    }
    if (refunds && refunds->ok()) {
        load.loadedKinds << RevenueKind::Refund;
        for (const RefundEvent &r : refunds->value())
            load.events.append(StripeClassifier::fromRefund(r, account));
    } else if (refunds && isScopeRefusal(refunds->error())) {
        markMissingEventScope(account.id);
    }
    load.skippedRecords = client->skippedRecords();
    co_return load;
}

void RevenueEngine::reportListingFailure(const Account &account, const QString &listing, const StripeError &error)
{
    // A key without the permission is what the missing-scope flag tells; anything else is a line.
    if (isScopeRefusal(error)) {
        markMissingEventScope(account.id);
        return;
    }
    const QString line = error.kind() == StripeError::Kind::Http
        ? u"[%1] %2 fetch HTTP %3: %4"_s.arg(account.name, listing, QString::number(error.status()), error.body().left(140))
        : u"[%1] %2 fetch: %3"_s.arg(account.name, listing, error.description());
    assign(m_lastError, std::optional<QString>(line), &RevenueEngine::lastErrorChanged);
}

void RevenueEngine::markMissingEventScope(const QUuid &accountId)
{
    if (m_missingEventScopeAccounts.contains(accountId))
        return;
    m_missingEventScopeAccounts.insert(accountId);
    Q_EMIT missingEventScopeAccountsChanged();
}

void RevenueEngine::startIconCaching(const Account &account)
{
    if (account.isDemo())
        return; // the demo has no web site, and touches no network
    m_iconCache->start(account);
}

QCoro::Task<Result<StripeLoad, QString>> RevenueEngine::loadFromPayPal(Account account, Date since, CancellationToken token)
{
    QPointer<RevenueEngine> self(this);
    const PayPalClient client(account, m_env.endpoints.paypalLive, m_env.endpoints.paypalSandbox);
    auto transactions = co_await client.fetchTransactions(since, now(), token);
    if (!self || token.isCancelled())
        co_return cancelledText();
    if (!transactions.ok())
        co_return transactions.error().description();
    co_return StripeLoad{paypalEvents(transactions.value(), account), {RevenueKind::Recurring}, {}, client.skippedRecords()};
}
