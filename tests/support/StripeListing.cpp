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
    QString type, after;
    qint64 from = std::numeric_limits<qint64>::min(), to = std::numeric_limits<qint64>::max();
    int limit = 10;
    for (const auto &[name, value] : query) {
        if (name == "type"_L1)
            type = value;
        else if (name == "limit"_L1)
            limit = std::clamp(value.toInt(), 1, 100);
        else if (name == "created[gte]"_L1)
            from = value.toLongLong();
        else if (name == "created[lte]"_L1)
            to = value.toLongLong();
        else if (name == "starting_after"_L1)
            after = value;
    }
    const QList<Stored> events = m_byType.value(type);
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
