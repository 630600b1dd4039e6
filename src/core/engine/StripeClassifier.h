#pragma once

#include "model/Account.h"
#include "model/PaymentEvent.h"
#include "stripe/StripeRecords.h"

#include <QSet>

// Turning Stripe objects into feed events. Pure functions of the objects and the account.
namespace StripeClassifier {

PaymentEvent fromPaidInvoice(const RawInvoice &invoice, const Account &account);
PaymentEvent fromStandaloneCharge(const SucceededChargeEvent &charge, const Account &account);
PaymentEvent fromCancellation(const SubscriptionCancellation &cancellation, const Account &account);
PaymentEvent fromFailedPayment(const FailedPaymentEvent &failure, const Account &account);
PaymentEvent fromRefund(const RefundEvent &refund, const Account &account);

// The payment of a subscription shows up twice: as the paid invoice and as the charge that
// paid it. Older API versions link the two (invoice.charge, charge.invoice); newer ones do
// not, so a charge is also matched to an invoice by payment intent, or by customer, currency,
// amount and time. Returns the charges that paid an invoice of `invoices`.
QSet<QString> chargesPayingInvoices(const QList<SucceededChargeEvent> &charges, const QList<RawInvoice> &invoices);

} // namespace StripeClassifier
