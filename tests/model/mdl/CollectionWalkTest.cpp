// What the body of a walk may do. Each test is an actor: its body removes, inserts, destroys or
// throws, and the walk shows what its promises say.

#include "mdl/Collection.h"
#include "support/CollectionFixtures.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using Numbers = Mdl::Collection<int, int>;
using Keys = std::vector<int>;
using Support::fill;
using Support::walkedKeys;

Keys upTo(int count) {
   Keys keys;
   for (int key = 0; key < count; ++key) keys.push_back(key);
   return keys;
}

/// The fixture's collection has few entries (compared in turn) or many (found by the index).
class CollectionWalk : public testing::TestWithParam<int> {
 protected:
   CollectionWalk() { fill(*numbers, count); }

   /// Walks; `body` runs for each key. Gives the keys that the walk showed.
   Keys seen(std::function<void(int)> const& body) {
      Keys keys;
      for (auto const& entry : numbers->walk()) {
         keys.push_back(entry.key);
         body(entry.key);
         EXPECT_EQ(entry.key, keys.back());
      }
      return keys;
   }

   int const count = GetParam();
   std::unique_ptr<Numbers> numbers = std::make_unique<Numbers>();
};

INSTANTIATE_TEST_SUITE_P(FewAndMany, CollectionWalk, testing::Values(5, 9, 3000));

TEST_P(CollectionWalk, SeesEachEntryOnceInOrder) {
   EXPECT_EQ(seen([](int) {}), upTo(count));
}

TEST_P(CollectionWalk, StepsAsIteratorsDo) {
   auto walk = numbers->walk();
   auto cursor = walk.begin();
   EXPECT_EQ(cursor->key, 0);
   cursor++;
   EXPECT_EQ((*cursor).key, 1);
   ++cursor;
   EXPECT_EQ(cursor->key, 2);
}

TEST_P(CollectionWalk, GivesItsEntryAsALookup) {
   auto walk = numbers->walk();
   for (auto const& entry : walk) {
      auto there = walk.lookup(*numbers);
      EXPECT_EQ(there.find(), numbers->find(entry.key));
      if (entry.key % 3 == 0) {
         numbers->erase(entry.key);
         EXPECT_FALSE(walk.lookup(*numbers).exists());
         numbers->insertOrAssign(entry.key, -1);
         EXPECT_EQ(*walk.lookup(*numbers).find(), -1);
         EXPECT_TRUE(walk.lookup(*numbers).erase());
      } else if (entry.key % 3 == 1) {
         EXPECT_EQ(walk.lookup(*numbers).assign(-2), Mdl::Change::assigned);
         EXPECT_EQ(walk.lookup(*numbers).assign(-2), Mdl::Change::none);
      }
   }
   EXPECT_EQ(numbers->size(), static_cast<std::size_t>(count - (count + 2) / 3));
}

TEST_P(CollectionWalk, GivesALookupAfterEverythingHasGone) {
   auto walk = numbers->walk();
   auto const cursor = walk.begin();
   EXPECT_EQ(cursor->key, 0);
   numbers->clear();
   EXPECT_FALSE(walk.lookup(*numbers).exists());
   numbers->insertOrAssign(0, 7);
   EXPECT_EQ(*walk.lookup(*numbers).find(), 7);
   EXPECT_EQ(walk.lookup(*numbers).assign(8), Mdl::Change::assigned);
}

TEST_P(CollectionWalk, ShowsWhatIsAhead) {
   Keys ahead;
   auto walk = numbers->walk();
   for (auto const& entry : walk) {
      int shown = -1;
      walk.ahead(2, [&](auto const& key) { shown = key.key(); });
      // At the end of a chunk nothing is shown.
      EXPECT_TRUE(shown == -1 || shown == entry.key + 2) << shown;
      ahead.push_back(shown);
   }
   EXPECT_EQ(ahead.front(), 2);
   EXPECT_EQ(ahead.back(), -1);
}

TEST_P(CollectionWalk, ShowsNothingAheadThatHasGone) {
   auto walk = numbers->walk();
   auto const cursor = walk.begin();
   EXPECT_EQ(cursor->key, 0);
   int shown = 0;
   walk.ahead(1, [&](auto const&) { ++shown; });
   EXPECT_EQ(shown, 1);
   numbers->erase(1);
   walk.ahead(1, [&](auto const&) { ++shown; });
   EXPECT_EQ(shown, 1);
   numbers->clear();
   walk.ahead(1, [&](auto const&) { ++shown; });
   EXPECT_EQ(shown, 1);
}

TEST_P(CollectionWalk, GoesOnAfterTheCurrentEntryIsRemoved) {
   EXPECT_EQ(seen([&](int key) { numbers->erase(key); }), upTo(count));
   EXPECT_TRUE(numbers->empty());
}

