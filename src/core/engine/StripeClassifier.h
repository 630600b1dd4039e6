#pragma once

#include "model/Account.h"
#include "model/PaymentEvent.h"
#include "stripe/StripeRecords.h"


// Turning Stripe objects into feed events. Pure functions of the objects and the account.
namespace StripeClassifier {

PaymentEvent fromPaidInvoice(const RawInvoice &invoice, const Account &account);
PaymentEvent fromStandaloneCharge(const SucceededChargeEvent &charge, const Account &account);
PaymentEvent fromCancellation(const SubscriptionCancellation &cancellation, const Account &account);
PaymentEvent fromFailedPayment(const FailedPaymentEvent &failure, const Account &account);
PaymentEvent fromRefund(const RefundEvent &refund, const Account &account);

} // namespace StripeClassifier
