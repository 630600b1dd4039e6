#include "PublicFetch.h"

#include <QNetworkAccessManager>
#include <QPointer>

using namespace Qt::StringLiterals;

namespace PublicFetch {

namespace {

bool isRedirect(int status)
{
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

QNetworkRequest publicRequest(const QUrl &url, const PublicFetchPolicy &policy)
{
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setTransferTimeout(policy.idleTimeoutMs);
    return request;
}

HttpResponse refused(const QString &text)
{
    HttpResponse response;
    response.error = QNetworkReply::ProtocolUnknownError;
    response.errorText = text;
    return response;
}

} // namespace

QNetworkAccessManager &session()
{
    static auto *publicSession = new QPointer<QNetworkAccessManager>;
    if (!*publicSession)
        *publicSession = Http::newApplicationSession();
    return **publicSession;
}

bool isFetchable(const QUrl &url, bool allowPlainHttp)
{
    if (!url.isValid() || url.host().isEmpty() || !url.userInfo().isEmpty())
        return false;
    return url.scheme() == u"https"_s || (allowPlainHttp && url.scheme() == u"http"_s);
}

std::optional<QUrl> redirectTarget(const QUrl &from, const QUrl &location, bool allowPlainHttp)
{
    if (location.isEmpty())
        return std::nullopt;
    const QUrl target = from.resolved(location);
    if (!isFetchable(target, allowPlainHttp))
        return std::nullopt;
    return target;
}

QCoro::Task<PublicResponse> get(QNetworkAccessManager &session, QUrl url, PublicFetchPolicy policy,
                                CancellationToken token)
{
    PublicResponse result;
    result.url = url;
    if (!isFetchable(url, policy.allowPlainHttp)) {
        result.http = refused(u"Refused to fetch %1"_s.arg(url.toDisplayString()));
        co_return result;
    }
    for (int hop = 0;; ++hop) {
        result.http = co_await Http::sendVia(session, publicRequest(result.url, policy), "GET", {}, token,
                                             policy.maxBodyBytes);
        // A 3xx without a Location is an answer like any other.
        if (!isRedirect(result.http.status) || result.http.redirectTarget.isEmpty())
            co_return result;
        const auto next = redirectTarget(result.url, result.http.redirectTarget, policy.allowPlainHttp);
        if (!next) {
            result.http = refused(u"Refused redirect from %1"_s.arg(result.url.toDisplayString()));
            co_return result;
        }
        if (hop >= policy.maxRedirects) {
            result.http = refused(u"Too many redirects from %1"_s.arg(url.toDisplayString()));
            co_return result;
        }
        result.url = *next;
    }
}

} // namespace PublicFetch
