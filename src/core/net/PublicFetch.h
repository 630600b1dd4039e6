#pragma once

#include "net/Http.h"

#include <QUrl>

class QNetworkAccessManager;

// How far a fetch of a public resource (an icon, the version file) may go.
struct PublicFetchPolicy
{
    int maxRedirects = 5;
    qint64 maxBodyBytes = 1024 * 1024;
    int idleTimeoutMs = 15'000;
    // Only loopback test servers speak plain HTTP; release builds never set this.
    bool allowPlainHttp = false;
};

// The final answer of a fetch and the address it finally came from.
struct PublicResponse
{
    HttpResponse http;
    QUrl url;
};

// Fetches for resources anyone may read. Unlike the provider clients these follow redirects
// (icon hosts redirect as a matter of course), which is only safe because nothing secret
// ever travels with them: no credentials, no cookies, no cache. Never used for provider APIs.
namespace PublicFetch {

// A session of its own, apart from the provider clients' one; lives as long as the application.
QNetworkAccessManager &session();

// Whether `url` may be fetched at all under the scheme rule.
bool isFetchable(const QUrl &url, bool allowPlainHttp);

// Where a redirect from `from` to `location` (possibly relative) leads, or nothing when the
// target may not be fetched.
std::optional<QUrl> redirectTarget(const QUrl &from, const QUrl &location, bool allowPlainHttp);

// GET `url` over `session` (which must outlive the call), following at most
// `policy.maxRedirects` redirects. A refused or exhausted redirect is a failure without status.
QCoro::Task<PublicResponse> get(QNetworkAccessManager &session, QUrl url, PublicFetchPolicy policy,
                                CancellationToken token = CancellationToken::none());

} // namespace PublicFetch
