#pragma once

#include <QByteArray>
#include <QString>

// The error of every PayPal call. Its description is the text the user sees in the
// engine's lastError line for the account.
class PPError
{
public:
    enum class Kind {
        Http,         // PayPal answered with a status of 400 or above
        Decoding,     // the body did not have the shape the wire records need
        MissingCreds, // the account lacks its client id or secret; nothing was sent
        Transport,    // no HTTP answer: connection, TLS, timeout, size cap
        Cancelled,    // the caller's token was cancelled
    };

    static PPError http(int status, const QByteArray &body);
    static PPError decoding(QString text);
    static PPError missingCreds();
    static PPError transport(QString networkText);
    static PPError cancelled(QString networkText);

    Kind kind() const { return m_kind; }
    // The HTTP status of an Http error, 0 for every other kind.
    int status() const { return m_status; }
    // PayPal's body of an Http error as UTF-8 text (empty when it is not valid UTF-8).
    QString body() const { return m_kind == Kind::Http ? m_text : QString(); }
    QString description() const;

    friend bool operator==(const PPError &, const PPError &) = default;

private:
    PPError(Kind kind, int status, QString text) : m_kind(kind), m_status(status), m_text(std::move(text)) {}

    Kind m_kind = Kind::Transport;
    int m_status = 0;
    QString m_text; // body, decoder text or network text, by kind
};
