#include "DemoLifecycle.h"

#include "DemoRandom.h"

#include <QDate>
#include <algorithm>

using DemoRandom::key;
using DemoRandom::Stream;
using Kind = DemoHappening::Kind;
using Reason = DemoHappening::Reason;

namespace {

constexpr qint64 hour = 3600;
constexpr qint64 day = DemoLifecycle::daySeconds;
constexpr int maxMonthlyPeriods = 18;
constexpr int maxYearlyPeriods = 2;
// Roughly Stripe's smart retries: three more tries within a week of the failed renewal.
constexpr qint64 retryOffsets[] = {3 * day, 5 * day, 7 * day};
// Stripe expires an incomplete subscription 23 hours after its first payment failed.
constexpr qint64 incompleteWindow = 23 * hour;
// How long the business keeps an unpaid subscription before cancelling it.
constexpr qint64 unpaidGrace = 30 * day;

const QDate epoch(1970, 1, 1);

// Tenths of a signup per day: a business that grew from 1.2 a day at the start of 2025 by
// about one more a day each month, up to 6, on a slow 120-day wave, quieter at weekends.
int signupRateTenths(qint64 unixDay)
{
    constexpr qint64 start2025 = 20089;
    const qint64 growth = std::clamp<qint64>((unixDay - start2025) / 30, 0, 48);
    const qint64 phase = ((unixDay % 120) + 120) % 120;
    const qint64 triangle = phase < 60 ? phase : 120 - phase;
    int rate = 12 + int(growth) + int(triangle * 8 / 60);
    const qint64 weekday = ((unixDay + 3) % 7 + 7) % 7; // 1970-01-01 was a Thursday; 0 is Monday
    if (weekday >= 5)
        rate -= 8;
    return rate;
}

DemoPlan nextPlan(DemoPlan plan)
{
    return plan == DemoPlan::Starter ? DemoPlan::Pro : DemoPlan::Team;
}

} // namespace

