#include "StripeListing.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

void StripeListing::add(const QJsonObject &event)
{
    m_byType[event.value("type"_L1).toString()].append(
        {qint64(event.value("created"_L1).toDouble()), event.value("id"_L1).toString(),
         QJsonDocument(event).toJson(QJsonDocument::Compact)});
    ++m_count;
}

void StripeListing::finish()
{
    for (QList<Stored> &events : m_byType)
        std::stable_sort(events.begin(), events.end(), [](const Stored &a, const Stored &b) {
            return a.created != b.created ? a.created > b.created : a.id > b.id;
        });
}

std::pair<int, QByteArray> StripeListing::answer(const QList<std::pair<QString, QString>> &query) const
{
    QHash<QString, QString> given; // the last value of each key
    for (const auto &[name, value] : query)
        given.insert(name, value);
    const auto number = [&](const QString &key, qint64 otherwise) {
        return given.contains(key) ? given.value(key).toLongLong() : otherwise;
    };
    const qint64 from = number(u"created[gte]"_s, std::numeric_limits<qint64>::min());
    const qint64 to = number(u"created[lte]"_s, std::numeric_limits<qint64>::max());
    const int limit = given.contains(u"limit"_s) ? std::clamp(given.value(u"limit"_s).toInt(), 1, 100) : 10;
    const QString after = given.value(u"starting_after"_s);
    const QList<Stored> events = m_byType.value(given.value(u"type"_s));
    auto it = events.cbegin();
    if (!after.isEmpty()) {
        it = std::find_if(events.cbegin(), events.cend(), [&](const Stored &e) { return e.id == after; });
        if (it == events.cend())
            return {400, R"({"error":{"type":"invalid_request_error","message":"No such object: ')" + after.toUtf8() + "'\"}}"};
        ++it;
    }
    QByteArray body = R"({"object":"list","url":"/v1/events","data":[)";
    int taken = 0;
    bool more = false;
    for (; it != events.cend(); ++it) {
        if (it->created > to || it->created < from)
            continue;
        if (taken == limit) {
            more = true;
            break;
        }
        body += (taken++ ? "," : "") + it->json;
    }
    body += more ? "],\"has_more\":true}" : "],\"has_more\":false}";
    return {200, body};
}
