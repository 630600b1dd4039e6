#pragma once

#include <QHash>
#include <QString>
#include <optional>

// Listings that failed, each waiting before it is asked again: the usual interval doubled for
// every failure in a row, up to a cap, so a listing that cannot succeed is not repeated in
// full every few minutes. Times are monotonic seconds.
class ListingBackoff
{
public:
    explicit ListingBackoff(double interval, double longest) : m_interval(interval), m_longest(longest) {}

    // The wait after `failures` failures in a row (none: 0).
    double delayAfter(int failures) const;
    // Whether the listing `key` may be asked for at `now`.
    bool isDue(const QString &key, double now) const;
    // One listing's outcome: an error starts or lengthens its wait, a success ends it.
    void record(const QString &key, const std::optional<QString> &error, double now);
    // Drops what is known of `key`; true when there was something.
    bool forget(const QString &key) { return m_failing.remove(key) > 0; }
    // "name: reason · next try in 20 min" for every waiting listing, joined with " · ".
    std::optional<QString> text() const;

private:
    struct Failing
    {
        int failures = 0;
        double retryAt = 0;
        QString error;
    };
    double m_interval;
    double m_longest;
    QHash<QString, Failing> m_failing;
};
