#include "icons/IconSources.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(IconSources, DomainsFromAccountNames)
{
    const struct { const char *name; const char *domain; } rows[] = {
        {" Acme.COM ", "acme.com"}, {"my-shop.co.uk", "my-shop.co.uk"}, {"acme", nullptr}, {"Acme Analytics", nullptr},
        {"acme .com", nullptr}, {"acme.c0m", nullptr}, {"a.b.c.de", nullptr}, {"acme.c", nullptr}, {"", nullptr},
    };
    for (const auto &row : rows)
        EXPECT_EQ(IconSources::domainFromAccountName(QString::fromUtf8(row.name)),
                  row.domain ? std::optional(QString::fromUtf8(row.domain)) : std::nullopt) << row.name;
}

TEST(IconSources, FourSourcesInOrderOrNoneForABrokenDomain)
{
    const IconEndpoints publicHosts;
    const QList<QUrl> urls = IconSources::sourceUrls(u"acme.com"_s, publicHosts);
    const QStringList expected{u"https://icons.duckduckgo.com/ip3/acme.com.ico"_s,
                               u"https://www.google.com/s2/favicons?domain=acme.com&sz=128"_s,
                               u"https://acme.com/apple-touch-icon.png"_s, u"https://acme.com/favicon.ico"_s};
    ASSERT_EQ(urls.size(), 4);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(urls[i].toString(), expected[i]);
    for (const char *broken : {"acme .com", "acme.com/shop", "evil.com@acme.com", "acme.com:8080", ""})
        EXPECT_TRUE(IconSources::sourceUrls(QString::fromUtf8(broken), publicHosts).isEmpty()) << broken;
}

TEST(IconSources, AcceptsOnlyUsableAnswers)
{
    const struct { int status; qsizetype size; bool accepted; } rows[] = {
        {200, 201, true}, {200, 200, false}, {304, 5000, true}, {399, 201, true}, {400, 5000, false}, {0, 5000, false},
    };
    for (const auto &row : rows)
        EXPECT_EQ(IconSources::isAcceptedIcon(row.status, row.size), row.accepted) << row.status << "/" << row.size;
}

TEST(IconSources, ScansIconLinksWhateverTheQuoting)
{
    const QUrl page(u"https://acme.com/shop/"_s);
    const struct { const char *html; QStringList icons; } rows[] = {
        {R"(<link rel="icon" href="/favicon.png">)", {u"https://acme.com/favicon.png"_s}},
        {R"(<LINK REL='Shortcut Icon' HREF='fav.ico'/>)", {u"https://acme.com/shop/fav.ico"_s}},
        {R"(<link href=//cdn.acme.com/i.png rel=icon>)", {u"https://cdn.acme.com/i.png"_s}},
        {R"(<link rel="icon" href="/a.png"><link rel="apple-touch-icon" href="/t.png">)",
         {u"https://acme.com/t.png"_s, u"https://acme.com/a.png"_s}},
        {R"(<link rel="stylesheet" href="/s.css"><link rel="icon" href="data:image/png;base64,AA">)", {}},
        {R"(<link title="a > b" rel="icon" href="/gt.png">)", {u"https://acme.com/gt.png"_s}},
        {R"(<linked rel="icon" href="/no.png"><link rel="icon" href="/q.png?a=1&amp;b=2">)", {u"https://acme.com/q.png?a=1&b=2"_s}},
        {R"x(<link rel="icon" href="javascript:alert(1)"><link rel="icon" href="/unclosed.png)x", {}},
        {"<link", {}},
    };
    for (const auto &row : rows) {
        QStringList found;
        for (const QUrl &url : IconSources::scanIconLinks(QString::fromUtf8(row.html), page))
            found.append(url.toString());
        EXPECT_EQ(found, row.icons) << row.html;
    }
}
