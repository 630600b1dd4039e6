#include "DemoBusiness.h"

#include "DemoCatalog.h"
#include "DemoRandom.h"

#include <algorithm>

using namespace Qt::StringLiterals;
using DemoRandom::key;
using DemoRandom::Stream;
using Kind = DemoHappening::Kind;

namespace {

constexpr qint64 day = DemoLifecycle::daySeconds;

struct Names
{
    DemoCatalog::Person person;
    QString subscription;
    QString currency;
};

Names namesOf(const DemoCustomer &c)
{
    return {DemoCatalog::person(c.key), DemoCatalog::stripeId("sub"_L1, key({c.key, 8})),
            QString::fromLatin1(demoCurrencies[c.currency].code)};
}

QString invoiceId(quint64 invoice)
{
    return DemoCatalog::stripeId("in"_L1, invoice);
}
QString chargeId(quint64 invoice, int attempt)
{
    return DemoCatalog::stripeId("ch"_L1, key({invoice, 40, quint64(attempt)}));
}
QString intentId(quint64 invoice)
{
    return DemoCatalog::stripeId("pi"_L1, key({invoice, 41}));
}
QString eventId(quint64 subject, int kind, int attempt = 0)
{
    return DemoCatalog::stripeId("evt"_L1, key({subject, 50, quint64(kind), quint64(attempt)}));
}

QString billingReason(DemoHappening::Reason reason)
{
    switch (reason) {
    case DemoHappening::Reason::Create:
        return u"subscription_create"_s;
    case DemoHappening::Reason::Upgrade:
        return u"subscription_update"_s;
    case DemoHappening::Reason::Cycle:
        break;
    }
    return u"subscription_cycle"_s;
}

RawSubscription::SubscriptionItems itemsOf(const DemoCustomer &c, DemoPlan plan)
{
    RawSubscription::SubscriptionPrice price;
    price.unit_amount = DemoLifecycle::periodPrice(c, plan);
    price.recurring = RawSubscription::SubscriptionPrice::Recurring{c.yearly ? u"year"_s : u"month"_s, 1};
    price.nickname = DemoCatalog::planName(plan, c.yearly);
    RawSubscription::SubscriptionItems items;
    items.data.append({price, std::nullopt, std::nullopt});
    return items;
}

RawInvoice invoiceOf(const DemoCustomer &c, const Names &n, const DemoHappening &h, bool paid)
{
    RawInvoice invoice;
    invoice.id = invoiceId(h.invoice);
    invoice.amount_paid = paid ? h.amount : 0;
    invoice.amount_due = h.amount;
    invoice.currency = n.currency;
    invoice.created = h.invoiceCreated;
    invoice.billing_reason = billingReason(h.reason);
    invoice.customer = n.person.id;
    invoice.customer_name = n.person.name;
    invoice.customer_email = n.person.email;
    invoice.charge = chargeId(h.invoice, h.attempt);
    invoice.payment_intent = intentId(h.invoice);
    invoice.subscription = n.subscription;
    invoice.status = paid ? u"paid"_s : u"open"_s;
    invoice.paid = paid;
    invoice.lines = RawInvoice::InvoiceLines{{RawInvoice::InvoiceLine{DemoCatalog::invoiceLine(c, h)}}};
    return invoice;
}

// A charge in the shape that still links it to its invoice (null for a one-off sale).
RawCharge chargeOf(QString id, qint64 amount, QString currency, const DemoCatalog::Person &payer)
{
    RawCharge charge;
    charge.id = std::move(id);
    charge.amount = amount;
    charge.amount_refunded = 0;
    charge.currency = std::move(currency);
    charge.status = u"succeeded"_s;
    charge.paid = true;
    charge.carriesInvoiceLink = true;
    charge.billing_details = RawCharge::BillingDetails{payer.email, payer.name};
    return charge;
}

template<typename Event, typename Object>
Event eventOf(QString id, qint64 created, QLatin1StringView type, Object object)
{
    Event event;
    event.id = std::move(id);
    event.created = created;
    event.type = type;
    event.data = EventData<Object>{std::move(object)};
    return event;
}

template<typename T, typename Created>
void newestFirst(QList<T> &list, Created created)
{
    std::stable_sort(list.begin(), list.end(), [&](const T &a, const T &b) { return created(a) > created(b); });
}

} // namespace

