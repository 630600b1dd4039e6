#include "DemoCatalog.h"

#include "DemoRandom.h"

#include <QDate>
#include <array>

using namespace Qt::StringLiterals;
using DemoRandom::key;
using DemoRandom::Stream;

namespace {

constexpr std::array firstNames{"Ava",   "Liam",  "Mia",    "Noah",  "Sofia", "Lucas", "Emma",   "Mateo", "Hana",
                                "Yuki",  "Omar",  "Leila",  "Jonas", "Clara", "Felix", "Nora",   "Ravi",  "Priya",
                                "Diego", "Elena", "Kenji",  "Aiko",  "Marco", "Ines",  "Tobias", "Freya", "Samir",
                                "Zoe",   "Arjun", "Greta",  "Hugo",  "Lena"};
constexpr std::array lastNames{"Tanaka",  "Schmidt", "Garcia", "Rossi",  "Okafor",  "Nguyen",   "Silva", "Novak",
                               "Larsen",  "Dubois",  "Kowalski", "Haddad", "Ito",   "Fischer",  "Moreau", "Walsh",
                               "Patel",   "Sato",    "Berg",   "Costa",  "Meyer",   "Hughes",   "Kim",   "Jensen",
                               "Varga",   "Laurent", "Becker", "Romero", "Suzuki",  "Andersen", "Reyes", "Clarke"};
constexpr std::array domains{"northwind.io", "brightlabs.co", "fjordworks.no", "kumo.jp",   "atelier-lune.fr",
                             "hexacraft.dev", "paperplane.app", "mosaic.studio", "tidal.agency", "quillhouse.com"};

struct ProductRow
{
    const char *name;
    qint64 cents; // in the decimal currencies; yen get half as much again, in whole yen
    bool live;
};
constexpr ProductRow products[] = {
    {"Credit top-up", 900, true},        {"Template pack", 1900, true},     {"Extra seats (5)", 4500, true},
    {"Priority support", 9900, false},   {"Onboarding call", 14900, false}, {"Data migration", 29900, false},
};

constexpr char base62[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

void appendBase62(QString &out, quint64 value, int digits)
{
    for (int i = 0; i < digits; ++i) {
        out += QLatin1Char(base62[value % 62]);
        value /= 62;
    }
}

QString grouped(qint64 value)
{
    QString digits = QString::number(value);
    for (qsizetype i = digits.size() - 3; i > 0; i -= 3)
        digits.insert(i, u',');
    return digits;
}

} // namespace

namespace DemoCatalog {

QString stripeId(QLatin1StringView prefix, quint64 idKey)
{
    QString id = prefix + u'_';
    // 62^8 < 2^64: three draws of eight digits each use every digit.
    for (quint64 part = 1; part <= 3; ++part)
        appendBase62(id, key({idKey, part}), 8);
    return id;
}

Person person(quint64 personKey)
{
    Stream draw(key({personKey, 5}));
    const QString first = QString::fromLatin1(firstNames[draw.below(firstNames.size())]);
    const QString last = QString::fromLatin1(lastNames[draw.below(lastNames.size())]);
    const QString domain = QString::fromLatin1(domains[draw.below(domains.size())]);
    Person p;
    p.id = u"cus_"_s;
    appendBase62(p.id, key({personKey, 6}), 7);
    appendBase62(p.id, key({personKey, 7}), 7);
    p.name = first + u' ' + last;
    p.email = first.toLower() + u'.' + last.toLower() + u'@' + domain;
    return p;
}

Product product(quint64 productKey, bool live)
{
    Stream draw(key({productKey, 7}));
    int choices[std::size(products)];
    int count = 0;
    for (int i = 0; i < int(std::size(products)); ++i)
        if (products[i].live == live)
            choices[count++] = i;
    const ProductRow &row = products[choices[draw.below(count)]];
    Product p;
    p.name = QString::fromLatin1(row.name);
    p.currency = draw.weighted({62, 18, 10, 10});
    p.amount = demoCurrencies[p.currency].zeroDecimal ? row.cents * 3 / 2 / 100 * 100 : row.cents;
    return p;
}

QString planName(DemoPlan plan, bool yearly)
{
    static const QString names[] = {u"Starter"_s, u"Pro"_s, u"Team"_s};
    return yearly ? names[int(plan)] + u" annual"_s : names[int(plan)];
}

QString price(qint64 minorUnits, int currency)
{
    const DemoCurrency &c = demoCurrencies[currency];
    const QString symbol = QString::fromUtf8(c.symbol);
    if (c.zeroDecimal)
        return symbol + grouped(minorUnits);
    return symbol + grouped(minorUnits / 100) + u'.' + QStringLiteral("%1").arg(minorUnits % 100, 2, 10, QLatin1Char('0'));
}

QString invoiceLine(const DemoCustomer &customer, const DemoHappening &happening)
{
    if (happening.reason == DemoHappening::Reason::Upgrade) {
        const QDate day = QDate(1970, 1, 1).addDays(happening.time / DemoLifecycle::daySeconds);
        return u"Remaining time on %1 after %2"_s.arg(planName(happening.plan, customer.yearly),
                                                      day.toString(u"d MMM yyyy"));
    }
    return u"1 \u00D7 %1 (at %2 / %3)"_s.arg(planName(happening.plan, customer.yearly),
                                              price(DemoLifecycle::periodPrice(customer, happening.plan), customer.currency),
                                              customer.yearly ? u"year"_s : u"month"_s);
}

} // namespace DemoCatalog
