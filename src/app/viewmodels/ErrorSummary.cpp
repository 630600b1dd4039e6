#include "ErrorSummary.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype longestLine = 140;

// Stripe: {"error": {"message": ...}}; PayPal: {"message": ...} or {"error_description": ...}.
QString messageInBody(const QString &body)
{
    const QJsonObject object = QJsonDocument::fromJson(body.toUtf8()).object();
    const QJsonValue error = object.value(u"error"_s);
    for (const QJsonValue &candidate : {error.toObject().value(u"message"_s), object.value(u"message"_s),
                                        object.value(u"error_description"_s), error})
        if (candidate.isString() && !candidate.toString().trimmed().isEmpty())
            return candidate.toString().simplified();
    return {};
}

QString shortLine(const QString &line)
{
    // "{head}: {body}", where the head names the provider and status ("Stripe HTTP 401").
    static const QRegularExpression statusLine(u"^(.*?(?:HTTP \\d+|decode error)): (.*)$"_s,
                                               QRegularExpression::DotMatchesEverythingOption);
    QString text = line.simplified();
    if (const auto match = statusLine.match(line); match.hasMatch()) {
        const QString message = messageInBody(match.captured(2).trimmed());
        const QString body = match.captured(2).simplified();
        if (!message.isEmpty())
            text = match.captured(1).simplified() + u": "_s + message;
        else if (body.startsWith(u'{') || body.startsWith(u'<') || body.isEmpty())
            text = match.captured(1).simplified(); // markup is for "Details", not the banner
    }
    if (text.size() > longestLine)
        text = text.left(longestLine - 1).trimmed() + u'…';
    return text;
}

} // namespace

ErrorSummary summarizeError(const QString &lastError)
{
    if (lastError.trimmed().isEmpty())
        return {};
    // Account lines start with "[name] "; a body may itself contain the separator.
    static const QRegularExpression accountStart(u" · (?=\\[)"_s);
    const QStringList lines = lastError.split(accountStart, Qt::SkipEmptyParts);
    QStringList summaries;
    for (const QString &line : lines)
        summaries.append(shortLine(line));
    return {summaries.join(u'\n'), lines.join(u'\n')};
}
