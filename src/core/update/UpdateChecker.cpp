#include "UpdateChecker.h"

#include "update/BuildInfo.h"

#include <QNetworkAccessManager>
#include <QPointer>

using namespace Qt::StringLiterals;

std::optional<QUrl> UpdateCheckerEnvironment::defaultConfigURL()
{
    const QString host = QString::fromUtf8(BuildInfo::updateHost).trimmed();
    if (host.isEmpty())
        return std::nullopt;
    return configURLFor(QUrl(u"https://"_s + host));
}

QString UpdateCheckerEnvironment::defaultCurrentVersion()
{
    const QString version = QString::fromUtf8(BuildInfo::projectVersion);
    return version.isEmpty() ? u"0.0.0"_s : version;
}

QUrl UpdateCheckerEnvironment::configURLFor(const QUrl &webBase)
{
    QUrl url = webBase;
    url.setPath(u"/quorvane/version.json"_s);
    return url;
}

UpdateChecker::UpdateChecker(UpdateCheckerEnvironment environment, QObject *parent)
    : QObject(parent)
    , m_env(std::move(environment))
    , m_session(std::make_shared<QNetworkAccessManager>())
{
    m_session->setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
    m_session->setAutoDeleteReplies(false);
}

UpdateChecker::~UpdateChecker()
{
    m_lifetime.cancel();
    if (m_pollTask)
        m_pollTask->cancel();
}

void UpdateChecker::start()
{
    if (!isEnabled())
        return;
    check();
    if (m_pollTask)
        m_pollTask->cancel();
    m_pollTask = CancellationToken();
    pollLoop(*m_pollTask);
}

QCoro::Task<> UpdateChecker::pollLoop(CancellationToken token)
{
    QPointer<UpdateChecker> self(this);
    const std::shared_ptr<Clock> clock = m_env.clock;
    const CancellationToken lifetime = m_lifetime;
    while (!token.isCancelled() && !lifetime.isCancelled()) {
        co_await clock->sleep(pollSeconds, token);
        if (!self || token.isCancelled() || lifetime.isCancelled())
            co_return;
        co_await self->check();
    }
}

QCoro::Task<> UpdateChecker::check()
{
    if (!m_env.configURL)
        co_return;
    QPointer<UpdateChecker> self(this);
    const std::shared_ptr<QNetworkAccessManager> session = m_session;
    const CancellationToken lifetime = m_lifetime;
    const QString currentVersion = m_env.currentVersion;
    PublicFetchPolicy policy;
    policy.idleTimeoutMs = timeoutMs;
    policy.maxBodyBytes = 256 * 1024;
    policy.allowPlainHttp = m_env.allowPlainHttp;

    const PublicResponse response = co_await PublicFetch::get(*session, *m_env.configURL, policy, lifetime);
    if (!self || lifetime.isCancelled())
        co_return;
    // Offline, an error status or a body that is not the version file: the last good answer stands.
    if (response.http.status == 0 || response.http.status >= 400)
        co_return;
    const std::optional<RemoteVersionConfig> config = RemoteVersionConfig::decode(response.http.body);
    if (!config)
        co_return;
    self->apply(updateStateFor(*config, currentVersion));
}

void UpdateChecker::apply(const UpdateState &state)
{
    if (state == m_state && m_hasAnswer)
        return;
    m_state = state;
    m_hasAnswer = true;
    Q_EMIT stateChanged();
}
