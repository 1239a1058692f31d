// The keyed collection against the containers that an engineer would otherwise take, keyed by the
// machine's 64-byte keys. Times are those of one operation on one key.

#include "bench/Containers.h"
#include "bench/Contest.h"
#include "bench/Keys.h"
#include "bench/Resident.h"

#include <map>
#include <memory>

namespace Bench {

namespace {

std::size_t constexpr sizes[] = {1'000, 10'000, 100'000, 1'000'000};

/// The keys of a size, made once.
Keys const& keysOf(std::size_t count) {
   static std::map<std::size_t, std::unique_ptr<Keys const>> all;
   auto& keys = all[count];
   if (!keys) keys = std::make_unique<Keys const>(count);
   return *keys;
}

/// Lets `work` have one container after another, each prepared by `prepare`, and returns the
/// seconds of one of its `count` operations; each container must have `left` entries then.
template <class Container, class Prepare, class Work>
double onFresh(std::size_t count, std::size_t left, Prepare const& prepare, Work const& work) {
   std::size_t const rounds = (100'000 + count - 1) / count;
   double seconds = 0;
   for (std::size_t round = 0; round < rounds; ++round) {
      Container container;
      prepare(container);
      auto const start = Clock::now();
      work(container);
      seconds += secondsSince(start);
      if (container.size() != left) return -1;
   }
   return seconds / static_cast<double>(rounds * count);
}

template <class Container>
void fill(Container& container, std::size_t count) {
   for (DecapKey const& key : keysOf(count).inserted) container.insert(key);
}

template <class Container>
Container& filled(std::size_t count) {
   static std::map<std::size_t, Container> all;
   Container& container = all[count];
   if (container.size() == 0) fill(container, count);
   return container;
}

template <class Container>
double insert(std::size_t count) {
   return onFresh<Container>(
       count, count, [=](Container&) { keysOf(count); },  // before the clock runs
       [=](Container& container) { fill(container, count); });
}

template <class Container>
double hit(std::size_t count) {
   Container const& container = filled<Container>(count);
   std::size_t found = 0;
   std::size_t asked = 0;
   double const seconds = timed(count, [&] {
      for (DecapKey const& key : keysOf(count).present) found += container.has(key) ? 1U : 0U;
      asked += count;
   });
   return found == asked ? seconds : -1;
}

/// The hashes of keys, as an event has them that hashed its key once.
std::vector<std::uint32_t> hashesOf(Ours const& ours, std::vector<DecapKey> const& keys) {
   std::vector<std::uint32_t> hashes;
   hashes.reserve(keys.size());
   for (DecapKey const& key : keys) hashes.push_back(ours.table.hashed(key).hash());
   return hashes;
}

using Hashed = Mdl::Collection<DecapKey, bool>::Hashed;

double hitWithHash(std::size_t count) {
   Ours const& container = filled<Ours>(count);
   auto const& keys = keysOf(count).present;
   auto const hashes = hashesOf(container, keys);
   std::size_t found = 0;
   std::size_t asked = 0;
   double const seconds = timed(count, [&] {
      for (std::size_t i = 0; i < count; ++i) {
         found += container.table.contains(Hashed(keys[i], hashes[i])) ? 1U : 0U;
      }
      asked += count;
   });
   return found == asked ? seconds : -1;
}

template <class Container>
double miss(std::size_t count) {
   Container const& container = filled<Container>(count);
   std::size_t found = 0;
   double const seconds = timed(count, [&] {
      for (DecapKey const& key : keysOf(count).absent) found += container.has(key) ? 1U : 0U;
   });
   return found == 0 ? seconds : -1;
}

/// One leaves, one comes, all in an order of their own; the number of entries stays.
template <class Container>
struct Churn {
   explicit Churn(std::size_t count)
       : present(keysOf(count).present), absent(keysOf(count).absent) {
      fill(container, count);
   }
   Container container;
   std::vector<DecapKey> present;
   std::vector<DecapKey> absent;
};

template <class Container>
Churn<Container>& churn(std::size_t count) {
   static std::map<std::size_t, std::unique_ptr<Churn<Container>>> all;
   auto& one = all[count];
   if (!one) one = std::make_unique<Churn<Container>>(count);
   return *one;
}

template <class Container>
double eraseInsert(std::size_t count) {
   auto& [container, present, absent] = churn<Container>(count);
   double const seconds = timed(count, [&, &c = container, &p = present, &a = absent] {
      for (std::size_t i = 0; i < count; ++i) {
         c.erase(p[i]);
         c.insert(a[i]);
      }
      p.swap(a);
   });
   return container.size() == count ? seconds : -1;
}

double eraseInsertWithHash(std::size_t count) {
   struct WithHashes : Churn<Ours> {
      explicit WithHashes(std::size_t n)
          : Churn(n), presentHashes(hashesOf(container, present)),
            absentHashes(hashesOf(container, absent)) {}
      std::vector<std::uint32_t> presentHashes;
      std::vector<std::uint32_t> absentHashes;
   };
   static std::map<std::size_t, std::unique_ptr<WithHashes>> all;
   auto& one = all[count];
   if (!one) one = std::make_unique<WithHashes>(count);
   auto& table = one->container.table;
   double const seconds = timed(count, [&] {
      for (std::size_t i = 0; i < count; ++i) {
         table.erase(Hashed(one->present[i], one->presentHashes[i]));
         table.tryInsert(Hashed(one->absent[i], one->absentHashes[i]), true);
      }
      one->present.swap(one->absent);
      one->presentHashes.swap(one->absentHashes);
   });
   return table.size() == count ? seconds : -1;
}

template <class Container>
double iterate(std::size_t count) {
   Container const& container = filled<Container>(count);
   std::size_t sum = 0;
   std::size_t rounds = 0;
   double const seconds = timed(
       count,
       [&] {
          container.forEach([&](DecapKey const& key) { sum += key.destPort(); });
          ++rounds;
       },
       1'000'000);
   return sum == 6080 * count * rounds ? seconds : -1;
}

/// A walk over all of which every second one goes.
template <class Container>
double eraseWalking(std::size_t count) {
   auto const isEven = [](DecapKey const& key) { return key.dstIp().ipAddr().value() % 2 == 0; };
   return onFresh<Container>(
       count, count / 2, [=](Container& container) { fill(container, count); },
       [=](Container& container) { container.eraseWalking(isEven); });
}

/// The longest that any one insertion takes while the table grows from nothing.
template <class Container>
double worstInsert(std::size_t count) {
   Keys const& keys = keysOf(count);
   Container container;
   Clock::duration longest{};
   for (DecapKey const& key : keys.inserted) {
      auto const start = Clock::now();
      container.insert(key);
      longest = std::max(longest, Clock::now() - start);
   }
   return container.size() == count ? std::chrono::duration<double>(longest).count() : -1;
}

/// Not a time: what the process has more in memory, in bytes an entry, with a filled table.
template <class Container>
double bytesPerEntry(std::size_t count) {
   keysOf(count);  // not a part of what is measured
   std::size_t const bytes = residentBytesOf([&] {
      auto container = std::make_shared<Container>();
      fill(*container, count);
      return container;
   });
   return bytes == 0 ? -1 : static_cast<double>(bytes) / static_cast<double>(count);
}

template <class Container>
void allContests() {
   auto const enter = [](char const* contest, std::size_t count, double (*measure)(std::size_t)) {
      contestant(contest, count, Container::name, [=] { return measure(count); });
   };
   for (std::size_t const count : sizes) {
      enter("insert", count, insert<Container>);
      enter("hit", count, hit<Container>);
      enter("miss", count, miss<Container>);
      enter("erase-insert", count, eraseInsert<Container>);
      enter("iterate", count, iterate<Container>);
      enter("erase-walking", count, eraseWalking<Container>);
      if (count >= 100'000) enter("bytes-per-entry", count, bytesPerEntry<Container>);
   }
   enter("worst-insert", sizes[3], worstInsert<Container>);
}

bool const registered = [] {
   allContests<Ours>();
   allContests<Std>();
   allContests<AbslFlat>();
   allContests<AbslNode>();
   allContests<BoostFlat>();
   allContests<BoostMap>();
   for (std::size_t const count : sizes) {
      contestant("hit", count, "ours+hash", [=] { return hitWithHash(count); });
      contestant("erase-insert", count, "ours+hash", [=] { return eraseInsertWithHash(count); });
   }
   return true;
}();

}  // namespace

}  // namespace Bench
