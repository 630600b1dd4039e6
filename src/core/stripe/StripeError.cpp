#include "StripeError.h"

#include "net/Http.h"

#include <cmath>

using namespace Qt::StringLiterals;

StripeError StripeError::http(int status, const QByteArray &body)
{
    return StripeError(Kind::Http, status, Http::bodyText(body));
}

StripeError StripeError::rateLimited(double secondsAsked)
{
    const qint64 seconds = qint64(std::ceil(secondsAsked));
    const QString wait = seconds < 60 ? u"%1 s"_s.arg(seconds) : u"%1 min"_s.arg((seconds + 59) / 60);
    return StripeError(Kind::Http, 429, u"Stripe asked to wait "_s + wait);
}

StripeError StripeError::decoding(QString text)
{
    return StripeError(Kind::Decoding, 0, std::move(text));
}

StripeError StripeError::missingKey()
{
    return StripeError(Kind::MissingKey, 0, {});
}

StripeError StripeError::transport(QString networkText)
{
    return StripeError(Kind::Transport, 0, std::move(networkText));
}

StripeError StripeError::cancelled(QString networkText)
{
    return StripeError(Kind::Cancelled, 0, std::move(networkText));
}

StripeError StripeError::invalidRequest(QString text)
{
    return StripeError(Kind::InvalidRequest, 0, std::move(text));
}

StripeError StripeError::paging(QString text)
{
    return StripeError(Kind::Paging, 0, std::move(text));
}

QString StripeError::description() const
{
    switch (m_kind) {
    case Kind::Http:
        return u"Stripe HTTP "_s + QString::number(m_status) + u": "_s + m_text;
    case Kind::Decoding:
        return u"Stripe decode error: "_s + m_text;
    case Kind::MissingKey:
        return u"No Stripe API key configured"_s;
    case Kind::Paging:
        return u"Stripe listing stopped: "_s + m_text;
    case Kind::Transport:
    case Kind::Cancelled:
    case Kind::InvalidRequest:
        return m_text;
    }
    return m_text;
}
