#pragma once

#include <QByteArray>
#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QString>

// Stripe's /v1/events listing over a fixed set of events, answered as Stripe answers: one
// type per query, newest first, within created[gte] / created[lte], after starting_after,
// at most `limit` (up to 100) a page. Shared by loopback servers of tests and benchmarks.
class StripeListing
{
public:
    void add(const QJsonObject &event); // reads "id", "type" and "created"
    void finish();                      // sorts; call after the last add()

    // The status and body for the decoded query items of one request.
    std::pair<int, QByteArray> answer(const QList<std::pair<QString, QString>> &query) const;

    qsizetype size() const { return m_count; }

private:
    struct Stored { qint64 created; QString id; QByteArray json; };
    QHash<QString, QList<Stored>> m_byType;
    qsizetype m_count = 0;
};
