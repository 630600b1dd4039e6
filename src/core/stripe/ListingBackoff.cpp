#include "ListingBackoff.h"

#include <QStringList>
#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

double ListingBackoff::delayAfter(int failures) const
{
    if (failures <= 0)
        return 0;
    return std::min(m_interval * std::ldexp(1.0, std::min(failures, 30)), m_longest);
}

bool ListingBackoff::isDue(const QString &key, double now) const
{
    const auto it = m_failing.constFind(key);
    return it == m_failing.cend() || now >= it->retryAt;
}

void ListingBackoff::record(const QString &key, const std::optional<QString> &error, double now)
{
    if (!error) {
        m_failing.remove(key);
        return;
    }
    Failing &failing = m_failing[key];
    ++failing.failures;
    failing.retryAt = now + delayAfter(failing.failures);
    failing.error = *error;
}

std::optional<QString> ListingBackoff::text() const
{
    QStringList lines;
    for (auto it = m_failing.cbegin(); it != m_failing.cend(); ++it)
        lines.append(u"%1 · next try in %2 min"_s.arg(it->error, QString::number(std::ceil(delayAfter(it->failures) / 60))));
    if (lines.isEmpty())
        return std::nullopt;
    lines.sort();
    return lines.join(u" · "_s);
}
