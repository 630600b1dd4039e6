#pragma once

#include "model/Account.h"
#include "util/Clock.h"

#include <QHash>
#include <QUrl>
#include <memory>
#include <optional>

class RequestBudget;
class StripeSource;
struct DemoRetryBook;

// Where an account's Stripe records come from: the REST API, or the demo business. Owns what
// the requests share across loads: one request budget per key, and the demo's invoices paid
// by hand, kept for the life of the engine.
class StripeSources
{
public:
    StripeSources(QUrl stripeApi, std::shared_ptr<Clock> clock, std::optional<int> requestsPerSecond, int maxSlices);
    ~StripeSources();

    std::shared_ptr<const StripeSource> sourceFor(const Account &account) const;
    std::shared_ptr<RequestBudget> budgetFor(const QString &restrictedKey) const;

private:
    QUrl m_stripeApi;
    std::shared_ptr<Clock> m_clock;
    std::optional<int> m_requestsPerSecond; // none: by the key's mode (RequestBudget)
    int m_maxSlices;
    mutable std::shared_ptr<DemoRetryBook> m_demoRetries; // made on first use
    mutable QHash<QString, std::shared_ptr<RequestBudget>> m_budgets;
};
