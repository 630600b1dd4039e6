#include "Http.h"

#include "json/JsonReader.h"

#include <QCoreApplication>
#include <QCoroSignal>
#include <QCoroTimer>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QScopeGuard>
#include <QStringDecoder>
#include <QTimer>
#include <array>
#include <numeric>
#ifdef __GLIBC__
#include <malloc.h>
#endif

using namespace Qt::StringLiterals;

namespace Http {

namespace {

// One request waiting for a lane; `session` is set when a lane is handed to it.
struct LaneWaiter
{
    Waker waker;
    int session = -1;
};

struct HostLanes
{
    std::array<int, sessionCount> inFlight{};
    QList<std::shared_ptr<LaneWaiter>> waiting; // oldest first

    int leastBusy() const { return int(std::min_element(inFlight.begin(), inFlight.end()) - inFlight.begin()); }
    int total() const { return std::accumulate(inFlight.begin(), inFlight.end(), 0); }
};

struct SessionPool
{
    std::array<QPointer<QNetworkAccessManager>, sessionCount> sessions{};
    QHash<QString, HostLanes> hosts; // by scheme, host and port
    int lanesPerHost = sessionCount * connectionsPerSession;
};

SessionPool &pool()
{
    // Used on the main thread only; never destroyed, so nothing here runs at exit.
    static SessionPool *sessions = new SessionPool;
    for (QPointer<QNetworkAccessManager> &session : sessions->sessions)
        if (!session)
            session = newApplicationSession();
    return *sessions;
}

QString hostKey(const QUrl &url)
{
    return url.scheme() + u"://"_s + url.host() + u':' + QString::number(url.port(url.scheme() == u"https"_s ? 443 : 80));
}

} // namespace

Lane::Lane(QString host, int session)
    : m_host(std::move(host))
    , m_session(session)
{
}

Lane::Lane(Lane &&other) noexcept
    : m_host(std::move(other.m_host))
    , m_session(std::exchange(other.m_session, -1))
{
}

Lane &Lane::operator=(Lane &&other) noexcept
{
    if (this != &other) {
        Lane gone(std::move(*this));
        m_host = std::move(other.m_host);
        m_session = std::exchange(other.m_session, -1);
    }
    return *this;
}

Lane::~Lane()
{
    if (m_session < 0)
        return;
    HostLanes &lanes = pool().hosts[m_host];
    // Handed on rather than freed: a request asking meanwhile must not jump the queue.
    while (!lanes.waiting.isEmpty()) {
        const std::shared_ptr<LaneWaiter> next = lanes.waiting.takeFirst();
        if (next->waker.isWoken())
            continue; // cancelled while waiting
        next->session = m_session;
        next->waker.wake(); // may resume the waiter here: `lanes` is not touched again
        return;
    }
    --lanes.inFlight[m_session];
}

QNetworkAccessManager &Lane::session() const
{
    return *pool().sessions[m_session];
}

QCoro::Task<std::optional<Lane>> lane(QUrl url, CancellationToken token)
{
    if (token.isCancelled())
        co_return std::nullopt;
    const QString host = hostKey(url);
    {
        SessionPool &sessions = pool();
        HostLanes &lanes = sessions.hosts[host];
        if (lanes.waiting.isEmpty() && lanes.total() < sessions.lanesPerHost) {
            const int chosen = lanes.leastBusy();
            ++lanes.inFlight[chosen];
            co_return Lane(host, chosen);
        }
    }
    const auto waiter = std::make_shared<LaneWaiter>();
    pool().hosts[host].waiting.append(waiter);
    // Also when the frame goes unresumed: a lane handed to it goes on to the next in line.
    auto giveUp = qScopeGuard([host, waiter] {
        pool().hosts[host].waiting.removeOne(waiter);
        if (waiter->session >= 0)
            Lane handedOn(host, std::exchange(waiter->session, -1));
    });
    QObject::connect(token.state(), &CancellationState::cancelled, &waiter->waker, &Waker::wake);
    co_await qCoro(&waiter->waker, &Waker::woke);
    if (waiter->session < 0 || token.isCancelled())
        co_return std::nullopt;
    giveUp.dismiss();
    co_return Lane(host, waiter->session);
}

void setLanesPerHost(int lanes)
{
    pool().lanesPerHost = std::max(1, lanes);
}

QNetworkAccessManager *newApplicationSession()
{
    auto *session = new QNetworkAccessManager(QCoreApplication::instance());
    session->setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
    session->setAutoDeleteReplies(false);
    return session;
}

QNetworkAccessManager &sharedSession()
{
    return *pool().sessions[0];
}

QString bodyText(const QByteArray &body)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(body);
    if (decoder.hasError())
        text.clear();
    // Shown to the user: a megabyte of error page would freeze the panel laying it out.
    if (text.size() > longestBodyText)
        text = text.left(longestBodyText - 1) + u'\u2026';
    return text;
}

