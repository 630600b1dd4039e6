// Reading bodies straight from their bytes: whatever that way takes must decode to the same
// record, and whatever it declines must fail with the same text, as when QJsonDocument
// parses the whole body.
#include "stripe/StripeDecoding.h"
#include "stripe/StripeJsonScan.h"
#include "stripe/StripeRecords.h"
#include "support/QtPrinters.h"
#include "support/StripeBodies.h"

#include <QJsonDocument>
#include <gtest/gtest.h>
#include <functional>
#include <random>

using namespace Qt::StringLiterals;
using StripeBodies::Shape;

namespace {

// Decoding the ordinary way: the whole body through QJsonDocument.
template<typename T>
Result<T, StripeError> decodeWhole(const QByteArray &body)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(body, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return StripeError::decoding(parseError.errorString() + u" at offset "_s + QString::number(parseError.offset));
    if (!document.isObject())
        return StripeError::decoding(u"expected a JSON object at the top level"_s);
    return StripeWire::decodeObject<T>(document.object());
}

template<typename T>
void expectSameOutcome(const QByteArray &body)
{
    const auto fast = StripeWire::decode<T>(body);
    const auto whole = decodeWhole<T>(body);
    ASSERT_EQ(fast.ok(), whole.ok()) << (fast.ok() ? whole.error() : fast.error()).description().toStdString();
    if (whole.ok())
        EXPECT_TRUE(fast.value() == whole.value());
    else
        EXPECT_EQ(fast.error().description(), whole.error().description());
}

// The record as the scan alone reads it; nothing when the scan or the read declines.
template<typename T>
std::optional<T> decodeScanned(const QByteArray &body)
{
    const auto document = StripeJsonScan::Document::scan(body);
    if (!document)
        return std::nullopt;
    bool failed = false;
    StripeJsonScan::Reader reader(*document, failed);
    T value = T::decode(reader);
    if (failed)
        return std::nullopt;
    return value;
}

bool scans(const QByteArray &body)
{
    return StripeJsonScan::Document::scan(body).has_value();
}

// What the scan kept, written back as compact JSON: keys and scalars as they stand in the
// body, containers with their kept members only.
QByteArray render(const StripeJsonScan::Document &document, std::uint32_t index = 0)
{
    using StripeJsonScan::Node;
    const Node &node = document.node(index);
    const auto bytes = [&document](std::uint32_t start, std::uint32_t length) {
        return document.body().sliced(start, length).toByteArray();
    };
    switch (node.type) {
    case Node::Type::Null: return "null";
    case Node::Type::Boolean: return node.flag ? "true" : "false";
    case Node::Type::Integer:
    case Node::Type::OtherNumber: return bytes(node.textStart, node.textLength);
    case Node::Type::String: return '"' + bytes(node.textStart, node.textLength) + '"';
    case Node::Type::Object:
    case Node::Type::Array: {
        const bool isObject = node.type == Node::Type::Object;
        QByteArray out(1, isObject ? '{' : '[');
        for (std::uint32_t i = node.first; i != 0; i = document.node(i).next) {
            if (out.size() > 1)
                out += ',';
            if (isObject)
                out += '"' + bytes(document.node(i).keyStart, document.node(i).keyLength) + "\":";
            out += render(document, i);
        }
        return out + (isObject ? '}' : ']');
    }
    }
    return {};
}

bool qtAccepts(const QByteArray &body)
{
    QJsonParseError parseError;
    QJsonDocument::fromJson(body, &parseError);
    return parseError.error == QJsonParseError::NoError;
}

QByteArray compact(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// `depth` containers opened with `open` around a null, inside the top-level object's "x".
QByteArray nested(const QByteArray &open, const QByteArray &close, int depth)
{
    return "{\"x\":" + open.repeated(depth) + "null" + close.repeated(depth) + '}';
}

} // namespace

// Syntax the scan either vouches for or leaves to QJsonDocument. Either way the outcome
// must be QJsonDocument's; a vouched-for body QJsonDocument rejects would turn a decode
// error into a record.
TEST(StripeJsonScan, SyntaxVerdictsMatchQJsonDocument)
{
    struct Case
    {
        const char *name;
        QByteArray body;
        bool vouched; // whether the scan takes the body
    };
    const Case cases[] = {
        {"empty object", "{}", true},
        {"spaces everywhere", " \t\r\n{ \"id\" : \"acct_1\" ,\n\"x\" : [ 1 , 2 ] }\n ", true},
        {"all simple escapes", R"({"display_name":"a\"b\\c\/d\be\ff\ng\rh\ti"})", true},
        {"unicode escape", R"({"display_name":"caf\u00e9 \u00E9"})", true},
        {"escaped surrogate pair", R"({"display_name":"\ud83d\ude00"})", true},
        {"raw multi-byte UTF-8", "{\"display_name\":\"caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80\"}", true},
        {"escaped key spelling a read key", R"({"displ\u0061y_name":"Shop"})", false},
        {"escaped key inside an unread member", R"({"x":{"displ\u0061y_name":"Shop"},"id":"acct_1"})", true},
        {"numbers", R"({"x":[0,-0,12,-12,1.5,-0.25,9223372036854775807,9223372036854775808,123456789012345678901234567890]})", true},
        {"literals", R"({"x":[true,false,null],"id":null})", true},
        {"nested arrays", R"({"x":[[[],[[1]]],[{"a":[{}]}]]})", true},
        {"duplicate read key", R"({"display_name":"first","display_name":"second"})", false},
        {"duplicate unread key", R"({"x":1,"x":2,"display_name":"Shop"})", true},
        {"duplicate read key inside an unread member", R"({"x":{"id":1,"id":2}})", true},
        {"unknown escape", R"({"display_name":"\q"})", false},
        {"short unicode escape", R"({"x":"\u12"})", false},
        {"non-hex unicode escape", R"({"x":"\u12G4"})", false},
        {"lone high surrogate escape", R"({"x":"\ud800"})", true},
        {"raw control byte", "{\"x\":\"a\tb\"}", false},
        {"overlong UTF-8", "{\"x\":\"\xc0\xaf\"}", false},
        {"UTF-8 surrogate", "{\"x\":\"\xed\xa0\x80\"}", false},
        {"UTF-8 past U+10FFFF", "{\"x\":\"\xf4\x90\x80\x80\"}", false},
        {"truncated UTF-8", "{\"x\":\"\xe2\x82\"}", false},
        {"stray continuation byte", "{\"x\":\"\x80\"}", false},
        {"leading zero", R"({"x":01})", false},
        {"bare minus", R"({"x":-})", false},
        {"trailing dot", R"({"x":1.})", false},
        {"leading dot", R"({"x":.5})", false},
        {"exponent", R"({"x":1e3})", false},
        {"huge exponent", R"({"x":1e999})", false},
        {"plus sign", R"({"x":+1})", false},
        {"bad literal", R"({"x":nul})", false},
        {"capitalised literal", R"({"x":True})", false},
        {"single quotes", R"({'x':1})", false},
        {"unquoted key", R"({x:1})", false},
        {"missing colon", R"({"x" 1})", false},
        {"missing comma", R"({"x":1 "y":2})", false},
        {"trailing comma in object", R"({"x":1,})", false},
        {"trailing comma in array", R"({"x":[1,]})", false},
        {"leading comma in array", R"({"x":[,1]})", false},
        {"unclosed object", R"({"x":{"y":1})", false},
        {"unclosed array", R"({"x":[1,2)", false},
        {"unclosed string", R"({"x":"abc)", false},
        {"truncated after key", R"({"display_name")", false},
        {"mismatched brackets", R"({"x":[1}])", false},
        {"trailing garbage", R"({"x":1} x)", false},
        {"two documents", R"({"x":1}{"x":2})", false},
        {"trailing NUL", QByteArray("{\"x\":1}\0", 8), false},
        {"byte order mark", "\xef\xbb\xbf{\"x\":1}", false},
        {"top-level array", "[1,2]", false},
        {"top-level string", "\"x\"", false},
        {"empty body", "", false},
        {"only spaces", "  \n ", false},
        {"HTML error page", "<html>502 Bad Gateway</html>", false},
        {"error inside an unread member", R"({"id":"acct_1","settings_extra":{"a":[1,2,}]})", false},
        {"wrong type under a read key", R"({"id":"acct_1","settings":{"dashboard":"x"}})", true},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(scans(c.body), c.vouched);
        if (scans(c.body))
            EXPECT_TRUE(qtAccepts(c.body)) << "the scan took a body QJsonDocument rejects";
        expectSameOutcome<StripeAccountInfo>(c.body);
    }
}

