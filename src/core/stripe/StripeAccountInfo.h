#pragma once

#include "json/JsonReader.h"

#include <QString>
#include <optional>

// GET /v1/account, read for the account's web site (its icon).
struct StripeAccountInfo
{
    struct BusinessProfile
    {
        std::optional<QString> url;
        std::optional<QString> name;
        std::optional<QString> support_url;
        static BusinessProfile decode(JsonReader &reader);
        friend bool operator==(const BusinessProfile &, const BusinessProfile &) = default;
    };
    struct AccountSettings
    {
        struct DashboardSettings
        {
            std::optional<QString> display_name;
            static DashboardSettings decode(JsonReader &reader);
            friend bool operator==(const DashboardSettings &, const DashboardSettings &) = default;
        };
        std::optional<DashboardSettings> dashboard;
        static AccountSettings decode(JsonReader &reader);
        friend bool operator==(const AccountSettings &, const AccountSettings &) = default;
    };

    std::optional<QString> id;
    std::optional<BusinessProfile> business_profile;
    std::optional<QString> display_name;
    std::optional<AccountSettings> settings;

    // The host of the business URL, else of the support URL, exactly as QUrl gives it.
    std::optional<QString> resolvedDomain() const;

    static StripeAccountInfo decode(JsonReader &reader);
    friend bool operator==(const StripeAccountInfo &, const StripeAccountInfo &) = default;
};

// Stripe's error body.
struct ErrResp
{
    struct Err
    {
        std::optional<QString> code;
        std::optional<QString> decline_code;
        std::optional<QString> message;
        std::optional<QString> advice_code;
        std::optional<QString> type;
        static Err decode(JsonReader &reader);
        friend bool operator==(const Err &, const Err &) = default;
    };
    std::optional<Err> error;

    static ErrResp decode(JsonReader &reader);
    friend bool operator==(const ErrResp &, const ErrResp &) = default;
};
