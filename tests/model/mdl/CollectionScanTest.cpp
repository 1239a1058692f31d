#include "mdl/Collection.h"
#include "support/CollectionFixtures.h"

#include <gtest/gtest.h>

#include <iterator>
#include <utility>
#include <vector>

namespace {

using Numbers = Mdl::Collection<int, int>;
using Keys = std::vector<int>;

static_assert(std::input_iterator<Mdl::CollectionScan<Numbers>>);
static_assert(std::sentinel_for<std::default_sentinel_t, Mdl::CollectionScan<Numbers>>);

TEST(CollectionScan, SeesEachEntryInOrderOfInsertion) {
   Numbers numbers;
   for (int const key : {5, 1, 4}) numbers.insertOrAssign(key, 10 * key);
   std::vector<std::pair<int, int>> seen;
   for (auto const& [key, value] : numbers) seen.emplace_back(key, value);
   EXPECT_EQ(seen, (std::vector<std::pair<int, int>>{{5, 50}, {1, 10}, {4, 40}}));
}

TEST(CollectionScan, SeesNothingInAnEmptyCollection) {
   Numbers const numbers;
   EXPECT_TRUE(numbers.begin() == numbers.end());
}

TEST(CollectionScan, StepsOverHolesInEveryChunk) {
   Numbers numbers;
   Support::fill(numbers, 5000);
   auto const keepHoles = numbers.walk();
   Keys left;
   for (int key = 0; key < 5000; ++key) {
      if (key % 1500 == 7) {
         left.push_back(key);
      } else {
         numbers.erase(key);
      }
   }
   Keys seen;
   for (auto const& entry : numbers) seen.push_back(entry.key);
   EXPECT_EQ(seen, left);
}

TEST(CollectionScan, RefersToTheEntriesThemselves) {
   Numbers numbers;
   numbers.insertOrAssign(1, 10);
   for (auto const& entry : numbers) EXPECT_EQ(&entry.value, numbers.find(1));
}

TEST(CollectionScan, ShowsWhatTheBodyAssignsAndNotWhatItInserts) {
   Numbers numbers;
   Support::fill(numbers, 2000);
   int seen = 0;
   for (auto const& entry : numbers) {
      numbers.insertOrAssign(entry.key + 1, -1);
      numbers.insertOrAssign(entry.key + 2000, 0);
      if (entry.key != 0) {
         EXPECT_EQ(entry.value, -1);
      }
      ++seen;
   }
   EXPECT_EQ(seen, 2000);
   EXPECT_EQ(numbers.size(), 4000U);
}

TEST(CollectionScanDeathTest, StopsTheProcessWhenItGoesOnAfterARemoval) {
   Numbers numbers;
   Support::fill(numbers, 10);
   EXPECT_DEATH(
       {
          for (auto const& entry : numbers) numbers.erase(entry.key);
       },
       "nothingWasRemoved");
}

TEST(CollectionScan, MayEndWithARemoval) {
   Numbers numbers;
   Support::fill(numbers, 10);
   for (auto const& entry : numbers) {
      numbers.erase(entry.key);
      break;
   }
   EXPECT_EQ(numbers.size(), 9U);
}

}  // namespace
