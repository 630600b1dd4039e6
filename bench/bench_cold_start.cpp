// Cold start of the real program with an empty data folder and with a 100 000-event feed:
// when the first frame is drawn, when the stored feed is in, and the peak memory. Each
// iteration starts the program once with each folder, so the ratio compares like with like.
// Targets: first frame with the large feed within 1.2× the empty folder's, feed in within
// 250 ms, peak RSS at most 170 MiB. A second launch, which hands its request to the running
// copy and ends, takes at most 0.3× the empty folder's first frame.
#include "BenchRuns.h"
#include "SyntheticFeed.h"
#include "storage/Storage.h"

#include <QDir>
#include <QFile>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;

namespace {

struct Start
{
    double frameMs = -1;
    double feedMs = -1;
    double peakMiB = -1;
};

// A home of its own, with no tray host (the panel opens at once) and no session bus: the
// runtime folder's lock file decides which copy runs.
QProcessEnvironment environmentIn(const QTemporaryDir &home)
{
    const QString data = home.filePath(u"data"_s);
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(u"HOME"_s, home.path());
    env.insert(u"XDG_DATA_HOME"_s, data);
    env.insert(u"XDG_CONFIG_HOME"_s, home.filePath(u"config"_s));
    env.insert(u"XDG_CACHE_HOME"_s, home.filePath(u"cache"_s));
    env.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"unix:path=/nonexistent"_s);
    env.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    env.insert(u"QUORVANE_STARTUP_PROBE"_s, u"1"_s);
    env.insert(u"XDG_RUNTIME_DIR"_s, home.filePath(u"runtime"_s));
    env.insert(u"QT_LOGGING_RULES"_s, u"qt.core.qobject.connect=false"_s); // the missing tray, said by Qt
    return env;
}

// One start of the program in a home of its own.
std::optional<Start> startOnce(const QList<PaymentEvent> *feed)
{
    QTemporaryDir home;
    if (feed && !Storage(home.filePath(u"data/Quorvane"_s)).saveFeed(*feed))
        return std::nullopt;
    QProcess program;
    program.setProcessEnvironment(environmentIn(home));
    program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    Start start;
    QElapsedTimer clock;
    clock.start();
    program.start(QStringLiteral(QUORVANE_PROGRAM), {});
    while (program.waitForReadyRead(20000) || program.canReadLine()) {
        while (program.canReadLine()) {
            const QByteArray line = program.readLine().trimmed();
            const double at = double(clock.nsecsElapsed()) / 1e6;
            if (line == "frame")
                start.frameMs = at;
            else if (line == "feed")
                start.feedMs = at;
            else if (line.startsWith("peak_kb "))
                start.peakMiB = line.mid(8).toDouble() / 1024;
        }
        if (program.state() == QProcess::NotRunning)
            break;
    }
    program.waitForFinished(20000);
    if (start.frameMs < 0 || start.feedMs < 0)
        return std::nullopt;
    return start;
}

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? -1 : values.at(values.size() / 2);
}

void BM_ColdStart(benchmark::State &state)
{
    const QList<PaymentEvent> feed = syntheticFeed(100'000);
    QList<double> emptyFrame, emptyPeak, feedFrame, feedReady, feedPeak;
    for (auto _ : state) {
        const auto empty = startOnce(nullptr);
        const auto large = startOnce(&feed);
        if (!empty || !large) {
            state.SkipWithError("the program did not report its start");
            return;
        }
        emptyFrame.append(empty->frameMs);
        emptyPeak.append(empty->peakMiB);
        feedFrame.append(large->frameMs);
        feedReady.append(large->feedMs);
        feedPeak.append(large->peakMiB);
    }
    state.counters["empty_frame_ms"] = median(emptyFrame);
    state.counters["feed_frame_ms"] = median(feedFrame);
    state.counters["frame_ratio"] = median(feedFrame) / median(emptyFrame);
    state.counters["feed_ready_ms"] = median(feedReady);
    state.counters["empty_peak_MiB"] = median(emptyPeak);
    state.counters["feed_peak_MiB"] = median(feedPeak);
}
BENCHMARK(BM_ColdStart)->Unit(benchmark::kMillisecond)->Iterations(7)->Apply(BenchRuns::onceWhenSmoke);

// A second launch while a copy runs: from its start until it ends, the running copy having
// taken the request to open the panel; against a plain start's first frame.
void BM_SecondLaunch(benchmark::State &state)
{
    QTemporaryDir home;
    QProcessEnvironment env = environmentIn(home);
    env.remove(u"QUORVANE_STARTUP_PROBE"_s); // the running copy stays
    QProcess running;
    running.setProcessEnvironment(env);
    running.start(QStringLiteral(QUORVANE_PROGRAM), {});
    QElapsedTimer waited;
    waited.start();
    while (!QFile::exists(home.filePath(u"runtime/quorvane.socket"_s)) && waited.elapsed() < 20000)
        running.waitForFinished(20);
    QList<double> secondLaunch, plainFrame;
    for (auto _ : state) {
        QProcess second;
        second.setProcessEnvironment(env);
        QElapsedTimer clock;
        clock.start();
        second.start(QStringLiteral(QUORVANE_PROGRAM), {});
        if (!second.waitForFinished(20000) || second.exitCode() != 0) {
            state.SkipWithError("the second launch did not hand over its request");
            break;
        }
        secondLaunch.append(double(clock.nsecsElapsed()) / 1e6);
        if (const auto plain = startOnce(nullptr))
            plainFrame.append(plain->frameMs);
    }
    running.terminate();
    running.waitForFinished(5000);
    state.counters["second_launch_ms"] = median(secondLaunch);
    state.counters["plain_frame_ms"] = median(plainFrame);
    state.counters["launch_ratio"] = median(secondLaunch) / median(plainFrame);
}
BENCHMARK(BM_SecondLaunch)->Unit(benchmark::kMillisecond)->Iterations(7)->Apply(BenchRuns::onceWhenSmoke);

} // namespace

BENCHMARK_MAIN();
