// The feed file at 100 000 events: encoding it, decoding it, and the memory a load takes.
// Targets on the reference machine: < 150 ms to encode, < 150 ms to decode, < 100 MB peak
// while loading.
#include "BenchRuns.h"
#include "SyntheticFeed.h"
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

const QList<PaymentEvent> &feed()
{
    static const QList<PaymentEvent> events = syntheticFeed(eventCount);
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
BENCHMARK(BM_EncodeFeed)->Unit(benchmark::kMillisecond)->Apply(BenchRuns::minTimeUnlessSmoke<2>);

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
BENCHMARK(BM_DecodeFeed)->Unit(benchmark::kMillisecond)->Apply(BenchRuns::minTimeUnlessSmoke<2>);

// Loading "feed.json" as the engine does at start (read the file, decode it, keep the
// events) in a fresh process of this program, so the figure is not mixed up with the
// benchmarks' own data. process_peak_MB is that process's peak RSS (VmHWM) with the feed
// loaded, the Qt libraries included; load_growth_MB is how far the load raised it, and
// held_growth_MB how much larger the process stays with the events held.
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
    double heldKb = 0;
    long long loaded = 0;
    for (auto _ : state) {
        FILE *child = popen(command.constData(), "r");
        if (!child || std::fscanf(child, "%lf %lf %lf %lld", &beforeKb, &peakKb, &heldKb, &loaded) != 4) {
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
    state.counters["held_growth_MB"] = (heldKb - beforeKb) / 1024;
}
BENCHMARK(BM_LoadFeedPeakMemory)->Unit(benchmark::kMillisecond)->Iterations(3)->Apply(BenchRuns::onceWhenSmoke);

// The child side of BM_LoadFeedPeakMemory: RSS before, peak RSS, RSS with the events held, events loaded.
int loadFeedAndReport(const char *folder)
{
    const Storage storage(QString::fromLocal8Bit(folder));
    const double before = statusKb("VmRSS:");
    const QList<PaymentEvent> loaded = storage.loadFeed();
    std::printf("%.0f %.0f %.0f %lld\n", before, statusKb("VmHWM:"), statusKb("VmRSS:"),
                static_cast<long long>(loaded.size()));
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
