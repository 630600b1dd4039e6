#pragma once

#include "model/PaymentEvent.h"

// The words of an event's notification, the same on every desktop.
namespace NotificationText {

// "💰 New subscription", "⚠️ Canceled subscription", ...
QString title(RevenueKind kind);
// The native amount, signed for money going out: "$49.00", "-12.50 EUR", "4999.00 INR".
QString amountText(const PaymentEvent &event);
// The amount text, " — " and the description (also when that is empty). Nothing in privacy
// mode: descriptions quote prices and may name the customer.
QString body(const PaymentEvent &event, bool privacyMode);
// "quorvane-" and the event id.
QString identifier(const PaymentEvent &event);
// New subscriptions and renewals are sales: each one rings.
bool isSale(RevenueKind kind);

} // namespace NotificationText
