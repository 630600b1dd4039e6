#include "StripeAccountInfo.h"

#include "StripeJson.h"
#include "StripeJsonScan.h"

#include <QUrl>

using namespace Qt::StringLiterals;

template<typename Reader>
StripeAccountInfo::BusinessProfile StripeAccountInfo::BusinessProfile::decode(Reader &reader)
{
    return {reader.optString("url"_L1), reader.optString("name"_L1), reader.optString("support_url"_L1)};
}

template<typename Reader>
StripeAccountInfo::AccountSettings::DashboardSettings
StripeAccountInfo::AccountSettings::DashboardSettings::decode(Reader &reader)
{
    return {reader.optString("display_name"_L1)};
}

template<typename Reader>
StripeAccountInfo::AccountSettings StripeAccountInfo::AccountSettings::decode(Reader &reader)
{
    return {StripeJson::optObjectOf<DashboardSettings>(reader, "dashboard"_L1)};
}

template<typename Reader>
StripeAccountInfo StripeAccountInfo::decode(Reader &reader)
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

template<typename Reader>
ErrResp::Err ErrResp::Err::decode(Reader &reader)
{
    Err err;
    err.code = reader.optString("code"_L1);
    err.decline_code = reader.optString("decline_code"_L1);
    err.message = reader.optString("message"_L1);
    err.advice_code = reader.optString("advice_code"_L1);
    err.type = reader.optString("type"_L1);
    return err;
}

template<typename Reader>
ErrResp ErrResp::decode(Reader &reader)
{
    return {StripeJson::optObjectOf<Err>(reader, "error"_L1)};
}

template StripeAccountInfo StripeAccountInfo::decode(JsonReader &);
template StripeAccountInfo StripeAccountInfo::decode(StripeJsonScan::Reader &);
template ErrResp ErrResp::decode(JsonReader &);
template ErrResp ErrResp::decode(StripeJsonScan::Reader &);
