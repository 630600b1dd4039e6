#include "PayPalRecords.h"

#include "json/AmountBounds.h"

#include <charconv>

using namespace Qt::StringLiterals;

PPAmount PPAmount::decode(JsonReader &r)
{
    PPAmount a;
    a.currency_code = r.string("currency_code"_L1);
    a.value = r.string("value"_L1);
    if (!r.failed() && !parsePayPalAmount(a.value))
        r.fail(r.pathOf("value"_L1) + u": expected an amount within a trillion"_s);
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
    list.reserve(r.arraySize("transaction_details"_L1));
    if (r.forEachObjectSkippingBad(
            "transaction_details"_L1, false,
            [&list](JsonReader &element) {
                PPTransaction transaction = PPTransaction::decode(element);
                if (!element.failed())
                    list.append(std::move(transaction));
            },
            [&resp](JsonReader *) { ++resp.skipped; }))
        resp.transaction_details = std::move(list);
    resp.page = r.optInteger("page"_L1);
    resp.total_pages = r.optInteger("total_pages"_L1);
    return resp;
}

PPToken PPToken::decode(JsonReader &r)
{
    return {r.string("access_token"_L1)};
}

std::optional<double> parsePayPalAmount(QStringView text)
{
    // PayPal's money pattern is ^((-?[0-9]+)|(-?([0-9]+)?[.][0-9]+))$, at most 32 characters.
    if (text.isEmpty() || text.size() > 32)
        return std::nullopt;
    char buffer[33];
    qsizetype pos = 0;
    qsizetype intDigits = 0;
    qsizetype fractionDigits = 0;
    bool seenPoint = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        if (c == u'-' && i == 0) {
        } else if (c == u'.' && !seenPoint) {
            seenPoint = true;
        } else if (c >= u'0' && c <= u'9') {
            ++(seenPoint ? fractionDigits : intDigits);
        } else {
            return std::nullopt;
        }
        buffer[pos++] = static_cast<char>(c);
    }
    if (seenPoint ? fractionDigits == 0 : intDigits == 0)
        return std::nullopt;
    // from_chars never consults the locale, so "12,50" can never be read as 12.5.
    double value = 0;
    const auto [end, error] = std::from_chars(buffer, buffer + pos, value);
    if (error != std::errc() || end != buffer + pos || !isSaneAmount(value))
        return std::nullopt;
    return value;
}
