// Loading one account's provider activity into events.
#include "RevenueEngine.h"

#include "engine/PayPalEvents.h"
#include "engine/StripeClassifier.h"
#include "icons/IconCache.h"
#include "paypal/PayPalClient.h"
#include "stripe/StripeClient.h"

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

} // namespace

QCoro::Task<Result<StripeLoad, QString>> RevenueEngine::loadFromStripe(Account account, Date since, CancellationToken token)
{
    QPointer<RevenueEngine> self(this);
    startIconCaching(account);
    const StripeClient client(account, m_env.endpoints.stripeApi);
    StripeLoad load;

    // Both start now and run side by side; a failed charge listing only means no charges.
    auto invoicesTask = client.fetchPaidInvoices(since, token);
    auto chargesTask = client.fetchStandaloneCharges(since, token);
    auto invoices = co_await invoicesTask;
    auto charges = co_await chargesTask;
    if (!self || token.isCancelled())
        co_return cancelledText();
    if (!invoices.ok())
        co_return invoices.error().description();
    load.loadedKinds << RevenueKind::New << RevenueKind::Recurring;
    const QList<SucceededChargeEvent> standalone = charges.ok() ? charges.value() : QList<SucceededChargeEvent>{};

    auto cancellations = co_await client.fetchSubscriptionCancellations(since, token);
    if (!self || token.isCancelled())
        co_return cancelledText();
    if (cancellations.ok()) {
        load.loadedKinds << RevenueKind::Churn;
    } else if (isScopeRefusal(cancellations.error())) {
        markMissingEventScope(account.id);
    } else if (cancellations.error().kind() == StripeError::Kind::Http) {
        assign(m_lastError,
               std::optional<QString>(u"[%1] churn fetch HTTP %2: %3"_s.arg(account.name)
                                          .arg(cancellations.error().status())
                                          .arg(cancellations.error().body().left(140))),
               &RevenueEngine::lastErrorChanged);
    } else {
        assign(m_lastError,
               std::optional<QString>(u"[%1] churn fetch: %2"_s.arg(account.name, cancellations.error().description())),
               &RevenueEngine::lastErrorChanged);
    }

    const Preferences prefs = m_preferences;
    for (const RawInvoice &invoice : invoices.value()) {
        PaymentEvent event = StripeClassifier::fromPaidInvoice(invoice, account);
        const bool keep = event.kind == RevenueKind::New ? prefs.showNewSubscriptions && prefs.showCaptured : prefs.showCaptured;
        if (keep)
            load.events.append(std::move(event));
    }

    // A subscription payment appears both as the paid invoice and as its charge; only the
    // invoice counts. Charges the objects themselves cannot place are asked about.
    QSet<QString> paying = StripeClassifier::chargesPayingInvoices(standalone, invoices.value());
    const QSet<QString> resolved = co_await resolveInvoiceLinks(client, standalone, paying, token);
    if (!self || token.isCancelled())
        co_return cancelledText();
    paying.unite(resolved);
    load.supersededEventIds = paying;

    if (prefs.showCaptured) {
        for (const SucceededChargeEvent &charge : standalone) {
            if (paying.contains(charge.charge.id) || charge.charge.amount.value_or(0) <= 0)
                continue;
            load.events.append(StripeClassifier::fromStandaloneCharge(charge, account));
        }
    }
    if (prefs.showCanceledSubscriptions && cancellations.ok())
        for (const SubscriptionCancellation &c : cancellations.value())
            load.events.append(StripeClassifier::fromCancellation(c, account));

    if (prefs.showFailed) {
        auto failed = co_await client.fetchFailedPayments(since, token);
        if (!self || token.isCancelled())
            co_return cancelledText();
        if (failed.ok()) {
            load.loadedKinds << RevenueKind::Failed;
            for (const FailedPaymentEvent &f : failed.value())
                load.events.append(StripeClassifier::fromFailedPayment(f, account));
        } else if (isScopeRefusal(failed.error())) {
            markMissingEventScope(account.id);
        }
    }
    if (prefs.showRefunds) {
        auto refunds = co_await client.fetchRefunds(since, token);
        if (!self || token.isCancelled())
            co_return cancelledText();
        if (refunds.ok()) {
            load.loadedKinds << RevenueKind::Refund;
            for (const RefundEvent &r : refunds.value())
                load.events.append(StripeClassifier::fromRefund(r, account));
        } else if (isScopeRefusal(refunds.error())) {
            markMissingEventScope(account.id);
        }
    }
    co_return load;
}

QCoro::Task<QSet<QString>> RevenueEngine::resolveInvoiceLinks(StripeClient client, QList<SucceededChargeEvent> charges,
                                                               QSet<QString> alreadyPaying, CancellationToken token)
{
    QPointer<RevenueEngine> self(this);
    QSet<QString> paying;
    QList<QString> toAsk; // payment intents
    QHash<QString, QString> chargeByIntent;
    for (const SucceededChargeEvent &event : charges) {
        const RawCharge &c = event.charge;
        // A charge of the older shape says itself whether it paid an invoice.
        if (alreadyPaying.contains(c.id) || c.carriesInvoiceLink || !c.payment_intent || c.payment_intent->isEmpty()
            || c.amount.value_or(0) <= 0)
            continue;
        if (auto known = m_invoiceLinks.constFind(*c.payment_intent); known != m_invoiceLinks.cend()) {
            if (*known)
                paying.insert(c.id);
            continue;
        }
        chargeByIntent.insert(*c.payment_intent, c.id);
        if (toAsk.size() < maxInvoiceLinkLookups)
            toAsk.append(*c.payment_intent);
    }
    // At most a handful of extra requests per load, in parallel; what is left waits for the
    // next cycle's window, whose overlap sees these charges again.
    std::vector<QCoro::Task<Result<std::optional<QString>, StripeError>>> lookups;
    for (const QString &intent : std::as_const(toAsk))
        lookups.push_back(client.fetchInvoiceIdForPaymentIntent(intent, token));
    for (std::size_t i = 0; i < lookups.size(); ++i) {
        auto answer = co_await lookups[i];
        if (!self || token.isCancelled())
            co_return paying;
        if (!answer.ok())
            continue; // unknown: counted as a sale for now, asked again next time
        m_invoiceLinks.insert(toAsk[i], answer.value());
        if (answer.value())
            paying.insert(chargeByIntent.value(toAsk[i]));
    }
    co_return paying;
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
    m_iconCache->start(account);
}

QCoro::Task<Result<QList<PaymentEvent>, QString>> RevenueEngine::loadFromPayPal(Account account, Date since,
                                                                                 CancellationToken token)
{
    QPointer<RevenueEngine> self(this);
    const PayPalClient client(account, m_env.endpoints.paypalLive, m_env.endpoints.paypalSandbox);
    auto transactions = co_await client.fetchTransactions(since, now(), token);
    if (!self || token.isCancelled())
        co_return cancelledText();
    if (!transactions.ok())
        co_return transactions.error().description();
    co_return paypalEvents(transactions.value(), account);
}
