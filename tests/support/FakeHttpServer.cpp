#include "FakeHttpServer.h"

#include <QPointer>
#include <QTcpSocket>
#include <QTimer>
#include <QUrlQuery>

struct FakeHttpServer::Connection
{
    QTcpSocket *socket = nullptr;
    QByteArray buffer;
};

QByteArray RecordedRequest::header(const QByteArray &name) const
{
    for (const auto &[key, value] : headers)
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    return {};
}

QList<std::pair<QString, QString>> RecordedRequest::queryItems() const
{
    QList<std::pair<QString, QString>> out;
    for (const QByteArray &part : rawQuery.split('&')) {
        if (part.isEmpty())
            continue;
        const qsizetype eq = part.indexOf('=');
        auto decode = [](QByteArray text) {
            text.replace('+', ' ');
            return QString::fromUtf8(QByteArray::fromPercentEncoding(text));
        };
        out.append({decode(part.left(eq < 0 ? part.size() : eq)), eq < 0 ? QString() : decode(part.mid(eq + 1))});
    }
    return out;
}

QString RecordedRequest::query(const QString &key) const
{
    for (const auto &[k, v] : queryItems())
        if (k == key)
            return v;
    return {};
}

FakeHttpServer::FakeHttpServer(QObject *parent)
    : QObject(parent)
{
    connect(&m_server, &QTcpServer::newConnection, this, &FakeHttpServer::onNewConnection);
    if (!m_server.listen(QHostAddress::LocalHost, 0))
        qFatal("FakeHttpServer: cannot listen on 127.0.0.1");
}

FakeHttpServer::~FakeHttpServer()
{
    for (Connection *c : std::as_const(m_connections)) {
        c->socket->disconnect(this);
        c->socket->abort();
        c->socket->deleteLater();
        delete c;
    }
}

QUrl FakeHttpServer::baseUrl() const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(m_server.serverPort()));
}

void FakeHttpServer::enqueue(const QByteArray &method, const QByteArray &path, FakeResponse response)
{
    m_routes[method + ' ' + path].queue.append(std::move(response));
}

void FakeHttpServer::setHandler(const QByteArray &method, const QByteArray &path, Handler handler)
{
    m_routes[method + ' ' + path].handler = std::move(handler);
}

QList<RecordedRequest> FakeHttpServer::requestsTo(const QByteArray &path) const
{
    QList<RecordedRequest> out;
    for (const auto &r : m_requests)
        if (r.path == path)
            out.append(r);
    return out;
}

void FakeHttpServer::clearRecords()
{
    m_requests.clear();
    m_unexpected.clear();
}

void FakeHttpServer::onNewConnection()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        auto *connection = new Connection{socket, {}};
        m_connections.append(connection);
        connect(socket, &QTcpSocket::readyRead, this, [this, connection] { onReadyRead(connection); });
        connect(socket, &QTcpSocket::disconnected, this, [this, connection] {
            // Deferred: the signal may fire while onReadyRead still uses the connection.
            if (!m_connections.removeOne(connection))
                return;
            connection->socket->deleteLater();
            QTimer::singleShot(0, this, [connection] { delete connection; });
        });
    }
}

void FakeHttpServer::onReadyRead(Connection *connection)
{
    connection->buffer += connection->socket->readAll();
    for (;;) {
        const qsizetype headerEnd = connection->buffer.indexOf("\r\n\r\n");
        if (headerEnd < 0)
            return;
        const QList<QByteArray> lines = connection->buffer.left(headerEnd).split('\n');
        RecordedRequest request;
        const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
        request.method = requestLine.value(0);
        const QByteArray target = requestLine.value(1);
        const qsizetype q = target.indexOf('?');
        request.path = q < 0 ? target : target.left(q);
        request.rawQuery = q < 0 ? QByteArray() : target.mid(q + 1);
        qsizetype contentLength = 0;
        for (qsizetype i = 1; i < lines.size(); ++i) {
            const QByteArray line = lines[i].trimmed();
            const qsizetype colon = line.indexOf(':');
            if (colon <= 0)
                continue;
            const QByteArray name = line.left(colon).trimmed();
            const QByteArray value = line.mid(colon + 1).trimmed();
            request.headers.append({name, value});
            if (name.compare("content-length", Qt::CaseInsensitive) == 0)
                contentLength = value.toLongLong();
        }
        const qsizetype total = headerEnd + 4 + contentLength;
        if (connection->buffer.size() < total)
            return;
        request.body = connection->buffer.mid(headerEnd + 4, contentLength);
        connection->buffer.remove(0, total);
        m_requests.append(request);
        const FakeResponse response = responseFor(request);
        if (response.delayMs > 0) {
            QPointer<QTcpSocket> socket(connection->socket);
            QTimer::singleShot(response.delayMs, this, [this, socket, connection, response] {
                if (socket && m_connections.contains(connection))
                    reply(connection, response);
            });
        } else {
            reply(connection, response);
        }
        return; // every response closes its connection
    }
}

FakeResponse FakeHttpServer::responseFor(const RecordedRequest &request)
{
    auto it = m_routes.find(request.method + ' ' + request.path);
    if (it != m_routes.end()) {
        if (it->handler)
            return it->handler(request);
        if (!it->queue.isEmpty())
            return it->queue.size() > 1 ? it->queue.takeFirst() : it->queue.first();
    }
    if (m_fallback)
        return m_fallback(request);
    m_unexpected.append(request);
    return FakeResponse::json(599, "{\"error\":\"unexpected request\"}");
}

void FakeHttpServer::reply(Connection *connection, const FakeResponse &response)
{
    QTcpSocket *socket = connection->socket;
    switch (response.action) {
    case FakeResponse::Action::Hang:
        return;
    case FakeResponse::Action::Drop:
        socket->abort();
        return;
    case FakeResponse::Action::Respond:
    case FakeResponse::Action::TruncateBody:
        break;
    }
    QByteArray out = "HTTP/1.1 " + QByteArray::number(response.status) + " Fake\r\n";
    for (const auto &[name, value] : response.headers)
        out += name + ": " + value + "\r\n";
    out += "Content-Length: " + QByteArray::number(response.body.size()) + "\r\n";
    out += "Connection: close\r\n\r\n";
    if (response.action == FakeResponse::Action::TruncateBody)
        out += response.body.left(response.body.size() / 2);
    else
        out += response.body;
    socket->write(out);
    socket->flush();
    socket->disconnectFromHost();
}
