#include "mdl/CollectionOrder.h"

#include "mdl/Collection.h"
#include "support/CollectionFixtures.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>

namespace {

using Numbers = Mdl::Collection<int, int>;

TEST(CollectionOrder, GrowsAlongTheCollection) {
   for (int const count : {1, 8, 100, 5000}) {
      Numbers numbers;
      Support::fill(numbers, count);
      // Whole chunks go and come, so that their numbers no longer say how they are linked.
      for (int key = 0; key < count - 1; ++key) {
         if (key % 2000 < 1900) numbers.erase(key);
      }
      for (int key = count; key < 2 * count; ++key) numbers.insertOrAssign(key, key);
      Mdl::CollectionOrder const order(numbers);
      std::optional<std::uint64_t> previous;
      for (auto const& entry : numbers) {
         auto const rank = order.rankOf(entry.key);
         ASSERT_TRUE(rank);
         ASSERT_TRUE(!previous || *rank > *previous);
         previous = rank;
      }
   }
}

TEST(CollectionOrder, KnowsNoRankOfWhatIsNotThere) {
   Numbers numbers;
   EXPECT_FALSE(Mdl::CollectionOrder(numbers).rankOf(1));
   Support::fill(numbers, 20);
   EXPECT_FALSE(Mdl::CollectionOrder(numbers).rankOf(20));
}

}  // namespace
