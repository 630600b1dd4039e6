// The feed file at 100 000 events: encoding it, decoding it, and the memory a load takes.
// Targets on the reference machine: < 150 ms to encode, < 150 ms to decode, < 100 MB peak
// while loading.
#include "storage/Storage.h"

#include <QFile>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstring>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int eventCount = 100'000;

// A feed as three accounts produce it: Stripe invoices and charges with customer e-mails
// and dashboard links, PayPal payments without either, several currencies, every kind.
QList<PaymentEvent> makeFeed()
{
    const QUuid accounts[] = {QUuid::fromString(u"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F"_s),
                              QUuid::fromString(u"0B7A1C3D-5E6F-4A8B-9C0D-1E2F3A4B5C6D"_s),
                              QUuid::fromString(u"D4E5F6A7-B8C9-4D0E-8F1A-2B3C4D5E6F70"_s)};
    const QString names[] = {u"Acme SaaS"_s, u"Acme EU"_s, u"PayPal Shop"_s};
    const QString currencies[] = {u"usd"_s, u"eur"_s, u"gbp"_s, u"jpy"_s, u"USD"_s};
    const double rates[] = {1.0, 1.08, 1.27, 0.0064, 1.0};
    const QString descriptions[] = {u"1 × Pro (at $20.00 / month)"_s, u"Team plan (monthly)"_s,
                                    u"Subscription canceled – Pro monthly"_s, u"Payment failed: card_declined"_s,
                                    u"Refund of ch_3SQaPbB7WZ01zgkW0Zl2Lm9x"_s, u"Annual plan – Example Pro"_s};
    const RevenueKind kinds[] = {RevenueKind::New, RevenueKind::Recurring, RevenueKind::Recurring,
                                 RevenueKind::Churn, RevenueKind::Failed, RevenueKind::Refund};
    const Date now = Date::fromUnix(1795167667);
    QList<PaymentEvent> feed;
    feed.reserve(eventCount);
    for (int i = 0; i < eventCount; ++i) {
        const int account = i % 3;
        PaymentEvent e;
        e.date = now.addingSeconds(-i * 81.7); // 95 days across the feed, newest first
        const int currency = (i / 3) % 5;
        e.currency = currencies[currency];
        e.amount = currency == 3 ? 1500 + i % 40 * 100 : 9.99 + (i % 97) * 1.25;
        e.usdAmount = e.amount * rates[currency];
        e.accountId = accounts[account];
        e.accountName = names[account];
        if (account == 2) {
            e.id = u"5TY%1RG00%2M"_s.arg(i, 8, 10, QLatin1Char('0')).arg(i % 9973, 4, 10, QLatin1Char('0'));
            e.kind = RevenueKind::Recurring;
            e.description = u"PayPal payment"_s;
        } else {
            e.id = (i % 2 ? u"in_1SQaPaB7WZ01zgkW"_s : u"ch_3SQaPbB7WZ01zgkW"_s) + QString::number(1'000'000 + i, 36);
            e.kind = kinds[i % 6];
            e.description = descriptions[i % 6];
            if (i % 5 != 0)
                e.customerEmail = u"customer.%1@example-mail.com"_s.arg(i % 20'000);
            e.dashboardURL = u"https://dashboard.stripe.com/acct_1PgafTB7WZ01zgkW/invoices/"_s + e.id;
        }
        feed.append(std::move(e));
    }
    return feed;
}

const QList<PaymentEvent> &feed()
{
    static const QList<PaymentEvent> events = makeFeed();
    return events;
}

const QByteArray &feedBytes()
{
    static const QByteArray bytes = encodeFeed(feed());
    return bytes;
}

// Kilobytes of a /proc/self/status field, -1 when it cannot be read.
double statusKb(const char *field)
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith(field))
            return line.mid(qstrlen(field)).trimmed().split(' ').value(0).toDouble();
    return -1;
}

void BM_EncodeFeed(benchmark::State &state)
{
    const QList<PaymentEvent> &events = feed();
    qsizetype size = 0;
    for (auto _ : state) {
        const QByteArray bytes = encodeFeed(events);
        size = bytes.size();
        benchmark::DoNotOptimize(bytes.data());
    }
    state.counters["file_MB"] = static_cast<double>(size) / (1024 * 1024);
    state.counters["events"] = eventCount;
}
BENCHMARK(BM_EncodeFeed)->Unit(benchmark::kMillisecond)->MinTime(2);

void BM_DecodeFeed(benchmark::State &state)
{
    const QByteArray &bytes = feedBytes();
    bool ok = true;
    for (auto _ : state) {
        auto decoded = decodeFeed(bytes);
        ok = ok && decoded && decoded->size() == eventCount;
        benchmark::DoNotOptimize(decoded);
        // Freeing 100 000 events is not part of reading them.
        state.PauseTiming();
        decoded.reset();
        state.ResumeTiming();
    }
    if (!ok)
        state.SkipWithError("the feed did not decode whole");
    state.counters["events"] = eventCount;
}
BENCHMARK(BM_DecodeFeed)->Unit(benchmark::kMillisecond)->MinTime(2);

// Loading "feed.json" as the engine does at start (read the file, decode it, keep the
// events) in a fresh process of this program, so the figure is not mixed up with the
// benchmarks' own data. process_peak_MB is that process's peak RSS (VmHWM) with the feed
// loaded, the Qt libraries included; load_growth_MB is how far the load raised it.
void BM_LoadFeedPeakMemory(benchmark::State &state)
{
    QTemporaryDir dir;
    if (!Storage(dir.path()).saveFeed(feed())) {
        state.SkipWithError("cannot write the feed file");
        return;
    }
    char self[4096];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
    if (length <= 0) {
        state.SkipWithError("cannot find this program");
        return;
    }
    self[length] = 0;
    const QByteArray command = QByteArray(self) + " --load-feed '" + dir.path().toUtf8() + "'";
    double beforeKb = 0;
    double peakKb = 0;
    long long loaded = 0;
    for (auto _ : state) {
        FILE *child = popen(command.constData(), "r");
        if (!child || std::fscanf(child, "%lf %lf %lld", &beforeKb, &peakKb, &loaded) != 3) {
            if (child)
                pclose(child);
            state.SkipWithError("the loading process did not report");
            return;
        }
        pclose(child);
    }
    if (loaded != eventCount)
        state.SkipWithError("the feed did not load whole");
    state.counters["process_peak_MB"] = peakKb / 1024;
    state.counters["load_growth_MB"] = (peakKb - beforeKb) / 1024;
}
BENCHMARK(BM_LoadFeedPeakMemory)->Unit(benchmark::kMillisecond)->Iterations(3);

// The child side of BM_LoadFeedPeakMemory: RSS before, peak RSS after, events loaded.
int loadFeedAndReport(const char *folder)
{
    const Storage storage(QString::fromLocal8Bit(folder));
    const double before = statusKb("VmRSS:");
    const QList<PaymentEvent> loaded = storage.loadFeed();
    std::printf("%.0f %.0f %lld\n", before, statusKb("VmHWM:"), static_cast<long long>(loaded.size()));
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 3 && std::strcmp(argv[1], "--load-feed") == 0)
        return loadFeedAndReport(argv[2]);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
