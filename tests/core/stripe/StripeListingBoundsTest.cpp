// Lists that do not move on or do not end stop with an error instead of being asked for ever.
#include "StripeClientFixture.h"

using namespace Qt::StringLiterals;

namespace {
// A page claiming more whose last id is `id`: one cancellation event, or `count` subscriptions.
QByteArray endlessPage(const QString &id, int count = 0)
{
    using namespace StripeBodies;
    if (count == 0)
        return page({event(id, u"customer.subscription.deleted"_s, 1'795'000'000, subscription({}, Shape::Current),
                           Shape::Current)},
                    true);
    QJsonArray subscriptions;
    for (int i = 1; i <= count; ++i)
        subscriptions.append(subscription({.id = i == count ? id : id + u'_' + QString::number(i)}, Shape::Current));
    return page(subscriptions, true, u"/v1/subscriptions"_s);
}
} // namespace

TEST_F(StripeClientTest, ListingsThatDoNotAdvanceOrDoNotEndFail)
{
    using LastIdOfPage = std::function<QString(const QString &after, int request)>;
    const LastIdOfPage moving = [](const QString &, int n) { return u"evt_%1"_s.arg(n); };
    // name, the last id of each page, subscriptions a page (0: events), requests made, what the error says
    const std::tuple<const char *, LastIdOfPage, int, int, const char *> cases[] = {
        {"starting_after ignored", [](const QString &, int) { return u"evt_1"_s; }, 0, 2, "repeated a page (after evt_1)"},
        {"two pages in a circle", [](const QString &, int n) { return n % 2 ? u"evt_b"_s : u"evt_a"_s; }, 0, 3,
         "repeated a page (after evt_a)"},
        {"a cursor that always moves", moving, 0, StripeClient::listingPageLimit, "/v1/events has more than 2000 pages"},
        {"subscriptions at risk without end", moving, 1, StripeClient::atRiskPageLimit,
         "the past_due subscriptions have more than 50 pages"},
        {"subscriptions at risk past the record bound", moving, 150, StripeClient::atRiskPageLimit,
         "more than 5000 subscriptions are past_due"},
    };
    for (const auto &[name, lastIdOfPage, subscriptions, expectedRequests, errorContains] : cases) {
        SCOPED_TRACE(name);
        server.clearRecords();
        int request = 0;
        server.setHandler("GET", subscriptions ? "/v1/subscriptions" : "/v1/events", [&](const RecordedRequest &r) {
            return FakeResponse::json(200, endlessPage(lastIdOfPage(r.query(u"starting_after"_s), request++), subscriptions));
        });
        const auto failure = [](const auto &result) { return result.ok() ? StripeError::transport(u"none"_s) : result.error(); };
        const StripeError error = subscriptions ? failure(run(client().fetchSubscriptionsByStatus(u"past_due"_s)))
                                                : failure(run(client().fetchSubscriptionCancellations(Date::fromUnix(1'795'000'000))));
        EXPECT_EQ(error.kind(), StripeError::Kind::Paging);
        EXPECT_TRUE(error.description().startsWith(u"Stripe listing stopped: "_s));
        EXPECT_TRUE(error.description().contains(QLatin1StringView(errorContains))) << error.description().toStdString();
        EXPECT_EQ(server.requests().size(), expectedRequests);
    }
}
