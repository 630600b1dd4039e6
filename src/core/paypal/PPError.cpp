#include "PPError.h"

#include "net/Http.h"

using namespace Qt::StringLiterals;

PPError PPError::http(int status, const QByteArray &body)
{
    return PPError(Kind::Http, status, Http::bodyText(body));
}

PPError PPError::decoding(QString text)
{
    return PPError(Kind::Decoding, 0, std::move(text));
}

PPError PPError::missingCreds()
{
    return PPError(Kind::MissingCreds, 0, {});
}

PPError PPError::transport(QString networkText)
{
    return PPError(Kind::Transport, 0, std::move(networkText));
}

PPError PPError::cancelled(QString networkText)
{
    return PPError(Kind::Cancelled, 0, std::move(networkText));
}

QString PPError::description() const
{
    switch (m_kind) {
    case Kind::Http:
        return u"PayPal HTTP "_s + QString::number(m_status) + u": "_s + m_text;
    case Kind::Decoding:
        return u"PayPal decode error: "_s + m_text;
    case Kind::MissingCreds:
        return u"Missing PayPal client credentials"_s;
    case Kind::Transport:
    case Kind::Cancelled:
        return m_text;
    }
    return m_text;
}
