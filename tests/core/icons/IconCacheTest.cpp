#include "icons/IconCache.h"
#include "support/FakeHttpServer.h"
#include "stripe/RequestBudget.h"
#include "support/TestUtil.h"
#include "support/VirtualClock.h"

#include <QCoroTask>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

const QString key = u"rk_test_51IconCacheSecret"_s;

// A cache over a fresh folder whose Stripe, favicon services and sites are loopback servers.
struct Rig
{
    QTemporaryDir dir;
    FakeHttpServer stripe;
    FakeHttpServer web; // both favicon services and every site
    FakeHttpServer cdn; // another host that redirects lead to
    QList<Account> accounts;
    std::shared_ptr<VirtualClock> clock = std::make_shared<VirtualClock>();
    std::shared_ptr<RequestBudget> budget = std::make_shared<RequestBudget>(1, clock); // the key's, shared
    IconCache cache{Storage(dir.path()), stripe.baseUrl(), endpoints(),
                    {[this](const QUuid &id) { return accounts.value(0).id == id ? std::optional(accounts[0]) : std::nullopt; },
                     [this](const Account &a) { accounts[0] = a; },
                     [this](const QString &restrictedKey) { return restrictedKey == key ? budget : nullptr; }}};

    IconEndpoints endpoints() { return {true, web.baseUrl(), web.baseUrl(), web.baseUrl(), true}; }

    Account &add(AccountProvider provider, const QString &name, std::optional<QString> website, std::optional<QString> acct)
    {
        Account a = Account::newAccount(provider);
        a.name = name;
        a.stripeRestrictedKey = key;
        a.websiteDomain = std::move(website);
        a.stripeAccountId = std::move(acct);
        accounts.append(a);
        return accounts.last();
    }

    QByteArray run(const Account &account)
    {
        QCoro::waitFor(cache.ensureIconCached(account));
        return readFile(cache.iconPath(account.id));
    }

    // The favicon requests in order, one letter each: DuckDuckGo, Google, Touch icon, Favicon,
    // Home page, Logo the page declared.
    QString tried() const
    {
        static const QHash<QByteArray, QChar> letters{{"/ip3/acme.com.ico", u'D'}, {"/s2/favicons", u'G'},
                                                      {"/apple-touch-icon.png", u'T'}, {"/favicon.ico", u'F'},
                                                      {"/", u'H'}, {"/img/logo.png", u'L'}};
        QString result;
        for (const RecordedRequest &r : web.requests())
            result += letters.value(r.path, u'?');
        return result;
    }

    // The key goes to Stripe and nowhere else.
    void expectKeyOnlyAtStripe() const
    {
        for (const FakeHttpServer *server : {&web, &cdn})
            for (const RecordedRequest &r : server->requests()) {
                QByteArray everything = r.method + r.path + r.rawQuery + r.body;
                for (const auto &[name, value] : r.headers)
                    everything += name + value;
                EXPECT_FALSE(everything.contains("rk_test") || everything.contains(QByteArray("rk_test_51").toBase64().left(8)))
                    << r.path.constData();
                EXPECT_TRUE(r.header("Authorization").isEmpty() && r.header("Cookie").isEmpty());
            }
        for (const RecordedRequest &r : stripe.requests())
            EXPECT_EQ(r.header("Authorization"), "Basic " + (key + u':').toUtf8().toBase64());
    }
};

FakeResponse bytes(int size, char fill, int status = 200)
{
    return FakeResponse{status, QByteArray(size, fill), {{"Content-Type", "image/png"}}};
}

} // namespace

TEST(IconCache, TriesTheSourcesInOrderAndKeepsTheFirstUsableAnswer)
{
    const FakeResponse missing = bytes(0, ' ', 404);
    const struct Row
    {
        const char *name;
        QList<std::pair<const char *, FakeResponse>> answers; // path → answer; the rest 404
        QByteArray icon;
        const char *tried;
    } rows[] = {
        {"duckduckgo 404, google too small, touch icon", {{"/s2/favicons", bytes(150, 'g')}, {"/apple-touch-icon.png", bytes(5000, 't')}},
         QByteArray(5000, 't'), "DGT"},
        {"200 bytes is too few, 201 enough", {{"/ip3/acme.com.ico", bytes(200, 'd')}, {"/s2/favicons", bytes(201, 'g')}},
         QByteArray(201, 'g'), "DG"},
        {"redirect to another host", {{"/ip3/acme.com.ico", FakeResponse{302, {}, {{"Location", "CDN/icon.png"}}}}},
         QByteArray(300, 'c'), "D"},
        {"oversized, then cut short, then favicon", {{"/ip3/acme.com.ico", bytes(600 * 1024, 'x')}, {"/s2/favicons", FakeResponse{200, QByteArray(4096, 'y'), {}, 0, FakeResponse::Action::TruncateBody}},
          {"/apple-touch-icon.png", missing}, {"/favicon.ico", bytes(900, 'f')}},
         QByteArray(900, 'f'), "DGTF"},
        {"the home page declares the icon", {{"/", FakeResponse{200, R"(<head><link rel='icon' href=img/logo.png></head>)", {}}},
          {"/img/logo.png", bytes(300, 'l')}},
         QByteArray(300, 'l'), "DGTFHL"},
        {"nothing usable anywhere", {}, {}, "DGTFH"},
    };
    for (const Row &row : rows) {
        Rig rig;
        rig.cdn.enqueue("GET", "/icon.png", bytes(300, 'c'));
        for (const auto &[path, answer] : row.answers) {
            FakeResponse a = answer;
            for (auto &[name, value] : a.headers)
                value.replace("CDN", rig.cdn.baseUrl().toEncoded());
            rig.web.enqueue("GET", path, a);
        }
        rig.web.setFallback([&](const RecordedRequest &) { return missing; });
        const Account &account = rig.add(AccountProvider::Stripe, u"Acme"_s, u"acme.com"_s, u"acct_1"_s);
        int stored = 0;
        QObject::connect(&rig.cache, &IconCache::iconStored, [&] { ++stored; });
        EXPECT_EQ(rig.run(account), row.icon) << row.name;
        EXPECT_EQ(stored, row.icon.isEmpty() ? 0 : 1) << row.name;
        EXPECT_EQ(rig.tried(), QString::fromLatin1(row.tried)) << row.name;
        EXPECT_TRUE(rig.stripe.requests().isEmpty()) << row.name;
        rig.expectKeyOnlyAtStripe();
        if (row.icon.isEmpty()) { // the next refresh tries every source again
            rig.run(account);
            EXPECT_EQ(rig.tried(), QString::fromLatin1(row.tried).repeated(2)) << row.name;
        }
    }
}

