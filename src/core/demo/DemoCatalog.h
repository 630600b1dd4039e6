#pragma once

#include "DemoLifecycle.h"

#include <QString>

// What the demo business sells and to whom: plan names, one-off products, customer names,
// Stripe-looking ids and price texts, all derived from keys.
namespace DemoCatalog {

struct Person
{
    QString id; // cus_…
    QString name;
    QString email;
};

struct Product
{
    QString name;
    qint64 amount = 0; // minor units of `currency`
    int currency = 0;  // index into demoCurrencies
};

// A Stripe-looking id: the prefix, an underscore and 24 letters and digits from `key`.
QString stripeId(QLatin1StringView prefix, quint64 key);

Person person(quint64 key);
// A one-off purchase; `live` picks from the small things people buy on impulse.
Product product(quint64 key, bool live);

QString planName(DemoPlan plan, bool yearly);
// "$49.00", "¥7,400": as Stripe writes amounts in invoice lines.
QString price(qint64 minorUnits, int currency);
// The invoice line Stripe writes for a subscription period or an upgrade's proration.
QString invoiceLine(const DemoCustomer &customer, const DemoHappening &happening);

} // namespace DemoCatalog
