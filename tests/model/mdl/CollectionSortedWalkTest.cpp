#include "mdl/Collection.h"
#include "support/CollectionFixtures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

namespace {

using Numbers = Mdl::Collection<int, int>;
using Keys = std::vector<int>;

class CollectionSortedWalk : public testing::Test {
 protected:
   CollectionSortedWalk() {
      for (int const key : {5, 1, 4, 2, 3}) numbers->insertOrAssign(key, key);
   }

   Keys seen(std::function<void(int)> const& body) {
      Keys keys;
      for (auto const& entry : numbers->walkSorted()) {
         keys.push_back(entry.key);
         body(entry.key);
      }
      return keys;
   }

   std::unique_ptr<Numbers> numbers = std::make_unique<Numbers>();
};

TEST_F(CollectionSortedWalk, GoesByAscendingKey) {
   EXPECT_EQ(seen([](int) {}), (Keys{1, 2, 3, 4, 5}));
}

TEST_F(CollectionSortedWalk, SortsManyAsWell) {
   for (int i = 0; i < 4000; ++i) numbers->insertOrAssign(i * 7919 % 4001, 0);
   Keys const keys = seen([](int) {});
   EXPECT_EQ(keys.size(), numbers->size());
   EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end()));
}

TEST_F(CollectionSortedWalk, GoesOnAfterTheCurrentEntryIsRemoved) {
   EXPECT_EQ(seen([&](int key) { numbers->erase(key); }), (Keys{1, 2, 3, 4, 5}));
   EXPECT_TRUE(numbers->empty());
}

TEST_F(CollectionSortedWalk, SkipsAnEntryRemovedAhead) {
   EXPECT_EQ(seen([&](int key) { numbers->erase(key + 1); }), (Keys{1, 3, 5}));
}

TEST_F(CollectionSortedWalk, DoesNotSeeWhatIsInserted) {
   EXPECT_EQ(seen([&](int key) { numbers->insertOrAssign(key + 10, 0); }), (Keys{1, 2, 3, 4, 5}));
}

TEST_F(CollectionSortedWalk, DoesNotSeeAnEntryThatWasRemovedAndCameBack) {
   EXPECT_EQ(seen([&](int) {
                numbers->erase(4);
                numbers->insertOrAssign(4, 0);
             }),
             (Keys{1, 2, 3, 5}));
}

TEST_F(CollectionSortedWalk, EndsWhenTheCollectionIsCleared) {
   EXPECT_EQ(seen([&](int) { numbers->clear(); }), Keys{1});
}

TEST_F(CollectionSortedWalk, EndsWhenTheCollectionIsDestroyed) {
   EXPECT_EQ(seen([&](int) { numbers.reset(); }), Keys{1});
}

TEST_F(CollectionSortedWalk, SeesTheNewValueOfAnEntryAhead) {
   int lastValue = 0;
   for (auto const& entry : numbers->walkSorted()) {
      numbers->insertOrAssign(5, 50);
      lastValue = entry.value;
   }
   EXPECT_EQ(lastValue, 50);
}

TEST_F(CollectionSortedWalk, MixesWithAWalkInOrderOfInsertion) {
   Keys keys;
   for (auto const& sorted : numbers->walkSorted()) {
      for (auto const& entry : numbers->walk()) {
         keys.push_back(10 * sorted.key + entry.key);
         numbers->erase(entry.key);
         break;
      }
   }
   EXPECT_EQ(keys, (Keys{15, 21, 34}));
   EXPECT_TRUE(numbers->contains(3));
}

}  // namespace
