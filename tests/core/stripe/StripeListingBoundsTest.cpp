// Lists that do not move on or do not end stop with an error instead of being asked for ever.
#include "StripeClientFixture.h"

using namespace Qt::StringLiterals;

namespace {
// A page of one cancellation event whose id is `id`, always claiming more.
QByteArray endlessPage(const QString &id)
{
    using namespace StripeBodies;
    return page({event(id, u"customer.subscription.deleted"_s, 1'795'000'000, subscription({}, Shape::Current), Shape::Current)},
                true);
}
} // namespace

TEST_F(StripeClientTest, ListingsThatDoNotAdvanceOrDoNotEndFail)
{
    using LastIdOfPage = std::function<QString(const QString &after, int request)>;
    // name, the last id of each page, requests made, what the error says
    const std::tuple<const char *, LastIdOfPage, int, const char *> cases[] = {
        {"starting_after ignored", [](const QString &, int) { return u"evt_1"_s; }, 2, "repeated a page (after evt_1)"},
        {"two pages in a circle", [](const QString &, int n) { return n % 2 ? u"evt_b"_s : u"evt_a"_s; }, 3,
         "repeated a page (after evt_a)"},
        {"a cursor that always moves", [](const QString &, int n) { return u"evt_%1"_s.arg(n); },
         StripeClient::listingPageLimit, "/v1/events has more than 2000 pages"},
    };
    for (const auto &[name, lastIdOfPage, expectedRequests, errorContains] : cases) {
        SCOPED_TRACE(name);
        server.clearRecords();
        int request = 0;
        server.setHandler("GET", "/v1/events", [&](const RecordedRequest &r) {
            return FakeResponse::json(200, endlessPage(lastIdOfPage(r.query(u"starting_after"_s), request++)));
        });
        const auto result = run(client().fetchSubscriptionCancellations(Date::fromUnix(1'795'000'000)));
        ASSERT_FALSE(result.ok());
        EXPECT_EQ(result.error().kind(), StripeError::Kind::Paging);
        EXPECT_TRUE(result.error().description().startsWith(u"Stripe listing stopped: "_s));
        EXPECT_TRUE(result.error().description().contains(QLatin1StringView(errorContains)))
            << result.error().description().toStdString();
        EXPECT_EQ(server.requests().size(), expectedRequests);
    }
}
