#pragma once

#include "engine/EngineTypes.h"
#include "model/Account.h"
#include "model/AtRiskSub.h"
#include "stripe/StripeSubscriptions.h"

#include <QHash>
#include <QList>
#include <QStringList>
#include <optional>

// The decisions of the at-risk run: which subscriptions count, what they are worth a month,
// since when they are at risk and in which order they are shown. The run itself is the
// engine's (AtRiskRefresh.cpp), which takes every account's records from its Stripe source.
namespace AtRiskRefresh {

// The subscription statuses asked for per account, in this order.
inline const QStringList statuses = {QStringLiteral("past_due"), QStringLiteral("unpaid"), QStringLiteral("incomplete")};

std::optional<AtRiskKind> kindOf(QStringView status);

// For a past-due subscription Stripe's next attempt on the latest invoice; otherwise, or
// without one, since when the latest invoice is unpaid: its last payment attempt, its due
// date, its creation. Then the subscription's creation, then `now` in whole seconds.
Date sinceDate(const ExpandedSubscription &sub, AtRiskKind kind, Date now);

// The record of one listed subscription; none when it has no positive monthly amount.
std::optional<AtRiskSub> atRisk(const ExpandedSubscription &sub, const Account &account, QStringView status, Date now);

// The retry results that still describe the new list: a subscription that left it, or
// whose latest invoice changed, starts afresh.
QHash<QString, RetryOutcome> keptRetryResults(const QHash<QString, RetryOutcome> &results,
                                              const QList<AtRiskSub> &before, const QList<AtRiskSub> &after);

// By kind in declaration order, then by monthly US dollars, largest first; stable.
void sortForDisplay(QList<AtRiskSub> &subs);

double monthlyTotalUSD(const QList<AtRiskSub> &subs);

// The accounts a run asks: enabled Stripe accounts (the demo business included), in order.
QList<Account> accountsToScan(const QList<Account> &accounts);

} // namespace AtRiskRefresh
