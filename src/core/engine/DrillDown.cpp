#include "DrillDown.h"

#include <QHash>
#include <numeric>
#include <vector>

using namespace Qt::StringLiterals;

namespace DrillDown {

QList<qsizetype> events(const QList<PaymentEvent> &feed, const Selection &selection)
{
    QList<qsizetype> out;
    for (qsizetype i = 0; i < feed.size(); ++i) {
        const PaymentEvent &e = feed.at(i);
        if ((selection.kind && e.kind != *selection.kind) || e.date < selection.start || e.date > selection.end)
            continue;
        if (selection.account && e.accountId != *selection.account)
            continue;
        out.append(i);
    }
    const auto newerFirst = [&](qsizetype a, qsizetype b) { return feed.at(a).date > feed.at(b).date; };
    // The feed is kept newest first, so this is normally only the check.
    if (!std::is_sorted(out.begin(), out.end(), newerFirst))
        std::stable_sort(out.begin(), out.end(), newerFirst);
    return out;
}

QList<PaymentEvent> eventsAt(const QList<PaymentEvent> &feed, const QList<qsizetype> &positions)
{
    QList<PaymentEvent> out;
    out.reserve(positions.size());
    for (qsizetype i : positions)
        out.append(feed.at(i));
    return out;
}

namespace {

// An e-mail compared without regard to case, hashed once, without a lower-case copy: most
// of a drill-down's time goes into looking customers up.
struct EmailKey
{
    QStringView text;
    size_t hash = 0;

    explicit EmailKey(QStringView email)
        : text(email)
    {
        size_t h = 1469598103934665603ull;
        for (QChar c : email) {
            const char16_t u = c.unicode();
            const char16_t folded = u < 0x80 ? ((u >= 'A' && u <= 'Z') ? char16_t(u | 0x20) : u) : c.toCaseFolded().unicode();
            h = (h ^ folded) * 1099511628211ull;
        }
        // Multiplication only carries bits upwards; the table indexes by the low bits.
        h ^= h >> 32;
        h *= 0xd6e8feb86659fd93ull;
        hash = h ^ (h >> 32);
    }
    friend bool operator==(const EmailKey &a, const EmailKey &b)
    {
        return a.hash == b.hash && a.text.compare(b.text, Qt::CaseInsensitive) == 0;
    }
};

size_t qHash(const EmailKey &key, size_t seed)
{
    return key.hash ^ seed;
}

} // namespace

CustomerIndex customerIndex(const QList<PaymentEvent> &feed)
{
    CustomerIndex index;
    index.customerOf.resize(feed.size());
    QHash<EmailKey, qint32> customerByEmail;
    customerByEmail.reserve(feed.size() / 4);
    for (qsizetype i = 0; i < feed.size(); ++i) {
        const std::optional<QString> &email = feed.at(i).customerEmail;
        if (!email || email->isEmpty()) {
            index.customerOf[i] = index.customerCount++;
            continue;
        }
        const EmailKey key(*email);
        if (auto it = customerByEmail.constFind(key); it != customerByEmail.cend()) {
            index.customerOf[i] = *it;
        } else {
            customerByEmail.insert(key, index.customerCount);
            index.customerOf[i] = index.customerCount++;
        }
    }
    return index;
}

QList<CustomerGroup> groups(const QList<PaymentEvent> &feed, const CustomerIndex &index, const QList<qsizetype> &positions)
{
    QList<CustomerGroup> out;
    std::vector<qint32> groupOfCustomer(size_t(index.customerCount), -1);
    // First pass: the group of every event and the groups' sums; the position lists are
    // filled afterwards at their final size.
    QList<qint32> groupOf(positions.size());
    for (qsizetype n = 0; n < positions.size(); ++n) {
        const PaymentEvent &e = feed.at(positions.at(n));
        qint32 &group = groupOfCustomer[size_t(index.customerOf.at(positions.at(n)))];
        if (group >= 0) {
            groupOf[n] = group;
            CustomerGroup &g = out[group];
            g.totalUSD += e.usdAmount;
            ++g.count;
            g.lastDate = std::max(g.lastDate, e.date);
            continue;
        }
        group = qint32(out.size());
        groupOf[n] = group;
        const bool hasEmail = e.customerEmail && !e.customerEmail->isEmpty();
        CustomerGroup g;
        g.id = hasEmail ? e.customerEmail->toLower() : u"__noemail__"_s + e.id;
        g.displayName = hasEmail ? *e.customerEmail : e.description;
        g.email = hasEmail ? e.customerEmail : std::nullopt;
        g.lastDate = e.date;
        g.accountName = e.accountName;
        g.totalUSD = e.usdAmount;
        g.count = 1;
        out.append(std::move(g));
    }
    for (CustomerGroup &g : out)
        g.events.reserve(g.count);
    for (qsizetype n = 0; n < positions.size(); ++n)
        out[groupOf.at(n)].events.append(positions.at(n));

    // Sorting positions, not the groups themselves, moves each group once.
    QList<qsizetype> order(out.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](qsizetype a, qsizetype b) { return out.at(a).totalUSD > out.at(b).totalUSD; });
    QList<CustomerGroup> sorted;
    sorted.reserve(out.size());
    for (qsizetype i : order)
        sorted.append(std::move(out[i]));
    return sorted;
}

} // namespace DrillDown
