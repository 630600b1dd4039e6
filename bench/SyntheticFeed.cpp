#include "SyntheticFeed.h"

using namespace Qt::StringLiterals;

QList<PaymentEvent> syntheticFeed(int eventCount)
{
    const QUuid accounts[] = {QUuid::fromString(u"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F"_s),
                              QUuid::fromString(u"0B7A1C3D-5E6F-4A8B-9C0D-1E2F3A4B5C6D"_s),
                              QUuid::fromString(u"D4E5F6A7-B8C9-4D0E-8F1A-2B3C4D5E6F70"_s)};
    const QString names[] = {u"Acme SaaS"_s, u"Acme EU"_s, u"PayPal Shop"_s};
    const QString currencies[] = {u"usd"_s, u"eur"_s, u"gbp"_s, u"jpy"_s, u"USD"_s};
    const double rates[] = {1.0, 1.08, 1.27, 0.0064, 1.0};
    const QString descriptions[] = {u"1 × Pro (at $20.00 / month)"_s, u"Team plan (monthly)"_s,
                                    u"Subscription canceled – Pro monthly"_s, u"Payment failed: card_declined"_s,
                                    u"Refund of ch_3SQaPbB7WZ01zgkW0Zl2Lm9x"_s, u"Annual plan – Example Pro"_s};
    const RevenueKind kinds[] = {RevenueKind::New, RevenueKind::Recurring, RevenueKind::Recurring,
                                 RevenueKind::Churn, RevenueKind::Failed, RevenueKind::Refund};
    const Date now = Date::fromUnix(1795167667);
    QList<PaymentEvent> feed;
    feed.reserve(eventCount);
    for (int i = 0; i < eventCount; ++i) {
        const int account = i % 3;
        PaymentEvent e;
        e.date = now.addingSeconds(-i * 81.7); // 95 days across the feed, newest first
        const int currency = (i / 3) % 5;
        e.currency = currencies[currency];
        e.amount = currency == 3 ? 1500 + i % 40 * 100 : 9.99 + (i % 97) * 1.25;
        e.usdAmount = e.amount * rates[currency];
        e.accountId = accounts[account];
        e.accountName = names[account];
        if (account == 2) {
            e.id = u"5TY%1RG00%2M"_s.arg(i, 8, 10, QLatin1Char('0')).arg(i % 9973, 4, 10, QLatin1Char('0'));
            e.kind = RevenueKind::Recurring;
            e.description = u"PayPal payment"_s;
        } else {
            e.id = (i % 2 ? u"in_1SQaPaB7WZ01zgkW"_s : u"ch_3SQaPbB7WZ01zgkW"_s) + QString::number(1'000'000 + i, 36);
            e.kind = kinds[i % 6];
            e.description = descriptions[i % 6];
            if (i % 5 != 0)
                e.customerEmail = u"customer.%1@example-mail.com"_s.arg(i % 20'000);
            e.dashboardURL = u"https://dashboard.stripe.com/acct_1PgafTB7WZ01zgkW/invoices/"_s + e.id;
        }
        feed.append(std::move(e));
    }
    return feed;
}
