#pragma once

#include "model/PaymentEvent.h"

// A feed as three accounts produce it: Stripe invoices and charges with customer e-mails
// and dashboard links, PayPal payments without either, several currencies, every kind;
// newest first over 95 days at 100 000 events. The same events every time.
QList<PaymentEvent> syntheticFeed(int eventCount);
