#include "PayPalMrr.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace PayPalMrr {

QList<MrrSubscription> estimate(const QList<PaymentEvent> &paypalEvents, Date now)
{
    const Date windowStart = now.addingSeconds(-double(windowDays) * 86400.0);
    QHash<QString, MrrSubscription> byPayer;
    QList<QString> order; // first seen, so the result does not depend on hashing
    for (const PaymentEvent &event : paypalEvents) {
        if (event.kind != RevenueKind::Recurring || event.date < windowStart || event.date > now || event.usdAmount <= 0)
            continue;
        const QString payer = event.customerEmail && !event.customerEmail->isEmpty() ? *event.customerEmail
                                                                                      : event.description;
        const QString key = event.accountId.toString() + u'/' + payer;
        auto it = byPayer.find(key);
        if (it == byPayer.end()) {
            MrrSubscription estimated;
            estimated.id = u"paypal:"_s + key;
            estimated.accountId = event.accountId;
            estimated.customerId = payer;
            estimated.customerName = payer;
            estimated.currency = u"usd"_s;
            estimated.status = u"active"_s;
            estimated.startDate = windowStart;
            estimated.items.append(MrrItem{});
            it = byPayer.insert(key, estimated);
            order.append(key);
        }
        // In US cents, so the MRR rules convert it back at the dollar's rate of 1.
        it->items.first().unitAmount += qint64(std::llround(event.usdAmount * 100.0));
    }
    QList<MrrSubscription> out;
    out.reserve(order.size());
    for (const QString &key : order)
        out.append(byPayer.value(key));
    return out;
}

} // namespace PayPalMrr
