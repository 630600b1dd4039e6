#pragma once

#include "util/Cancellation.h"

#include <QByteArray>
#include <QCoroTask>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <optional>

class QNetworkAccessManager;

// What came back from one request: an HTTP status with its body, or a transport failure
// worded as Qt words it.
struct HttpResponse
{
    int status = 0; // 0 when there was no HTTP response
    QByteArray body;
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    QString errorText;
    QUrl redirectTarget; // the Location of a 3xx answer, possibly relative; never followed here
    QByteArray retryAfter; // the Retry-After header as sent, empty when there was none

    bool isTransportFailure() const { return status == 0 && error != QNetworkReply::NoError; }
    bool isCancelled() const { return error == QNetworkReply::OperationCanceledError; }
};

namespace Http {

inline constexpr int idleTimeoutMs = 30'000;
inline constexpr int wholeTransferTimeoutMs = 60'000;
inline constexpr qint64 maxBodyBytes = 32 * 1024 * 1024;

// The network session of the process, shared by the provider clients and icon fetches.
// Over HTTPS it negotiates HTTP/2, which multiplexes all requests to a host over one
// connection. Over HTTP/1.1 Qt opens at most six connections per host and session, so
// send() spreads requests over a few sessions: 36 connections per host in all.
QNetworkAccessManager &sharedSession();
inline constexpr int sessionCount = 6;
inline constexpr int connectionsPerSession = 6;

// A place on one of the sessions' connections to a host, held from before a request is
// sent until its answer is in. Requests past the connections would otherwise wait inside
// Qt and leave in a clump the moment connections free up; holding a lane first, a request
// leaves as soon as it is sent, which is what a per-second budget needs to see.
class Lane
{
public:
    Lane(QString host, int session);
    Lane(Lane &&other) noexcept;
    Lane &operator=(Lane &&other) noexcept;
    ~Lane(); // frees the place for the next request waiting for one
    QNetworkAccessManager &session() const;

private:
    QString m_host;
    int m_session = -1;
};

// Waits for a lane to the URL's host; none when `token` was cancelled first. Lanes are
// handed out in the order they were asked for.
QCoro::Task<std::optional<Lane>> lane(QUrl url, CancellationToken token);
// How many requests to one host may be in flight at once; sessionCount times
// connectionsPerSession unless set (at least 1). Set before the first request.
void setLanesPerHost(int lanes);

// A session with the defaults above, owned by the application object. It goes with the
// application, network thread and all: a session kept to the end of the process would go on
// serving a request given up on at quit (its coroutine never resumes to drop the reply)
// while the process tears down the static data that thread still uses.
QNetworkAccessManager *newApplicationSession();

// Sends one request and waits for the whole body. Redirects are never followed, so
// credentials stay with the host they were meant for. Bodies past `maxBody` fail cleanly.
QCoro::Task<HttpResponse> send(QNetworkRequest request, QByteArray verb, QByteArray body = {},
                               CancellationToken token = CancellationToken::none(), qint64 maxBody = maxBodyBytes);
// The same on a lane already held.
QCoro::Task<HttpResponse> send(const Lane &lane, QNetworkRequest request, QByteArray verb, QByteArray body = {},
                               CancellationToken token = CancellationToken::none(), qint64 maxBody = maxBodyBytes);
// The same over another session, which must outlive the request.
QCoro::Task<HttpResponse> sendVia(QNetworkAccessManager &session, QNetworkRequest request, QByteArray verb,
                                  QByteArray body = {}, CancellationToken token = CancellationToken::none(),
                                  qint64 maxBody = maxBodyBytes);

// A response body as text for error messages: UTF-8, or empty when it is not valid UTF-8;
// past `longestBodyText` characters it is cut, ending in "…".
inline constexpr qsizetype longestBodyText = 500;
QString bodyText(const QByteArray &body);

// A request with the defaults every provider call uses.
QNetworkRequest makeRequest(const QUrl &url);

// After bodies of `largestBody` bytes are freed: glibc keeps freed heap for reuse, so a
// 30 MB answer would keep the process hundreds of MB larger for good; past a few MB the
// free pages are handed back. Other allocators give large blocks back by themselves.
void releaseFreedMemory(qsizetype largestBody);

} // namespace Http
