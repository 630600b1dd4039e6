#pragma once

#include <QByteArray>
#include <QString>

// The error of every Stripe call. Its description is the text the user sees, through the
// engine's lastError or beside a retried subscription.
class StripeError
{
public:
    enum class Kind {
        Http,           // Stripe answered with a status of 400 or above
        Decoding,       // the body did not have the shape the wire records need
        MissingKey,     // the account has no restricted key; nothing was sent
        Transport,      // no HTTP answer: connection, TLS, timeout, size cap
        Cancelled,      // the caller's token was cancelled
        InvalidRequest, // an argument that must not reach the URL; nothing was sent
        Paging,         // a list that does not advance or does not end
    };

    static StripeError http(int status, const QByteArray &body);
    // A 429 whose Retry-After asks for longer than a request waits: "Stripe asked to wait 2 min".
    static StripeError rateLimited(double secondsAsked);
    static StripeError decoding(QString text);
    static StripeError missingKey();
    static StripeError transport(QString networkText);
    static StripeError cancelled(QString networkText);
    static StripeError invalidRequest(QString text);
    static StripeError paging(QString text);

    Kind kind() const { return m_kind; }
    // The HTTP status of an Http error, 0 for every other kind.
    int status() const { return m_status; }
    // Stripe's raw error body of an Http error as UTF-8 text (empty when it is not valid
    // UTF-8), empty for every other kind.
    QString body() const { return m_kind == Kind::Http ? m_text : QString(); }
    QString description() const;

    friend bool operator==(const StripeError &, const StripeError &) = default;

private:
    StripeError(Kind kind, int status, QString text) : m_kind(kind), m_status(status), m_text(std::move(text)) {}

    Kind m_kind = Kind::Transport;
    int m_status = 0;
    QString m_text; // body, decoder text, network text or argument complaint, by kind
};