TEST_P(CollectionWalk, ShowsTheCurrentEntryAfterItsRemoval) {
   for (auto const& entry : numbers->walk()) {
      int const key = entry.key;
      numbers->erase(entry.key);
      fill(*numbers, 3);
      EXPECT_EQ(entry.key, key);
      EXPECT_EQ(entry.value, key);
   }
}

TEST_P(CollectionWalk, SkipsAnEntryRemovedAhead) {
   Keys evens;
   for (int key = 0; key < count; key += 2) evens.push_back(key);
   EXPECT_EQ(seen([&](int key) { numbers->erase(key + 1); }), evens);
}

TEST_P(CollectionWalk, GoesOnAfterAnEntryBehindIsRemoved) {
   EXPECT_EQ(seen([&](int key) { numbers->erase(key - 1); }), upTo(count));
   EXPECT_EQ(walkedKeys(*numbers), Keys{count - 1});
}

TEST_P(CollectionWalk, EndsWhenTheLastEntryAheadIsRemoved) {
   EXPECT_EQ(seen([&](int) { numbers->erase(count - 1); }), upTo(count - 1));
}

TEST_P(CollectionWalk, EndsWhenAllAreRemovedOneByOne) {
   EXPECT_EQ(seen([&](int) {
                for (int key = 0; key < count; ++key) numbers->erase(key);
             }),
             Keys{0});
}

TEST_P(CollectionWalk, EndsWhenTheCollectionIsCleared) {
   EXPECT_EQ(seen([&](int) { numbers->clear(); }), Keys{0});
}

TEST_P(CollectionWalk, DoesNotSeeWhatIsInsertedAfterAClear) {
   EXPECT_EQ(seen([&](int) {
                numbers->clear();
                fill(*numbers, count);
             }),
             Keys{0});
   EXPECT_EQ(walkedKeys(*numbers), upTo(count));
}

TEST_P(CollectionWalk, DoesNotSeeAnEntryInsertedMeanwhile) {
   EXPECT_EQ(seen([&](int key) { numbers->insertOrAssign(count + key, 0); }), upTo(count));
   EXPECT_EQ(walkedKeys(*numbers), upTo(2 * count));
}

TEST_P(CollectionWalk, DoesNotSeeAnEntryThatWasRemovedAheadAndCameBack) {
   Keys withoutLast = upTo(count - 1);
   EXPECT_EQ(seen([&](int) {
                numbers->erase(count - 1);
                numbers->insertOrAssign(count - 1, 0);
             }),
             withoutLast);
}

TEST_P(CollectionWalk, DoesNotSeeAgainAnEntryThatReinsertsItself) {
   EXPECT_EQ(seen([&](int key) {
                numbers->erase(key);
                numbers->insertOrAssign(key, 0);
             }),
             upTo(count));
   EXPECT_EQ(walkedKeys(*numbers), upTo(count));
}

TEST_P(CollectionWalk, SeesTheNewValueOfAnEntryAhead) {
   int values = 0;
   for (auto const& entry : numbers->walk()) {
      numbers->insertOrAssign(entry.key + 1, -1);
      if (entry.value == -1) ++values;
   }
   EXPECT_EQ(values, count - 1);
}

TEST_P(CollectionWalk, KeepsTheOldValueOfTheEntryItStandsOn) {
   for (auto const& entry : numbers->walk()) {
      numbers->insertOrAssign(entry.key, -1);
      EXPECT_EQ(entry.value, entry.key);
   }
}

TEST_P(CollectionWalk, EndsWhenTheCollectionIsDestroyed) {
   EXPECT_EQ(seen([&](int) { numbers.reset(); }), Keys{0});
}

TEST_P(CollectionWalk, EndsWhenTheCollectionIsMovedAway) {
   Numbers other;
   EXPECT_EQ(seen([&](int) { other = std::move(*numbers); }), Keys{0});
   EXPECT_EQ(walkedKeys(other), upTo(count));
}

TEST_P(CollectionWalk, EndsWhenAnotherCollectionIsMovedIn) {
   EXPECT_EQ(seen([&](int) { *numbers = Numbers(); }), Keys{0});
}

TEST_P(CollectionWalk, LetsAnExceptionOutAndLeavesTheCollectionWhole) {
   EXPECT_THROW(seen([&](int key) {
                   numbers->erase(key);
                   if (key == 3) throw std::runtime_error("three");
                }),
                std::runtime_error);
   numbers->checkInvariants();
   Keys const left = walkedKeys(*numbers);
   EXPECT_EQ(left.size(), static_cast<std::size_t>(count - 4));
   EXPECT_EQ(left.front(), 4);
}

TEST_P(CollectionWalk, MayBeLeftEarly) {
   for (auto const& entry : numbers->walk()) {
      numbers->erase(entry.key);
      if (entry.key == 2) break;
   }
   numbers->checkInvariants();
   EXPECT_EQ(numbers->size(), static_cast<std::size_t>(count - 3));
}

