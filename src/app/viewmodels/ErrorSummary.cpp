#include "ErrorSummary.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype longestDetail = 240;

struct ProviderMessage
{
    QString message;
    QString code; // Stripe's "code" or PayPal's "error"/"name"
};

// Stripe: {"error": {"code", "message"}}; PayPal: {"name", "message"} or {"error", "error_description"}.
ProviderMessage messageInBody(const QString &body)
{
    const QJsonObject object = QJsonDocument::fromJson(body.toUtf8()).object();
    const QJsonValue error = object.value(u"error"_s);
    ProviderMessage found;
    for (const QJsonValue &candidate : {error.toObject().value(u"message"_s), object.value(u"message"_s),
                                        object.value(u"error_description"_s), error})
        if (candidate.isString() && !candidate.toString().trimmed().isEmpty()) {
            found.message = candidate.toString().simplified();
            break;
        }
    for (const QJsonValue &candidate : {error.toObject().value(u"code"_s), object.value(u"name"_s), error})
        if (candidate.isString() && candidate.toString() != found.message) {
            found.code = candidate.toString().simplified();
            break;
        }
    return found;
}

struct AccountLine
{
    QString summary;
    QString details;
    bool credentialsRefused = false;
};

AccountLine describe(const QString &account, const QString &error, const QHash<QString, QString> &providers)
{
    static const QRegularExpression httpStatus(u"HTTP (\\d{3})(?:: (.*))?$"_s, QRegularExpression::DotMatchesEverythingOption);
    const QString provider = error.startsWith(u"PayPal"_s) || error.startsWith(u"Missing PayPal"_s) ? u"PayPal"_s
                             : error.startsWith(u"Stripe"_s) || error.startsWith(u"No Stripe"_s) ? u"Stripe"_s
                                                                                                 : providers.value(account, u"the provider"_s);
    const QString credentials = provider == u"PayPal" ? u"credentials"_s : u"key"_s;
    if (error.startsWith(u"No Stripe API key"_s) || error.startsWith(u"Missing PayPal client credentials"_s))
        return {u"%1 has no %2 — edit it"_s.arg(account, credentials), {}, true};

    const auto http = httpStatus.match(error);
    if (!http.hasMatch()) {
        if (error.contains(u"decode error"_s) || error.contains(u"listing stopped"_s))
            return {u"%1 sent an answer for %2 that could not be read — try again"_s.arg(provider, account),
                    u"%1: %2"_s.arg(account, error.simplified().left(longestDetail))};
        // The network's own wording ("Host api.stripe.com not found") is the detail.
        return {u"Can't reach %1 for %2 — check the connection"_s.arg(provider, account),
                u"%1: %2"_s.arg(account, error.simplified().left(longestDetail))};
    }
    const int status = http.captured(1).toInt();
    const QString body = http.captured(2).trimmed();
    const ProviderMessage said = messageInBody(body);
    QStringList detail{u"HTTP %1"_s.arg(status)};
    if (!said.code.isEmpty())
        detail.append(said.code);
    if (!said.message.isEmpty())
        detail.append(said.message);
    else if (!body.isEmpty() && !body.startsWith(u'<') && !body.startsWith(u'{'))
        detail.append(body.simplified()); // markup pages and bare JSON say nothing a user can act on
    const QString details = u"%1: %2"_s.arg(account, detail.join(u" · "_s).left(longestDetail));
    if (status == 401 || status == 403)
        return {u"%1 rejected the %2 for %3 — edit it"_s.arg(provider, credentials, account), details, true};
    if (status == 429)
        return {u"%1 is limiting requests for %2 — try again in a minute"_s.arg(provider, account), details};
    if (status >= 500)
        return {u"%1 had a problem answering for %2 — try again"_s.arg(provider, account), details};
    return {u"%1 refused a request for %2 — try again"_s.arg(provider, account), details};
}

} // namespace

ErrorSummary summarizeError(const QString &lastError, const QHash<QString, QString> &providers)
{
    if (lastError.trimmed().isEmpty())
        return {};
    // Account lines start with "[name] "; a body may itself contain the separator.
    static const QRegularExpression accountStart(u" · (?=\\[)"_s);
    static const QRegularExpression accountLine(u"^\\[([^\\]]*)\\] (.*)$"_s, QRegularExpression::DotMatchesEverythingOption);
    ErrorSummary out;
    QStringList summaries, details;
    for (const QString &line : lastError.split(accountStart, Qt::SkipEmptyParts)) {
        const auto match = accountLine.match(line.trimmed());
        const AccountLine described = match.hasMatch()
                                          ? describe(match.captured(1), match.captured(2).trimmed(), providers)
                                          : AccountLine{line.simplified().left(longestDetail), {}};
        summaries.append(described.summary);
        if (!described.details.isEmpty())
            details.append(described.details);
        if (described.credentialsRefused && out.accountToEdit.isEmpty())
            out.accountToEdit = match.captured(1);
    }
    out.summary = summaries.join(u'\n');
    out.details = details.join(u'\n');
    return out;
}
