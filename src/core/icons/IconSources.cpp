#include "IconSources.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace IconSources {

std::optional<QString> domainFromAccountName(QStringView name)
{
    static const QRegularExpression pattern(u"^[a-z0-9-]+\\.[a-z]{2,}(\\.[a-z]{2,})?$"_s);
    const QString candidate = name.trimmed().toString().toLower();
    if (!pattern.match(candidate).hasMatch())
        return std::nullopt;
    return candidate;
}

namespace {

// The site URL of `path` on `domain`, or nothing when the domain is not a plain host name
// (a hand-typed "acme .com" or "acme.com/shop" must not turn into some other address).
std::optional<QUrl> siteUrl(const QString &domain, const QString &path, const IconEndpoints &endpoints)
{
    const QUrl url(u"https://"_s + domain + path, QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty() || url.host() != domain.toLower() || url.path() != path
        || url.port() != -1 || !url.userInfo().isEmpty())
        return std::nullopt;
    if (!endpoints.siteOverride)
        return url;
    QUrl redirected = *endpoints.siteOverride;
    redirected.setPath(path);
    return redirected;
}

QUrl serviceUrl(const QUrl &base, const QString &path, const QString &query = {})
{
    QUrl url = base;
    url.setPath(path);
    if (!query.isEmpty())
        url.setQuery(query);
    return url;
}

} // namespace

QList<QUrl> sourceUrls(const QString &domain, const IconEndpoints &endpoints)
{
    const auto touchIcon = siteUrl(domain, u"/apple-touch-icon.png"_s, endpoints);
    const auto favicon = siteUrl(domain, u"/favicon.ico"_s, endpoints);
    if (!touchIcon || !favicon)
        return {};
    return {serviceUrl(endpoints.duckDuckGo, u"/ip3/"_s + domain + u".ico"_s),
            serviceUrl(endpoints.google, u"/s2/favicons"_s, u"domain="_s + domain + u"&sz=128"_s), *touchIcon, *favicon};
}

std::optional<QUrl> homePageUrl(const QString &domain, const IconEndpoints &endpoints)
{
    return siteUrl(domain, u"/"_s, endpoints);
}

bool isAcceptedIcon(int status, qsizetype bodySize)
{
    return status > 0 && status < 400 && bodySize > 200;
}

namespace {

// Attributes of one tag: name=value, name='value', name="value" or a bare name.
QList<std::pair<QString, QString>> attributes(QStringView tag)
{
    QList<std::pair<QString, QString>> result;
    qsizetype i = 0;
    const auto skipSpace = [&] {
        while (i < tag.size() && (tag[i].isSpace() || tag[i] == u'/'))
            ++i;
    };
    while (true) {
        skipSpace();
        if (i >= tag.size())
            break;
        const qsizetype nameStart = i;
        while (i < tag.size() && !tag[i].isSpace() && tag[i] != u'=' && tag[i] != u'/')
            ++i;
        const QString name = tag.sliced(nameStart, i - nameStart).toString().toLower();
        while (i < tag.size() && tag[i].isSpace())
            ++i;
        QString value;
        if (i < tag.size() && tag[i] == u'=') {
            ++i;
            while (i < tag.size() && tag[i].isSpace())
                ++i;
            if (i < tag.size() && (tag[i] == u'"' || tag[i] == u'\'')) {
                const QChar quote = tag[i++];
                const qsizetype valueStart = i;
                while (i < tag.size() && tag[i] != quote)
                    ++i;
                value = tag.sliced(valueStart, i - valueStart).toString();
                if (i < tag.size())
                    ++i;
            } else {
                const qsizetype valueStart = i;
                while (i < tag.size() && !tag[i].isSpace())
                    ++i;
                value = tag.sliced(valueStart, i - valueStart).toString();
            }
        }
        if (!name.isEmpty())
            result.append({name, value});
    }
    return result;
}

QString decodeEntities(QString text)
{
    return text.replace(u"&amp;"_s, u"&"_s).replace(u"&#38;"_s, u"&"_s);
}

} // namespace

QList<QUrl> scanIconLinks(QStringView html, const QUrl &pageUrl, int limit)
{
    QList<QUrl> touchIcons;
    QList<QUrl> icons;
    qsizetype from = 0;
    while (true) {
        const qsizetype open = html.indexOf(u"<link"_s, from, Qt::CaseInsensitive);
        if (open < 0)
            break;
        from = open + 5;
        // "<linked>" or "<link-x>" are other tags.
        if (from < html.size() && !html[from].isSpace() && html[from] != u'/' && html[from] != u'>')
            continue;
        // A ">" inside a quoted value does not end the tag.
        qsizetype close = from;
        QChar quote;
        while (close < html.size()) {
            const QChar c = html[close];
            if (!quote.isNull()) {
                if (c == quote)
                    quote = QChar();
            } else if (c == u'"' || c == u'\'') {
                quote = c;
            } else if (c == u'>') {
                break;
            }
            ++close;
        }
        if (close >= html.size())
            break; // a tag cut off at the end of the page is no tag
        QString rel;
        QString href;
        for (const auto &[name, value] : attributes(html.sliced(from, close - from))) {
            if (name == u"rel"_s && rel.isEmpty())
                rel = value.toLower();
            else if (name == u"href"_s && href.isEmpty())
                href = decodeEntities(value.trimmed());
        }
        from = close;
        if (href.isEmpty())
            continue;
        const QStringList tokens = rel.simplified().split(u' ', Qt::SkipEmptyParts);
        const bool touch = tokens.contains(u"apple-touch-icon"_s) || tokens.contains(u"apple-touch-icon-precomposed"_s);
        if (!touch && !tokens.contains(u"icon"_s))
            continue;
        const QUrl url = pageUrl.resolved(QUrl(href));
        if (!url.isValid() || url.host().isEmpty() || (url.scheme() != u"https"_s && url.scheme() != u"http"_s))
            continue;
        QList<QUrl> &list = touch ? touchIcons : icons;
        if (!list.contains(url))
            list.append(url);
    }
    QList<QUrl> result = touchIcons + icons;
    if (result.size() > limit)
        result.resize(limit);
    return result;
}

} // namespace IconSources