DemoBusiness::DemoBusiness(quint64 seed, DemoManualPayments manual)
    : m_seed(seed)
    , m_manual(std::move(manual))
{
}

quint64 DemoBusiness::seedFor(const QUuid &accountId)
{
    const QByteArray bytes = accountId.toRfc4122();
    quint64 high = 0;
    quint64 low = 0;
    for (int i = 0; i < 8; ++i) {
        high = (high << 8) | quint8(bytes[i]);
        low = (low << 8) | quint8(bytes[i + 8]);
    }
    return key({high, low});
}

template<typename Visit>
void DemoBusiness::forEachCustomer(qint64 since, qint64 now, Visit visit) const
{
    const qint64 firstDay = since / day - DemoLifecycle::longestLifeDays;
    for (qint64 d = firstDay; d <= now / day; ++d)
        for (const DemoCustomer &c : DemoLifecycle::signupsOn(m_seed, d))
            if (c.signup <= now)
                visit(c, DemoLifecycle::walk(c, now, m_manual));
}

DemoLedger DemoBusiness::activity(qint64 since, qint64 now) const
{
    DemoLedger ledger;
    QHash<QString, qint64> refundedByCharge; // as it stands at `now`
    forEachCustomer(since, now, [&](const DemoCustomer &c, const QList<DemoHappening> &life) {
        std::optional<Names> names;
        for (const DemoHappening &h : life) {
            if (h.kind == Kind::Refunded)
                refundedByCharge[chargeId(h.invoice, h.attempt)] += h.amount;
            if (h.time < since)
                continue;
            if (!names)
                names = namesOf(c);
            const Names &n = *names;
            switch (h.kind) {
            case Kind::Paid: {
                RawInvoice invoice = invoiceOf(c, n, h, true);
                RawCharge charge = chargeOf(*invoice.charge, h.amount, n.currency, n.person);
                charge.created = h.time;
                charge.customer = n.person.id;
                charge.invoice = invoice.id;
                charge.payment_intent = invoice.payment_intent;
                ledger.invoicePayments.append({DemoCatalog::stripeId("inpay"_L1, key({h.invoice, 42})), invoice.id,
                                               u"paid"_s, invoice.payment_intent, invoice.charge});
                ledger.paidInvoices.append(eventOf<PaidInvoiceEvent>(eventId(h.invoice, 1, h.attempt), h.time,
                                                                     "invoice.payment_succeeded"_L1, invoice));
                ledger.charges.append(eventOf<SucceededChargeRawEvent>(eventId(h.invoice, 2, h.attempt), h.time,
                                                                       "charge.succeeded"_L1, charge));
                ledger.chargeList.append(charge);
                break;
            }
            case Kind::Failed:
                ledger.failedInvoices.append(eventOf<FailedRawEvent>(eventId(h.invoice, 3, h.attempt), h.time,
                                                                     "invoice.payment_failed"_L1,
                                                                     invoiceOf(c, n, h, false)));
                break;
            case Kind::Refunded: {
                RawCharge charge = chargeOf(chargeId(h.invoice, h.attempt), h.charged, n.currency, n.person);
                charge.amount_refunded = h.amount;
                charge.customer = n.person.id;
                charge.invoice = invoiceId(h.invoice);
                charge.payment_intent = intentId(h.invoice);
                ledger.refunds.append(
                    eventOf<RefundRawEvent>(eventId(h.invoice, 4, h.attempt), h.time, "charge.refunded"_L1, charge));
                break;
            }
            case Kind::Canceled: {
                RawSubscription sub;
                sub.id = n.subscription;
                sub.canceled_at = h.time;
                sub.current_period_end = h.periodEnd;
                sub.currency = n.currency;
                sub.items = itemsOf(c, h.plan);
                sub.customer = n.person.id;
                ledger.cancelledCustomers.insert(n.person.id, {n.person.id, n.person.email, n.person.name});
                ledger.cancellations.append(eventOf<RawEvent>(eventId(c.key, 5), h.time,
                                                              "customer.subscription.deleted"_L1, sub));
                break;
            }
            case Kind::PastDue:
            case Kind::Unpaid:
            case Kind::Incomplete:
            case Kind::Active:
                break; // states, not events
            }
        }
    });

    // One-off purchases: a couple a day, and every few minutes close to `now`.
    auto addSale = [&](quint64 saleKey, qint64 time, bool live) {
        const DemoCatalog::Product product = DemoCatalog::product(saleKey, live);
        RawCharge charge = chargeOf(DemoCatalog::stripeId("ch"_L1, key({saleKey, 43})), product.amount,
                                    QString::fromLatin1(demoCurrencies[product.currency].code),
                                    DemoCatalog::person(saleKey));
        charge.created = time;
        charge.payment_intent = DemoCatalog::stripeId("pi"_L1, key({saleKey, 44}));
        charge.description = product.name;
        ledger.charges.append(eventOf<SucceededChargeRawEvent>(eventId(saleKey, 6), time, "charge.succeeded"_L1, charge));
        ledger.chargeList.append(charge);
    };
    for (qint64 d = since / day; d <= now / day; ++d) {
        Stream draw(key({m_seed, 70, quint64(d)}));
        for (int i = 0; i < 4; ++i) {
            const bool sold = draw.chance(400);
            const qint64 time = d * day + draw.between(7 * 3600, 22 * 3600);
            if (sold && time >= since && time <= now)
                addSale(key({m_seed, 71, quint64(d), quint64(i)}), time, false);
        }
    }
    const qint64 liveFrom = std::max(since, now - liveWindowSeconds);
    for (qint64 slot = liveFrom / liveSlotSeconds; slot <= now / liveSlotSeconds; ++slot) {
        Stream draw(key({m_seed, 72, quint64(slot)}));
        const bool sold = draw.chance(650);
        const qint64 time = slot * liveSlotSeconds + draw.below(liveSlotSeconds);
        if (sold && time >= liveFrom && time <= now)
            addSale(key({m_seed, 73, quint64(slot)}), time, true);
    }

    for (RawCharge &charge : ledger.chargeList)
        charge.amount_refunded = refundedByCharge.value(charge.id, 0);
    auto eventTime = [](const auto &e) { return e.created; };
    newestFirst(ledger.paidInvoices, eventTime);
    newestFirst(ledger.failedInvoices, eventTime);
    newestFirst(ledger.refunds, eventTime);
    newestFirst(ledger.charges, eventTime);
    newestFirst(ledger.cancellations, eventTime);
    newestFirst(ledger.chargeList, [](const RawCharge &c) { return c.created.value_or(0); });
    return ledger;
}

