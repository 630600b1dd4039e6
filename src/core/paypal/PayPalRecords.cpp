#include "PayPalRecords.h"

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
    if (auto amount = r.optNested("transaction_amount"_L1))
        info.transaction_amount = PPAmount::decode(*amount);
    info.transaction_status = r.optString("transaction_status"_L1);
    info.transaction_subject = r.optString("transaction_subject"_L1);
    return info;
}

PPTransaction PPTransaction::decode(JsonReader &r)
{
    PPTransaction t;
    if (auto info = r.nested("transaction_info"_L1))
        t.transaction_info = PPInfo::decode(*info);
    return t;
}

PPListResp PPListResp::decode(JsonReader &r)
{
    PPListResp resp;
    QList<PPTransaction> list;
    if (r.forEachOptObject("transaction_details"_L1,
                           [&list](JsonReader &element) { list.append(PPTransaction::decode(element)); }))
        resp.transaction_details = std::move(list);
    resp.page = r.optInteger("page"_L1);
    resp.total_pages = r.optInteger("total_pages"_L1);
    return resp;
}

PPToken PPToken::decode(JsonReader &r)
{
    return {r.string("access_token"_L1)};
}