TEST(StripeJsonScan, KeepsReadMembersAndDropsTheRest)
{
    struct Case
    {
        const char *name;
        QByteArray body;
        QByteArray expected;
    };
    const Case cases[] = {
        {"unread scalars go", R"({"id":"ch_1","livemode":false,"amount":100})", R"({"id":"ch_1","amount":100})"},
        {"unread containers go whole", R"({"shipping":{"id":"x","address":{"city":null}},"id":"ch_1","tags":[{"id":1}]})",
         R"({"id":"ch_1"})"},
        {"read keys kept at any depth", R"({"data":[{"object":{"id":"in_1","period":{"end":1},"lines":{"data":[]}}}]})",
         R"({"data":[{"object":{"id":"in_1","lines":{"data":[]}}}]})"},
        {"array elements all kept", R"({"data":[1,"a",null,{"z":1},[{"id":2,"q":3}]]})", R"({"data":[1,"a",null,{},[{"id":2}]]})"},
        {"every metadata member kept, without its insides", R"({"metadata":{"order":"42","x":1,"nested":{"k":[1]}},"x":1})",
         R"({"metadata":{"order":"42","x":1,"nested":{}}})"},
        {"escapes kept as written", R"({"id":"a\"b\u00e9","x":"\n"})", R"({"id":"a\"b\u00e9"})"},
        {"numbers kept as written", R"({"amount":-12,"created":1.5,"paid":true,"status":null})",
         R"({"amount":-12,"created":1.5,"paid":true,"status":null})"},
        {"whitespace dropped outside strings", "{ \"id\" :\n \"a b\" , \"x\" : 1 }", R"({"id":"a b"})"},
        {"escaped key declined", R"({"n\u0061me":{"anything":1},"other":2})", "<not vouched>"},
        {"duplicate read key declined", R"({"id":"a","x":0,"id":"b"})", "<not vouched>"},
        {"prefix of a read key is not read", R"({"i":1,"ids":2,"amounts":3})", "{}"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const auto document = StripeJsonScan::Document::scan(c.body);
        EXPECT_EQ(document ? render(*document) : QByteArray("<not vouched>"), c.expected);
    }
}

