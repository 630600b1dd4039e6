// The pass that drops unread members before parsing: whatever it does, a body must decode
// to the same record, or fail with the same text, as when QJsonDocument parses all of it.
#include "stripe/StripeDecoding.h"
#include "stripe/StripeJsonPrune.h"
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

// Decoding as it was before the pass existed: the whole body through QJsonDocument.
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

// Syntax the pass either vouches for (the pruned body goes on) or leaves to QJsonDocument.
// Either way the outcome must be QJsonDocument's; a vouched-for body QJsonDocument rejects
// would turn a decode error into a record.
TEST(StripeJsonPrune, SyntaxVerdictsMatchQJsonDocument)
{
    struct Case
    {
        const char *name;
        QByteArray body;
        bool vouched; // whether the pass takes the body
    };
    const Case cases[] = {
        {"empty object", "{}", true},
        {"spaces everywhere", " \t\r\n{ \"id\" : \"acct_1\" ,\n\"x\" : [ 1 , 2 ] }\n ", true},
        {"all simple escapes", R"({"display_name":"a\"b\\c\/d\be\ff\ng\rh\ti"})", true},
        {"unicode escape", R"({"display_name":"caf\u00e9 \u00E9"})", true},
        {"escaped surrogate pair", R"({"display_name":"\ud83d\ude00"})", true},
        {"raw multi-byte UTF-8", "{\"display_name\":\"caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80\"}", true},
        {"escaped key spelling a read key", R"({"displ\u0061y_name":"Shop"})", true},
        {"numbers", R"({"x":[0,-0,12,-12,1.5,-0.25,9223372036854775807,9223372036854775808,123456789012345678901234567890]})", true},
        {"literals", R"({"x":[true,false,null],"id":null})", true},
        {"nested arrays", R"({"x":[[[],[[1]]],[{"a":[{}]}]]})", true},
        {"duplicate read key", R"({"display_name":"first","display_name":"second"})", true},
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
        const auto pruned = StripeJsonPrune::prune(c.body);
        EXPECT_EQ(pruned.has_value(), c.vouched);
        if (pruned)
            EXPECT_TRUE(qtAccepts(c.body)) << "the pass took a body QJsonDocument rejects";
        expectSameOutcome<StripeAccountInfo>(c.body);
    }
}

TEST(StripeJsonPrune, KeepsReadMembersAndDropsTheRest)
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
        {"metadata kept whole", R"({"metadata":{"order":"42","nested":{"k":[1]}},"x":1})",
         R"({"metadata":{"order":"42","nested":{"k":[1]}}})"},
        {"escaped key kept whole", R"({"n\u0061me":{"anything":1},"other":2})", R"({"n\u0061me":{"anything":1}})"},
        {"whitespace dropped outside strings", "{ \"id\" :\n \"a b\" , \"x\" : 1 }", R"({"id":"a b"})"},
        {"duplicates kept in order", R"({"id":"a","x":0,"id":"b"})", R"({"id":"a","id":"b"})"},
        {"prefix of a read key is not read", R"({"i":1,"ids":2,"amounts":3})", "{}"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(StripeJsonPrune::prune(c.body).value_or("<not vouched>"), c.expected);
    }
}

TEST(StripeJsonPrune, KeysReadByTheRecordsAreKept)
{
    for (const char *key : {"id", "created", "data", "has_more", "object", "metadata", "amount_paid", "parent",
                            "subscription_details", "payments", "payment", "unit_amount", "interval_count", "latest_invoice",
                            "cancellation_details", "decline_code", "support_url", "dashboard", "billing_details"}) {
        SCOPED_TRACE(key);
        EXPECT_TRUE(StripeJsonPrune::isReadKey(QByteArrayView(key)));
    }
    for (const char *key : {"", "livemode", "status_transitions", "ID", "id ", "amount_paid_", "a"})
        EXPECT_FALSE(StripeJsonPrune::isReadKey(QByteArrayView(key))) << key;
}

// Hostile nesting must neither overflow the stack nor change the verdict: the pass gives up
// past its bound and QJsonDocument, which has its own, decides.
TEST(StripeJsonPrune, DeepNestingIsBoundedAndJudgedAsBefore)
{
    struct Case
    {
        int depth;
        bool vouched;
    };
    const Case cases[] = {{10, true}, {StripeJsonPrune::maxDepth - 1, true}, {StripeJsonPrune::maxDepth, false},
                          {1100, false}, {200'000, false}};
    for (const Case &c : cases) {
        for (const auto &[open, close] : {std::pair<QByteArray, QByteArray>{"[", "]"}, {"{\"id\":", "}"}, {"{\"q\":", "}"}}) {
            SCOPED_TRACE(testing::Message() << "depth " << c.depth << " of " << open.toStdString());
            const QByteArray body = nested(open, close, c.depth);
            EXPECT_EQ(StripeJsonPrune::prune(body).has_value(), c.vouched);
            expectSameOutcome<StripeAccountInfo>(body);
        }
    }
    // Unclosed deep nesting ends in a decode error, not a crash.
    const auto truncated = StripeWire::decode<StripeAccountInfo>(QByteArray("{\"x\":") + QByteArray("[").repeated(100'000));
    ASSERT_FALSE(truncated.ok());
    EXPECT_EQ(truncated.error().kind(), StripeError::Kind::Decoding);
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

template<typename T>
std::function<void(const QByteArray &)> sameAsWhole()
{
    return [](const QByteArray &body) {
        ASSERT_TRUE(decodeWhole<T>(body).ok()) << "the specimen itself must decode";
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

// Every record built from realistic bodies, compact and indented, is the one the whole
// parse gives; and the pass really took those bodies and shrank them.
TEST(StripeJsonPrune, RealisticBodiesDecodeToTheSameRecords)
{
    for (const RealisticCase &c : realisticCases()) {
        for (const bool indented : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.name << (indented ? " indented" : " compact"));
            const QByteArray body =
                indented ? QJsonDocument::fromJson(c.body).toJson(QJsonDocument::Indented) : c.body;
            const auto pruned = StripeJsonPrune::prune(body);
            ASSERT_TRUE(pruned.has_value());
            EXPECT_LT(pruned->size(), body.size());
            c.check(body);
        }
    }
}

// Broken variants of a realistic page: each must fail (or, rarely, survive) exactly as the
// whole parse would, with the same message naming the same offset or key path.
TEST(StripeJsonPrune, MangledBodiesFailAsBefore)
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
        if (StripeJsonPrune::prune(mangled)) {
            ++vouched;
            ASSERT_TRUE(qtAccepts(mangled)) << "the pass took a body QJsonDocument rejects";
        }
        expectSameOutcome<PaidInvoiceEventListResponse>(mangled);
        if (HasFatalFailure() || HasNonfatalFailure())
            return;
    }
    EXPECT_GT(vouched, 0) << "no mangled body stayed valid; the run says nothing about the pruned path";
}
