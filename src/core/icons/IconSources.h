#pragma once

#include <QList>
#include <QString>
#include <QUrl>
#include <optional>

// Where account icons come from. Release builds use the public favicon services and the
// accounts' own sites; tests point everything at loopback servers.
struct IconEndpoints
{
    bool enabled = true;
    QUrl duckDuckGo = QUrl(QStringLiteral("https://icons.duckduckgo.com"));
    QUrl google = QUrl(QStringLiteral("https://www.google.com"));
    // When set, requests meant for "https://{domain}/..." go to this base with the same path.
    std::optional<QUrl> siteOverride;
    bool allowPlainHttp = false;
};

namespace IconSources {

// A bare domain typed as the account name ("Acme.com ") in lower case, or nothing.
std::optional<QString> domainFromAccountName(QStringView name);

// The four sources in the order they are tried: DuckDuckGo's icon service, Google's favicon
// service, the site's apple-touch-icon and its favicon. Empty when `domain` cannot form a URL.
QList<QUrl> sourceUrls(const QString &domain, const IconEndpoints &endpoints);

// The site's home page, read for the icons it declares when all four sources fail.
std::optional<QUrl> homePageUrl(const QString &domain, const IconEndpoints &endpoints);

// An answer worth keeping: an HTTP status below 400 with more than 200 bytes.
bool isAcceptedIcon(int status, qsizetype bodySize);

// The icons an HTML page declares in its <link rel=...> tags, touch icons first, resolved
// against `pageUrl`; only http(s) addresses, at most `limit`.
QList<QUrl> scanIconLinks(QStringView html, const QUrl &pageUrl, int limit = 4);

} // namespace IconSources
