#include "CsvExport.h"

#include <QRegularExpression>
#include <algorithm>

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
    // A spreadsheet runs a cell that starts like a formula; a leading quote keeps such text
    // text. Plain numbers, negative amounts among them, stay numbers.
    static constexpr QStringView formulaStarts = u"=+-@\t\r";
    static const QRegularExpression plainNumber(u"^-?\\d+(\\.\\d+)?$"_s);
    QString value = text;
    if (!value.isEmpty() && formulaStarts.contains(value.front()) && !plainNumber.match(value).hasMatch())
        value.prepend(u'\'');
    if (!value.contains(u',') && !value.contains(u'"') && !value.contains(u'\n') && !value.contains(u'\r'))
        return value;
    value.replace(u"\""_s, u"\"\""_s);
    return u'"' + value + u'"';
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

QByteArray customers(const QList<PaymentEvent> &feed, const QList<CustomerGroup> &groups)
{
    QList<QStringList> rows{{u"customer"_s, u"email"_s, u"account"_s, u"events"_s, u"amount"_s, u"currency"_s,
                             u"amount_usd"_s, u"last_date"_s}};
    struct CurrencyTotal
    {
        QString currency;
        double native = 0;
        double usd = 0;
        int count = 0;
        Date lastDate;
    };
    for (const CustomerGroup &g : groups) {
        QList<CurrencyTotal> totals; // in order of each currency's newest event
        for (qsizetype i : g.events) {
            const PaymentEvent &e = feed.at(i);
            const QString currency = e.currency.toUpper();
            auto total = std::find_if(totals.begin(), totals.end(),
                                      [&](const CurrencyTotal &t) { return t.currency == currency; });
            if (total == totals.end())
                total = totals.insert(totals.end(), CurrencyTotal{currency, 0, 0, 0, Date()});
            total->native += e.amount;
            total->usd += e.usdAmount;
            ++total->count;
            total->lastDate = std::max(total->lastDate, e.date);
        }
        for (const CurrencyTotal &t : std::as_const(totals))
            rows.append({g.displayName, g.email.value_or(QString()), g.accountName, QString::number(t.count),
                         amount(t.native), t.currency, amount(t.usd), t.lastDate.toIsoString()});
    }
    return join(rows);
}

} // namespace CsvExport