namespace DemoLifecycle {

QList<DemoCustomer> signupsOn(quint64 seed, qint64 unixDay)
{
    Stream counter(key({seed, 1, quint64(unixDay)}));
    const int rate = signupRateTenths(unixDay);
    int count = 0;
    for (int i = 0; i < 8; ++i) // a binomial draw with mean rate / 10
        count += counter.below(80) < rate ? 1 : 0;

    QList<DemoCustomer> customers;
    for (int i = 0; i < count; ++i) {
        Stream draw(key({seed, 2, quint64(unixDay), quint64(i)}));
        DemoCustomer c;
        c.key = key({seed, 3, quint64(unixDay), quint64(i)});
        c.signup = unixDay * day + draw.between(6 * hour, 23 * hour);
        c.currency = draw.weighted({62, 18, 10, 10});
        c.plan = DemoPlan(draw.weighted({50, 35, 15}));
        c.yearly = draw.chance(150);
        customers.append(c);
    }
    std::sort(customers.begin(), customers.end(),
              [](const DemoCustomer &a, const DemoCustomer &b) { return a.signup < b.signup; });
    return customers;
}

qint64 periodStart(const DemoCustomer &customer, int index)
{
    const qint64 signupDay = customer.signup / day;
    const qint64 timeOfDay = customer.signup % day;
    const QDate date = epoch.addDays(signupDay).addMonths(index * (customer.yearly ? 12 : 1));
    return epoch.daysTo(date) * day + timeOfDay;
}

qint64 monthlyPrice(const DemoCustomer &customer, DemoPlan plan)
{
    return demoCurrencies[customer.currency].monthly[int(plan)];
}

qint64 periodPrice(const DemoCustomer &customer, DemoPlan plan)
{
    // A year costs ten months.
    return monthlyPrice(customer, plan) * (customer.yearly ? 10 : 1);
}

QList<DemoHappening> walk(const DemoCustomer &customer, qint64 until, const DemoManualPayments &manual)
{
    QList<DemoHappening> out;
    DemoPlan plan = customer.plan;
    const int periods = customer.yearly ? maxYearlyPeriods : maxMonthlyPeriods;

    for (int k = 0;; ++k) {
        const qint64 start = periodStart(customer, k);
        if (start > until)
            break;
        const qint64 end = periodStart(customer, k + 1);
        // One stream per period: what happens in a period depends on nothing drawn before it.
        Stream draw(key({customer.key, 30, quint64(k)}));
        const qsizetype periodBegin = out.size();
        auto add = [&](Kind kind, qint64 time, auto &&adjust) {
            DemoHappening h;
            h.kind = kind;
            h.time = time;
            h.invoice = key({customer.key, 20, quint64(k)});
            h.invoiceCreated = start;
            h.amount = periodPrice(customer, plan);
            h.reason = k == 0 ? Reason::Create : Reason::Cycle;
            h.plan = plan;
            h.periodEnd = end;
            adjust(h);
            out.append(h);
        };
        auto plain = [](DemoHappening &) {};
        const qint64 manualPayment = manual.value(key({customer.key, 20, quint64(k)}), 0);
        bool inGoodStanding = true;

        if (k == 0) {
            if (draw.chance(40)) {
                add(Kind::Failed, start + 20, [](DemoHappening &h) { h.attempt = 1; });
                add(Kind::Incomplete, start + 20, plain);
                if (manualPayment >= start && manualPayment < start + incompleteWindow) {
                    add(Kind::Paid, manualPayment, [](DemoHappening &h) { h.attempt = 2; });
                    add(Kind::Active, manualPayment, plain);
                } else {
                    break; // expired: it never became a paying subscription
                }
            } else {
                add(Kind::Paid, start + draw.between(5, 40), plain);
                add(Kind::Active, start, plain);
            }
        } else {
            if (k >= periods || draw.chance(customer.yearly ? 250 : 40)) {
                add(Kind::Canceled, start + draw.below(600), plain); // canceled at period end
                break;
            }
            const qint64 due = start + hour + draw.below(hour);
            if (draw.chance(75)) {
                qint64 attempts[3];
                for (int j = 0; j < 3; ++j)
                    attempts[j] = start + retryOffsets[j] + draw.below(2 * hour);
                add(Kind::Failed, due, [](DemoHappening &h) { h.attempt = 1; });
                add(Kind::PastDue, due, [&](DemoHappening &h) { h.nextAttempt = attempts[0]; });
                bool recovered = false;
                qint64 previous = due;
                for (int j = 0; j < 3 && !recovered; ++j) {
                    if (manualPayment >= previous && manualPayment < attempts[j]) {
                        add(Kind::Paid, manualPayment, [&](DemoHappening &h) { h.attempt = j + 2; });
                        add(Kind::Active, manualPayment, plain);
                        recovered = true;
                    } else if (draw.chance(400)) {
                        add(Kind::Paid, attempts[j], [&](DemoHappening &h) { h.attempt = j + 2; });
                        add(Kind::Active, attempts[j], plain);
                        recovered = true;
                    } else {
                        add(Kind::Failed, attempts[j], [&](DemoHappening &h) { h.attempt = j + 2; });
                        if (j < 2)
                            add(Kind::PastDue, attempts[j], [&](DemoHappening &h) { h.nextAttempt = attempts[j + 1]; });
                    }
                    previous = attempts[j];
                }
                if (!recovered) {
                    const qint64 finalAttempt = attempts[2];
                    if (draw.chance(650)) {
                        add(Kind::Canceled, finalAttempt + hour, [](DemoHappening &h) { h.paymentFailure = true; });
                        break;
                    }
                    add(Kind::Unpaid, finalAttempt, plain);
                    if (manualPayment >= finalAttempt && manualPayment < finalAttempt + unpaidGrace) {
                        add(Kind::Paid, manualPayment, [](DemoHappening &h) { h.attempt = 5; });
                        add(Kind::Active, manualPayment, plain);
                        inGoodStanding = false; // no upgrade in a period that nearly ended it
                    } else {
                        add(Kind::Canceled, finalAttempt + unpaidGrace, [](DemoHappening &h) { h.paymentFailure = true; });
                        break;
                    }
                }
            } else {
                add(Kind::Paid, due, plain);
            }
        }

        if (inGoodStanding && plan != DemoPlan::Team && draw.chance(45)) {
            const qint64 at = start + (end - start) * draw.between(10, 80) / 100;
            const DemoPlan upgraded = nextPlan(plan);
            // The rest of the period at the difference in price, as Stripe prorates it.
            const qint64 prorated = (periodPrice(customer, upgraded) - periodPrice(customer, plan)) * (end - at) / (end - start);
            plan = upgraded;
            add(Kind::Paid, at, [&](DemoHappening &h) {
                h.invoice = key({customer.key, 21, quint64(k)});
                h.invoiceCreated = at;
                h.amount = prorated;
                h.reason = Reason::Upgrade;
            });
        }

        // Now and then a customer asks for a payment back, new customers more often.
        for (qsizetype i = periodBegin, n = out.size(); i < n; ++i) {
            const DemoHappening paid = out[i];
            if (paid.kind != Kind::Paid || !draw.chance(k == 0 ? 45 : 10))
                continue;
            const qint64 refunded = draw.chance(600) ? paid.amount : paid.amount / 2;
            DemoHappening refund = paid;
            refund.kind = Kind::Refunded;
            refund.time = paid.time + draw.between(day / 2, 6 * day);
            refund.amount = refunded;
            refund.charged = paid.amount;
            out.append(refund);
        }
    }

    std::stable_sort(out.begin(), out.end(), [](const DemoHappening &a, const DemoHappening &b) { return a.time < b.time; });
    out.erase(std::remove_if(out.begin(), out.end(), [until](const DemoHappening &h) { return h.time > until; }), out.end());
    return out;
}

} // namespace DemoLifecycle