TEST(IconCache, FindsTheDomainAndRemembersWhatItLearnt)
{
    const QByteArray profile = R"({"id":"acct_9","business_profile":{"url":"https://www.acme-analytics.com/pricing"}})";
    const struct Row
    {
        const char *name;
        AccountProvider provider;
        std::optional<QString> website, accountId;
        FakeResponse stripeAnswer;
        bool iconAlreadyThere;
        std::optional<QString> storedWebsite, storedAccountId;
        int stripeRequests;
        QString iconPath; // the first favicon request, empty when none
    } rows[] = {
        {" Acme.COM ", AccountProvider::Stripe, {}, {}, FakeResponse::json(200, profile), false, u"acme.com"_s, u"acct_9"_s, 1,
         u"/ip3/acme.com.ico"_s},
        {"Acme Analytics", AccountProvider::Stripe, {}, {}, FakeResponse::json(200, profile), false,
         u"www.acme-analytics.com"_s, u"acct_9"_s, 1, u"/ip3/www.acme-analytics.com.ico"_s},
        {"Acme", AccountProvider::Stripe, u"shop.acme.com"_s, {}, FakeResponse::json(200, profile), false, u"shop.acme.com"_s,
         u"acct_9"_s, 1, u"/ip3/shop.acme.com.ico"_s},
        {"Acme", AccountProvider::Stripe, u"acme.com"_s, u"acct_1"_s, FakeResponse::json(200, profile), true, u"acme.com"_s,
         u"acct_1"_s, 0, {}},
        {"Acme Analytics", AccountProvider::Stripe, {}, {}, FakeResponse::json(401, R"({"error":{}})"), false, {}, {}, 1, {}},
        {"design.shop", AccountProvider::PayPal, {}, {}, FakeResponse::json(200, profile), false, u"design.shop"_s, {}, 0,
         u"/ip3/design.shop.ico"_s},
    };
    for (const Row &row : rows) {
        Rig rig;
        rig.stripe.enqueue("GET", "/v1/account", row.stripeAnswer);
        rig.web.setFallback([](const RecordedRequest &) { return bytes(400, 'i'); });
        const Account account = rig.add(row.provider, QString::fromUtf8(row.name), row.website, row.accountId);
        if (row.iconAlreadyThere)
            ASSERT_TRUE(writeFile(rig.cache.iconPath(account.id), "old"));
        const QByteArray icon = rig.run(account);
        EXPECT_EQ(rig.accounts.constFirst().websiteDomain, row.storedWebsite) << row.name;
        EXPECT_EQ(rig.accounts.constFirst().stripeAccountId, row.storedAccountId) << row.name;
        EXPECT_EQ(rig.stripe.requests().size(), row.stripeRequests) << row.name;
        auto nextTurn = rig.budget->acquire({});
        VirtualClock::settle();
        EXPECT_EQ(rig.clock->sleepingCount(), row.stripeRequests) << row.name << ": the look-up took a turn of the key's budget";
        rig.clock->advance(2);
        QCoro::waitFor(nextTurn);
        EXPECT_EQ(rig.web.requests().isEmpty() ? QString() : QString::fromLatin1(rig.web.requests()[0].path), row.iconPath)
            << row.name;
        EXPECT_EQ(icon, row.iconAlreadyThere ? "old" : row.iconPath.isEmpty() ? QByteArray() : QByteArray(400, 'i')) << row.name;
        rig.expectKeyOnlyAtStripe();
    }
}

TEST(IconCache, GoingAwayMidFetchStopsQuietly)
{
    auto rig = std::make_unique<Rig>();
    rig->web.setFallback([](const RecordedRequest &) { return FakeResponse::hang(); });
    const Account account = rig->add(AccountProvider::Stripe, u"Acme"_s, u"acme.com"_s, u"acct_1"_s);
    rig->cache.start(account);
    ASSERT_TRUE(waitUntil([&] { return rig->web.requests().size() == 1; }));
    rig.reset();
    waitUntil([] { return false; }, 200);
}
