#pragma once

#include <QtGlobal>
#include <benchmark/benchmark.h>

// The test suite runs every benchmark once to see that it still finishes: with
// --benchmark_min_time=0 and QUORVANE_BENCH_SMOKE=1. A fixed count of runs or a minimum time of
// a benchmark's own, which the flag cannot override, is set through these.
namespace BenchRuns {

inline bool smoke()
{
    return qEnvironmentVariableIsSet("QUORVANE_BENCH_SMOKE");
}

inline void onceWhenSmoke(benchmark::internal::Benchmark *benchmark)
{
    if (smoke())
        benchmark->Iterations(1);
}

template<int seconds>
void minTimeUnlessSmoke(benchmark::internal::Benchmark *benchmark)
{
    if (smoke())
        benchmark->Iterations(1);
    else
        benchmark->MinTime(seconds);
}

} // namespace BenchRuns
