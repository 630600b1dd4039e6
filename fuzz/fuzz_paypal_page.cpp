// A PayPal answer as the client reads it: a token body, or a transaction page through to the
// events it yields.
#include "engine/PayPalEvents.h"
#include "paypal/PayPalRecords.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray body(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    (void)decodeJsonObject(body, [](JsonReader &reader) { return PPToken::decode(reader); });
    const auto page = decodeJsonObject(body, [](JsonReader &reader) { return PPListResp::decode(reader); });
    if (page.ok() && page.value().transaction_details)
        (void)paypalEvents(*page.value().transaction_details, Account::newAccount(AccountProvider::PayPal));
    return 0;
}
