// The decisions of the at-risk run: valuing, dating and ordering failing subscriptions.
#include "AtRiskRefresh.h"

#include "RevenueEngine.h"
#include "model/CurrencyConverter.h"

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
