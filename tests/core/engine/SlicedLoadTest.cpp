// A whole Stripe load gives the same events whether long listings are paged in slices side
// by side or one page after another: slicing is only ever a matter of speed.
#include "EngineFixture.h"
#include "support/StripeListing.h"

using namespace Qt::StringLiterals;
using namespace StripeBodies;

TEST_F(EngineFixture, SlicedLoadEqualsPageByPageLoad)
{
    // 1,500 events of every type the load reads, two to a second over 25 minutes, so every
    // page and slice edge falls on a busy second.
    const qint64 newest = 1'795'120'000;
    StripeListing listing;
    for (int i = 0; i < 1500; ++i) {
        const qint64 created = newest - i / 2;
        const QString n = QString::number(i);
        const auto add = [&](const QString &type, const QJsonObject &object) {
            listing.add(StripeBodies::event(u"evt_"_s + n, type, created, object, Shape::Legacy));
        };
        switch (i % 5) {
        case 0:
        case 1:
            add(u"invoice.payment_succeeded"_s,
                invoice({.id = u"in_"_s + n, .amountPaid = 1000 + i, .created = created,
                         .billingReason = i % 2 ? u"subscription_cycle"_s : u"subscription_create"_s,
                         .charge = u"ch_in_"_s + n},
                        Shape::Legacy));
            break;
        case 2:
            add(u"charge.succeeded"_s,
                charge({.id = u"ch_"_s + n, .amount = 500 + i, .currency = u"jpy"_s, .created = created}, Shape::Legacy));
            break;
        case 3:
            add(u"customer.subscription.deleted"_s,
                subscription({.id = u"sub_"_s + n, .canceledAt = created}, Shape::Legacy));
            break;
        default:
            add(u"invoice.payment_failed"_s,
                invoice({.id = u"in_f"_s + n, .amountPaid = 0, .created = created, .amountDue = 3000 + i}, Shape::Legacy));
        }
    }
    listing.finish();
    // Half the charges paid an invoice: the invoice-payment listing, sliced as well, is what
    // keeps them from counting as sales.
    StripeListing payments;
    for (int i = 2; i < 1500; i += 10)
        payments.add(QJsonObject{{u"id"_s, u"inpay_%1"_s.arg(i)}, {u"object"_s, u"invoice_payment"_s},
                                 {u"invoice"_s, u"in_paid_%1"_s.arg(i)}, {u"status"_s, u"paid"_s},
                                 {u"created"_s, double(newest - i / 2)},
                                 {u"payment"_s, QJsonObject{{u"type"_s, u"charge"_s}, {u"charge"_s, u"ch_%1"_s.arg(i)}}}});
    payments.finish();
    for (const auto &[path, source] : {std::pair{"/v1/events", &listing}, std::pair{"/v1/invoice_payments", &payments}})
        stripe.setHandler("GET", path, [source](const RecordedRequest &r) {
            const auto [status, body] = source->answer(r.queryItems());
            return FakeResponse::json(status, body);
        });
    clock->set(Date::fromUnix(newest + 3600));

    const Account account = stripeAccount(u"Acme"_s);
    QList<QList<PaymentEvent>> loads;
    QList<qsizetype> requests;
    for (int slices : {1, 24}) {
        SCOPED_TRACE(slices);
        stripe.clearRecords();
        EngineEnvironment env = environment();
        env.stripeMaxSlices = slices;
        const auto load = QCoro::waitFor(start(env).loadFromStripe(account, Date::fromUnix(newest - 3600)));
        ASSERT_TRUE(load.ok()) << load.error().toStdString();
        QList<PaymentEvent> events = load.value().events;
        std::sort(events.begin(), events.end(), [](const PaymentEvent &a, const PaymentEvent &b) { return a.id < b.id; });
        loads.append(events);
        requests.append(stripe.requests().size());
    }
    EXPECT_EQ(loads[0].size(), 1500 - 150);
    EXPECT_TRUE(loads[0] == loads[1]);
    EXPECT_GT(requests[1], requests[0]); // the slices were paged side by side
}
