#include "StripeAccountInfo.h"

#include "StripeJson.h"

#include <QUrl>

using namespace Qt::StringLiterals;

StripeAccountInfo::BusinessProfile StripeAccountInfo::BusinessProfile::decode(JsonReader &reader)
{
    BusinessProfile profile;
    profile.name = reader.optString("name"_L1);
    profile.support_url = reader.optString("support_url"_L1);
    profile.url = reader.optString("url"_L1);
    return profile;
}

StripeAccountInfo::AccountSettings::DashboardSettings
StripeAccountInfo::AccountSettings::DashboardSettings::decode(JsonReader &reader)
{
    return {reader.optString("display_name"_L1)};
}

StripeAccountInfo::AccountSettings StripeAccountInfo::AccountSettings::decode(JsonReader &reader)
{
    return {StripeJson::optObjectOf<DashboardSettings>(reader, "dashboard"_L1)};
}

StripeAccountInfo StripeAccountInfo::decode(JsonReader &reader)
{
    StripeAccountInfo info;
    info.id = reader.optString("id"_L1);
    info.business_profile = StripeJson::optObjectOf<BusinessProfile>(reader, "business_profile"_L1);
    info.display_name = reader.optString("display_name"_L1);
    info.settings = StripeJson::optObjectOf<AccountSettings>(reader, "settings"_L1);
    return info;
}

namespace {

std::optional<QString> hostOf(const std::optional<QString> &text)
{
    if (!text)
        return std::nullopt;
    const QUrl url(*text, QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty())
        return std::nullopt;
    return url.host();
}

} // namespace

std::optional<QString> StripeAccountInfo::resolvedDomain() const
{
    if (!business_profile)
        return std::nullopt;
    if (auto host = hostOf(business_profile->url))
        return host;
    return hostOf(business_profile->support_url);
}

ErrResp::Err ErrResp::Err::decode(JsonReader &reader)
{
    Err err;
    err.advice_code = reader.optString("advice_code"_L1);
    err.code = reader.optString("code"_L1);
    err.decline_code = reader.optString("decline_code"_L1);
    err.message = reader.optString("message"_L1);
    err.type = reader.optString("type"_L1);
    return err;
}

ErrResp ErrResp::decode(JsonReader &reader)
{
    return {StripeJson::optObjectOf<Err>(reader, "error"_L1)};
}