QNetworkRequest makeRequest(const QUrl &url)
{
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, true);
    // Qt's transfer timeout is an inactivity timeout: no bytes for this long aborts.
    request.setTransferTimeout(idleTimeoutMs);
    return request;
}

QCoro::Task<HttpResponse> send(QNetworkRequest request, QByteArray verb, QByteArray body, CancellationToken token,
                               qint64 maxBody)
{
    const std::optional<Lane> held = co_await lane(request.url(), token);
    if (!held) // cancelled: answered as such without a request
        co_return co_await sendVia(sharedSession(), std::move(request), std::move(verb), {}, std::move(token), maxBody);
    co_return co_await send(*held, std::move(request), std::move(verb), std::move(body), std::move(token), maxBody);
}

QCoro::Task<HttpResponse> send(const Lane &lane, QNetworkRequest request, QByteArray verb, QByteArray body,
                               CancellationToken token, qint64 maxBody)
{
    co_return co_await sendVia(lane.session(), std::move(request), std::move(verb), std::move(body), std::move(token),
                               maxBody);
}

QCoro::Task<HttpResponse> sendVia(QNetworkAccessManager &session, QNetworkRequest request, QByteArray verb,
                                  QByteArray body, CancellationToken token, qint64 maxBody)
{
    HttpResponse response;
    if (token.isCancelled()) {
        response.error = QNetworkReply::OperationCanceledError;
        response.errorText = u"Operation canceled"_s;
        co_return response;
    }
    std::unique_ptr<QNetworkReply> reply(session.sendCustomRequest(request, verb, body));

    // A reply given up on (cancelled, running too long) is not aborted but deleted once the
    // wait is over: deleting ends the transfer quietly, where abort() can meet an error the
    // network thread already queued, and Qt warns on the console about a second error.
    // The timer runs out after the whole transfer's time limit, or at once when the reply
    // finishes or the caller cancels.
    QTimer wake;
    wake.setSingleShot(true);
    wake.start(wholeTransferTimeoutMs);
    const auto wakeNow = [&wake] { wake.start(0); };
    QObject::connect(reply.get(), &QNetworkReply::finished, &wake, wakeNow);
    QObject::connect(token.state(), &CancellationState::cancelled, &wake, wakeNow);
    bool tooLarge = false;
    QObject::connect(reply.get(), &QNetworkReply::downloadProgress, &wake, [&, maxBody](qint64 received, qint64 total) {
        if ((received > maxBody || total > maxBody) && !tooLarge) {
            tooLarge = true;
            reply->abort(); // at once: a hostile body must not go on filling memory
        }
    });

    if (!reply->isFinished())
        co_await wake;
    QObject::disconnect(reply.get(), nullptr, &wake, nullptr);
    // Out of time: the whole transfer's limit, or Qt's own inactivity timeout, which ends
    // the reply with an error of its own.
    const bool timedOut = !token.isCancelled() && !tooLarge
        && (!reply->isFinished() || reply->error() == QNetworkReply::OperationCanceledError
            || reply->error() == QNetworkReply::TimeoutError);

    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (tooLarge) {
        response.error = QNetworkReply::UnknownContentError;
        response.errorText = u"Response body larger than %1 bytes"_s.arg(maxBody);
    } else if (token.isCancelled()) {
        response.error = QNetworkReply::OperationCanceledError;
        response.errorText = u"Operation canceled"_s;
    } else if (timedOut) {
        response.error = QNetworkReply::TimeoutError;
        response.errorText = u"The request timed out."_s;
    } else if (status.isValid() && status.toInt() > 0
               && (reply->error() == QNetworkReply::NoError || reply->error() >= QNetworkReply::ContentAccessDenied)) {
        // An HTTP answer, whatever its status; transport errors after headers arrived
        // (a dropped connection mid-body) land in the branch below.
        response.status = status.toInt();
        // With room to spare after the bytes, the JSON parser reads the body where it lies.
        const qint64 length = reply->bytesAvailable();
        response.body.reserve(length + JsonParser::padding);
        response.body.resize(length);
        response.body.resize(std::max<qint64>(reply->read(response.body.data(), length), 0));
        response.redirectTarget = reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
        response.retryAfter = reply->rawHeader("Retry-After");
    } else {
        response.error = reply->error() == QNetworkReply::NoError ? QNetworkReply::UnknownNetworkError : reply->error();
        response.errorText = reply->errorString();
    }
    co_return response;
}

void releaseFreedMemory(qsizetype largestBody)
{
#ifdef __GLIBC__
    if (largestBody >= 4 * 1024 * 1024)
        malloc_trim(0);
#else
    Q_UNUSED(largestBody);
#endif
}

} // namespace Http
