#include "mdl/HashIndex.h"

#include "support/FailingNew.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <new>
#include <random>
#include <utility>
#include <vector>

namespace {

using Mdl::HashIndex;

/// An index over positions whose hashes stand in a vector.
class HashIndexOver : public testing::Test {
 protected:
   std::uint32_t add(std::uint32_t hash) {
      auto const position = static_cast<std::uint32_t>(stored.size());
      stored.push_back(hash);
      index.makeRoom(hash, hashes());
      index.insert(hash, position);
      ++count;
      return position;
   }
   void remove(std::uint32_t position) {
      index.erase(stored[position], position, hashes());
      --count;
   }
   bool finds(std::uint32_t position) const {
      return index.find(stored[position], [&](std::uint32_t at) { return at == position; }) ==
             position;
   }
   void addRandom(int entries) {
      for (int i = 0; i < entries; ++i) add(static_cast<std::uint32_t>(random()));
   }
   void check() const { index.checkInvariants(count, hashes()); }

   HashIndex::Hashes hashes() const {
      return {this, [](void const* entries, std::uint32_t at) noexcept {
                 auto const& self = *static_cast<HashIndexOver const*>(entries);
                 ++self.hashesRead;
                 return self.stored[at];
              }};
   }

   std::vector<std::uint32_t> stored;
   std::size_t count = 0;
   mutable std::size_t hashesRead = 0;
   HashIndex index;
   std::mt19937 random{1};
};

TEST_F(HashIndexOver, HasNoMemoryAndNoTableAtFirst) {
   EXPECT_FALSE(index.active());
   EXPECT_EQ(index.bytes(), 0U);
   check();
}

TEST_F(HashIndexOver, FindsEachPositionOfOneHash) {
   for (int i = 0; i < 5; ++i) add(7);
   for (std::uint32_t position = 0; position < 5; ++position) EXPECT_TRUE(finds(position));
}

TEST_F(HashIndexOver, AsksOnlyAboutPositionsOfTheTag) {
   add(0x01000000);
   add(0x02000000);
   int asked = 0;
   index.find(0x03000000, [&](std::uint32_t) {
      ++asked;
      return true;
   });
   EXPECT_EQ(asked, 0);
   EXPECT_EQ(index.find(0x02000000, [](std::uint32_t) { return true; }), 1U);
}

TEST_F(HashIndexOver, ATagOfZeroIsNotAnEmptySlot) {
   add(0);
   EXPECT_TRUE(finds(0));
   remove(0);
   EXPECT_EQ(index.find(0, [](std::uint32_t) { return true; }), HashIndex::npos);
}

TEST_F(HashIndexOver, GrowsOneTableAtATime) {
   std::size_t tables = 0;
   for (int i = 0; i < 100000; ++i) {
      addRandom(1);
      ASSERT_LE(index.tableCount(), tables + 1);
      tables = index.tableCount();
   }
   EXPECT_GT(tables, 10U);
   for (std::uint32_t position = 0; position < 100000; ++position) ASSERT_TRUE(finds(position));
   check();
}

TEST_F(HashIndexOver, TakesUpToThirteenBytesAPosition) {
   addRandom(10000);
   for (int i = 0; i < 100; ++i) {
      addRandom(1000);
      EXPECT_LE(index.bytes(), stored.size() * 13);
   }
}

TEST_F(HashIndexOver, RarelyReadsAHashToGrow) {
   addRandom(200000);
   // Each position moves some six times on average while all this grows.
   EXPECT_LE(hashesRead, 30000U);
   check();
}

TEST_F(HashIndexOver, RarelyReadsAHashToShrink) {
   addRandom(200000);
   hashesRead = 0;
   for (std::uint32_t position = 0; position < 199000; ++position) remove(position);
   EXPECT_LE(hashesRead, 10000U);
   check();
}

TEST_F(HashIndexOver, GrowsAgainWhereItHasShrunk) {
   addRandom(50000);
   for (std::uint32_t round = 0; round < 3; ++round) {
      auto const all = static_cast<std::uint32_t>(stored.size());
      for (std::uint32_t position = all - 50000; position < all - 2000; ++position) {
         remove(position);
      }
      check();
      std::vector<std::uint32_t> const left(stored.end() - 2000, stored.end());
      for (std::uint32_t position = all - 2000; position < all; ++position) remove(position);
      for (std::uint32_t const hash : left) add(hash);
      addRandom(48000);
      check();
   }
}

// Up to 15 positions of a group are moved together. Whoever had to go past its group stands among
// others, and is asked for its hash.
TEST_F(HashIndexOver, TakesThoseAlongThatStandInAGroupOfOthers) {
   // Of eight groups, one is asked for twice as often as it can hold, by hashes that later part.
   for (std::uint32_t i = 0; i < 26; ++i) add(i << 20 | (i & 1U) << 3);
   check();
   addRandom(6000);
   check();
   for (std::uint32_t position = 0; position < 26; ++position) EXPECT_TRUE(finds(position));
}

TEST_F(HashIndexOver, TakesOutWhatASearchFinds) {
   for (int i = 0; i < 20; ++i) add(0x12300000U);
   addRandom(1000);
   auto const is17 = [](std::uint32_t at) { return at == 17; };
   EXPECT_EQ(index.take(stored[17], is17, hashes()), 17U);
   --count;
   check();
   EXPECT_FALSE(finds(17));
   EXPECT_EQ(index.take(stored[17], is17, hashes()), HashIndex::npos);
   check();
}

TEST_F(HashIndexOver, ShrinksAlsoAsItIsTakenFrom) {
   addRandom(20000);
   std::size_t const full = index.bytes();
   for (std::uint32_t position = 0; position < 19990; ++position) {
      auto const isIt = [&](std::uint32_t at) { return at == position; };
      ASSERT_EQ(index.take(stored[position], isIt, hashes()), position);
      --count;
   }
   check();
   EXPECT_LE(index.bytes(), full / 100);
}

TEST_F(HashIndexOver, ForgetsWhatIsErased) {
   addRandom(5000);
   for (std::uint32_t position = 0; position < 5000; position += 2) remove(position);
   check();
   for (std::uint32_t position = 0; position < 5000; ++position) {
      ASSERT_EQ(finds(position), position % 2 == 1);
   }
}

TEST_F(HashIndexOver, ShrinksBackToOneTable) {
   addRandom(50000);
   std::size_t const full = index.bytes();
   for (std::uint32_t position = 0; position < 49990; ++position) {
      remove(position);
      if (position % 5000 == 0) check();
   }
   check();
   EXPECT_LE(index.tableCount(), 2U);
   EXPECT_LE(index.depth(), 1U);
   EXPECT_LE(index.bytes(), full / 100);
   EXPECT_LE(index.bytes(), 512U);
   for (std::uint32_t position = 49990; position < 50000; ++position) EXPECT_TRUE(finds(position));
}

TEST_F(HashIndexOver, GivesMemoryBackBesideAFullBuddy) {
   for (std::uint32_t i = 0; i < 12000; ++i) {
      add((static_cast<std::uint32_t>(random()) & ~0x200U) | (i % 2) << 9);
   }
   ASSERT_EQ(index.tableCount(), 2U);
   std::size_t const full = index.bytes();
   for (std::uint32_t position = 1; position < 11990; position += 2) remove(position);
   EXPECT_LE(index.bytes(), full * 55 / 100);
   check();
}

// The directory is as deep as its deepest table needs. Here that is the one of hashes without a bit
// where tables divide, while a table of half of all hashes still has many places.
TEST_F(HashIndexOver, SplitsATableThatHasManyPlaces) {
   for (unsigned shift = 0; shift < 32; ++shift) add(0x80000000U >> shift);
   for (int i = 0; i < 60000; ++i) add(static_cast<std::uint32_t>(random()) & ~0x0001fe00U);
   ASSERT_GE(index.depth(), 3U);
   check();
   for (int i = 0; i < 20000; ++i) add(static_cast<std::uint32_t>(random()) | 0x00000200U);
   check();
   for (std::uint32_t position = 0; position < stored.size(); ++position) {
      ASSERT_TRUE(finds(position)) << position;
   }
}

TEST_F(HashIndexOver, LeavesNoMarksBehind) {
   // Many times the table's capacity comes and goes; an absent hash must stay quick to miss.
   addRandom(600);
   for (std::uint32_t next = 0; next < 50000; ++next) {
      addRandom(1);
      remove(next);
   }
   check();
   EXPECT_EQ(index.tableCount(), 1U);
}

// Of 70 equal hashes more go past the first group than its counts can hold. From then on the counts
// say "somebody", and what is there is found, whatever comes and goes.
TEST_F(HashIndexOver, FindsWhatWentPastAGroupMoreOftenThanItCounts) {
   for (int i = 0; i < 70; ++i) add(0x12300000U);
   // Another class of hashes with the same tag and group.
   for (int i = 0; i < 5; ++i) add(0x12500000U);
   for (std::uint32_t position = 0; position < 60; ++position) {
      remove(position);
      check();
   }
   for (std::uint32_t position = 60; position < 75; ++position) EXPECT_TRUE(finds(position));
}

TEST_F(HashIndexOver, FollowsAnEntryThatMoved) {
   addRandom(1000);
   stored.push_back(stored[500]);
   index.move(stored[500], 500, 1000);
   EXPECT_FALSE(finds(500));
   EXPECT_TRUE(finds(1000));
   check();
}

TEST_F(HashIndexOver, ReadsFewHashesOfWhatHasMoved) {
   addRandom(6000);
   for (std::uint32_t position = 0; position < 6000; ++position) {
      stored.push_back(stored[position]);
      index.move(stored[position], position, 6000 + position);
   }
   hashesRead = 0;
   addRandom(1000);  // the table is split
   EXPECT_EQ(index.tableCount(), 2U);
   EXPECT_LE(hashesRead, 2000U);
   check();
}

TEST_F(HashIndexOver, TakesAnyNumberOfEqualHashes) {
   // Of either half of all hashes.
   for (std::uint32_t const hash : {0xabcdef01U, 0xabcded01U}) {
      auto const first = static_cast<std::uint32_t>(stored.size());
      for (int i = 0; i < 8000; ++i) add(hash);
      check();
      EXPECT_EQ(index.tableCount(), 1U);
      EXPECT_LE(index.bytes(), 8000 * 14U);
      for (std::uint32_t i = 0; i < 8000; i += 7) EXPECT_TRUE(finds(first + i));
      for (std::uint32_t i = 0; i < 8000; ++i) remove(first + i);
      check();
   }
}

TEST_F(HashIndexOver, KeepsTheDirectoryInProportionToCraftedHashes) {
   // A crowd shares the bits by which tables divide, all zeros or all ones, and each split takes
   // one straggler off it.
   for (std::uint32_t const shared : {0U, 0x01fffe00U}) {
      stored.clear();
      count = 0;
      index.clear();
      for (unsigned bit = 0; bit < 16; ++bit) add((0x200U << bit) ^ shared);
      for (int i = 0; i < 200000; ++i) {
         add((static_cast<std::uint32_t>(random()) & 0xfe0001ffU) | shared);
      }
      check();
      EXPECT_GT(index.tableCount(), 3U);
      EXPECT_LE((std::size_t{1} << index.depth()) * 6000, stored.size());
      EXPECT_LE(index.bytes(), stored.size() * 14);
   }
}

TEST_F(HashIndexOver, KeepsTheDirectoryInProportionThoughItsFirstGroupsAreRandom) {
   // Of 512 groups the first 32 divide by every bit, the others by none.
   std::uint32_t constexpr groups = 512;
   for (std::uint32_t group = 32; group < groups; ++group) {
      for (int i = 0; i < 13; ++i) {
         add((static_cast<std::uint32_t>(random()) & 0xfe000000U) | group);
      }
   }
   for (int i = 0; i < 4000; ++i) add(static_cast<std::uint32_t>(random()) & ~0x1e0U);
   check();
   EXPECT_LE(index.depth(), 3U);
   EXPECT_LE(index.bytes(), stored.size() * 26);
}

TEST_F(HashIndexOver, IsWholeWhenThereIsNoMemoryToGrow) {
   int refusals = 0;
   while (stored.size() < 20000) {
      auto const hash = static_cast<std::uint32_t>(random());
      for (int allowed = 0;; ++allowed) {
         try {
            Support::FailingNew const limit(allowed);
            index.makeRoom(hash, hashes());
            break;
         } catch (std::bad_alloc const&) {
            ++refusals;
            check();
         }
      }
      add(hash);
   }
   EXPECT_GT(refusals, 10);
   check();
}

TEST_F(HashIndexOver, StaysAsItIsWhenThereIsNoMemoryToShrink) {
   addRandom(3000);
   {
      Support::FailingNew const none(0);
      for (std::uint32_t position = 0; position < 2990; ++position) remove(position);
   }
   check();
   for (std::uint32_t position = 2990; position < 3000; ++position) EXPECT_TRUE(finds(position));
}

TEST_F(HashIndexOver, MovesAndClears) {
   addRandom(2000);
   HashIndex moved(std::move(index));
   EXPECT_FALSE(index.active());  // NOLINT(bugprone-use-after-move): the promise under test
   moved.checkInvariants(count, hashes());
   index = std::move(moved);
   check();
   index.clear();
   count = 0;
   EXPECT_EQ(index.bytes(), 0U);
   check();
}

using HashIndexDeathTest = HashIndexOver;

TEST_F(HashIndexDeathTest, StopsTheProcessOnErasingWhatIsNotThere) {
   addRandom(10);
   stored.push_back(stored[0]);
   EXPECT_DEATH(index.erase(stored[0], 10, hashes()), "positionIsIndexed");
}

}  // namespace
