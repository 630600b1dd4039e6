#include "DrillDown.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace DrillDown {

QList<PaymentEvent> events(const QList<PaymentEvent> &feed, const Selection &selection)
{
    QList<PaymentEvent> out;
    for (const PaymentEvent &e : feed) {
        if ((selection.kind && e.kind != *selection.kind) || e.date < selection.start || e.date > selection.end)
            continue;
        if (selection.account && e.accountId != *selection.account)
            continue;
        out.append(e);
    }
    std::stable_sort(out.begin(), out.end(), [](const PaymentEvent &a, const PaymentEvent &b) { return a.date > b.date; });
    return out;
}

QList<CustomerGroup> groups(const QList<PaymentEvent> &events)
{
    QList<CustomerGroup> out;
    QHash<QString, qsizetype> indexByKey;
    indexByKey.reserve(events.size());
    for (const PaymentEvent &e : events) {
        const bool hasEmail = e.customerEmail && !e.customerEmail->isEmpty();
        QString key = hasEmail ? e.customerEmail->toLower() : u"__noemail__"_s + e.id;
        auto it = indexByKey.constFind(key);
        if (it == indexByKey.cend()) {
            CustomerGroup g;
            g.displayName = hasEmail ? *e.customerEmail : e.description;
            g.email = hasEmail ? e.customerEmail : std::nullopt;
            g.currency = e.currency;
            g.lastDate = e.date;
            g.accountName = e.accountName;
            g.id = key;
            it = indexByKey.insert(std::move(key), out.size());
            out.append(std::move(g));
        }
        CustomerGroup &g = out[*it];
        g.totalUSD += e.usdAmount;
        g.totalNative += e.amount;
        ++g.count;
        g.lastDate = std::max(g.lastDate, e.date);
        g.events.append(e);
    }
    std::stable_sort(out.begin(), out.end(), [](const CustomerGroup &a, const CustomerGroup &b) { return a.totalUSD > b.totalUSD; });
    return out;
}

} // namespace DrillDown
