// Loopback Stripe and PayPal servers with canned data, plus a StatusNotifierWatcher on the
// session bus, for looking at the application. Prints the two base URLs, then serves until
// killed.
#include "support/CannedProviders.h"
#include "support/FakeStatusNotifierWatcher.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>
#include <cstdio>

using namespace Qt::StringLiterals;

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption scenario(u"scenario"_s, u"populated, today, slow or failing."_s, u"name"_s, u"populated"_s);
    const QCommandLineOption watcher(u"watcher"_s, u"Also run a StatusNotifierWatcher."_s);
    parser.addOptions({scenario, watcher});
    parser.process(app);

    const QString name = parser.value(scenario);
    CannedProviders::Scenario s = CannedProviders::Scenario::Populated;
    if (name == u"today"_s)
        s = CannedProviders::Scenario::TodayOnly;
    else if (name == u"slow"_s)
        s = CannedProviders::Scenario::Slow;
    else if (name == u"failing"_s)
        s = CannedProviders::Scenario::Failing;

    const Date now = Date::fromDateTime(QDateTime::currentDateTimeUtc());
    FakeHttpServer stripe;
    FakeHttpServer paypal;
    CannedProviders::installStripe(stripe, s, now);
    CannedProviders::installPayPal(paypal, s, now);
    std::unique_ptr<FakeStatusNotifierWatcher> sni;
    if (parser.isSet(watcher))
        sni = std::make_unique<FakeStatusNotifierWatcher>(QDBusConnection::sessionBus());

    std::printf("stripe=%s\npaypal=%s\n", qPrintable(stripe.baseUrl().toString()), qPrintable(paypal.baseUrl().toString()));
    std::fflush(stdout);
    return app.exec();
}
