#include "RemoteVersionConfig.h"

#include "update/SemVer.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

// A present key must have its type; an absent or null optional key is simply absent.
template<typename T>
bool readOptional(const QJsonObject &object, QLatin1StringView key, std::optional<T> &out)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined() || value.isNull())
        return true;
    if constexpr (std::is_same_v<T, bool>) {
        if (!value.isBool())
            return false;
        out = value.toBool();
    } else {
        if (!value.isString())
            return false;
        out = value.toString();
    }
    return true;
}

bool readRequired(const QJsonObject &object, QLatin1StringView key, QString &out)
{
    const QJsonValue value = object.value(key);
    if (!value.isString())
        return false;
    out = value.toString();
    return true;
}

} // namespace

std::optional<RemoteVersionConfig> RemoteVersionConfig::decode(const QByteArray &body)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();
    RemoteVersionConfig config;
    const bool ok = readRequired(object, "latest_version"_L1, config.latestVersion)
        && readRequired(object, "minimum_version"_L1, config.minimumVersion)
        && readRequired(object, "download_url"_L1, config.downloadUrl)
        && readOptional(object, "release_notes"_L1, config.releaseNotes)
        && readOptional(object, "force_update"_L1, config.forceUpdate)
        && readOptional(object, "blocking_message"_L1, config.blockingMessage);
    if (!ok)
        return std::nullopt;
    return config;
}

UpdateState updateStateFor(const RemoteVersionConfig &config, const QString &currentVersion)
{
    UpdateState state;
    state.latestVersion = config.latestVersion;
    // Only a web address is worth a download button; anything else leaves it out.
    const QUrl url(config.downloadUrl, QUrl::StrictMode);
    if (url.isValid() && !url.host().isEmpty() && (url.scheme() == u"https"_s || url.scheme() == u"http"_s))
        state.downloadURL = url;
    state.releaseNotes = config.releaseNotes;
    state.blockingMessage = config.blockingMessage;

    const SemVer current = SemVer::parse(currentVersion);
    const SemVer minimum = SemVer::parse(config.minimumVersion);
    const SemVer latest = SemVer::parse(config.latestVersion);
    state.isBlocked = current < minimum || config.forceUpdate.value_or(false);
    state.hasOptionalUpdate = !state.isBlocked && current < latest;
    return state;
}
