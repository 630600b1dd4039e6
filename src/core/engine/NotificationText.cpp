#include "NotificationText.h"

#include <QLocale>

using namespace Qt::StringLiterals;

namespace NotificationText {

QString title(RevenueKind kind)
{
    switch (kind) {
    case RevenueKind::New: return u"\U0001F4B0 New subscription"_s;
    case RevenueKind::Recurring: return u"\U0001F4B0 Payment received"_s;
    case RevenueKind::Churn: return u"\u26A0\uFE0F Canceled subscription"_s;
    case RevenueKind::Failed: return u"\u274C Payment failed"_s;
    case RevenueKind::Refund: return u"\u21A9\uFE0E Refund issued"_s;
    }
    return {};
}

QString amountText(const PaymentEvent &event)
{
    const QString sign = event.kind == RevenueKind::Churn || event.kind == RevenueKind::Refund ? u"-"_s : QString();
    // Fixed notation with a point and no grouping, whatever the user's locale.
    const QString number = QString::number(event.amount, 'f', 2);
    if (event.currency.toLower() == u"usd")
        return sign + u'$' + number;
    return sign + number + u' ' + event.currency.toUpper();
}

QString body(const PaymentEvent &event, bool privacyMode)
{
    if (privacyMode)
        return {};
    return amountText(event) + u" \u2014 "_s + event.description;
}

QString identifier(const PaymentEvent &event)
{
    return u"quorvane-"_s + event.id;
}

QString summary(const QList<PaymentEvent> &rest, bool privacyMode)
{
    double salesUSD = 0;
    bool allSales = true;
    for (const PaymentEvent &e : rest) {
        if (isSale(e.kind))
            salesUSD += e.usdAmount;
        else
            allSales = false;
    }
    // Grouped the same way whatever the user's locale, like the amounts above.
    const QLocale english(QLocale::English, QLocale::UnitedStates);
    if (privacyMode)
        return u"+%1 more %2"_s.arg(english.toString(rest.size()), allSales ? u"sales"_s : u"events"_s);
    return u"+%1 more %2 · $%3"_s.arg(english.toString(rest.size()), allSales ? u"sales"_s : u"events"_s,
                                       english.toString(qRound64(salesUSD)));
}

bool isSale(RevenueKind kind)
{
    return kind == RevenueKind::New || kind == RevenueKind::Recurring;
}

} // namespace NotificationText
