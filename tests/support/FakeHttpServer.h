#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QTcpServer>
#include <QUrl>
#include <functional>

// One request as it arrived on the wire.
struct RecordedRequest
{
    QByteArray method;
    QByteArray path;     // without the query
    QByteArray rawQuery; // exactly as sent, percent-encoding included, without "?"
    QList<std::pair<QByteArray, QByteArray>> headers; // in arrival order, names as sent
    QByteArray body;

    QByteArray header(const QByteArray &name) const; // case-insensitive, first match
    QList<std::pair<QString, QString>> queryItems() const; // decoded, in order
    QString query(const QString &key) const;               // the first value of key, or null
};

// What the server does with a request.
struct FakeResponse
{
    enum class Action { Respond, Drop, TruncateBody, Hang };

    int status = 200;
    QByteArray body;
    QList<std::pair<QByteArray, QByteArray>> headers;
    int delayMs = 0;
    Action action = Action::Respond;

    static FakeResponse json(int status, QByteArray body) { return FakeResponse{status, std::move(body), {{"Content-Type", "application/json"}}}; }
    static FakeResponse drop() { FakeResponse r; r.action = Action::Drop; return r; }
    static FakeResponse hang() { FakeResponse r; r.action = Action::Hang; return r; }
};

// A plain HTTP/1.1 server on 127.0.0.1 and a free port for provider-client tests. It records
// every request and answers from a script: per method and path, a queue of canned responses
// (the last one repeats) or a handler. A request nothing was scripted for is answered 599
// and kept in unexpected(), so a test can fail on it.
class FakeHttpServer : public QObject
{
    Q_OBJECT
public:
    using Handler = std::function<FakeResponse(const RecordedRequest &)>;

    explicit FakeHttpServer(QObject *parent = nullptr);
    ~FakeHttpServer() override;

    QUrl baseUrl() const; // http://127.0.0.1:{port}
    QUrl url(const char *path) const { return baseUrl().resolved(QUrl(QString::fromLatin1(path))); }
    quint16 port() const { return m_server.serverPort(); }

    void enqueue(const QByteArray &method, const QByteArray &path, FakeResponse response);
    void setHandler(const QByteArray &method, const QByteArray &path, Handler handler);
    // Handles every request that no route matched.
    void setFallback(Handler handler) { m_fallback = std::move(handler); }

    const QList<RecordedRequest> &requests() const { return m_requests; }
    QList<RecordedRequest> requestsTo(const QByteArray &path) const;
    const QList<RecordedRequest> &unexpected() const { return m_unexpected; }
    void clearRecords();

private:
    struct Route { QList<FakeResponse> queue; Handler handler; };
    struct Connection;

    void onNewConnection();
    void onReadyRead(Connection *connection);
    FakeResponse responseFor(const RecordedRequest &request);
    void reply(Connection *connection, const FakeResponse &response);

    QTcpServer m_server;
    QHash<QByteArray, Route> m_routes; // "GET /v1/events"
    Handler m_fallback;
    QList<RecordedRequest> m_requests;
    QList<RecordedRequest> m_unexpected;
    QList<Connection *> m_connections;
};
