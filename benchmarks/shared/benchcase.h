#ifndef MORVEK_BENCHMARKS_BENCHCASE_H
#define MORVEK_BENCHMARKS_BENCHCASE_H

#include <benchmark/benchmark.h>

#include <string>
#include <utility>

namespace Morvek::Benchmarks {

/**
 * Registers one way of doing a case: the way "ours", "plain", "floor" or the name of a peer.
 * benchmarks/ratios.py puts the ways of a case side by side.
 *
 * @param strCase  names the case, the same for each of its ways: "framing/1000kB_64KiB"
 * @param run      does it as often as the state asks
 */
template <typename Run>
benchmark::internal::Benchmark *addWay(const std::string &strCase, const std::string &strWay,
                                       Run run)
{
    return benchmark::RegisterBenchmark((strCase + "/" + strWay).c_str(), std::move(run))
        ->Unit(benchmark::kMicrosecond);
}

/** A way that is one call of do(), over and over. */
template <typename Do>
benchmark::internal::Benchmark *addCall(const std::string &strCase, const std::string &strWay,
                                        Do call)
{
    return addWay(strCase, strWay, [call](benchmark::State &state) mutable {
        for (auto _ : state) {
            call();
            benchmark::ClobberMemory();
        }
    });
}

} // namespace Morvek::Benchmarks

#endif // MORVEK_BENCHMARKS_BENCHCASE_H
