// The whole job, from a configured prefix to a call of the hook and back, against two whole
// programs that do it with what others offer. Times are those of one prefix.

#include "bench/Contest.h"
#include "bench/Resident.h"
#include "bench/job/Good.h"
#include "bench/job/Machine.h"
#include "bench/job/Plain.h"

#include <array>
#include <map>
#include <memory>

namespace Bench {

namespace {

unsigned constexpr groups = 8;

unsigned groupOf(Pkt::IpGenPrefix const& prefix) { return prefix.ipAddr().value() % groups; }

struct Prefixes {
   explicit Prefixes(std::size_t count) {
      for (std::size_t i = 0; i < count; ++i) {
         inOrder.push_back(prefixOf(i));
         sum += prefixOf(i).ipAddr().value();
      }
      added = shuffled(inOrder, 1);
      withdrawn = shuffled(inOrder, 2);
      for (auto const& prefix : inOrder) ofGroup[groupOf(prefix)].push_back(prefix);
   }
   std::vector<Pkt::IpGenPrefix> inOrder;
   std::vector<Pkt::IpGenPrefix> added;
   std::vector<Pkt::IpGenPrefix> withdrawn;
   std::array<std::vector<Pkt::IpGenPrefix>, groups> ofGroup;
   std::uint64_t sum = 0;
};

Prefixes const& prefixesOf(std::size_t count) {
   static std::map<std::size_t, std::unique_ptr<Prefixes const>> all;
   auto& prefixes = all[count];
   if (!prefixes) prefixes = std::make_unique<Prefixes const>(count);
   return *prefixes;
}

template <class Job>
void addAll(Job& job, Prefixes const& prefixes) {
   for (auto const& prefix : prefixes.added) job.add(groupOf(prefix), prefix);
}

template <class Job>
bool isFull(Job const& job, Prefixes const& prefixes) {
   return job.hardware().keys == prefixes.added.size() && job.hardware().sum == prefixes.sum;
}

/// The time of one prefix when `fill(job, prefixes)` adds them all to a fresh job.
template <class Job, class Fill>
double filling(std::size_t count, Fill const& fill) {
   Prefixes const& prefixes = prefixesOf(count);
   Job job(groups);
   auto const start = Clock::now();
   fill(job, prefixes);
   double const seconds = secondsSince(start);
   return isFull(job, prefixes) ? seconds / static_cast<double>(count) : -1;
}

template <class Job>
double add(std::size_t count) {
   return filling<Job>(count, addAll<Job>);
}

template <class Job>
double withdraw(std::size_t count) {
   Prefixes const& prefixes = prefixesOf(count);
   Job job(groups);
   addAll(job, prefixes);
   if (!isFull(job, prefixes)) return -1;
   auto const start = Clock::now();
   for (auto const& prefix : prefixes.withdrawn) job.withdraw(groupOf(prefix), prefix);
   double const seconds = secondsSince(start);
   return job.hardware().keys == 0 ? seconds / static_cast<double>(count) : -1;
}

// Bursts: what one change of the configuration, or one document, brings about at once.

template <class Job>
void applyDocument(Job& job, Prefixes const& prefixes) {
   for (unsigned group = 0; group < groups; ++group) job.apply(group, prefixes.ofGroup[group]);
}

template <class Job>
double documentApplied(std::size_t count) {
   return filling<Job>(count, applyDocument<Job>);
}

template <class Job>
double groupsDeleted(std::size_t count) {
   Prefixes const& prefixes = prefixesOf(count);
   Job job(groups);
   addAll(job, prefixes);
   if (!isFull(job, prefixes)) return -1;
   auto const start = Clock::now();
   for (unsigned group = 0; group < groups; ++group) job.deleteGroup(group);
   double const seconds = secondsSince(start);
   return job.hardware().keys == 0 ? seconds / static_cast<double>(count) : -1;
}

/// Each key goes and its successor comes.
template <class Job>
double groupsRekeyed(std::size_t count) {
   Prefixes const& prefixes = prefixesOf(count);
   Job job(groups);
   addAll(job, prefixes);
   auto const start = Clock::now();
   for (unsigned group = 0; group < groups; ++group) job.rekey(group, 6081);
   double const seconds = secondsSince(start);
   return isFull(job, prefixes) ? seconds / static_cast<double>(count) : -1;
}

template <class Job>
double bytesPerKey(std::size_t count) {
   Prefixes const& prefixes = prefixesOf(count);
   std::size_t const bytes = residentBytesOf([&] {
      auto job = std::make_shared<Job>(groups);
      addAll(*job, prefixes);
      return job;
   });
   return bytes == 0 ? -1 : static_cast<double>(bytes) / static_cast<double>(count);
}

template <class Job>
void allContests() {
   for (std::size_t const count : {10'000UL, 100'000UL, 1'000'000UL}) {
      int const repetitions = count == 1'000'000 ? 5 : 9;
      contestant(
          "job-add", count, Job::name, [=] { return add<Job>(count); }, repetitions);
      contestant(
          "job-withdraw", count, Job::name, [=] { return withdraw<Job>(count); }, repetitions);
   }
   contestant(
       "burst-applied", 1'000'000, Job::name, [] { return documentApplied<Job>(1'000'000); }, 5);
   contestant(
       "burst-deleted", 1'000'000, Job::name, [] { return groupsDeleted<Job>(1'000'000); }, 5);
   contestant(
       "burst-rekeyed", 1'000'000, Job::name, [] { return groupsRekeyed<Job>(1'000'000); }, 5);
   contestant(
       "bytes-per-key", 1'000'000, Job::name, [] { return bytesPerKey<Job>(1'000'000); }, 3);
}

bool const registered = [] {
   allContests<Machine>();
   allContests<Plain>();
   allContests<Good>();
   return true;
}();

}  // namespace

}  // namespace Bench
