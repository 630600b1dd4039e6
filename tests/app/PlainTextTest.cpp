#include "AppFixture.h"
#include "support/FakeHttpServer.h"
#include "viewmodels/DashboardModel.h"
#include "viewmodels/FeedModel.h"

#include <QCoroTask>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
QList<QQuickItem *> textItemsShowing(QQuickItem *root, const QString &needle)
{
    QList<QQuickItem *> out;
    for (QQuickItem *child : root->childItems()) {
        if (child->inherits("QQuickText") && child->property("text").toString().contains(needle))
            out.append(child);
        out.append(textItemsShowing(child, needle));
    }
    return out;
}
} // namespace

// Markup in a customer's text is shown as typed, a provider's error page is left out, and
// neither names anything the panel would fetch: the image URLs point at the same loopback server.
TEST_F(AppFixture, ProviderAndErrorTextIsShownLiterallyAndFetchesNothing)
{
    FakeHttpServer server;
    const QString pixel = server.baseUrl().toString() + u"/pixel.png"_s;
    server.setFallback([&](const RecordedRequest &) {
        return FakeResponse{503, u"<h1><img src=\"%1\">Down</h1>"_s.arg(pixel).toUtf8(), {{"Content-Type", "text/html"}}};
    });
    const Account acme{.name = u"Acme"_s, .stripeRestrictedKey = u"rk_test_1"_s};
    ASSERT_TRUE(storage().saveAccounts({acme}));
    PaymentEvent sale = event(u"a"_s, daysAgo(0.1), RevenueKind::New, 49, acme.id);
    sale.description = u"<img src=\"%1\"><b>Pro</b> <font size=\"7\">plan</font>"_s.arg(pixel);
    sale.customerEmail = u"<i>x</i>@example.com"_s;
    ASSERT_TRUE(storage().saveFeed({sale}));

    AppOptions options = appOptions();
    options.environment.endpoints.stripeApi = server.baseUrl();
    QuorvaneApp app(options);
    ASSERT_TRUE(app.start());
    QCoro::waitFor(app.engine()->refresh());
    ASSERT_TRUE(app.engine()->lastError().value_or(QString()).contains(u"<h1>"_s));
    app.showPanelAt(QPoint(0, 0));
    app.dashboard()->feed()->toggle(0);
    QTest::qWait(300);

    // An error page's markup says nothing to act on: the banner shows the status instead.
    EXPECT_TRUE(textItemsShowing(app.window()->contentItem(), u"<h1>"_s).isEmpty());
    for (const QString &literal : {sale.description, *sale.customerEmail, u"Stripe had a problem answering for Acme"_s}) {
        SCOPED_TRACE(literal.toStdString());
        const auto items = textItemsShowing(app.window()->contentItem(), literal);
        ASSERT_FALSE(items.isEmpty());
        for (QQuickItem *item : items)
            EXPECT_EQ(item->property("textFormat").toInt(), 0) << "Text.PlainText";
    }
    for (const RecordedRequest &r : server.requests())
        EXPECT_NE(r.path, "/pixel.png");
}
