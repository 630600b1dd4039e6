#pragma once

#include "model/PaymentEvent.h"

#include <QUuid>

// One customer's events of one kind in a range: a row of the drill-down.
struct CustomerGroup
{
    QString id; // lower-case e-mail, or "__noemail__" + event id when there is none
    QString displayName;
    std::optional<QString> email;
    double totalUSD = 0; // a customer may pay in several currencies: only US dollars add up
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

// Every event's customer as a small number: by e-mail ignoring case, every event without an
// e-mail its own customer. Hashing e-mails is most of what grouping costs, so a view builds
// this once when the feed changes and reuses it for every tile, range and filter until then.
struct CustomerIndex
{
    QList<qint32> customerOf; // per feed position
    qint32 customerCount = 0;
};
CustomerIndex customerIndex(const QList<PaymentEvent> &feed);

// The events at `positions` (newest first) grouped per customer; biggest total first, equal
// totals in order of their newest event. `index` must have been built from `feed`.
QList<CustomerGroup> groups(const QList<PaymentEvent> &feed, const CustomerIndex &index, const QList<qsizetype> &positions);
inline QList<CustomerGroup> groups(const QList<PaymentEvent> &feed, const QList<qsizetype> &positions)
{
    return groups(feed, customerIndex(feed), positions);
}

} // namespace DrillDown
