#include "CsvExport.h"

using namespace Qt::StringLiterals;

namespace CsvExport {
namespace {

QString amount(double value)
{
    // Two decimals in every currency, never exponent notation, never "-0".
    return QString::number(value == 0 ? 0.0 : value, 'f', 2);
}

QByteArray join(const QList<QStringList> &rows)
{
    QString text;
    for (const QStringList &row : rows) {
        QStringList fields;
        fields.reserve(row.size());
        for (const QString &f : row)
            fields.append(field(f));
        text += fields.join(u',') + u"\r\n"_s;
    }
    return text.toUtf8();
}

} // namespace

QString field(const QString &text)
{
    if (!text.contains(u',') && !text.contains(u'"') && !text.contains(u'\n') && !text.contains(u'\r'))
        return text;
    QString quoted = text;
    quoted.replace(u"\""_s, u"\"\""_s);
    return u'"' + quoted + u'"';
}

QByteArray events(const QList<PaymentEvent> &events)
{
    QList<QStringList> rows{{u"date"_s, u"kind"_s, u"account"_s, u"customer_email"_s, u"description"_s, u"amount"_s,
                             u"currency"_s, u"amount_usd"_s, u"id"_s, u"dashboard_url"_s}};
    for (const PaymentEvent &e : events)
        rows.append({e.date.toIsoString(), toRaw(e.kind), e.accountName, e.customerEmail.value_or(QString()),
                     e.description, amount(e.amount), e.currency.toUpper(), amount(e.usdAmount), e.id,
                     e.dashboardURL.value_or(QString())});
    return join(rows);
}

QByteArray customers(const QList<CustomerGroup> &groups)
{
    QList<QStringList> rows{{u"customer"_s, u"email"_s, u"account"_s, u"events"_s, u"amount"_s, u"currency"_s,
                             u"amount_usd"_s, u"last_date"_s}};
    for (const CustomerGroup &g : groups)
        rows.append({g.displayName, g.email.value_or(QString()), g.accountName, QString::number(g.count),
                     amount(g.totalNative), g.currency.toUpper(), amount(g.totalUSD), g.lastDate.toIsoString()});
    return join(rows);
}

} // namespace CsvExport
