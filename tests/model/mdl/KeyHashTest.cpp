#include "mdl/KeyHash.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>

namespace {

enum class Colour : std::uint8_t { red, green };

struct Named {
   std::uint32_t hash(std::uint32_t seed) const noexcept { return seed + 1; }
};

TEST(KeyHash, AsksTheKeyItself) { EXPECT_EQ(Mdl::KeyHash<Named>{}(Named{}, 41), 42U); }

TEST(KeyHash, TakesNumbersAndEnumerations) {
   EXPECT_EQ(Mdl::KeyHash<int>{}(5, 1), Mdl::KeyHash<int>{}(5, 1));
   EXPECT_NE(Mdl::KeyHash<int>{}(5, 1), Mdl::KeyHash<int>{}(6, 1));
   EXPECT_NE(Mdl::KeyHash<int>{}(5, 1), Mdl::KeyHash<int>{}(5, 2));
   EXPECT_NE(Mdl::KeyHash<Colour>{}(Colour::red, 1), Mdl::KeyHash<Colour>{}(Colour::green, 1));
}

TEST(KeyHash, SpreadsNeighboursOverBothEnds) {
   // Of 4096 neighbours, a table indexed by 12 bits of either end would meet about 63 % of its
   // places if the hash were random.
   std::set<std::uint32_t> low;
   std::set<std::uint32_t> high;
   for (int key = 0; key < 4096; ++key) {
      std::uint32_t const hash = Mdl::KeyHash<int>{}(key, 12345);
      low.insert(hash & 0xfffU);
      high.insert(hash >> 20);
   }
   EXPECT_GT(low.size(), 2400U);
   EXPECT_GT(high.size(), 2400U);
}

}  // namespace
