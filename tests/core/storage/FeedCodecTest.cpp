// The feed's own writer and strict reader against the general JSON path: whatever the
// strict reader accepts, the general path accepts with the same events; what it declines,
// decodeFeed still decides like the general path.
#include "storage/FeedCodec.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

const QUuid accountA = QUuid::fromString(u"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F"_s);
const QUuid accountB = QUuid::fromString(u"0B7A1C3D-5E6F-4A8B-9C0D-1E2F3A4B5C6D"_s);

PaymentEvent event(QString id, double unix, double amount = 49, RevenueKind kind = RevenueKind::Recurring)
{
    PaymentEvent e;
    e.id = std::move(id);
    e.date = Date::fromUnix(unix);
    e.amount = amount;
    e.currency = u"usd"_s;
    e.usdAmount = amount;
    e.accountId = accountA;
    e.accountName = u"Acme SaaS"_s;
    e.kind = kind;
    e.description = u"1 × Pro (at $49.00 / month)"_s;
    return e;
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
    QList<PaymentEvent> feed;
    PaymentEvent quotes = event(u"ch_\"quoted\"\\back/slash"_s, 1773144000, 0.1 + 0.2);
    quotes.description = u"Tab\there, newline\nthen \x01 control, \"quotes\""_s;
    quotes.customerEmail = u"jenny.rosen@example.com"_s;
    quotes.dashboardURL = QUrl(u"https://dashboard.stripe.com/acct_1Pg/payments/ch_1?x=a%20b&y=ü"_s);
    feed.append(quotes);

    PaymentEvent unicode = event(u"5TY05013RG002845M"_s, 1773144000.75, 1500, RevenueKind::Refund);
    unicode.currency = u"JPY"_s;
    unicode.usdAmount = 9.6;
    unicode.accountId = accountB;
    unicode.accountName = u"田中ストア 🚀"_s;
    unicode.description = u"Annual plan – Example Pro €"_s;
    unicode.customerEmail = QString();
    feed.append(unicode);

    PaymentEvent numbers = event(QString(), -86400.5, -1e-7, RevenueKind::Churn); // before 1970
    numbers.usdAmount = 1e21;
    numbers.description = QString();
    feed.append(numbers);

    PaymentEvent large = event(u"in_big"_s, 4102444800.0 - 1, 9007199254740993.0, RevenueKind::Failed); // 2099-12-31
    large.usdAmount = 123456.789;
    feed.append(large);
    return feed;
}

QList<PaymentEvent> withWholeSeconds(QList<PaymentEvent> feed)
{
    for (PaymentEvent &e : feed)
        e.date = Date::fromUnix(std::floor(e.date.unixSeconds()));
    return feed;
}

} // namespace

TEST(FeedCodec, WritesWhatTheRecordCodingWrites)
{
    const QList<PaymentEvent> feed = tricky();
    const QByteArray bytes = encodeFeed(feed);

    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(bytes, &error);
    ASSERT_EQ(error.error, QJsonParseError::NoError) << error.errorString().toStdString();
    ASSERT_TRUE(doc.isArray());
    const QJsonArray array = doc.array();
    ASSERT_EQ(array.size(), feed.size());
    for (qsizetype i = 0; i < feed.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(array.at(i).toObject(), toJson(feed[i], DateForm::Iso8601));
    }
    EXPECT_FALSE(bytes.contains('\n')); // compact
    EXPECT_EQ(encodeFeed({}), "[]");
}

TEST(FeedCodec, ReadsBackWhatItWrites)
{
    const QList<PaymentEvent> feed = tricky();
    const QByteArray bytes = encodeFeed(feed);
    const auto strict = decodeFeedStrict(bytes);
    const auto general = decodeFeedGeneral(bytes);
    ASSERT_TRUE(strict.has_value());
    ASSERT_TRUE(general.has_value());
    EXPECT_EQ(*strict, withWholeSeconds(feed));
    EXPECT_EQ(*strict, *general);
    EXPECT_EQ(decodeFeed(bytes), general);
}

TEST(FeedCodec, LoneSurrogatesAreWrittenAsReplacementCharacters)
{
    PaymentEvent e = event(u"in_1"_s, 1773144000);
    e.description = QString(QChar(0xD800)) + u"x"_s;
    const auto decoded = decodeFeed(encodeFeed({e}));
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->at(0).description, QString(QChar(0xFFFD)) + u"x"_s);
}