QList<ExpandedSubscription> DemoBusiness::subscriptions(QStringView status, qint64 now) const
{
    QList<ExpandedSubscription> out;
    forEachCustomer(now, now, [&](const DemoCustomer &c, const QList<DemoHappening> &life) {
        auto state = std::find_if(life.rbegin(), life.rend(), [](const DemoHappening &h) {
            return h.kind != Kind::Paid && h.kind != Kind::Failed && h.kind != Kind::Refunded;
        });
        if (state == life.rend())
            return;
        QString current;
        switch (state->kind) {
        case Kind::PastDue:
            current = u"past_due"_s;
            break;
        case Kind::Unpaid:
            current = u"unpaid"_s;
            break;
        case Kind::Incomplete:
            current = now < state->time + 23 * 3600 ? u"incomplete"_s : u"incomplete_expired"_s;
            break;
        case Kind::Canceled:
            current = u"canceled"_s;
            break;
        default:
            current = u"active"_s;
        }
        if (current != status)
            return;
        const Names n = namesOf(c);
        ExpandedSubscription sub;
        sub.id = n.subscription;
        sub.status = current;
        sub.created = c.signup;
        sub.current_period_end = state->periodEnd;
        sub.currency = n.currency;
        sub.customer = ExpandedSubscription::SubCustomer{n.person.id, n.person.email, n.person.name};
        sub.items = itemsOf(c, state->plan);
        if (state->kind != Kind::Active && state->kind != Kind::Canceled) {
            ExpandedSubscription::LatestInvoice latest;
            latest.id = invoiceId(state->invoice);
            latest.status = u"open"_s;
            latest.amount_due = state->amount;
            if (state->nextAttempt > 0)
                latest.next_payment_attempt = state->nextAttempt;
            latest.created = state->invoiceCreated;
            latest.charge = ExpandedSubscription::LatestCharge{chargeId(state->invoice, std::max(state->attempt, 1)), state->time};
            sub.latest_invoice = latest;
        }
        out.append(sub);
    });
    newestFirst(out, [](const ExpandedSubscription &s) { return s.created.value_or(0); });
    return out;
}

