#include "LoopbackStripe.h"

#include <QPointer>
#include <QSemaphore>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QUrlQuery>

class LoopbackStripeWorker : public QObject
{
public:
    explicit LoopbackStripeWorker(LoopbackStripe &owner) : m_owner(owner)
    {
        m_server.listen(QHostAddress::LocalHost);
        QObject::connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *socket = m_server.nextPendingConnection()) {
                socket->setParent(this);
                QObject::connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
                QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            }
        });
    }
    quint16 port() const { return m_server.serverPort(); }

private:
    void read(QTcpSocket *socket)
    {
        QByteArray &buffer = m_buffers[socket];
        buffer += socket->readAll();
        for (qsizetype end; (end = buffer.indexOf("\r\n\r\n")) >= 0;) {
            const QByteArray head = buffer.left(end);
            buffer.remove(0, end + 4);
            const QList<QByteArray> requestLine = head.left(head.indexOf("\r\n")).split(' ');
            if (requestLine.size() < 2)
                continue;
            m_owner.arrived();
            const QUrl url(QString::fromLatin1(requestLine[1]));
            std::pair<int, QByteArray> answer{200, R"({"object":"list","data":[],"has_more":false})"};
            if (url.path() == QLatin1StringView("/v1/events") || url.path() == QLatin1StringView("/v1/invoice_payments")
                || url.path() == QLatin1StringView("/v1/subscriptions"))
                answer = m_owner.m_listing.answer(QUrlQuery(url).queryItems(QUrl::FullyDecoded));
            else if (url.path() == QLatin1StringView("/v1/account"))
                answer = {404, R"({"error":{"type":"invalid_request_error"}})"};
            const QByteArray response = "HTTP/1.1 " + QByteArray::number(answer.first) + " OK\r\nContent-Type: application/json\r\n"
                + "Content-Length: " + QByteArray::number(answer.second.size()) + "\r\nConnection: keep-alive\r\n\r\n"
                + answer.second;
            QPointer<QTcpSocket> target(socket);
            QTimer::singleShot(m_owner.m_latencyMs, this, [this, target, response] {
                if (target)
                    target->write(response);
                m_owner.answered();
            });
        }
    }

    LoopbackStripe &m_owner;
    QTcpServer m_server;
    QHash<QTcpSocket *, QByteArray> m_buffers;
};

LoopbackStripe::LoopbackStripe(const StripeListing &listing, int latencyMs)
    : m_listing(listing)
    , m_latencyMs(latencyMs)
{
    m_clock.start();
    m_thread.start();
    // The server is made on its own thread, under an object that goes when the thread ends.
    auto *home = new QObject;
    home->moveToThread(&m_thread);
    QObject::connect(&m_thread, &QThread::finished, home, &QObject::deleteLater);
    QSemaphore ready;
    quint16 port = 0;
    QMetaObject::invokeMethod(home, [&, home] {
        auto *worker = new LoopbackStripeWorker(*this);
        worker->setParent(home);
        port = worker->port();
        ready.release();
    });
    ready.acquire();
    m_baseUrl = QUrl(QStringLiteral("http://127.0.0.1:%1").arg(port));
}

LoopbackStripe::~LoopbackStripe()
{
    m_thread.quit();
    m_thread.wait();
}

void LoopbackStripe::arrived()
{
    const int now = ++m_inFlight;
    int peak = m_peakInFlight;
    while (now > peak && !m_peakInFlight.compare_exchange_weak(peak, now)) {
    }
    QMutexLocker lock(&m_mutex);
    m_arrivals.append(m_clock.elapsed());
}

void LoopbackStripe::resetCounts()
{
    QMutexLocker lock(&m_mutex);
    m_arrivals.clear();
    m_peakInFlight = int(m_inFlight);
}

int LoopbackStripe::requests() const
{
    QMutexLocker lock(&m_mutex);
    return int(m_arrivals.size());
}

int LoopbackStripe::peakPerSecond(int windowMs) const
{
    QMutexLocker lock(&m_mutex);
    int peak = 0;
    for (qsizetype first = 0, last = 0; last < m_arrivals.size(); ++last) {
        while (m_arrivals[last] - m_arrivals[first] >= windowMs)
            ++first;
        peak = std::max(peak, int(last - first + 1));
    }
    return peak;
}