TEST(FeedCodec, BothPathsAgreeOnEveryDocument)
{
    struct Row
    {
        const char *name;
        QByteArray document;
        bool decodes;
    };
    const QByteArray ok = element();
    const Row rows[] = {
        {"empty array", "[]", true},
        {"whitespace everywhere", " \n[ \t" + QByteArray(R"({ "id" : "in_1" , "date":"2026-03-10T12:00:00Z" ,)"
                                                         R"("amount": 49 ,"currency":"usd","usdAmount":49.5e0,)"
                                                         R"("accountId":"6f1c2b9e-4a7d-4c3b-9e2f-1a2b3c4d5e6f",)"
                                                         R"("accountName":"A","kind":"churn","description":"" })")
             + " ]\r\n",
         true},
        {"keys in another order", R"([{"kind":"refund","description":"d","accountName":"A","accountId":"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F","usdAmount":1,"currency":"eur","amount":1,"date":"2026-03-10T14:00:00+02:00","id":"x"}])", true},
        {"unknown scalar keys", "[" + element("in_1", R"(,"note":"hi","count":3,"flag":true,"gone":null)") + "]", true},
        {"unknown nested keys", "[" + element("in_1", R"(,"meta":{"a":[1,2]})") + "]", true},
        {"null optionals", "[" + element("in_1", R"(,"customerEmail":null,"dashboardURL":null)") + "]", true},
        {"escapes", "[" + element(R"(in_\"1\"\u00e9\/\n)") + "]", true},
        {"escaped surrogate pair", "[" + element(R"(in_\ud83d\ude80)") + "]", true},
        {"negative zero and exponent", R"([{"id":"z","date":"2026-03-10T12:00:00Z","amount":-0,"currency":"usd","usdAmount":1E+2,"accountId":"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F","accountName":"A","kind":"new","description":"d"}])", true},
        {"huge integer", R"([{"id":"z","date":"2026-03-10T12:00:00Z","amount":123456789012345678901234567890,"currency":"usd","usdAmount":9223372036854775807,"accountId":"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F","accountName":"A","kind":"new","description":"d"}])", true},
        {"two elements", "[" + ok + "," + element("in_2") + "]", true},
        {"empty file", "", false},
        {"not JSON", "feed", false},
        {"truncated", QByteArray("[" + ok + "," + ok + "]").left(150), false},
        {"object at top level", ok, false},
        {"array of numbers", "[1,2]", false},
        {"trailing garbage", "[" + ok + "]x", false},
        {"trailing comma", "[" + ok + ",]", false},
        {"missing kind", "[" + QByteArray(ok).replace(R"("kind":"new",)", "") + "]", false},
        {"null amount", "[" + QByteArray(ok).replace(R"("amount":49)", R"("amount":null)") + "]", false},
        {"amount as text", "[" + QByteArray(ok).replace(R"("amount":49)", R"("amount":"49")") + "]", false},
        {"unknown kind", "[" + QByteArray(ok).replace(R"("kind":"new")", R"("kind":"payout")") + "]", false},
        {"date as number", "[" + QByteArray(ok).replace(R"("2026-03-10T12:00:00Z")", "794836800") + "]", false},
        {"date without zone", "[" + QByteArray(ok).replace(R"(12:00:00Z")", R"(12:00:00")") + "]", false},
        {"braced account id", "[" + QByteArray(ok).replace(R"("6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F")", R"("{6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F}")") + "]", false},
        {"nil account id", "[" + QByteArray(ok).replace(R"("6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F")", R"("00000000-0000-0000-0000-000000000000")") + "]", false},
        {"email as number", "[" + element("in_1", R"(,"customerEmail":5)") + "]", false},
        {"relative URL", "[" + element("in_1", R"(,"dashboardURL":"https://exa mple.com/%zz")") + "]", false},
        {"one bad element of two", "[" + ok + "," + QByteArray(ok).replace(R"("id":"in_1",)", "") + "]", false},
        {"invalid UTF-8", "[" + element("in_\xff") + "]", false},
        {"overlong UTF-8", "[" + element("in_\xc0\xaf") + "]", false},
        {"leading zero", "[" + QByteArray(ok).replace(R"("amount":49)", R"("amount":049)") + "]", false},
        {"plus sign", "[" + QByteArray(ok).replace(R"("amount":49)", R"("amount":+49)") + "]", false},
        {"nested array element", "[[" + ok + "]]", false},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const auto general = decodeFeedGeneral(row.document);
        const auto strict = decodeFeedStrict(row.document);
        const auto combined = decodeFeed(row.document);
        EXPECT_EQ(general.has_value(), row.decodes);
        EXPECT_EQ(combined, general);
        if (strict) {
            ASSERT_TRUE(general.has_value()) << "the strict reader accepted what the general path rejects";
            EXPECT_EQ(*strict, *general);
        }
    }
}

TEST(FeedCodec, TheStrictReaderTakesTheUsualFiles)
{
    // If the fast reader declined these, every start would pay for the general path.
    QList<PaymentEvent> feed;
    for (int i = 0; i < 200; ++i) {
        PaymentEvent e = event(u"in_%1"_s.arg(i), 1773144000 - i * 3600.0, 19.99 + i, allRevenueKinds[i % 5]);
        if (i % 2)
            e.customerEmail = u"c%1@example.com"_s.arg(i);
        if (i % 3)
            e.dashboardURL = QUrl(u"https://dashboard.stripe.com/invoices/in_%1"_s.arg(i));
        feed.append(e);
    }
    const auto strict = decodeFeedStrict(encodeFeed(feed));
    ASSERT_TRUE(strict.has_value());
    EXPECT_EQ(*strict, feed);
    // Repeated texts share storage.
    EXPECT_TRUE(strict->at(0).accountName.isSharedWith(strict->at(1).accountName));
}
