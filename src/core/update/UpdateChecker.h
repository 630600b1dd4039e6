#pragma once

#include "net/PublicFetch.h"
#include "update/RemoteVersionConfig.h"
#include "util/Cancellation.h"
#include "util/Clock.h"

#include <QCoroTask>
#include <QObject>
#include <QUrl>
#include <memory>
#include <optional>

class QNetworkAccessManager;

// What the checker needs from outside. Release builds take the build's version-file host and
// the project version; tests pass a loopback URL and a virtual clock.
struct UpdateCheckerEnvironment
{
    std::optional<QUrl> configURL = defaultConfigURL(); // none: update checks are off
    QString currentVersion = defaultCurrentVersion();
    std::shared_ptr<Clock> clock = std::make_shared<SystemClock>();
    bool allowPlainHttp = false; // loopback test servers only

    // "https://{host}/quorvane/version.json" for the host the build was configured with.
    static std::optional<QUrl> defaultConfigURL();
    static QString defaultCurrentVersion();
    static QUrl configURLFor(const QUrl &webBase);
};

// Asks the version file on the maker's web host, at start and every six hours, whether this
// version is still allowed and whether a newer one exists. One per process, on the main
// thread. A failed or unusable answer never changes what the last good answer established.
class UpdateChecker : public QObject
{
    Q_OBJECT
    Q_PROPERTY(std::optional<QString> latestVersion READ latestVersion NOTIFY stateChanged)
    Q_PROPERTY(std::optional<QUrl> downloadURL READ downloadURL NOTIFY stateChanged)
    Q_PROPERTY(std::optional<QString> releaseNotes READ releaseNotes NOTIFY stateChanged)
    Q_PROPERTY(std::optional<QString> blockingMessage READ blockingMessage NOTIFY stateChanged)
    Q_PROPERTY(bool isBlocked READ isBlocked NOTIFY stateChanged)
    Q_PROPERTY(bool hasOptionalUpdate READ hasOptionalUpdate NOTIFY stateChanged)
    Q_PROPERTY(bool hasAnswer READ hasAnswer NOTIFY stateChanged)

public:
    static constexpr double pollSeconds = 21'600;
    static constexpr int timeoutMs = 10'000;

    explicit UpdateChecker(UpdateCheckerEnvironment environment = {}, QObject *parent = nullptr);
    ~UpdateChecker() override;

    const std::optional<QString> &latestVersion() const { return m_state.latestVersion; }
    const std::optional<QUrl> &downloadURL() const { return m_state.downloadURL; }
    const std::optional<QString> &releaseNotes() const { return m_state.releaseNotes; }
    const std::optional<QString> &blockingMessage() const { return m_state.blockingMessage; }
    bool isBlocked() const { return m_state.isBlocked; }
    bool hasOptionalUpdate() const { return m_state.hasOptionalUpdate; }
    // Whether a good answer has arrived since the start of the process.
    bool hasAnswer() const { return m_hasAnswer; }

    const QString &currentVersion() const { return m_env.currentVersion; }
    const std::optional<QUrl> &configURL() const { return m_env.configURL; }
    bool isEnabled() const { return m_env.configURL.has_value(); }

    // One check now, and the six-hourly loop (re)started. Does nothing when checks are off.
    void start();
    // One fetch-and-apply pass; never fails visibly.
    QCoro::Task<> check();

Q_SIGNALS:
    void stateChanged();

private:
    void apply(const UpdateState &state);
    QCoro::Task<> pollLoop(CancellationToken token);

    UpdateCheckerEnvironment m_env;
    UpdateState m_state;
    bool m_hasAnswer = false;
    // Shared with requests in flight, so that it outlives their replies whatever dies first.
    std::shared_ptr<QNetworkAccessManager> m_session;
    // Cancelled when the checker goes: every check and the loop stop at their next step.
    CancellationToken m_lifetime;
    std::optional<CancellationToken> m_pollTask;
};
