#pragma once

#include "model/Account.h"
#include "model/PaymentEvent.h"
#include "paypal/PayPalRecords.h"

#include <QList>

// Turns the transactions of one PayPal account into `recurring` events: one per completed
// incoming payment, in the order received. Malformed rows are skipped silently.
QList<PaymentEvent> paypalEvents(const QList<PPTransaction> &transactions, const Account &account);

// PayPal's decimal amount text, read the same in every locale: an optional minus, digits,
// and an optional fraction ("465.00", "-13.79", "1500", ".50"). Anything else
// ("1,000.00", "1e3", " 5", "5.") is not a number.
std::optional<double> parsePayPalAmount(QStringView text);

// Whether a transaction is money received for a sale that has completed; see the .cpp.
bool isCompletedIncomingPayment(const PPInfo &info, double amount);