TEST_P(CollectionWalk, NestsInItself) {
   Keys pairs;
   for (auto const& outer : numbers->walk()) {
      if (outer.key == 3) break;
      for (auto const& inner : numbers->walk()) {
         if (inner.key == 2) break;
         pairs.push_back(10 * outer.key + inner.key);
      }
   }
   EXPECT_EQ(pairs, (Keys{0, 1, 10, 11, 20, 21}));
}

TEST_P(CollectionWalk, AnInnerWalkMayRemoveForTheOuter) {
   EXPECT_EQ(seen([&](int key) {
                for (auto const& inner : numbers->walk()) {
                   if (inner.key != key) numbers->erase(inner.key);
                }
             }),
             Keys{0});
   EXPECT_EQ(walkedKeys(*numbers), Keys{0});
   numbers->checkInvariants();
}

TEST_P(CollectionWalk, AnInnerWalkSeesWhatTheOuterBodyInserted) {
   std::size_t inner = 0;
   for (auto const& entry : numbers->walk()) {
      numbers->insertOrAssign(count + entry.key, 0);
      inner = walkedKeys(*numbers).size();
   }
   EXPECT_EQ(inner, static_cast<std::size_t>(2 * count));
}

TEST_P(CollectionWalk, WalksEndInAnyOrder) {
   auto first = std::make_unique<Mdl::Walk<Numbers>>(*numbers);
   auto second = std::make_unique<Mdl::Walk<Numbers>>(*numbers);
   auto third = std::make_unique<Mdl::Walk<Numbers>>(*numbers);
   auto at = third->begin();
   for (int key = 0; key < count - 1; ++key) numbers->erase(key);
   second.reset();
   first.reset();
   EXPECT_EQ((*at).key, 0);
   ++at;
   EXPECT_EQ(at->key, count - 1);
   ++at;
   EXPECT_TRUE(at == third->end());
   third.reset();
   numbers->checkInvariants();
}

TEST_P(CollectionWalk, ClosesTheHolesOnlyWhenTheLastWalkEnds) {
   std::size_t const full = numbers->bytes();
   {
      auto const outer = numbers->walk();
      {
         auto const inner = numbers->walk();
         for (int key = 1; key < count; ++key) numbers->erase(key);
      }
      EXPECT_GE(numbers->bytes(), full / 2);
      numbers->checkInvariants();
   }
   EXPECT_LE(numbers->bytes(), 600U);
   numbers->checkInvariants();
}

TEST(CollectionWalkOverNothing, EndsAtOnce) {
   Numbers numbers;
   for (auto const& entry : numbers.walk()) {
      numbers.insertOrAssign(entry.key + 1, 0);
      ADD_FAILURE();
   }
}

TEST(CollectionWalkOverNothing, DoesNotSeeWhatComesLater) {
   Numbers numbers;
   auto walk = numbers.walk();
   numbers.insertOrAssign(1, 1);
   EXPECT_TRUE(walk.begin() == walk.end());
}

TEST(CollectionWalkPin, KeepsWhatTheEntryHeldAlive) {
   Mdl::Collection<int, std::shared_ptr<int>> shared;
   shared.insertOrAssign(1, std::make_shared<int>(7));
   std::weak_ptr<int> const watch = *shared.find(1);
   for (auto const& entry : shared.walk()) {
      shared.clear();
      EXPECT_FALSE(watch.expired());
      EXPECT_EQ(*entry.value, 7);
   }
   EXPECT_TRUE(watch.expired());
}

TEST(CollectionWalkPin, LetsGoOfAnEntryBeforeItLooksForTheNext) {
   // The value of 1 dies with the walk's copy, and its death removes 2: the walk must not show it.
   Mdl::Collection<int, Support::LastWill> wills;
   wills.insertOrAssign(1, Support::LastWill([&] { wills.erase(2); }));
   wills.insertOrAssign(2, Support::LastWill());
   wills.insertOrAssign(3, Support::LastWill());
   Keys keys;
   for (auto const& entry : wills.walk()) {
      keys.push_back(entry.key);
      wills.erase(entry.key);
   }
   EXPECT_EQ(keys, (Keys{1, 3}));
}

TEST(CollectionWalkPin, MayHoldTheOwnerOfTheCollection) {
   struct Owner {
      Mdl::Collection<int, std::shared_ptr<Owner>> self;
   };
   auto owner = std::make_shared<Owner>();
   owner->self.insertOrAssign(1, owner);
   owner->self.insertOrAssign(2, nullptr);
   std::weak_ptr<Owner> const watch = owner;
   int seen = 0;
   auto& collection = owner->self;
   owner.reset();
   for (auto const& entry : collection.walk()) {
      ++seen;
      // From here on only the walk keeps the owner, and with it the collection.
      collection.erase(entry.key);
   }
   EXPECT_EQ(seen, 1);
   EXPECT_TRUE(watch.expired());
}

}  // namespace
