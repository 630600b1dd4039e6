#include "IconCache.h"

#include "net/PublicFetch.h"
#include "storage/DataFile.h"
#include "stripe/StripeClient.h"

#include <QDir>
#include <QFileInfo>
#include <QPointer>

using namespace Qt::StringLiterals;

namespace {

// Favicons are small; a page or an image past this is not what we are looking for.
constexpr qint64 maxIconBytes = 512 * 1024;
constexpr qint64 maxPageBytes = 1024 * 1024;

} // namespace

IconCache::IconCache(Storage storage, QUrl stripeApi, IconEndpoints endpoints, Hooks hooks, QObject *parent)
    : QObject(parent)
    , m_storage(std::move(storage))
    , m_stripeApi(std::move(stripeApi))
    , m_endpoints(std::move(endpoints))
    , m_hooks(std::move(hooks))
{
}

IconCache::~IconCache()
{
    m_lifetime.cancel();
}

QString IconCache::iconPath(const QUuid &accountId) const
{
    return QDir(m_storage.iconsDir()).filePath(uuidText(accountId) + u".png"_s);
}

void IconCache::start(const Account &account)
{
    if (m_endpoints.enabled)
        ensureIconCached(account);
}

QCoro::Task<> IconCache::ensureIconCached(Account account)
{
    QPointer<IconCache> self(this);
    const CancellationToken lifetime = m_lifetime;
    std::optional<QString> domain = account.websiteDomain;

    if (!domain) {
        domain = IconSources::domainFromAccountName(account.name);
        if (domain) {
            if (auto stored = m_hooks.find(account.id); stored && !stored->websiteDomain) {
                stored->websiteDomain = domain;
                m_hooks.store(*stored);
            }
        }
    }

    if (account.provider == AccountProvider::Stripe && (!domain || !account.stripeAccountId)) {
        const StripeClient client(account, m_stripeApi,
                                  m_hooks.stripeBudget ? m_hooks.stripeBudget(account.stripeRestrictedKey) : nullptr);
        const auto info = co_await client.fetchAccountInfo(lifetime);
        if (!self || lifetime.isCancelled())
            co_return;
        if (info.ok()) {
            const std::optional<QString> resolved = info->resolvedDomain();
            if (!domain)
                domain = resolved;
            if (auto stored = m_hooks.find(account.id)) {
                const Account before = *stored;
                if (!stored->websiteDomain && resolved)
                    stored->websiteDomain = resolved;
                if (!stored->stripeAccountId && info->id)
                    stored->stripeAccountId = info->id;
                if (*stored != before)
                    m_hooks.store(*stored);
            }
        }
    }

    if (QFileInfo::exists(iconPath(account.id)) || !domain)
        co_return;
    if (co_await download(account.id, *domain) && self)
        Q_EMIT self->iconStored(account.id);
}

QCoro::Task<bool> IconCache::download(QUuid accountId, QString domain)
{
    QPointer<IconCache> self(this);
    const CancellationToken lifetime = m_lifetime;
    PublicFetchPolicy policy;
    policy.maxBodyBytes = maxIconBytes;
    policy.allowPlainHttp = m_endpoints.allowPlainHttp;

    QList<QUrl> candidates = IconSources::sourceUrls(domain, m_endpoints);
    if (candidates.isEmpty())
        co_return false;
    std::optional<QUrl> homePage = IconSources::homePageUrl(domain, m_endpoints);
    for (qsizetype i = 0; i < candidates.size(); ++i) {
        const PublicResponse response = co_await PublicFetch::get(PublicFetch::session(), candidates.at(i), policy, lifetime);
        if (!self || lifetime.isCancelled())
            co_return false;
        if (IconSources::isAcceptedIcon(response.http.status, response.http.body.size()))
            co_return self->writeIcon(accountId, response.http.body);
        // The four fixed places failed: the icons the site's own page declares come last.
        if (i == candidates.size() - 1 && homePage) {
            PublicFetchPolicy pagePolicy = policy;
            pagePolicy.maxBodyBytes = maxPageBytes;
            const PublicResponse page = co_await PublicFetch::get(PublicFetch::session(), *homePage, pagePolicy, lifetime);
            homePage.reset();
            if (!self || lifetime.isCancelled())
                co_return false;
            if (page.http.status >= 200 && page.http.status < 300)
                candidates.append(IconSources::scanIconLinks(QString::fromUtf8(page.http.body), page.url));
        }
    }
    co_return false;
}

bool IconCache::writeIcon(const QUuid &accountId, const QByteArray &bytes)
{
    return DataFile::write(iconPath(accountId), bytes).ok();
}
