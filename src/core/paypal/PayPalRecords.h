#pragma once

#include "json/JsonReader.h"
#include "util/Result.h"

#include <QList>
#include <QString>
#include <optional>

// Wire records of PayPal's transaction search, named as PayPal names its keys. Only the
// keys the loader reads are modelled; every other key is ignored. Optional keys may be
// absent or null alike.
struct PPTransaction
{
    struct PPInfo
    {
        struct PPAmount
        {
            QString currency_code;
            QString value; // a decimal number as text, in major units: "465.00", "-13.79", "1500", ".50"

            static PPAmount decode(JsonReader &reader);
            friend bool operator==(const PPAmount &, const PPAmount &) = default;
        };

        std::optional<QString> transaction_id;
        // T-code: "T0006" for a checkout payment, "T1107" for a refund, "T0400" for a withdrawal.
        std::optional<QString> transaction_event_code;
        std::optional<QString> transaction_initiation_date; // "+0000" or RFC 3339 form
        std::optional<PPAmount> transaction_amount;
        // "S" completed, "P" pending, "D" denied, "V" reversed, "F" partially refunded.
        std::optional<QString> transaction_status;
        std::optional<QString> transaction_subject;

        static PPInfo decode(JsonReader &reader);
        friend bool operator==(const PPInfo &, const PPInfo &) = default;
    };

    PPInfo transaction_info;

    static PPTransaction decode(JsonReader &reader);
    friend bool operator==(const PPTransaction &, const PPTransaction &) = default;
};

using PPInfo = PPTransaction::PPInfo;
using PPAmount = PPTransaction::PPInfo::PPAmount;

// The answer of POST /v1/oauth2/token.
struct PPToken
{
    QString access_token;

    static PPToken decode(JsonReader &reader);
};

// One page of GET /v1/reporting/transactions. A transaction that does not decode is left
// out and counted; the rest of the page is used.
struct PPListResp
{
    std::optional<QList<PPTransaction>> transaction_details; // absent: no transactions
    qsizetype skipped = 0;
    std::optional<qint64> page;                               // 1 for the first page
    std::optional<qint64> total_pages;

    static PPListResp decode(JsonReader &reader);
};

// PayPal's decimal amount text, read the same in every locale: an optional minus, digits,
// and an optional fraction ("465.00", "-13.79", "1500", ".50"). Anything else
// ("1,000.00", "1e3", " 5", "5.") is not a number, and
// neither is an amount beyond the sane bounds (AmountBounds).
std::optional<double> parsePayPalAmount(QStringView text);

