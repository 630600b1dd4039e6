#pragma once

#include "json/EnumRaw.h"

#include <QString>
#include <array>
#include <optional>
#include <utility>

// Closed sets with string raw values, as they appear in the stored files.
// Demo accounts are served by the built-in demo business in Stripe's records; a file written
// with one and read by a build without demos fails that account's decoding only.
enum class AccountProvider { Stripe, PayPal, Demo };
enum class RevenueKind { New, Recurring, Churn, Failed, Refund };
enum class AtRiskKind { PastDue, Unpaid, Incomplete, CanceledPayment };
enum class TimeRange { Mtd, Last7Days, Last30Days, Last90Days, Custom };
enum class AchievementPeriod { Day, Week, Month };

#define QV_ENUM_RAW(E, ...)                                                          \
    template<>                                                                       \
    struct EnumRaw<E>                                                                \
    {                                                                                \
        static constexpr std::array values = std::to_array<std::pair<E, const char *>>({__VA_ARGS__}); \
    };

QV_ENUM_RAW(AccountProvider, {AccountProvider::Stripe, "stripe"}, {AccountProvider::PayPal, "paypal"},
            {AccountProvider::Demo, "demo"})
QV_ENUM_RAW(RevenueKind, {RevenueKind::New, "new"}, {RevenueKind::Recurring, "recurring"}, {RevenueKind::Churn, "churn"},
            {RevenueKind::Failed, "failed"}, {RevenueKind::Refund, "refund"})
QV_ENUM_RAW(AtRiskKind, {AtRiskKind::PastDue, "pastDue"}, {AtRiskKind::Unpaid, "unpaid"},
            {AtRiskKind::Incomplete, "incomplete"}, {AtRiskKind::CanceledPayment, "canceledPayment"})
QV_ENUM_RAW(TimeRange, {TimeRange::Mtd, "mtd"}, {TimeRange::Last7Days, "last7Days"}, {TimeRange::Last30Days, "last30Days"},
            {TimeRange::Last90Days, "last90Days"}, {TimeRange::Custom, "custom"})
QV_ENUM_RAW(AchievementPeriod, {AchievementPeriod::Day, "day"}, {AchievementPeriod::Week, "week"},
            {AchievementPeriod::Month, "month"})
#undef QV_ENUM_RAW

inline constexpr std::array allRevenueKinds = allCases<RevenueKind>();
