#include "PayPalRecords.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

PPAmount PPAmount::decode(JsonReader &r)
{
    PPAmount a;
    a.currency_code = r.string("currency_code"_L1);
    a.value = r.string("value"_L1);
    return a;
}

PPInfo PPInfo::decode(JsonReader &r)
{
    PPInfo info;
    info.transaction_id = r.optString("transaction_id"_L1);
    info.transaction_event_code = r.optString("transaction_event_code"_L1);
    info.transaction_initiation_date = r.optString("transaction_initiation_date"_L1);
    if (const auto amount = r.optObject("transaction_amount"_L1)) {
        JsonReader nested = r.nested(*amount, "transaction_amount"_L1);
        info.transaction_amount = PPAmount::decode(nested);
    }
    info.transaction_status = r.optString("transaction_status"_L1);
    info.transaction_subject = r.optString("transaction_subject"_L1);
    return info;
}

PPTransaction PPTransaction::decode(JsonReader &r)
{
    PPTransaction t;
    const QJsonObject info = r.object("transaction_info"_L1);
    if (r.failed())
        return t;
    JsonReader nested = r.nested(info, "transaction_info"_L1);
    t.transaction_info = PPInfo::decode(nested);
    return t;
}

PPListResp PPListResp::decode(JsonReader &r)
{
    PPListResp resp;
    if (const auto details = r.optArray("transaction_details"_L1)) {
        QList<PPTransaction> list;
        list.reserve(details->size());
        for (qsizetype i = 0; i < details->size() && !r.failed(); ++i) {
            const QJsonValue value = details->at(i);
            if (!value.isObject()) {
                r.fail(r.pathOf("transaction_details"_L1) + u'[' + QString::number(i) + u"]: expected an object"_s);
                break;
            }
            JsonReader element = r.element(value.toObject(), "transaction_details"_L1, i);
            list.append(PPTransaction::decode(element));
        }
        resp.transaction_details = std::move(list);
    }
    resp.page = r.optInteger("page"_L1);
    resp.total_pages = r.optInteger("total_pages"_L1);
    return resp;
}

Result<QJsonObject, QString> parsePayPalObject(const QByteArray &body)
{
    QJsonParseError parseError;
    const QJsonDocument doc = QJsonDocument::fromJson(body, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return QString(parseError.errorString() + u" at offset "_s + QString::number(parseError.offset));
    if (!doc.isObject())
        return u"expected a JSON object"_s;
    return doc.object();
}
