// The notification filter: priming, the recency limit, seen ids and the off switch.
#include "EngineFixture.h"
#include "engine/NotifierBookkeeping.h"

using namespace Qt::StringLiterals;

TEST(NotifierBookkeeping, FiltersByRecencyAndSeenIdsAndMarksEverythingSeen)
{
    const Date now = Date::fromUnix(1'795'262'400);
    const auto at = [&](const char *id, double secondsAgo) {
        return EngineFixture::event(QString::fromLatin1(id), now.addingSeconds(-secondsAgo), RevenueKind::New, 10);
    };
    // stored empty: nothing on disk, the first batch primes
    const struct { const char *name; QList<PaymentEvent> stored, batch; bool notificationsOn, requestPermission, post;
        QStringList posted; } rows[] = {
        {"first batch only primes", {}, {at("a", 5)}, true, true, false, {}},
        {"600 s is recent, 601 s is not", {at("old", 9999)}, {at("b", 600), at("c", 601), at("d", 0)}, true, false, true,
         {u"b"_s, u"d"_s}},
        {"a stored id is never posted", {at("s", 10)}, {at("s", 10), at("e", 10)}, true, false, true, {u"e"_s}},
        {"an empty selection still reaches the notifier", {at("s", 10)}, {at("s", 10)}, true, false, true, {}},
        {"switched off posts nothing", {at("s", 10)}, {at("f", 1)}, false, false, false, {}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        NotifierBookkeeping book;
        book.primeFromStoredFeed(row.stored);
        EXPECT_EQ(book.isInitialized(), !row.stored.isEmpty());
        const auto decision = book.handOff(row.batch, row.notificationsOn, now);
        QStringList posted;
        for (const PaymentEvent &e : decision.batch.events)
            posted.append(e.id);
        EXPECT_EQ(decision.requestPermission, row.requestPermission);
        EXPECT_EQ(decision.post, row.post);
        EXPECT_EQ(posted, row.posted);
        for (const PaymentEvent &e : row.batch)
            EXPECT_TRUE(book.seenEventIds().contains(e.id)) << e.id.toStdString();
        // The same batch again, switched on: every id is seen by now.
        EXPECT_TRUE(book.handOff(row.batch, true, now).batch.events.isEmpty());
    }
}
