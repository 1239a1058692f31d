// The keyed collection against std::unordered_map, keyed by the machine's 64-byte keys. Names are
// operation/container/entries; times are per operation on one key. Both do the same work, which is
// counted and compared.

#include "FwdL3Unicast/DecapKey.h"
#include "mdl/Collection.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <random>
#include <unordered_map>
#include <vector>

namespace {

using Fwd::DecapKey;
using Clock = std::chrono::steady_clock;

/// Distinct keys of which the first half is for a table and the second half is absent from it.
std::vector<DecapKey> makeKeys(std::size_t count) {
   std::vector<DecapKey> keys;
   keys.reserve(count);
   L3::VrfName const vrf("default");
   for (std::size_t i = 0; i < count; ++i) {
      Pkt::IpAddr const address(0x0a000000U + static_cast<std::uint32_t>(i));
      keys.emplace_back(Pkt::ipGenPrefixV4Zero, Pkt::IpGenPrefix(address, 32),
                        Tunnel::Decap::TunnelType::udp, std::uint16_t{6080},
                        Tunnel::Decap::PayloadType::ip, vrf);
   }
   return keys;
}

std::vector<DecapKey> shuffled(std::vector<DecapKey> keys, unsigned seed) {
   std::shuffle(keys.begin(), keys.end(), std::mt19937(seed));
   return keys;
}

struct Ours {
   Mdl::Collection<DecapKey, bool> table;

   void insert(DecapKey const& key) { table.tryInsert(key, true); }
   bool has(DecapKey const& key) const { return table.contains(key); }
   void erase(DecapKey const& key) { table.erase(key); }
   std::size_t size() const { return table.size(); }
   template <class Visit>
   void forEach(Visit const& visit) const {
      for (auto const& entry : table) visit(entry.key);
   }
};

struct KeyHasher {
   std::size_t operator()(DecapKey const& key) const noexcept { return key.hash(seed); }
   std::uint32_t seed = Mdl::hashSeed32();
};

struct Std {
   std::unordered_map<DecapKey, bool, KeyHasher> table;

   void insert(DecapKey const& key) { table.try_emplace(key, true); }
   bool has(DecapKey const& key) const { return table.find(key) != table.end(); }
   void erase(DecapKey const& key) { table.erase(key); }
   std::size_t size() const { return table.size(); }
   template <class Visit>
   void forEach(Visit const& visit) const {
      for (auto const& entry : table) visit(entry.first);
   }
};

/// Runs `work` over the keys again and again; the time reported is that of one key.
template <class Work>
void perKey(benchmark::State& state, std::size_t keys, Work const& work) {
   for (auto _ : state) {
      auto const start = Clock::now();
      work();
      std::chrono::duration<double> const took = Clock::now() - start;
      state.SetIterationTime(took.count() / static_cast<double>(keys));
   }
}

/// A table of the first half of the keys, and both halves in an order of their own.
template <class Container>
struct Filled {
   explicit Filled(std::size_t count) {
      std::vector<DecapKey> const keys = makeKeys(2 * count);
      auto const middle = keys.begin() + static_cast<std::ptrdiff_t>(count);
      present = shuffled({keys.begin(), middle}, 1);
      for (DecapKey const& key : present) container.insert(key);
      present = shuffled(std::move(present), 2);
      absent = shuffled({middle, keys.end()}, 3);
   }

