// Every Stripe record a response body is decoded into.
#include "stripe/StripeClient.h"
#include "stripe/StripeDecoding.h"
#include "stripe/StripeEvents.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray body(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    (void)StripeWire::decode<PaidInvoiceEventListResponse>(body);
    (void)StripeWire::decode<FailedEventListResponse>(body);
    (void)StripeWire::decode<RefundEventListResponse>(body);
    (void)StripeWire::decode<SucceededChargeListResponse>(body);
    (void)StripeWire::decode<EventListResponse>(body);
    (void)StripeWire::decode<ChargeListResponse>(body);
    (void)StripeWire::decode<ExpandedSubscriptionListResponse>(body);
    (void)StripeWire::decode<InvoicePaymentListResponse>(body);
    (void)StripeWire::decode<StripeAccountInfo>(body);
    (void)StripeClient::parseHumanError(body);
    return 0;
}
