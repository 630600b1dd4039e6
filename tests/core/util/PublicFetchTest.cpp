#include "net/PublicFetch.h"
#include "support/FakeHttpServer.h"

#include <QCoroTask>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

FakeResponse redirectTo(const QByteArray &location, int status = 302)
{
    return FakeResponse{status, {}, {{"Location", location}, {"Set-Cookie", "session=abc; Path=/"}}};
}

} // namespace

TEST(PublicFetch, FollowsBoundedRedirectsWithoutCookiesAndCapsTheBody)
{
    FakeHttpServer site;
    FakeHttpServer other;
    const QByteArray otherBase = other.baseUrl().toEncoded();
    site.enqueue("GET", "/moved", redirectTo(otherBase + "/icon.png", 301));
    site.enqueue("GET", "/relative", redirectTo("../img/icon.png", 308));
    site.enqueue("GET", "/img/icon.png", FakeResponse::json(200, QByteArray(300, 'i')));
    site.enqueue("GET", "/loop", redirectTo("/loop"));
    site.enqueue("GET", "/to-ftp", redirectTo("ftp://example.com/x"));
    site.enqueue("GET", "/to-userinfo", redirectTo(QByteArray(otherBase).replace("//", "//user:pw@") + "/icon.png"));
    site.enqueue("GET", "/no-location", FakeResponse{302, {}, {}});
    site.enqueue("GET", "/huge", FakeResponse::json(200, QByteArray(2048, 'h')));
    other.enqueue("GET", "/icon.png", FakeResponse::json(200, QByteArray(400, 'o')));

    const struct Row { const char *path; bool allowPlainHttp; int status; qsizetype bodySize; const char *finalPath; } rows[] = {
        {"/moved", true, 200, 400, "/icon.png"},
        {"/relative", true, 200, 300, "/img/icon.png"},
        {"/loop", true, 0, 0, "/loop"},
        {"/to-ftp", true, 0, 0, "/to-ftp"},
        {"/to-userinfo", true, 0, 0, "/to-userinfo"},
        {"/no-location", true, 302, 0, "/no-location"},
        {"/huge", true, 0, 0, "/huge"},
        {"/img/icon.png", false, 0, 0, "/img/icon.png"}, // plain HTTP only where a test allows it
    };
    for (const Row &row : rows) {
        const qsizetype before = site.requests().size();
        const PublicResponse r = QCoro::waitFor(
            PublicFetch::get(PublicFetch::session(), site.url(row.path), {.maxRedirects = 3, .maxBodyBytes = 1024, .allowPlainHttp = row.allowPlainHttp}));
        EXPECT_EQ(r.http.status, row.status) << row.path;
        EXPECT_EQ(r.http.body.size(), row.bodySize) << row.path;
        EXPECT_EQ(r.url.path(), QString::fromLatin1(row.finalPath)) << row.path;
        if (!row.allowPlainHttp)
            EXPECT_EQ(site.requests().size(), before) << "refused before any request";
    }
    EXPECT_EQ(site.requestsTo("/loop").size(), 4) << "the first request and three redirects";
    for (const FakeHttpServer *server : {&site, &other})
        for (const RecordedRequest &r : server->requests())
            EXPECT_TRUE(r.header("Cookie").isEmpty() && r.header("Authorization").isEmpty()) << r.path.constData();
}
