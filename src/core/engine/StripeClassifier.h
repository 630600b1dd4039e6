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
// paid it. A charge paid an invoice exactly when the older object shape links the two
// (invoice.charge or invoice.payment_intent) or when a paid invoice payment names the
// charge or its payment intent. Returns the ids of those charges.
QSet<QString> chargesPayingInvoices(const QList<SucceededChargeEvent> &charges, const QList<RawInvoice> &invoices,
                                    const QList<RawInvoicePayment> &invoicePayments);
// Paid invoices whose payment neither their own shape nor `invoicePayments` names: Stripe
// recorded it before the listing's reach (a retried or sent invoice), so it is asked for.
QStringList invoicesWithoutListedPayment(const QList<RawInvoice> &invoices, const QList<RawInvoicePayment> &invoicePayments);

} // namespace StripeClassifier
