// Loopback Stripe and PayPal servers with canned data, a web server for favicons and the
// version file, plus a StatusNotifierWatcher on the session bus, for looking at the
// application. Prints the three base URLs, then serves until killed.
#include "support/CannedProviders.h"
#include "support/FakeStatusNotifierWatcher.h"

#include <QBuffer>
#include <QCommandLineParser>
#include <QDateTime>
#include <QCoreApplication>
#include <QImage>
#include <QPainter>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

// A business logo as a favicon service would serve it.
QByteArray logoPng()
{
    QImage image(64, 64, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient fill(0, 0, 64, 64);
    fill.setStops({{0, QColor(255, 138, 76)}, {1, QColor(226, 64, 110)}});
    p.setBrush(fill);
    p.setPen(Qt::NoPen);
    p.drawRoundedRect(QRectF(0, 0, 64, 64), 14, 14);
    p.setBrush(Qt::white);
    p.drawPolygon(QPolygonF({{14, 48}, {32, 14}, {50, 48}, {41, 48}, {32, 30}, {23, 48}})); // a peak
    p.end();
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return png;
}

QByteArray versionFile(const QString &update)
{
    if (update == u"optional"_s)
        return R"({"latest_version":"0.2.0","minimum_version":"0.1.0","download_url":"https://quorvane.example/download",)"
               R"("release_notes":"Faster refresh and a weekly summary."})";
    if (update == u"blocked"_s)
        return R"({"latest_version":"0.3.0","minimum_version":"0.2.0","download_url":"https://quorvane.example/download",)"
               R"("release_notes":"Stripe changed how invoices link to payments; older versions miscount renewals."})";
    return R"({"latest_version":"0.1.0","minimum_version":"0.1.0","download_url":"https://quorvane.example/download"})";
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption scenario(u"scenario"_s, u"atrisk, today, slow or failing."_s, u"name"_s, u"atrisk"_s);
    const QCommandLineOption update(u"update"_s, u"The version file: current, optional or blocked."_s, u"kind"_s, u"current"_s);
    const QCommandLineOption watcher(u"watcher"_s, u"Also run a StatusNotifierWatcher."_s);
    parser.addOptions({scenario, update, watcher});
    parser.process(app);

    using enum CannedProviders::Scenario;
    const QHash<QString, CannedProviders::Scenario> scenarios{
        {u"today"_s, TodayOnly}, {u"slow"_s, Slow}, {u"failing"_s, Failing}};
    const CannedProviders::Scenario s = scenarios.value(parser.value(scenario), AtRisk);

    const Date now = Date::fromDateTime(QDateTime::currentDateTimeUtc());
    FakeHttpServer stripe, paypal, web;
    CannedProviders::installStripe(stripe, s, now);
    CannedProviders::installPayPal(paypal);
    web.enqueue("GET", "/quorvane/version.json", FakeResponse::json(200, versionFile(parser.value(update))));
    const QByteArray logo = logoPng();
    web.setFallback([logo](const RecordedRequest &request) {
        return request.path.startsWith("/ip3/") ? FakeResponse{200, logo, {{"Content-Type", "image/png"}}}
                                                : FakeResponse{404, {}, {}};
    });
    using Watcher = FakeStatusNotifierWatcher;
    const auto sni = parser.isSet(watcher) ? std::make_unique<Watcher>(QDBusConnection::sessionBus()) : nullptr;

    std::printf("stripe=%s\npaypal=%s\nweb=%s\n", qPrintable(stripe.baseUrl().toString()),
                qPrintable(paypal.baseUrl().toString()), qPrintable(web.baseUrl().toString()));
    std::fflush(stdout);
    return app.exec();
}
