// A PayPal transaction page as the client reads it, through to the events it yields.
#include "engine/PayPalEvents.h"
#include "paypal/PayPalRecords.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray body(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const auto object = parsePayPalObject(body);
    if (!object.ok())
        return 0;
    JsonReader reader(object.value());
    const PPListResp list = PPListResp::decode(reader);
    if (!reader.failed())
        (void)paypalEvents(list.transaction_details.value_or(QList<PPTransaction>()), Account::newAccount(AccountProvider::PayPal));
    return 0;
}
