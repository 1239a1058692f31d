#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace Bench {

using Clock = std::chrono::steady_clock;

inline double secondsSince(Clock::time_point start) {
   return std::chrono::duration<double>(Clock::now() - start).count();
}

/// 1000 as "1e3", the way the contests are named; other numbers as they are.
std::string sizeName(std::size_t size);

/// Registers one contestant of one contest, `contest/size/contestant`. All contestants of a run
/// take turns, in an order that chance decides for each repetition, so that whatever else the
/// computer does meets all of them alike. What is compared are the medians of the repetitions.
///
/// `measure()` does the work and returns the seconds that one operation took; negative, and it
/// counts as failed: the work was not what it should be.
template <class Measure>
void contestant(std::string const& contest, std::size_t size, std::string const& name,
                Measure measure, int repetitions = 9) {
   benchmark::RegisterBenchmark((contest + "/" + sizeName(size) + "/" + name).c_str(),
                                [measure](benchmark::State& state) {
                                   for (auto _ : state) {
                                      double const seconds = measure();
                                      if (seconds < 0) state.SkipWithError("wrong result");
                                      state.SetIterationTime(seconds);
                                   }
                                })
       ->UseManualTime()
       ->Iterations(1)
       ->Repetitions(repetitions)
       ->ReportAggregatesOnly();
}

/// Runs `work`, which does `operations` operations, often enough for a clock to tell, and returns
/// the seconds of one operation.
template <class Work>
double timed(std::size_t operations, Work const& work, std::size_t least = 200'000) {
   std::size_t const rounds = (least + operations - 1) / operations;
   auto const start = Clock::now();
   for (std::size_t round = 0; round < rounds; ++round) work();
   return secondsSince(start) / static_cast<double>(rounds * operations);
}

}  // namespace Bench
