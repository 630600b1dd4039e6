#include "DailyBucket.h"

using namespace Qt::StringLiterals;

DailyBucket DailyBucket::decode(JsonReader &r, DateForm form)
{
    DailyBucket b;
    b.date = r.date("date"_L1, form);
    b.newMRR = r.amount("newMRR"_L1);
    b.recurringMRR = r.amount("recurringMRR"_L1);
    b.churn = r.amount("churn"_L1);
    return b;
}

QJsonObject toJson(const DailyBucket &b, DateForm form)
{
    return QJsonObject{{"date"_L1, encodeDate(b.date, form)},
                       {"newMRR"_L1, b.newMRR},
                       {"recurringMRR"_L1, b.recurringMRR},
                       {"churn"_L1, b.churn}};
}
