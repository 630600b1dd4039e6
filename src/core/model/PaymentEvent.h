#pragma once

#include "model/Enums.h"
#include "json/JsonReader.h"

#include <QUrl>
#include <QUuid>

// One entry of the activity feed. Built by the loaders; replaced, never edited.
struct PaymentEvent
{
    QString id;
    Date date;
    double amount = 0;    // the event's own currency, major units
    QString currency;     // as the provider gave it
    double usdAmount = 0; // normalised
    QUuid accountId;
    QString accountName;
    RevenueKind kind = RevenueKind::Recurring;
    QString description;
    std::optional<QString> customerEmail;
    // The provider dashboard's page for the event, fully encoded. Kept as text: a feed holds
    // many thousands of events and only the rows on screen become links.
    std::optional<QString> dashboardURL;

    // dashboardURL as a link to open: only a valid http(s) URL, whatever a hand-edited file holds.
    std::optional<QUrl> dashboardLink() const;

    static PaymentEvent decode(JsonReader &reader, DateForm form = DateForm::Iso8601);
    friend bool operator==(const PaymentEvent &, const PaymentEvent &) = default;
};

QJsonObject toJson(const PaymentEvent &event, DateForm form = DateForm::Iso8601);
size_t qHash(const PaymentEvent &event, size_t seed = 0);
