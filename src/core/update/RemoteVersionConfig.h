#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <optional>

// The version file on the maker's web host.
struct RemoteVersionConfig
{
    QString latestVersion;  // "latest_version"
    QString minimumVersion; // "minimum_version"
    QString downloadUrl;    // "download_url"
    std::optional<QString> releaseNotes;    // "release_notes"
    std::optional<bool> forceUpdate;        // "force_update"
    std::optional<QString> blockingMessage; // "blocking_message"

    // Nothing when the body is not a JSON object, misses a required key or has a key of the
    // wrong type: such an answer is unusable as a whole. Unknown keys are ignored.
    static std::optional<RemoteVersionConfig> decode(const QByteArray &body);
    friend bool operator==(const RemoteVersionConfig &, const RemoteVersionConfig &) = default;
};

// What one good answer establishes for the running version.
struct UpdateState
{
    std::optional<QString> latestVersion;
    std::optional<QUrl> downloadURL;
    std::optional<QString> releaseNotes;
    std::optional<QString> blockingMessage;
    bool isBlocked = false;
    bool hasOptionalUpdate = false;
    friend bool operator==(const UpdateState &, const UpdateState &) = default;
};

// Blocked when the running version is below the minimum or the update is forced; otherwise
// an optional update when it is below the latest.
UpdateState updateStateFor(const RemoteVersionConfig &config, const QString &currentVersion);
