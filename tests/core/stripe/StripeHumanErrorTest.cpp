// Stripe error bodies worded as short sentences.
#include "stripe/StripeClient.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(StripeHumanError, ParseHumanErrorBranches)
{
    const std::tuple<const char *, QByteArray, std::optional<QString>> rows[] = {
        {"decline code wins over code and message",
         R"({"error":{"advice_code":"try_again_later","charge":"ch_1","code":"card_declined","decline_code":"insufficient_funds",
             "doc_url":"https://stripe.com/docs/error-codes/card-declined","message":"Your card has insufficient funds.",
             "network_decline_code":"51","type":"card_error"}})",
         u"Insufficient funds on card"_s},
        {"code in the table", R"({"error":{"code":"expired_card","message":"Your card has expired."}})", u"Card expired"_s},
        {"unknown decline code, known code is not consulted",
         R"({"error":{"code":"card_declined","decline_code":"highest_risk_level","message":"Your card was declined."}})",
         u"Your card was declined."_s},
        {"unknown code with a message", R"({"error":{"code":"rate_limit","message":"Request rate limit exceeded."}})",
         u"Request rate limit exceeded."_s},
        {"unknown code, no message", R"({"error":{"charge":"ch_1","code":"card_velocity_exceeded","type":"card_error"}})",
         u"Charge declined: card velocity exceeded"_s},
        {"unknown code, empty message", R"({"error":{"code":"card_velocity_exceeded","message":""}})",
         u"Charge declined: card velocity exceeded"_s},
        {"message only", R"({"error":{"message":"Invalid API Key provided: rk_test_***3dZx","type":"invalid_request_error"}})",
         u"Invalid API Key provided: rk_test_***3dZx"_s},
        {"nulls everywhere", R"({"error":{"code":null,"decline_code":null,"message":null}})", std::nullopt},
        {"error null", R"({"error":null})", std::nullopt},
        {"error not an object", R"({"error":"card_declined"})", std::nullopt},
        {"not JSON", "Bad Gateway", std::nullopt},
        {"array", R"([{"error":{"code":"lost_card"}}])", std::nullopt},
    };
    for (const auto &[name, body, sentence] : rows) {
        SCOPED_TRACE(name);
        EXPECT_EQ(StripeClient::parseHumanError(body), sentence);
    }
}

TEST(StripeHumanError, PlainStripeIds)
{
    const std::pair<QString, bool> rows[] = {
        {u"in_1SQ3mNB7WZ01zgkWf9Gh0Jk1"_s, true}, {u"pi_3SQaPbB7WZ01zgkW0aQ1Hh3k"_s, true}, {u"X"_s, true},
        {u""_s, false}, {u"in_1/pay"_s, false}, {u"in-1"_s, false}, {u"in.1"_s, false}, {u"in_\u0131"_s, false},
        {u"in_1\n"_s, false},
    };
    for (const auto &[id, plain] : rows) {
        SCOPED_TRACE(id.toStdString());
        EXPECT_EQ(StripeClient::isPlainStripeId(id), plain);
    }
}
