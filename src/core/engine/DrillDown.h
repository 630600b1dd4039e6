#pragma once

#include "model/PaymentEvent.h"

#include <QUuid>

// One customer's events of one kind in a range: a row of the drill-down.
struct CustomerGroup
{
    QString id; // lower-case e-mail, or "__noemail__" + event id when there is none
    QString displayName;
    std::optional<QString> email;
    double totalUSD = 0;
    double totalNative = 0;
    QString currency;
    int count = 0;
    Date lastDate;
    // The group's events as positions in the list it was built from, newest first: tens of
    // thousands of event copies per tile click would cost more than the grouping itself.
    QList<qsizetype> events;
    QString accountName;
    friend bool operator==(const CustomerGroup &, const CustomerGroup &) = default;
};

// Who is behind a totals tile. Pure functions of the feed.
namespace DrillDown {

struct Selection
{
    std::optional<RevenueKind> kind; // none: every kind
    Date start;
    Date end;
    std::optional<QUuid> account;
};

// The positions in `feed` of the selection's events, newest first.
QList<qsizetype> events(const QList<PaymentEvent> &feed, const Selection &selection);
QList<PaymentEvent> eventsAt(const QList<PaymentEvent> &feed, const QList<qsizetype> &positions);

// The events at `positions` (newest first) grouped per customer: by e-mail ignoring case,
// every event without an e-mail on its own; biggest total first, equal totals in order of
// their newest event.
QList<CustomerGroup> groups(const QList<PaymentEvent> &feed, const QList<qsizetype> &positions);

} // namespace DrillDown
