#include "GapFill.h"

#include "engine/RevenueEngine.h"
#include "model/CurrencyConverter.h"

using namespace Qt::StringLiterals;

namespace GapFill {
namespace {

// Only the events query reaches the last 30 days; a day's margin keeps the two loaders'
// windows apart.
constexpr int recentDays = 31;

QString firstPresent(std::initializer_list<std::optional<QString>> candidates)
{
    for (const auto &c : candidates)
        if (c && !c->isEmpty())
            return *c;
    return u"Payment"_s;
}

} // namespace

std::optional<Window> window(Date now, const TimeContext &calendar, int lookbackDays)
{
    const Window w{calendar.addingDays(now, -lookbackDays), calendar.addingDays(now, -recentDays)};
    if (!(w.start < w.end))
        return std::nullopt;
    return w;
}

std::optional<HistoricalEvent> fromCharge(const RawCharge &charge, const Account &account,
                                          const InvoiceLinking::Links &links, Date now)
{
    // The refunds of these days are not loaded as events, so the charge counts net of them.
    const qint64 kept = charge.amount.value_or(0) - std::max<qint64>(charge.amount_refunded.value_or(0), 0);
    const double amount = CurrencyConverter::fromMinorUnits(kept, charge.currency);
    if (!(amount > 0))
        return std::nullopt;
    std::optional<QString> invoiceId;
    if (charge.invoice && !charge.invoice->isEmpty())
        invoiceId = charge.invoice;
    else if (auto linked = links.constFind(charge.id); linked != links.cend() && !linked->isEmpty())
        invoiceId = *linked;

    PaymentEvent e;
    e.id = charge.id;
    e.kind = invoiceId ? RevenueKind::Recurring : RevenueKind::New;
    e.date = charge.created ? Date::fromUnix(static_cast<double>(*charge.created)) : now;
    e.amount = amount;
    e.currency = charge.currency;
    e.usdAmount = CurrencyConverter::toUSD(amount, charge.currency.toLower());
    e.accountId = account.id;
    e.accountName = account.name;
    const auto billing = charge.billing_details.value_or(RawCharge::BillingDetails{});
    std::optional<QString> plan;
    if (charge.metadata)
        if (auto it = charge.metadata->constFind(u"plan"_s); it != charge.metadata->cend())
            plan = *it;
    e.description = firstPresent({charge.description, plan, billing.name, billing.email});
    e.customerEmail = billing.email;
    e.dashboardURL = RevenueEngine::stripeURL(account, u"payments/"_s + charge.id);
    return HistoricalEvent{std::move(e), invoiceId};
}

QList<PaymentEvent> merge(const QList<PaymentEvent> &feed, const QList<HistoricalEvent> &historical, Date horizon)
{
    QSet<QString> present;
    present.reserve(feed.size() + historical.size());
    for (const PaymentEvent &e : feed)
        present.insert(e.id);
    QList<PaymentEvent> merged;
    merged.reserve(feed.size() + historical.size());
    for (const PaymentEvent &e : feed)
        if (!(e.date < horizon))
            merged.append(e);
    for (const HistoricalEvent &h : historical) {
        if (present.contains(h.event.id) || (h.invoiceId && present.contains(*h.invoiceId)))
            continue;
        present.insert(h.event.id);
        if (!(h.event.date < horizon))
            merged.append(h.event);
    }
    std::stable_sort(merged.begin(), merged.end(), [](const PaymentEvent &a, const PaymentEvent &b) { return a.date > b.date; });
    return merged;
}

} // namespace GapFill
