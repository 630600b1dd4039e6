#include "net/Http.h"
#include "support/FakeHttpServer.h"
#include "support/TestUtil.h"

#include <QCoroTask>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(Http, OutcomesOfOneRequest)
{
    FakeHttpServer server;
    FakeHttpServer elsewhere;
    server.enqueue("GET", "/ok", FakeResponse::json(200, "{\"a\":1}"));
    server.enqueue("GET", "/denied", FakeResponse::json(402, "{\"error\":{}}"));
    server.enqueue("GET", "/huge", FakeResponse::json(200, QByteArray(64 * 1024, 'x')));
    server.enqueue("GET", "/drop", FakeResponse::drop());
    server.enqueue("GET", "/truncated", FakeResponse{200, QByteArray(4096, 'y'), {}, 0, FakeResponse::Action::TruncateBody});
    server.enqueue("GET", "/redirect", FakeResponse{302, {}, {{"Location", elsewhere.url("/steal").toEncoded()}}});

    struct Row { const char *path; int status; bool transportFailure; QByteArray body; };
    const Row rows[] = {
        {"/ok", 200, false, "{\"a\":1}"},
        {"/denied", 402, false, "{\"error\":{}}"},
        {"/huge", 0, true, {}},
        {"/drop", 0, true, {}},
        {"/truncated", 0, true, {}},
        {"/redirect", 302, false, {}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.path);
        const HttpResponse r = QCoro::waitFor(
            Http::send(Http::makeRequest(server.url(row.path)), "GET", {}, CancellationToken::none(), 32 * 1024));
        EXPECT_EQ(r.status, row.status);
        EXPECT_EQ(r.isTransportFailure(), row.transportFailure) << r.errorText.toStdString();
        EXPECT_EQ(r.body, row.body);
        if (row.transportFailure)
            EXPECT_FALSE(r.errorText.isEmpty());
    }
    EXPECT_TRUE(elsewhere.requests().isEmpty()) << "redirects are never followed";
}

TEST(Http, CancellingAHangingRequestEndsItAtOnce)
{
    FakeHttpServer server;
    server.enqueue("GET", "/hang", FakeResponse::hang());
    CancellationToken token;
    auto task = Http::send(Http::makeRequest(server.url("/hang")), "GET", {}, token);
    ASSERT_TRUE(waitUntil([&] { return !server.requests().isEmpty(); }));
    token.cancel();
    const HttpResponse r = QCoro::waitFor(task);
    EXPECT_TRUE(r.isCancelled());
    EXPECT_EQ(r.status, 0);

    const HttpResponse early = QCoro::waitFor(Http::send(Http::makeRequest(server.url("/hang")), "GET", {}, token));
    EXPECT_TRUE(early.isCancelled()) << "an already cancelled token sends nothing";
    EXPECT_EQ(server.requests().size(), 1);
}
