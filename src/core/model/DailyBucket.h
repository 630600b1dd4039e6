#pragma once

#include "json/JsonReader.h"

// US-dollar sums of one local day; the unit of the chart.
struct DailyBucket
{
    Date date; // local start of the day
    double newMRR = 0;
    double recurringMRR = 0;
    double churn = 0;

    static DailyBucket decode(JsonReader &reader, DateForm form = DateForm::Iso8601);
    friend bool operator==(const DailyBucket &, const DailyBucket &) = default;
};

QJsonObject toJson(const DailyBucket &bucket, DateForm form = DateForm::Iso8601);
