#include "StripeBodies.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace StripeBodies {
namespace {

QJsonValue orNull(const QString &s)
{
    return s.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(s);
}

} // namespace

QJsonObject invoice(const InvoiceFields &s, Shape shape)
{
    const qint64 due = s.amountDue < 0 ? s.amountPaid : s.amountDue;
    QJsonObject line{
        {"id"_L1, QString(u"il_"_s + s.id.mid(3))}, {"object"_L1, "line_item"_L1},
        {"amount"_L1, s.amountPaid}, {"currency"_L1, s.currency}, {"description"_L1, orNull(s.lineDescription)},
        {"livemode"_L1, false}, {"metadata"_L1, QJsonObject{}}, {"quantity"_L1, 1},
        {"period"_L1, QJsonObject{{"end"_L1, s.created + 2'592'000}, {"start"_L1, s.created}}},
    };
    QJsonObject o{
        {"id"_L1, s.id}, {"object"_L1, "invoice"_L1}, {"account_country"_L1, "US"_L1}, {"amount_due"_L1, due},
        {"amount_paid"_L1, s.amountPaid}, {"amount_remaining"_L1, due - s.amountPaid},
        {"attempt_count"_L1, 1}, {"attempted"_L1, true}, {"billing_reason"_L1, orNull(s.billingReason)},
        {"collection_method"_L1, "charge_automatically"_L1}, {"created"_L1, s.created},
        {"currency"_L1, s.currency}, {"customer"_L1, s.customer}, {"customer_email"_L1, orNull(s.customerEmail)},
        {"customer_name"_L1, orNull(s.customerName)},
        {"lines"_L1, QJsonObject{{"object"_L1, "list"_L1}, {"data"_L1, QJsonArray{line}}, {"has_more"_L1, false},
                                 {"total_count"_L1, 1}, {"url"_L1, u"/v1/invoices/%1/lines"_s.arg(s.id)}}},
        {"livemode"_L1, false}, {"metadata"_L1, QJsonObject{}}, {"number"_L1, "7FE1103-0001"_L1},
        {"status"_L1, "paid"_L1}, {"total"_L1, due},
        {"status_transitions"_L1, QJsonObject{{"paid_at"_L1, s.created + 5}, {"finalized_at"_L1, s.created}}},
    };
    if (shape == Shape::Legacy) {
        o.insert("charge"_L1, orNull(s.charge));
        o.insert("payment_intent"_L1, orNull(s.paymentIntent));
        o.insert("subscription"_L1, orNull(s.subscription));
        o.insert("paid"_L1, true);
        o.insert("subscription_details"_L1, QJsonObject{{"metadata"_L1, QJsonObject{}}});
        return o;
    }
    o.insert("amount_overpaid"_L1, 0);
    const QJsonObject details{{"metadata"_L1, QJsonObject{}}, {"subscription"_L1, s.subscription}};
    o.insert("parent"_L1, s.subscription.isEmpty() ? QJsonValue(QJsonValue::Null)
                                                   : QJsonObject{{"quote_details"_L1, QJsonValue::Null},
                                                                 {"subscription_details"_L1, details},
                                                                 {"type"_L1, "subscription_details"_L1}});
    return o;
}

QJsonObject charge(const ChargeFields &s, Shape shape)
{
    const QJsonObject billing{{"address"_L1, QJsonObject{{"city"_L1, QJsonValue::Null}}}, {"email"_L1, orNull(s.email)},
                              {"name"_L1, orNull(s.name)}, {"phone"_L1, QJsonValue::Null}};
    QJsonObject o{
        {"id"_L1, s.id}, {"object"_L1, "charge"_L1}, {"amount"_L1, s.amount}, {"amount_captured"_L1, s.amount},
        {"amount_refunded"_L1, s.amountRefunded}, {"balance_transaction"_L1, QString(u"txn_"_s + s.id.mid(3))},
        {"billing_details"_L1, billing}, {"captured"_L1, true}, {"created"_L1, s.created},
        {"currency"_L1, s.currency}, {"customer"_L1, orNull(s.customer)}, {"livemode"_L1, false},
        {"description"_L1, orNull(s.description)}, {"metadata"_L1, QJsonObject{}}, {"paid"_L1, true},
        {"payment_intent"_L1, orNull(s.paymentIntent)},
        {"refunded"_L1, s.amountRefunded >= s.amount && s.amount > 0}, {"status"_L1, "succeeded"_L1},
    };
    if (shape == Shape::Legacy)
        o.insert("invoice"_L1, orNull(s.invoice));
    return o;
}

