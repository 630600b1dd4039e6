// The feed's writer and reader: what is written reads back, in one slice or many, and a
// file broken anywhere loses the whole feed.
#include "storage/FeedCodec.h"

#include <QTemporaryFile>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

const QUuid accountA = QUuid::fromString(u"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F"_s);
const QUuid accountB = QUuid::fromString(u"0B7A1C3D-5E6F-4A8B-9C0D-1E2F3A4B5C6D"_s);

PaymentEvent event(QString id, double unix, double amount = 49, RevenueKind kind = RevenueKind::Recurring)
{
    return {.id = std::move(id), .date = Date::fromUnix(unix), .amount = amount, .currency = u"usd"_s,
            .usdAmount = amount, .accountId = accountA, .accountName = u"Acme SaaS"_s, .kind = kind,
            .description = u"1 × Pro (at $49.00 / month)"_s};
}

// One element written by hand; `extra` is spliced in before the closing brace.
QByteArray element(const char *id = "in_1", const char *extra = "")
{
    return QByteArray(R"({"id":")") + id
        + R"(","date":"2026-03-10T12:00:00Z","amount":49,"currency":"usd","usdAmount":49,)"
          R"("accountId":"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F","accountName":"Acme SaaS","kind":"new",)"
          R"("description":"Pro")"
        + extra + "}";
}

QList<PaymentEvent> tricky()
{
    PaymentEvent quotes = event(u"ch_\"quoted\"\\back/slash"_s, 1773144000, 0.1 + 0.2);
    quotes.description = u"Tab\there, newline\nthen \x01 control, \"quotes\""_s;
    quotes.customerEmail = u"jenny.rosen@example.com"_s;
    quotes.dashboardURL = u"https://dashboard.stripe.com/acct_1Pg/payments/ch_1?x=a%20b&y=ü"_s;
    const PaymentEvent unicode = {u"5TY05013RG002845M"_s, Date::fromUnix(1773144000.75), 1500, u"JPY"_s, 9.6, accountB,
                                  u"田中ストア 🚀"_s, RevenueKind::Refund, u"Annual plan – Example Pro €"_s, QString()};
    PaymentEvent numbers = event(QString(), -86400.5, -1e-7, RevenueKind::Churn); // before 1970
    numbers.usdAmount = 1e21;
    numbers.description = QString();
    PaymentEvent large = event(u"in_big"_s, 4102444800.0 - 1, 9007199254740993.0, RevenueKind::Failed); // 2099-12-31
    large.usdAmount = 123456.789;
    return {quotes, unicode, numbers, large};
}

QList<PaymentEvent> withWholeSeconds(QList<PaymentEvent> feed)
{
    for (PaymentEvent &e : feed)
        e.date = Date::fromUnix(std::floor(e.date.unixSeconds()));
    return feed;
}

// The same bytes read from a file, a slice at a time.
std::optional<QList<PaymentEvent>> decodeFile(const QByteArray &bytes)
{
    QTemporaryFile file;
    if (!file.open() || file.write(bytes) != bytes.size() || !file.seek(0))
        return QList<PaymentEvent>{event(u"the file could not be written"_s, 0)};
    return decodeFeedFile(file).events;
}

} // namespace

TEST(FeedCodec, ReadsBackWhatItWrites)
{
    const QList<PaymentEvent> feed = tricky();
    const auto decoded = decodeFeed(encodeFeed(feed));
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(*decoded, withWholeSeconds(feed));

    // Many slices: an invalid event far down still loses the whole file.
    QList<PaymentEvent> large;
    for (int i = 0; i < 12000; ++i)
        large.append(event(u"in_%1"_s.arg(i), 1773144000 - i * 60.0, 19 + i % 7, allRevenueKinds[i % 5]));
    QByteArray bytes = encodeFeed(large);
    ASSERT_GT(bytes.size(), 2 * 1024 * 1024);
    EXPECT_EQ(decodeFeed(bytes), large);
    EXPECT_EQ(decodeFile(bytes), large);
    bytes.replace(bytes.lastIndexOf(R"("kind":"new")"), 12, R"("kind":"xyz")");
    EXPECT_FALSE(decodeFeed(bytes).has_value());
    EXPECT_FALSE(decodeFile(bytes).has_value());
}

TEST(FeedCodec, JudgesHandWrittenFiles)
{
    struct Row { const char *name; QByteArray document; bool decodes; };
    const QByteArray ok = element();
    const Row rows[] = {
        {"empty array", "[]", true},
        {"events broken over lines", " \n[\n" + QByteArray(ok).replace(",", ",\n") + "\n,\n" + element("in_2") + " ]\r\n", true},
        {"unknown keys, nulls", "[" + element("in_1", R"(,"meta":{"a":[1]},"customerEmail":null)") + "]", true},
        {"not JSON", "feed", false},
        {"empty file", "", false},
        {"object at top level", ok, false},
        {"trailing garbage", "[" + ok + "]x", false},
        {"trailing comma", "[" + ok + ",\n]", false},
        {"truncated", QByteArray("[" + ok + ",\n" + ok + "]").left(150), false},
        {"missing kind", "[" + QByteArray(ok).replace(R"("kind":"new",)", "") + "]", false},
        {"amount as text", "[" + QByteArray(ok).replace(R"("amount":49)", R"("amount":"49")") + "]", false},
        {"unknown kind", "[" + QByteArray(ok).replace(R"("kind":"new")", R"("kind":"payout")") + "]", false},
        {"braced account id", "[" + QByteArray(ok).replace(R"("6F1C)", R"("{6F1C)").replace(R"(5E6F")", R"(5E6F}")") + "]", false},
        {"URL that is no link", "[" + element("in_1", R"(,"dashboardURL":"https://exa mple.com/%zz")") + "]", true},
        {"invalid UTF-8", "[" + element("in_\xff") + "]", false},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(decodeFeed(row.document).has_value(), row.decodes);
        EXPECT_EQ(decodeFile(row.document), decodeFeed(row.document));
    }
}

// A hand-edited feed keeps whatever text it holds, but only web addresses are ever opened.
TEST(PaymentEventLink, OnlyValidWebAddressesBecomeLinks)
{
    const struct { std::optional<QString> text; bool link; } rows[] = {
        {u"https://dashboard.stripe.com/acct_1/payments/ch_1"_s, true},
        {u"http://localhost:8080/invoices/in_1"_s, true},
        {u"https://exa mple.com/%zz"_s, false},
        {u"file:///etc/passwd"_s, false},
        {u"javascript:alert(1)"_s, false},
        {std::nullopt, false},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text.value_or(u"(none)"_s).toStdString());
        EXPECT_EQ(PaymentEvent{.dashboardURL = row.text}.dashboardLink().has_value(), row.link);
    }
}
