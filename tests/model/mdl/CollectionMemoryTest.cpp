#include "mdl/Collection.h"
#include "support/CollectionFixtures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <vector>

namespace {

using Numbers = Mdl::Collection<int, int>;
using Support::fill;

/// An entry is 12 bytes, with at most 13 bytes of index as it grows, 26 after removals, when three
/// quarters of the slots may be holes; and a chunk to start.
std::size_t memoryFor(std::size_t entries) { return entries * (12 + 13) + 16 * 1024; }
std::size_t memoryAfterRemovals(std::size_t entries) { return entries * (4 * 12 + 26) + 16 * 1024; }

std::vector<int> shuffled(int count) {
   std::vector<int> keys;
   for (int key = 0; key < count; ++key) keys.push_back(key);
   std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
   return keys;
}

TEST(CollectionMemory, ATinyCollectionIsTiny) {
   Numbers numbers;
   numbers.insertOrAssign(1, 1);
   EXPECT_LE(numbers.bytes(), 96U);
   fill(numbers, 8);
   EXPECT_LE(numbers.bytes(), 192U);
}

TEST(CollectionMemory, FollowsTheEntriesUp) {
   Numbers numbers;
   for (int count : {100, 1000, 10000, 100000}) {
      fill(numbers, count);
      EXPECT_LE(numbers.bytes(), memoryFor(static_cast<std::size_t>(count)));
   }
}

TEST(CollectionMemory, FollowsTheEntriesDownWhateverTheOrder) {
   std::vector<int> forward;
   for (int key = 0; key < 100000; ++key) forward.push_back(key);
   std::vector<int> const backward(forward.rbegin(), forward.rend());
   for (std::vector<int> const& order : {forward, backward, shuffled(100000)}) {
      Numbers numbers;
      fill(numbers, 100000);
      for (int const key : order) {
         numbers.erase(key);
         if (numbers.size() % 1000 != 0) continue;
         ASSERT_LE(numbers.bytes(), memoryAfterRemovals(numbers.size())) << numbers.size();
      }
      EXPECT_EQ(numbers.bytes(), 0U);
   }
}

TEST(CollectionMemory, AFewLeftOfManyAreTinyAgain) {
   Numbers numbers;
   fill(numbers, 100000);
   for (int const key : shuffled(100000)) {
      if (key >= 3) numbers.erase(key);
   }
   EXPECT_LE(numbers.bytes(), 1200U);  // of which the table of chunks is most
   numbers.checkInvariants();
}

TEST(CollectionMemory, StaysBoundedUnderChurn) {
   Numbers numbers;
   fill(numbers, 10000);
   std::mt19937 random(7);
   for (int next = 10000; next < 300000; ++next) {
      while (!numbers.erase(static_cast<int>(random() % static_cast<unsigned>(next)))) {
      }
      numbers.insertOrAssign(next, 0);
      if (next % 1000 == 0) {
         ASSERT_LE(numbers.bytes(), memoryAfterRemovals(10000));
      }
   }
   EXPECT_EQ(numbers.size(), 10000U);
   numbers.checkInvariants();
}

TEST(CollectionMemory, AQueueTakesTheMemoryOfItsLength) {
   Numbers numbers;
   for (int key = 0; key < 100000; ++key) {
      numbers.insertOrAssign(key, key);
      if (key >= 20) numbers.erase(key - 20);
   }
   EXPECT_EQ(numbers.size(), 20U);
   EXPECT_LE(numbers.bytes(), 2000U);
   numbers.checkInvariants();
}

TEST(CollectionMemory, AStackTakesTheMemoryOfItsHeight) {
   Numbers numbers;
   fill(numbers, 20);
   for (int i = 0; i < 100000; ++i) {
      numbers.insertOrAssign(20, 0);
      numbers.erase(20);
   }
   EXPECT_LE(numbers.bytes(), 2000U);
   numbers.checkInvariants();
}

TEST(CollectionMemory, CraftedHashesTakeMemoryInProportion) {
   Mdl::Collection<int, int, Support::PeelingHash> peeling;
   fill(peeling, 3000);
   EXPECT_LE(peeling.bytes(), memoryFor(3000));
   Mdl::Collection<int, int, Support::AllEqualHash> equal;
   fill(equal, 3000);
   EXPECT_LE(equal.bytes(), memoryFor(3000));
}

}  // namespace