QJsonObject subscription(const SubscriptionFields &s, Shape shape)
{
    const QJsonObject recurring{{"interval"_L1, s.interval}, {"interval_count"_L1, s.intervalCount},
                                {"usage_type"_L1, "licensed"_L1}};
    const QJsonObject price{
        {"id"_L1, "price_1PqYqzB7WZ01zgkWy1Ea2Rl3"_L1}, {"object"_L1, "price"_L1},
        {"currency"_L1, s.currency}, {"nickname"_L1, orNull(s.nickname)}, {"recurring"_L1, recurring},
        {"type"_L1, "recurring"_L1},
        {"unit_amount"_L1, s.unitAmount}, {"unit_amount_decimal"_L1, QString::number(s.unitAmount)},
    };
    QJsonObject item{{"id"_L1, "si_R0aB1cD2eF3gH4"_L1}, {"object"_L1, "subscription_item"_L1},
                     {"price"_L1, price}, {"quantity"_L1, 1}, {"subscription"_L1, s.id}};
    const qint64 periodEnd = s.canceledAt + 86'400 * 30;
    if (shape == Shape::Current) {
        item.insert("current_period_start"_L1, s.canceledAt - 86'400);
        item.insert("current_period_end"_L1, periodEnd);
    }
    QJsonObject o{
        {"id"_L1, s.id}, {"object"_L1, "subscription"_L1}, {"cancel_at_period_end"_L1, false},
        {"canceled_at"_L1, s.canceledAt}, {"currency"_L1, s.currency},
        {"customer"_L1, "cus_QhXy1zA2bC3dE4"_L1}, {"ended_at"_L1, s.canceledAt}, {"status"_L1, "canceled"_L1},
        {"items"_L1, QJsonObject{{"object"_L1, "list"_L1}, {"data"_L1, QJsonArray{item}},
                                 {"has_more"_L1, false}}},
    };
    if (shape == Shape::Legacy)
        o.insert("current_period_end"_L1, periodEnd);
    return o;
}

QJsonObject event(const QString &id, const QString &type, qint64 created, const QJsonObject &object, Shape shape)
{
    return QJsonObject{
        {"id"_L1, id}, {"object"_L1, "event"_L1},
        {"api_version"_L1, shape == Shape::Legacy ? "2025-01-27.acacia"_L1 : "2025-03-31.basil"_L1},
        {"created"_L1, created}, {"data"_L1, QJsonObject{{"object"_L1, object}}}, {"livemode"_L1, false},
        {"pending_webhooks"_L1, 0}, {"type"_L1, type},
        {"request"_L1, QJsonObject{{"id"_L1, QJsonValue::Null}, {"idempotency_key"_L1, QJsonValue::Null}}},
    };
}

QByteArray page(const QJsonArray &data, bool hasMore, const QString &url)
{
    const QJsonObject list{{"object"_L1, "list"_L1}, {"data"_L1, data}, {"has_more"_L1, hasMore}, {"url"_L1, url}};
    return QJsonDocument(list).toJson(QJsonDocument::Compact);
}

QByteArray error(const QString &type, const QString &code, const QString &message, const QString &declineCode)
{
    QJsonObject err{{"type"_L1, type}};
    const std::pair<QLatin1StringView, QString> optional[] = {
        {"code"_L1, code}, {"message"_L1, message}, {"decline_code"_L1, declineCode}};
    for (const auto &[key, value] : optional)
        if (!value.isEmpty())
            err.insert(key, value);
    return QJsonDocument(QJsonObject{{"error"_L1, err}}).toJson();
}

} // namespace StripeBodies
