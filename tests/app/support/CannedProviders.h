#pragma once

#include "support/FakeHttpServer.h"
#include "util/Date.h"

// Provider traffic for looking at the application and for the real-host test. Revenue in
// pictures comes from the built-in demo business; these servers add what it cannot show.
namespace CannedProviders {

enum class Scenario {
    AtRisk,    // no sales; four subscriptions at risk whose retries answer in four ways
    TodayOnly, // three invoices paid in the last minutes: a label that is the same on any day
    Slow,      // every answer takes a minute: the app stays in its loading state
    Failing,   // the key is rejected
};

// The sum of the TodayOnly scenario's invoices, in US dollars.
inline constexpr double todayOnlyTotal = 49 + 99 + 1200;

void installStripe(FakeHttpServer &server, Scenario scenario, Date now);
void installPayPal(FakeHttpServer &server); // a valid key with no transactions

} // namespace CannedProviders
