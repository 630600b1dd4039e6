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
// The line for the events of a refresh beyond those announced one by one, with what their
// sales bring in US dollars: "+2,996 more sales · $41,380", "+12 more events · $300"; without
// the amount in privacy mode.
QString summary(const QList<PaymentEvent> &rest, bool privacyMode = false);
// New subscriptions and renewals are sales: a refresh with one rings.
bool isSale(RevenueKind kind);

} // namespace NotificationText
