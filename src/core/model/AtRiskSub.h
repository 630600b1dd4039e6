#pragma once

#include "model/Enums.h"
#include "json/JsonReader.h"

#include <QUrl>
#include <QUuid>

// A subscription whose payment failed and that may still be saved.
struct AtRiskSub
{
    QString id;
    QUuid accountId;
    QString accountName;
    std::optional<QString> customerEmail;
    std::optional<QString> customerName;
    QString planLabel;
    double monthlyAmount = 0;
    QString currency;
    double monthlyUSD = 0;
    AtRiskKind kind = AtRiskKind::PastDue;
    Date sinceDate;
    std::optional<QString> latestInvoiceId;
    std::optional<QUrl> dashboardURL;

    static AtRiskSub decode(JsonReader &reader, DateForm form = DateForm::Iso8601);
    friend bool operator==(const AtRiskSub &, const AtRiskSub &) = default;
};

QJsonObject toJson(const AtRiskSub &sub, DateForm form = DateForm::Iso8601);
size_t qHash(const AtRiskSub &sub, size_t seed = 0);