std::optional<quint64> DemoBusiness::openInvoice(QStringView id, qint64 now) const
{
    std::optional<quint64> found;
    forEachCustomer(now, now, [&](const DemoCustomer &, const QList<DemoHappening> &life) {
        auto state = std::find_if(life.rbegin(), life.rend(), [](const DemoHappening &h) {
            return h.kind != Kind::Paid && h.kind != Kind::Failed && h.kind != Kind::Refunded;
        });
        if (state == life.rend() || found)
            return;
        const bool open = state->kind == Kind::PastDue || state->kind == Kind::Unpaid
                          || (state->kind == Kind::Incomplete && now < state->time + 23 * 3600);
        if (open && invoiceId(state->invoice) == id)
            found = state->invoice;
    });
    return found;
}

std::optional<QByteArray> DemoBusiness::declineFor(quint64 invoice, int attempt)
{
    Stream draw(key({invoice, 60, quint64(attempt)}));
    if (draw.chance(550))
        return std::nullopt;
    static const char *const declines[][2] = {
        {"insufficient_funds", "Your card has insufficient funds."},
        {"expired_card", "Your card has expired."},
        {"do_not_honor", "Your card was declined."},
        {"generic_decline", "Your card was declined."},
    };
    const auto &decline = declines[draw.weighted({45, 25, 15, 15})];
    return QByteArray(R"({"error":{"type":"card_error","code":"card_declined","decline_code":")") + decline[0]
        + R"(","message":")" + decline[1] + R"("}})";
}

std::pair<QList<BillingSubscription>, QList<BillingInvoice>> DemoBusiness::billing(qint64 since, qint64 now) const
{
    QList<BillingSubscription> subscriptions;
    QList<BillingInvoice> invoices;
    forEachCustomer(since, now, [&](const DemoCustomer &c, const QList<DemoHappening> &life) {
        auto state = std::find_if(life.rbegin(), life.rend(), [](const DemoHappening &h) {
            return h.kind != Kind::Paid && h.kind != Kind::Failed && h.kind != Kind::Refunded;
        });
        if (state == life.rend())
            return;
        const Names n = namesOf(c);
        BillingPrice price;
        price.interval = c.yearly ? u"year"_s : u"month"_s;
        price.interval_count = 1;
        price.usage_type = u"licensed"_s;
        BillingSubscription sub;
        sub.id = n.subscription;
        sub.created = c.signup;
        sub.customer = n.person.id;
        sub.customer_name = n.person.name;
        sub.currency = n.currency;
        sub.start_date = c.signup;
        switch (state->kind) {
        case Kind::PastDue:
            sub.status = u"past_due"_s;
            break;
        case Kind::Unpaid:
            sub.status = u"unpaid"_s;
            break;
        case Kind::Incomplete:
            sub.status = now < state->time + 23 * 3600 ? u"incomplete"_s : u"incomplete_expired"_s;
            break;
        case Kind::Canceled:
            sub.status = u"canceled"_s;
            sub.canceled_at = state->time;
            sub.ended_at = state->time;
            break;
        default:
            sub.status = u"active"_s;
        }
        const QString itemId = DemoCatalog::stripeId("si"_L1, key({c.key, 9}));
        BillingPrice current = price;
        // The plan of the latest happening: an upgrade is paid, so the state's own plan may be older.
        current.unit_amount = DemoLifecycle::periodPrice(c, life.back().plan);
        sub.items.append({itemId, current, 1});
        subscriptions.append(sub);
        for (const DemoHappening &h : life) {
            if (h.kind != Kind::Paid || h.time < since)
                continue;
            BillingInvoice invoice;
            invoice.id = invoiceId(h.invoice);
            invoice.created = h.time;
            invoice.currency = n.currency;
            invoice.subscription = n.subscription;
            BillingInvoice::Line line;
            line.subscription = n.subscription;
            line.subscription_item = itemId;
            line.amount = h.amount;
            line.period_start = h.invoiceCreated;
            line.period_end = h.periodEnd;
            line.proration = h.reason == DemoHappening::Reason::Upgrade;
            line.type = u"subscription"_s;
            line.price = price;
            line.price->unit_amount = h.amount;
            invoice.lines.append(line);
            invoices.append(invoice);
        }
    });
    // Newest first, as Stripe lists them.
    std::sort(invoices.begin(), invoices.end(), [](const BillingInvoice &a, const BillingInvoice &b) { return a.created > b.created; });
    return {subscriptions, invoices};
}
