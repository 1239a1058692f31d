// What a lookup shows after others have changed the collection: always what a new search would.

#include "mdl/Lookup.h"

#include "mdl/Collection.h"
#include "support/CollectionFixtures.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <random>
#include <utility>

namespace {

using Numbers = Mdl::Collection<int, int>;
using Support::fill;

/// Of few entries (compared in turn) or many (found by the index).
class Lookup : public testing::TestWithParam<int> {
 protected:
   Lookup() { fill(numbers, count); }

   /// Looks for a key that stays alive, as the key of a lookup must.
   Mdl::Lookup<Numbers> at(int const& key) { return numbers.lookup(numbers.hashed(key)); }
   Mdl::Lookup<Numbers> at(int&& key) = delete;

   int const count = GetParam();
   int const present = count / 2;
   int const absent = count;
   Numbers numbers;
};

INSTANTIATE_TEST_SUITE_P(FewAndMany, Lookup, testing::Values(4, 9, 3000));

TEST_P(Lookup, FindsWhatIsThere) {
   auto lookup = at(present);
   ASSERT_TRUE(lookup.exists());
   EXPECT_EQ(*lookup.find(), present);
   EXPECT_EQ(lookup.find(), numbers.find(present));
   EXPECT_EQ(lookup.key().key(), present);
   EXPECT_EQ(lookup.key().hash(), numbers.hashed(present).hash());
}

TEST_P(Lookup, FindsNothingWhereNothingIs) {
   auto lookup = at(absent);
   EXPECT_FALSE(lookup.exists());
   EXPECT_EQ(lookup.find(), nullptr);
   EXPECT_FALSE(lookup.erase());
   EXPECT_EQ(numbers.size(), static_cast<std::size_t>(count));
}

TEST_P(Lookup, SeesAnotherValue) {
   auto lookup = at(present);
   numbers.insertOrAssign(present, -1);
   EXPECT_EQ(*lookup.find(), -1);
   *lookup.find() = -2;
   EXPECT_EQ(*numbers.find(present), -2);
}

TEST_P(Lookup, SeesWhatOthersInsert) {
   auto lookup = at(absent);
   numbers.insertOrAssign(absent, 7);
   ASSERT_TRUE(lookup.exists());
   EXPECT_EQ(*lookup.find(), 7);
}

TEST_P(Lookup, SeesAnInsertionAfterARemovalOfAnother) {
   auto lookup = at(absent);
   numbers.erase(0);
   numbers.insertOrAssign(absent, 7);  // as many entries as before
   ASSERT_TRUE(lookup.exists());
   EXPECT_EQ(*lookup.find(), 7);
}

TEST_P(Lookup, SeesThatTheEntryHasGone) {
   auto lookup = at(present);
   numbers.erase(present);
   EXPECT_FALSE(lookup.exists());
   EXPECT_EQ(lookup.find(), nullptr);
}

TEST_P(Lookup, SeesThatTheEntryHasComeBack) {
   auto lookup = at(present);
   numbers.erase(present);
   numbers.insertOrAssign(present, 5);
   ASSERT_NE(lookup.find(), nullptr);
   EXPECT_EQ(*lookup.find(), 5);
}

TEST_P(Lookup, FollowsAnEntryThatRemovalsMove) {
   int const last = count - 1;
   auto lookup = at(last);
   for (int key = 0; key < last; ++key) {
      numbers.erase(key);
      ASSERT_NE(lookup.find(), nullptr);
      ASSERT_EQ(*lookup.find(), last);
      ASSERT_EQ(lookup.find(), numbers.find(last));
   }
}

TEST_P(Lookup, FollowsAnEntryThatTheEndOfAWalkMoves) {
   int const last = count - 1;
   auto walk = std::make_unique<Mdl::Walk<Numbers>>(numbers);
   EXPECT_EQ(walk->begin()->key, 0);
   for (int key = 0; key < last; ++key) numbers.erase(key);
   // Made while the holes are still there, which nothing but the end of the walk closes.
   auto lookup = at(last);
   walk.reset();
   EXPECT_EQ(*lookup.find(), last);
   EXPECT_EQ(lookup.find(), numbers.find(last));
}

TEST_P(Lookup, SeesThatEverythingHasGone) {
   auto lookup = at(present);
   numbers.clear();
   EXPECT_FALSE(lookup.exists());
   fill(numbers, count);
   EXPECT_EQ(*lookup.find(), present);
}

TEST_P(Lookup, SeesWhatIsAssignedToTheCollection) {
   auto lookup = at(present);
   Numbers others;
   others.insertOrAssign(present, 42);
   numbers = std::move(others);
   EXPECT_EQ(*lookup.find(), 42);
}

TEST_P(Lookup, InsertsWhatIsMissingOnce) {
   auto lookup = at(absent);
   EXPECT_EQ(lookup.orInsert(3), 3);
   EXPECT_EQ(lookup.orInsert(4), 3);
   EXPECT_EQ(numbers.size(), static_cast<std::size_t>(count) + 1);
   EXPECT_EQ(lookup.find(), numbers.find(absent));
   numbers.checkInvariants();
}

TEST_P(Lookup, LeavesWhatIsThereWhenAskedToInsert) {
   auto lookup = at(present);
   EXPECT_EQ(lookup.orInsert(-1), present);
   EXPECT_EQ(numbers.size(), static_cast<std::size_t>(count));
}

TEST_P(Lookup, RemovesTheEntryAndHandsItOut) {
   auto lookup = at(present);
   auto const gone = lookup.extract();
   ASSERT_TRUE(gone);
   EXPECT_EQ(gone->key, present);
   EXPECT_EQ(gone->value, present);
   EXPECT_FALSE(numbers.contains(present));
   EXPECT_FALSE(lookup.exists());
   EXPECT_FALSE(lookup.extract());
   EXPECT_EQ(lookup.orInsert(8), 8);
   EXPECT_EQ(*numbers.find(present), 8);
   numbers.checkInvariants();
}

TEST_P(Lookup, GoesOnUnderAnEqualKey) {
   int const first = present;
   auto lookup = at(first);
   int const second = present;
   Mdl::Lookup<Numbers> other(lookup, numbers.hashed(second));
   EXPECT_EQ(&other.key().key(), &second);
   EXPECT_EQ(other.find(), lookup.find());
   numbers.erase(present);
   EXPECT_EQ(other.find(), nullptr);
}

/// Many lookups over many changes, each compared with a search.
TEST_P(Lookup, AlwaysShowsWhatASearchWould) {
   std::mt19937 random(static_cast<std::uint32_t>(count));
   auto const any = [&] { return static_cast<int>(random() % static_cast<unsigned>(2 * count)); };
   for (int round = 0; round < 300; ++round) {
      int const key = any();
      auto lookup = at(key);
      for (int change = 0; change < 10; ++change) {
         int const other = random() % 3 == 0 ? key : any();
         if (random() % 2 == 0) {
            numbers.insertOrAssign(other, change);
         } else {
            numbers.erase(other);
         }
         ASSERT_EQ(lookup.find(), numbers.find(key));
      }
   }
}

TEST_P(Lookup, LoadingAheadChangesNothing) {
   Numbers const empty;
   empty.prefetchIndex(empty.hashed(1).hash());
   empty.prefetchEntry(empty.hashed(1).hash());
   for (int key = 0; key < 2 * count; ++key) {
      numbers.prefetchIndex(numbers.hashed(key).hash());
      numbers.prefetchEntry(numbers.hashed(key).hash());
   }
   EXPECT_EQ(numbers.size(), static_cast<std::size_t>(count));
   numbers.checkInvariants();
}

}  // namespace
