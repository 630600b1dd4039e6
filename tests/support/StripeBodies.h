#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

// Builders for Stripe response bodies shaped like the real API's, in both the shape Stripe
// used up to 2025-02-24.acacia ("legacy": invoice.charge, invoice.subscription,
// charge.invoice) and the newer one (invoice.parent.subscription_details, no charge link).
namespace StripeBodies {

enum class Shape { Legacy, Current };

struct InvoiceFields
{
    QString id;
    qint64 amountPaid = 2000;
    QString currency = QStringLiteral("usd");
    qint64 created = 1'795'120'000;
    QString billingReason = QStringLiteral("subscription_cycle");
    QString customer = QStringLiteral("cus_TN4vQjzK8c2pLd");
    QString customerName = QStringLiteral("Jenny Rosen");
    QString customerEmail = QStringLiteral("jenny.rosen@example.com");
    QString charge;        // legacy shape only
    QString paymentIntent; // legacy shape only
    QString subscription = QStringLiteral("sub_1SQaPaB7WZ01zgkWcU7mBq2R");
    QString lineDescription = QStringLiteral("1 × Pro (at $20.00 / month)");
    qint64 amountDue = -1; // -1: same as amountPaid
};

struct ChargeFields
{
    QString id;
    qint64 amount = 2000;
    qint64 amountRefunded = 0;
    QString currency = QStringLiteral("usd");
    qint64 created = 1'795'123'645;
    QString customer = QStringLiteral("cus_TN4vQjzK8c2pLd");
    QString invoice;       // legacy shape: "" writes null
    QString paymentIntent;
    QString description = QStringLiteral("Lifetime licence");
    QString email = QStringLiteral("jenny.rosen@example.com");
    QString name = QStringLiteral("Jenny Rosen");
};

struct SubscriptionFields
{
    QString id = QStringLiteral("sub_1PqYrSB7WZ01zgkWa9Bc8De7");
    QString currency = QStringLiteral("usd");
    qint64 unitAmount = 12000;
    QString interval = QStringLiteral("year");
    qint64 intervalCount = 1;
    QString nickname = QStringLiteral("Pro yearly");
    qint64 canceledAt = 1'795'100'000;
};

QJsonObject invoice(const InvoiceFields &fields, Shape shape);
QJsonObject charge(const ChargeFields &fields, Shape shape);
QJsonObject subscription(const SubscriptionFields &fields, Shape shape);

// An event wrapping `object`, rendered in the API version matching `shape`.
QJsonObject event(const QString &id, const QString &type, qint64 created, const QJsonObject &object, Shape shape);
// A list page: {"object":"list","data":[...],"has_more":...,"url":...}.
QByteArray page(const QJsonArray &data, bool hasMore, const QString &url = QStringLiteral("/v1/events"));
QByteArray error(const QString &type, const QString &code, const QString &message, const QString &declineCode = {});

} // namespace StripeBodies
