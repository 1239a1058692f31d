// What entries held dies late: their destructors find the collection whole, and may change,
// walk or destroy it.

#include "mdl/Collection.h"
#include "support/CollectionFixtures.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace {

using Support::LastWill;
using Support::walkedKeys;
using Wills = Mdl::Collection<int, LastWill>;
using Keys = std::vector<int>;

/// Entries from 0 on, of which 4 acts when it dies.
class CollectionLifetime : public testing::TestWithParam<int> {
 protected:
   void givenTheWillOf4(std::function<void()> act) {
      for (int key = 0; key < GetParam(); ++key) {
         wills->insertOrAssign(key, key == 4 ? LastWill(std::move(act)) : LastWill());
      }
   }

   std::unique_ptr<Wills> wills = std::make_unique<Wills>();
};

INSTANTIATE_TEST_SUITE_P(FewAndMany, CollectionLifetime, testing::Values(6, 2000));

TEST_P(CollectionLifetime, AnErasedEntryDiesWhenItIsNoLongerFound) {
   bool found = true;
   givenTheWillOf4([&] {
      found = wills->contains(4);
      wills->checkInvariants();
   });
   wills->erase(4);
   EXPECT_FALSE(found);
}

TEST_P(CollectionLifetime, AnErasedEntryMayInsertItselfAgain) {
   givenTheWillOf4([&] { wills->insertOrAssign(4, LastWill()); });
   EXPECT_TRUE(wills->erase(4));
   EXPECT_EQ(walkedKeys(*wills).back(), 4);
   wills->checkInvariants();
}

TEST_P(CollectionLifetime, AnErasedEntryMayEraseAllOthers) {
   givenTheWillOf4([&] {
      for (auto const& entry : wills->walk()) wills->erase(entry.key);
   });
   wills->erase(4);
   EXPECT_TRUE(wills->empty());
   wills->checkInvariants();
}

TEST_P(CollectionLifetime, AnErasedEntryMayDestroyTheCollection) {
   givenTheWillOf4([&] { wills.reset(); });
   EXPECT_TRUE(wills->erase(4));
   EXPECT_EQ(wills, nullptr);
}

TEST_P(CollectionLifetime, AReplacedValueDiesWhenTheNewOneIsThere) {
   bool alone = false;
   givenTheWillOf4([&] {
      alone = wills->contains(4);
      wills->erase(4);
   });
   EXPECT_EQ(wills->insertOrAssign(4, LastWill()), Mdl::Change::assigned);
   EXPECT_TRUE(alone);
   EXPECT_FALSE(wills->contains(4));
   wills->checkInvariants();
}

TEST(CollectionLifetimeOfAValue, AReplacedOneFindsTheNewOneInItsPlace) {
   struct Numbered {
      int number = 0;
      LastWill will;
   };
   Mdl::Collection<int, Numbered> values;
   int found = 0;
   values.insertOrAssign(4, {1, LastWill([&] { found = values.find(4)->number; })});
   values.insertOrAssign(4, {2, LastWill()});
   EXPECT_EQ(found, 2);
}

TEST_P(CollectionLifetime, AReplacedValueMayDestroyTheCollection) {
   givenTheWillOf4([&] { wills.reset(); });
   EXPECT_EQ(wills->insertOrAssign(4, LastWill()), Mdl::Change::assigned);
   EXPECT_EQ(wills, nullptr);
}

TEST_P(CollectionLifetime, AnExtractedEntryDiesWhenTheCallerSaysSo) {
   bool dead = false;
   givenTheWillOf4([&] { dead = true; });
   auto removed = wills->extract(4);
   EXPECT_FALSE(dead);
   removed.reset();
   EXPECT_TRUE(dead);
}

TEST_P(CollectionLifetime, ClearedEntriesFindTheCollectionEmpty) {
   std::size_t size = 99;
   givenTheWillOf4([&] { size = wills->size(); });
   wills->clear();
   EXPECT_EQ(size, 0U);
}

TEST_P(CollectionLifetime, ClearedEntriesMayInsert) {
   givenTheWillOf4([&] { wills->insertOrAssign(7, LastWill()); });
   wills->clear();
   EXPECT_EQ(walkedKeys(*wills), Keys{7});
   wills->checkInvariants();
}

TEST_P(CollectionLifetime, ClearedEntriesMayDestroyTheCollection) {
   givenTheWillOf4([&] { wills.reset(); });
   wills->clear();
   EXPECT_EQ(wills, nullptr);
}

TEST_P(CollectionLifetime, EntriesMayInsertIntoACollectionThatIsDestroyed) {
   int deaths = 0;
   givenTheWillOf4([&, all = wills.get()] {
      ++deaths;
      all->insertOrAssign(7, LastWill([&] { ++deaths; }));
   });
   wills.reset();
   EXPECT_EQ(deaths, 2);
}

TEST_P(CollectionLifetime, MoveAssignmentEndsTheOldEntriesLast) {
   Keys found;
   givenTheWillOf4([&] { found = walkedKeys(*wills); });
   Wills others;
   others.insertOrAssign(77, LastWill());
   *wills = std::move(others);
   EXPECT_EQ(found, Keys{77});
}

TEST_P(CollectionLifetime, ADyingEntryMayChangeTheCollectionUnderAWalk) {
   givenTheWillOf4([&] {
      wills->erase(5);
      wills->insertOrAssign(-1, LastWill());
   });
   Keys keys;
   for (auto const& entry : wills->walk()) {
      keys.push_back(entry.key);
      if (entry.key == 1) wills->erase(4);
   }
   EXPECT_EQ(keys.size(), static_cast<std::size_t>(GetParam() - 2));
   wills->checkInvariants();
}

TEST(CollectionLifetimeOrder, EntriesDieInTheOrderOfTheirInsertion) {
   Keys died;
   {
      Wills wills;
      for (int key = 0; key < 2000; ++key) {
         wills.insertOrAssign(key, LastWill([&died, key] { died.push_back(key); }));
      }
   }
   Keys expected;
   for (int key = 0; key < 2000; ++key) expected.push_back(key);
   EXPECT_EQ(died, expected);
}

}  // namespace
