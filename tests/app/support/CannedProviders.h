#pragma once

#include "support/FakeHttpServer.h"
#include "util/Date.h"

// Realistic provider traffic for looking at the application and for its end-to-end test:
// a small SaaS business with monthly and yearly plans, a few cancellations and failures.
namespace CannedProviders {

enum class Scenario {
    Populated, // a month of invoices, churn, failures and 90 days of charges
    TodayOnly, // three invoices paid in the last minutes: a label that is the same on any day
    Slow,      // every answer takes a minute: the app stays in its loading state
    Failing,   // the key is rejected
};

// The sum of the TodayOnly scenario's invoices, in US dollars.
inline constexpr double todayOnlyTotal = 49 + 99 + 1200;

void installStripe(FakeHttpServer &server, Scenario scenario, Date now);
void installPayPal(FakeHttpServer &server, Scenario scenario, Date now);

} // namespace CannedProviders
