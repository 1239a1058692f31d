// All benchmarks in one program: bin/decap-bench --benchmark_filter=...

#include <benchmark/benchmark.h>
#include <sched.h>

#include <iostream>
#include <string>
#include <vector>

namespace {

/// One core for the whole run, the last one: the first has more to do for the system.
void pinToOneCore() {
   cpu_set_t allowed;
   if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) return;
   for (int core = CPU_SETSIZE - 1; core >= 0; --core) {
      if (!CPU_ISSET(core, &allowed)) continue;
      cpu_set_t one;
      CPU_ZERO(&one);
      CPU_SET(core, &one);
      if (sched_setaffinity(0, sizeof one, &one) != 0) std::cerr << "not pinned to a core\n";
      return;
   }
}

}  // namespace

int main(int count, char** arguments) {
   pinToOneCore();
   std::vector<char*> all(arguments, arguments + count);
   std::string interleaved = "--benchmark_enable_random_interleaving=true";
   all.insert(all.begin() + 1, interleaved.data());
   int given = static_cast<int>(all.size());
   benchmark::Initialize(&given, all.data());
   if (benchmark::ReportUnrecognizedArguments(given, all.data())) return 2;
   benchmark::RunSpecifiedBenchmarks();
   benchmark::Shutdown();
}