TEST(StripeJsonScan, KeysReadByTheRecordsAreKept)
{
    for (const char *key : {"id", "created", "data", "has_more", "object", "metadata", "amount_paid", "parent",
                            "subscription_details", "payments", "payment", "unit_amount", "interval_count", "latest_invoice",
                            "cancellation_details", "decline_code", "support_url", "dashboard", "billing_details"}) {
        SCOPED_TRACE(key);
        EXPECT_TRUE(StripeJsonScan::isReadKey(QByteArrayView(key)));
    }
    for (const char *key : {"", "livemode", "status_transitions", "ID", "id ", "amount_paid_", "a"})
        EXPECT_FALSE(StripeJsonScan::isReadKey(QByteArrayView(key))) << key;
}

// Hostile nesting must neither overflow the stack nor change the verdict: the scan gives up
// past its bound and QJsonDocument, which has its own, decides.
TEST(StripeJsonScan, DeepNestingIsBoundedAndJudgedAsBefore)
{
    struct Case
    {
        int depth;
        bool vouched;
    };
    const Case cases[] = {{10, true}, {StripeJsonScan::maxDepth - 1, true}, {StripeJsonScan::maxDepth, false},
                          {1100, false}, {200'000, false}};
    for (const Case &c : cases) {
        for (const auto &[open, close] : {std::pair<QByteArray, QByteArray>{"[", "]"}, {"{\"id\":", "}"}, {"{\"q\":", "}"}}) {
            SCOPED_TRACE(testing::Message() << "depth " << c.depth << " of " << open.toStdString());
            const QByteArray body = nested(open, close, c.depth);
            EXPECT_EQ(scans(body), c.vouched);
            expectSameOutcome<StripeAccountInfo>(body);
        }
    }
    // Unclosed deep nesting ends in a decode error, not a crash.
    const auto truncated = StripeWire::decode<StripeAccountInfo>(QByteArray("{\"x\":") + QByteArray("[").repeated(100'000));
    ASSERT_FALSE(truncated.ok());
    EXPECT_EQ(truncated.error().kind(), StripeError::Kind::Decoding);
}

// Values the records read: the scan reads them itself where it is sure to read them as
// QJsonDocument does, and otherwise declines, leaving the body to the whole parse.
TEST(StripeJsonScan, ReadValuesMatchTheWholeParse)
{
    struct Case
    {
        const char *name;
        QByteArray members; // spliced into a charge after its id and currency
        bool scanned;       // whether the scan alone reads it
    };
    const Case cases[] = {
        {"plain values", R"("amount":2000,"paid":true,"status":"succeeded","description":null)", true},
        {"simple escapes", R"("description":"a\"b\\c\/d\be\ff\ng\rh\ti")", true},
        {"unicode escapes", R"("description":"caf\u00e9 \u20AC \u0000 end")", true},
        {"escaped surrogate pair", R"("description":"smile \ud83d\ude00")", true},
        {"lone high surrogate", R"("description":"\ud83d x")", false},
        {"lone low surrogate", R"("description":"\ude00")", false},
        {"reversed surrogate pair", R"("description":"\ude00\ud83d")", false},
        {"raw UTF-8", "\"description\":\"Zo\xc3\xab \xe2\x80\x9cQ\xe2\x80\x9d \xf0\x9f\x98\x80\"", true},
        {"largest exact integer", R"("amount":999999999999999999)", true},
        {"beyond doubles' precision", R"("amount":9007199254740993)", true},
        {"negative integer", R"("amount":-2000)", true},
        {"nineteen digits", R"("amount":1000000000000000000)", false},
        {"past 64 bits", R"("amount":99999999999999999999)", false},
        {"negative zero", R"("amount":-0)", false},
        {"whole fraction", R"("amount":2000.0)", false},
        {"fraction", R"("amount":12.5)", false},
        {"string for a number", R"("amount":"2000")", false},
        {"number for a string", R"("description":42)", false},
        {"array for an object", R"("billing_details":[])", false},
        {"expanded invoice", R"("invoice":{"id":"in_1","object":"invoice"})", true},
        {"expanded invoice without id", R"("invoice":{"object":"invoice"})", false},
        {"number for an expandable", R"("invoice":7)", false},
        {"metadata", R"("metadata":{"order":"A-1","note":"x\ty"})", true},
        {"empty metadata", R"("metadata":{})", true},
        {"metadata with a number", R"("metadata":{"order":1})", false},
        {"metadata with an object", R"("metadata":{"order":{"id":"x"}})", false},
        {"metadata with equal keys", R"("metadata":{"order":"1","order":"2"})", false},
        {"null metadata", R"("metadata":null)", true},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const QByteArray body = R"({"id":"ch_1","currency":"usd",)" + c.members + '}';
        EXPECT_TRUE(scans(body)) << "the body itself is plain JSON";
        const auto scanned = decodeScanned<RawCharge>(body);
        EXPECT_EQ(scanned.has_value(), c.scanned);
        const auto whole = decodeWhole<RawCharge>(body);
        if (scanned) {
            ASSERT_TRUE(whole.ok()) << whole.error().description().toStdString();
            EXPECT_TRUE(*scanned == whole.value());
        }
        expectSameOutcome<RawCharge>(body);
    }
}

// Strings and numbers are looked at several bytes at a time; whatever the length, and
// wherever an escape or a non-ASCII character falls, they read as the whole parse reads them.
TEST(StripeJsonScan, StringsAndNumbersOfEveryLengthReadExactly)
{
    const QByteArray specials[] = {"\\\"", "\\u00e9", "\xc3\xa9", "\xf0\x9f\x98\x80", "\\n"};
    for (int length = 0; length <= 40; ++length) {
        for (int at = 0; at <= length; ++at) {
            for (const QByteArray &special : specials) {
                QByteArray text(length, 'a');
                text.insert(at, special);
                // Keys of every length too: an unread one shaped like the text.
                const QByteArray body = R"({"id":"ch_1","currency":"usd","description":")" + text + R"(","k)"
                    + QByteArray(length, 'x') + R"(":")" + text + R"("})";
                SCOPED_TRACE(body.toStdString());
                const auto scanned = decodeScanned<RawCharge>(body);
                ASSERT_TRUE(scanned.has_value());
                EXPECT_EQ(scanned->description, decodeWhole<RawCharge>(body).value().description);
            }
        }
    }
    qint64 amount = 0;
    for (int digits = 1; digits <= 18; ++digits) {
        amount = amount * 10 + (digits % 9) + 1;
        for (const bool negative : {false, true}) {
            const QByteArray number = (negative ? "-" : "") + QByteArray::number(amount);
            SCOPED_TRACE(number.toStdString());
            const QByteArray body = R"({"id":"ch_1","currency":"usd","amount":)" + number + "}";
            const auto scanned = decodeScanned<RawCharge>(body);
            ASSERT_TRUE(scanned.has_value());
            EXPECT_EQ(scanned->amount, negative ? -amount : amount);
            EXPECT_EQ(scanned->amount, decodeWhole<RawCharge>(body).value().amount);
        }
    }
}

// Values that recur across a page are made once and shared; values that merely look alike
// (same length, same first and last letters) must not be taken for one another.
TEST(StripeJsonScan, RecurringValuesAreNotMixedUp)
{
    const char *currencies[] = {"usd", "uad", "eur", "usd", "jpy", "uzd", "eur"};
    const char *statuses[] = {"succeeded", "sinceeded", "failed", "pending", "succeeded"};
    QJsonArray data;
    for (int n = 0; n < 60; ++n) {
        data.append(QJsonObject{{u"id"_s, u"ch_%1"_s.arg(n)},
                                {u"currency"_s, QString::fromLatin1(currencies[n % std::size(currencies)])},
                                {u"status"_s, QString::fromLatin1(statuses[n % std::size(statuses)])},
                                {u"description"_s, n % 3 ? u"Payment for Invoice"_s : u"Payment for Invoicf"_s}});
    }
    const QByteArray body = StripeBodies::page(data, false);
    const auto scanned = decodeScanned<ChargeListResponse>(body);
    ASSERT_TRUE(scanned.has_value());
    const auto whole = decodeWhole<ChargeListResponse>(body);
    ASSERT_TRUE(whole.ok());
    ASSERT_EQ(scanned->data.size(), 60);
    for (int n = 0; n < 60; ++n) {
        SCOPED_TRACE(n);
        EXPECT_EQ(scanned->data[n].currency, QString::fromLatin1(currencies[n % std::size(currencies)]));
        EXPECT_TRUE(scanned->data[n] == whole.value().data[n]);
    }
}

// A required key that is missing or of the wrong type is reported by the whole parse, with
// its key path, whichever way the body was first read.
TEST(StripeJsonScan, DecodeErrorsNameTheKeyPath)
{
    struct Case
    {
        QByteArray body;
        const char *error;
    };
    const Case cases[] = {
        {R"({"data":[{"id":"evt_1","created":1,"data":{"object":{"id":"in_1","currency":"usd","created":1}}}],"has_more":false})",
         "Stripe decode error: key not found: data[0].data.object.amount_paid"},
        {R"({"data":[],"has_more":"no"})", "Stripe decode error: has_more: expected a boolean"},
        {R"({"data":[7],"has_more":false})", "Stripe decode error: data[0]: expected an object"},
        {R"({"has_more":false})", "Stripe decode error: key not found: data"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.body.toStdString());
        EXPECT_TRUE(scans(c.body));
        const auto result = StripeWire::decode<PaidInvoiceEventListResponse>(c.body);
        ASSERT_FALSE(result.ok());
        EXPECT_EQ(result.error().description(), QString::fromUtf8(c.error));
    }
}

namespace {

QJsonObject invoiceSpecimen(int n, Shape shape)
{
    StripeBodies::InvoiceFields fields;
    fields.id = u"in_1SQaPaB7WZ01zgkW%1"_s.arg(n);
    fields.charge = u"ch_3SQaPbB7WZ01zgkW%1"_s.arg(n);
    fields.paymentIntent = u"pi_3SQaPbB7WZ01zgkW%1"_s.arg(n);
    fields.customerName = u"Zoë “Q” Müller 😀"_s;
    fields.lineDescription = u"1 × Pro\t(at €20.00 / month) \"quoted\" \\ back"_s;
    return StripeBodies::invoice(fields, shape);
}

QJsonObject chargeSpecimen(int n, Shape shape)
{
    StripeBodies::ChargeFields fields;
    fields.id = u"ch_3SQaPbB7WZ01zgkW%1"_s.arg(n);
    fields.invoice = n % 2 ? u"in_1SQaPaB7WZ01zgkW%1"_s.arg(n) : QString();
    fields.paymentIntent = u"pi_3SQaPbB7WZ01zgkW%1"_s.arg(n);
    QJsonObject charge = StripeBodies::charge(fields, shape);
    charge.insert(u"metadata"_s, QJsonObject{{u"order"_s, u"A-%1"_s.arg(n)}, {u"id"_s, u"kept"_s}, {u"livemode"_s, u"x"_s}});
    return charge;
}

QByteArray eventPage(Shape shape, const QString &type, QJsonObject (*object)(int, Shape))
{
    QJsonArray data;
    for (int n = 0; n < 3; ++n)
        data.append(StripeBodies::event(u"evt_%1"_s.arg(n), type, 1'795'123'655 + n, object(n, shape), shape));
    return StripeBodies::page(data, true);
}

QByteArray objectPage(Shape shape, QJsonObject (*object)(int, Shape))
{
    QJsonArray data;
    for (int n = 0; n < 3; ++n)
        data.append(object(n, shape));
    return StripeBodies::page(data, false);
}

QJsonObject subscriptionSpecimen(int n, Shape shape)
{
    StripeBodies::SubscriptionFields fields;
    fields.id = u"sub_%1"_s.arg(n);
    fields.nickname = n % 2 ? u"Pro yearly"_s : QString();
    return StripeBodies::subscription(fields, shape);
}

QJsonObject invoicePaymentSpecimen(int n, Shape)
{
    return QJsonObject{{u"id"_s, u"inpay_%1"_s.arg(n)},
                       {u"object"_s, u"invoice_payment"_s},
                       {u"invoice"_s, u"in_%1"_s.arg(n)},
                       {u"status"_s, u"paid"_s},
                       {u"amount_paid"_s, 2000},
                       {u"payment"_s, QJsonObject{{u"type"_s, u"payment_intent"_s}, {u"payment_intent"_s, u"pi_%1"_s.arg(n)}}},
                       {u"status_transitions"_s, QJsonObject{{u"paid_at"_s, 1'795'120'006}}}};
}

struct RealisticCase
{
    std::string name;
    QByteArray body;
    std::function<void(const QByteArray &)> check;
};

// The scan alone reads the specimen, to the record the whole parse gives.
template<typename T>
std::function<void(const QByteArray &)> sameAsWhole()
{
    return [](const QByteArray &body) {
        const auto whole = decodeWhole<T>(body);
        ASSERT_TRUE(whole.ok()) << "the specimen itself must decode";
        const auto scanned = decodeScanned<T>(body);
        ASSERT_TRUE(scanned.has_value()) << "the scan declined a realistic body";
        EXPECT_TRUE(*scanned == whole.value());
        expectSameOutcome<T>(body);
    };
}

std::vector<RealisticCase> realisticCases()
{
    std::vector<RealisticCase> out;
    for (Shape shape : {Shape::Legacy, Shape::Current}) {
        const char *suffix = shape == Shape::Legacy ? " (acacia)" : " (basil)";
        const auto name = [suffix](const char *what) { return std::string(what) + suffix; };
        out.push_back({name("paid invoice events"), eventPage(shape, u"invoice.payment_succeeded"_s, invoiceSpecimen),
                       sameAsWhole<PaidInvoiceEventListResponse>()});
        out.push_back({name("failed invoice events"), eventPage(shape, u"invoice.payment_failed"_s, invoiceSpecimen),
                       sameAsWhole<FailedEventListResponse>()});
        out.push_back({name("refund events"), eventPage(shape, u"charge.refunded"_s, chargeSpecimen),
                       sameAsWhole<RefundEventListResponse>()});
        out.push_back({name("succeeded charge events"), eventPage(shape, u"charge.succeeded"_s, chargeSpecimen),
                       sameAsWhole<SucceededChargeListResponse>()});
        out.push_back({name("subscription events"), eventPage(shape, u"customer.subscription.deleted"_s, subscriptionSpecimen),
                       sameAsWhole<EventListResponse>()});
        out.push_back({name("charges"), objectPage(shape, chargeSpecimen), sameAsWhole<ChargeListResponse>()});
        out.push_back({name("invoice payments"), objectPage(shape, invoicePaymentSpecimen),
                       sameAsWhole<InvoicePaymentListResponse>()});
    }
    out.push_back({"declined card error", StripeBodies::error(u"card_error"_s, u"card_declined"_s, u"Your card was declined."_s,
                                                              u"insufficient_funds"_s),
                   sameAsWhole<ErrResp>()});
    out.push_back({"account", compact(QJsonObject{
                                  {u"id"_s, u"acct_1PgafTB7WZ01zgkW"_s},
                                  {u"business_profile"_s, QJsonObject{{u"name"_s, u"Example"_s}, {u"url"_s, u"https://example.com"_s},
                                                                      {u"support_url"_s, QJsonValue::Null}, {u"mcc"_s, u"5734"_s}}},
                                  {u"settings"_s, QJsonObject{{u"dashboard"_s, QJsonObject{{u"display_name"_s, u"Example"_s},
                                                                                          {u"timezone"_s, u"Etc/UTC"_s}}},
                                                              {u"payouts"_s, QJsonObject{{u"schedule"_s, QJsonObject{}}}}}},
                                  {u"capabilities"_s, QJsonObject{{u"card_payments"_s, u"active"_s}}}}),
                   sameAsWhole<StripeAccountInfo>()});
    return out;
}

} // namespace

// Every record read by the scan from realistic bodies, compact and indented, is the one the
// whole parse gives.
TEST(StripeJsonScan, RealisticBodiesDecodeToTheSameRecords)
{
    for (const RealisticCase &c : realisticCases()) {
        for (const bool indented : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.name << (indented ? " indented" : " compact"));
            const QByteArray body =
                indented ? QJsonDocument::fromJson(c.body).toJson(QJsonDocument::Indented) : c.body;
            c.check(body);
        }
    }
}

// Broken variants of a realistic page: each must fail (or, rarely, survive) exactly as the
// whole parse would, with the same message naming the same offset or key path.
TEST(StripeJsonScan, MangledBodiesFailAsBefore)
{
    const QByteArray body = eventPage(Shape::Current, u"invoice.payment_succeeded"_s, invoiceSpecimen);
    std::mt19937 random(20'251'123);
    const QByteArray specials = R"({}[]":,\ u0e.-19tfn)" + QByteArray("\x00\x1f\x80\xc3\xff", 5);
    int vouched = 0;
    for (int round = 0; round < 3000; ++round) {
        QByteArray mangled = body;
        const int edits = 1 + int(random() % 3);
        for (int e = 0; e < edits; ++e) {
            const qsizetype at = qsizetype(random() % quint32(mangled.size()));
            const char byte = specials.at(qsizetype(random() % quint32(specials.size())));
            switch (random() % 4) {
            case 0: mangled[at] = byte; break;
            case 1: mangled.insert(at, byte); break;
            case 2: mangled.remove(at, 1 + qsizetype(random() % 8)); break;
            default: mangled.truncate(at); break;
            }
        }
        SCOPED_TRACE(testing::Message() << "round " << round << ": " << mangled.toStdString());
        if (scans(mangled)) {
            ++vouched;
            ASSERT_TRUE(qtAccepts(mangled)) << "the scan took a body QJsonDocument rejects";
        }
        expectSameOutcome<PaidInvoiceEventListResponse>(mangled);
        if (HasFatalFailure() || HasNonfatalFailure())
            return;
    }
    EXPECT_GT(vouched, 0) << "no mangled body stayed valid; the run says nothing about the scanned path";
}