   Container container;
   std::vector<DecapKey> present;
   std::vector<DecapKey> absent;
};

std::size_t countOf(benchmark::State const& state) {
   return static_cast<std::size_t>(state.range(0));
}

template <class Container>
void insert(benchmark::State& state) {
   std::vector<DecapKey> const keys = shuffled(makeKeys(countOf(state)), 1);
   for (auto _ : state) {
      Container container;
      auto const start = Clock::now();
      for (DecapKey const& key : keys) container.insert(key);
      std::chrono::duration<double> const took = Clock::now() - start;
      state.SetIterationTime(took.count() / static_cast<double>(keys.size()));
      if (container.size() != keys.size()) state.SkipWithError("keys are missing");
   }
}

template <class Container>
void hit(benchmark::State& state) {
   Filled<Container> const filled(countOf(state));
   perKey(state, filled.present.size(), [&] {
      std::size_t found = 0;
      for (DecapKey const& key : filled.present) found += filled.container.has(key) ? 1U : 0U;
      if (found != filled.present.size()) state.SkipWithError("a key is missing");
   });
}

void hitWithHash(benchmark::State& state) {
   Filled<Ours> const filled(countOf(state));
   auto const& table = filled.container.table;
   std::vector<std::uint32_t> hashes;
   for (DecapKey const& key : filled.present) hashes.push_back(table.hashed(key).hash());
   perKey(state, filled.present.size(), [&] {
      std::size_t found = 0;
      for (std::size_t i = 0; i < hashes.size(); ++i) {
         Mdl::Collection<DecapKey, bool>::Hashed const key(filled.present[i], hashes[i]);
         found += table.contains(key) ? 1U : 0U;
      }
      if (found != filled.present.size()) state.SkipWithError("a key is missing");
   });
}

template <class Container>
void miss(benchmark::State& state) {
   Filled<Container> const filled(countOf(state));
   perKey(state, filled.absent.size(), [&] {
      std::size_t found = 0;
      for (DecapKey const& key : filled.absent) found += filled.container.has(key) ? 1U : 0U;
      if (found != 0) state.SkipWithError("a key is too many");
   });
}

/// One leaves, one comes: the number of entries stays. All keys change places with all others.
template <class Container>
void eraseInsert(benchmark::State& state) {
   Filled<Container> filled(countOf(state));
   perKey(state, filled.present.size(), [&] {
      for (std::size_t i = 0; i < filled.present.size(); ++i) {
         filled.container.erase(filled.present[i]);
         filled.container.insert(filled.absent[i]);
      }
      filled.present.swap(filled.absent);
      if (filled.container.size() != filled.present.size()) state.SkipWithError("wrong size");
   });
}

template <class Container>
void iterate(benchmark::State& state) {
   Filled<Container> const filled(countOf(state));
   perKey(state, filled.present.size(), [&] {
      std::size_t sum = 0;
      filled.container.forEach([&](DecapKey const& key) { sum += key.destPort(); });
      if (sum != 6080 * filled.present.size()) state.SkipWithError("not every key was seen");
   });
}

/// The longest that any one insertion takes while the table grows from nothing.
template <class Container>
void longestInsert(benchmark::State& state) {
   std::vector<DecapKey> const keys = shuffled(makeKeys(countOf(state)), 1);
   for (auto _ : state) {
      Container container;
      Clock::duration longest{};
      for (DecapKey const& key : keys) {
         auto const start = Clock::now();
         container.insert(key);
         longest = std::max(longest, Clock::now() - start);
      }
      state.SetIterationTime(std::chrono::duration<double>(longest).count());
   }
}

/// Google Benchmark's clock sees the time of one key only, so the number of rounds is given.
void sizes(benchmark::internal::Benchmark* benchmark) {
   benchmark->UseManualTime();
   for (int const entries : {1000, 10000, 100000, 1000000}) benchmark->Arg(entries);
   benchmark->Iterations(5)->Repetitions(5)->ReportAggregatesOnly();
}

BENCHMARK(insert<Ours>)->Name("insert/ours")->Apply(sizes);
BENCHMARK(insert<Std>)->Name("insert/std")->Apply(sizes);
BENCHMARK(hit<Ours>)->Name("hit/ours")->Apply(sizes);
BENCHMARK(hit<Std>)->Name("hit/std")->Apply(sizes);
BENCHMARK(hitWithHash)->Name("hitWithHash/ours")->Apply(sizes);
BENCHMARK(miss<Ours>)->Name("miss/ours")->Apply(sizes);
BENCHMARK(miss<Std>)->Name("miss/std")->Apply(sizes);
BENCHMARK(eraseInsert<Ours>)->Name("eraseInsert/ours")->Apply(sizes);
BENCHMARK(eraseInsert<Std>)->Name("eraseInsert/std")->Apply(sizes);
BENCHMARK(iterate<Ours>)->Name("iterate/ours")->Apply(sizes);
BENCHMARK(iterate<Std>)->Name("iterate/std")->Apply(sizes);
BENCHMARK(longestInsert<Ours>)->Name("longestInsert/ours")->Apply(sizes);
BENCHMARK(longestInsert<Std>)->Name("longestInsert/std")->Apply(sizes);

}  // namespace
