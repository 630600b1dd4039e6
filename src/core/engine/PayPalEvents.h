#pragma once

#include "model/Account.h"
#include "model/PaymentEvent.h"
#include "paypal/PayPalRecords.h"

#include <QList>

// Turns the transactions of one PayPal account into `recurring` events: one per completed
// incoming payment, in the order received. Rows without a date or amount are left out.
QList<PaymentEvent> paypalEvents(const QList<PPTransaction> &transactions, const Account &account);

// Whether a transaction is money received for a sale that has completed; see the .cpp.
bool isCompletedIncomingPayment(const PPInfo &info, double amount);
