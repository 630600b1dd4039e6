#include "CurrencyConverter.h"

#include <QHash>
#include <QRegularExpression>
#include <cmath>

using namespace Qt::StringLiterals;

namespace CurrencyConverter {
namespace {

struct Row
{
    const char *code;
    double usdPerUnit;
    const char16_t *symbol;
};

constexpr Row table[] = {
    {"usd", 1.0, u"$"},       {"eur", 1.08, u"€"},       {"gbp", 1.27, u"£"},       {"inr", 0.012, u"₹"},
    {"cad", 0.73, u"C$"},     {"aud", 0.66, u"A$"},      {"jpy", 0.0064, u"¥"},     {"sgd", 0.74, u"S$"},
    {"brl", 0.2, u"R$"},      {"mxn", 0.058, u"MX$"},    {"aed", 0.27, u"AED "},    {"chf", 1.14, u"CHF "},
    {"sek", 0.094, u"kr "},   {"nok", 0.092, u"kr "},    {"pln", 0.25, u"zł "},
};

const Row *find(QStringView code)
{
    // Fifteen rows: a linear scan over a lower-cased copy beats hashing here.
    const QString lower = code.toString().toLower();
    for (const Row &row : table)
        if (lower == QLatin1StringView(row.code))
            return &row;
    return nullptr;
}

QString formatNum(double v)
{
    // Chosen by what the number rounds to, so 99.99 reads "100", never "100.0".
    if (v >= 99.95)
        return QString::asprintf("%.0f", v);
    if (v >= 9.995)
        return QString::asprintf("%.1f", v);
    return QString::asprintf("%.2f", v);
}

QString wholeNumber(double v)
{
    return QString::number(static_cast<qint64>(v));
}

} // namespace

std::optional<double> rate(QStringView code)
{
    if (const Row *row = find(code))
        return row->usdPerUnit;
    return std::nullopt;
}

std::optional<QString> symbol(QStringView code)
{
    if (const Row *row = find(code))
        return QString::fromUtf16(row->symbol);
    return std::nullopt;
}

double toUSD(double amount, QStringView code)
{
    return amount * rate(code).value_or(0.0);
}

double fromUSD(double usd, QStringView code)
{
    return usd / rate(code).value_or(1.0);
}

double nativeToUSDForDisplay(double amount, QStringView code)
{
    return amount * rate(code).value_or(1.0);
}

double minorUnitFactor(QStringView code)
{
    // Stripe's zero-decimal currencies: amounts are already whole units.
    static const char *const zeroDecimal[] = {"bif", "clp", "djf", "gnf", "jpy", "kmf", "krw", "mga",
                                              "pyg", "rwf", "ugx", "vnd", "vuv", "xaf", "xof", "xpf"};
    const QString lower = code.toString().toLower();
    for (const char *c : zeroDecimal)
        if (lower == QLatin1StringView(c))
            return 1.0;
    return 100.0;
}

double fromMinorUnits(qint64 minorUnits, QStringView code)
{
    return static_cast<double>(minorUnits) / minorUnitFactor(code);
}

QString formatCompact(double usdAmount, QStringView code)
{
    const QString lower = code.toString().toLower();
    const Row *row = find(lower);
    const double native = usdAmount / (row ? row->usdPerUnit : 1.0);
    const QString prefix = row ? QString::fromUtf16(row->symbol) : code.toString().toUpper() + u' ';
    const QString sign = native < 0 ? u"-"_s : QString();
    const double a = std::fabs(native);
    if (lower == u"inr") {
        if (a >= 10'000'000)
            return sign + prefix + formatNum(a / 10'000'000) + u"Cr"_s;
        if (a >= 100'000)
            return sign + prefix + formatNum(a / 100'000) + u'L';
        if (a >= 1'000)
            return sign + prefix + formatNum(a / 1'000) + u'K';
        return sign + prefix + wholeNumber(a);
    }
    if (a >= 1'000'000)
        return sign + prefix + formatNum(a / 1'000'000) + u'M';
    if (a >= 10'000)
        return sign + prefix + formatNum(a / 1'000) + u'K';
    return sign + prefix + wholeNumber(a);
}

QString mask(QStringView code)
{
    return symbol(code).value_or(u"$"_s) + u"••••"_s;
}

QString maskEmail(QStringView email)
{
    const qsizetype at = email.indexOf(u'@');
    QList<QStringView> parts;
    if (at < 0) {
        if (!email.isEmpty())
            parts.append(email);
    } else {
        if (at > 0)
            parts.append(email.left(at));
        if (at + 1 < email.size())
            parts.append(email.mid(at + 1));
    }
    if (parts.size() != 2)
        return u"••••@••••.com"_s;
    const QStringView local = parts[0];
    const QStringView domain = parts[1];
    QString ending = u".com"_s;
    if (domain.contains(u'.')) {
        QString last;
        for (QStringView piece : domain.split(u'.'))
            if (!piece.isEmpty())
                last = piece.toString();
        ending = u'.' + (last.isEmpty() ? u"com"_s : last);
    }
    return QString(local.front()) + u"••••@"_s + domain.front() + u"••••"_s + ending;
}

namespace {

// ISO 4217 codes in upper case only: in lower case too many are words ("all", "top", "try").
constexpr auto currencyCodes =
    "AED|AFN|ALL|AMD|ANG|AOA|ARS|AUD|AWG|AZN|BAM|BBD|BDT|BGN|BHD|BIF|BMD|BND|BOB|BRL|BSD|BTN|BWP|BYN|BZD|CAD|"
    "CDF|CHF|CLP|CNY|COP|CRC|CUP|CVE|CZK|DJF|DKK|DOP|DZD|EGP|ERN|ETB|EUR|FJD|FKP|GBP|GEL|GHS|GIP|GMD|GNF|GTQ|"
    "GYD|HKD|HNL|HTG|HUF|IDR|ILS|INR|IQD|IRR|ISK|JMD|JOD|JPY|KES|KGS|KHR|KMF|KPW|KRW|KWD|KYD|KZT|LAK|LBP|LKR|"
    "LRD|LSL|LYD|MAD|MDL|MGA|MKD|MMK|MNT|MOP|MRU|MUR|MVR|MWK|MXN|MYR|MZN|NAD|NGN|NIO|NOK|NPR|NZD|OMR|PAB|PEN|"
    "PGK|PHP|PKR|PLN|PYG|QAR|RON|RSD|RUB|RWF|SAR|SBD|SCR|SDG|SEK|SGD|SHP|SLE|SLL|SOS|SRD|SSP|STN|SVC|SYP|SZL|"
    "THB|TJS|TMT|TND|TOP|TRY|TTD|TWD|TZS|UAH|UGX|USD|UYU|UZS|VES|VND|VUV|WST|XAF|XCD|XOF|XPF|YER|ZAR|ZMW|ZWL";

// The number in the group "n" of every match replaced by the mask.
QString maskNumbers(const QString &text, const QRegularExpression &pattern)
{
    QString out;
    qsizetype from = 0;
    for (auto it = pattern.globalMatch(text); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        out += QStringView(text).mid(from, match.capturedStart(u"n") - from);
        out += u"••••"_s;
        from = match.capturedEnd(u"n");
    }
    return out + QStringView(text).mid(from);
}

} // namespace

QString maskAmounts(QStringView text)
{
    // Grouped digits ("1,234.56", "1.234,56", "1 234,56"), decimals, a compact suffix ("56.5K").
    static const QString number =
        uR"((?<n>\d+(?:[.,'\x{00A0}\x{202F} ]\d{3})*(?:[.,]\d+)?(?:[KMB](?!\p{L}))?))"_s;
    static const QString space = uR"([ \x{00A0}\x{202F}]?)"_s;
    static const QString codes = QString::fromLatin1(currencyCodes);
    static const QRegularExpression markerFirst(
        uR"((?:\p{Sc}|(?<![A-Za-z])(?:%1)|(?<!\p{L})(?:kr|zł|Kč|Ft|Rs\.?))%2-?%3)"_s.arg(codes, space, number));
    static const QRegularExpression numberFirst(
        uR"((?<![\d.,])%3%2(?:\p{Sc}|(?:%1)(?![A-Za-z])|(?:kr|zł|Kč|Ft)(?!\p{L})))"_s.arg(codes, space, number));
    // Two decimals and nothing around that makes it a date, a version or a percentage.
    static const QRegularExpression decimal(
        uR"((?<![\d.,])(?<n>\d+(?:[.,'\x{00A0}\x{202F}]\d{3})*[.,]\d{2})(?![.,]?\d)(?!\s?%))"_s);
    QString out = text.toString();
    for (const QRegularExpression *pattern : {&markerFirst, &numberFirst, &decimal})
        out = maskNumbers(out, *pattern);
    return out;
}

const QList<std::pair<QString, QString>> &dashboardCurrencies()
{
    static const QList<std::pair<QString, QString>> list = {
        {u"USD"_s, u"USD – US Dollar"_s},      {u"EUR"_s, u"EUR – Euro"_s},
        {u"GBP"_s, u"GBP – British Pound"_s},  {u"INR"_s, u"INR – Indian Rupee"_s},
        {u"CAD"_s, u"CAD – Canadian Dollar"_s}, {u"AUD"_s, u"AUD – Australian Dollar"_s},
    };
    return list;
}

} // namespace CurrencyConverter
