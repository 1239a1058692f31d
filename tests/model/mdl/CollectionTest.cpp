#include "mdl/Collection.h"
#include "support/CollectionFixtures.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

namespace {

using Mdl::Change;
using Numbers = Mdl::Collection<int, int>;
using Support::fill;
using Support::walkedKeys;

TEST(Collection, IsEmptyAtFirst) {
   Numbers const numbers;
   EXPECT_TRUE(numbers.empty());
   EXPECT_EQ(numbers.size(), 0U);
   EXPECT_EQ(numbers.find(1), nullptr);
   EXPECT_EQ(numbers.bytes(), 0U);
}

TEST(Collection, FindsWhatWasInserted) {
   Numbers numbers;
   EXPECT_EQ(numbers.insertOrAssign(1, 10), Change::inserted);
   ASSERT_NE(numbers.find(1), nullptr);
   EXPECT_EQ(*numbers.find(1), 10);
   EXPECT_FALSE(numbers.contains(2));
}

TEST(Collection, AssigningAnotherValueIsAChange) {
   Numbers numbers;
   numbers.insertOrAssign(1, 10);
   EXPECT_EQ(numbers.insertOrAssign(1, 11), Change::assigned);
   EXPECT_EQ(*numbers.find(1), 11);
   EXPECT_EQ(numbers.size(), 1U);
}

TEST(Collection, AssigningAnEqualValueIsNone) {
   Numbers numbers;
   numbers.insertOrAssign(1, 10);
   EXPECT_EQ(numbers.insertOrAssign(1, 10), Change::none);
}

TEST(Collection, AssigningWhatCannotBeComparedIsAChange) {
   struct Opaque {
      int number;
   };
   Mdl::Collection<int, Opaque> opaque;
   opaque.insertOrAssign(1, Opaque{10});
   EXPECT_EQ(opaque.insertOrAssign(1, Opaque{10}), Change::assigned);
}

TEST(Collection, TriesToInsertAndKeepsWhatIsThere) {
   Numbers numbers;
   auto const first = numbers.tryInsert(1, 10);
   EXPECT_TRUE(first.inserted);
   auto const second = numbers.tryInsert(1, 11);
   EXPECT_FALSE(second.inserted);
   EXPECT_EQ(second.value, first.value);
   EXPECT_EQ(*second.value, 10);
}

TEST(Collection, TryInsertWithoutArgumentsGivesTheZeroValue) {
   Numbers numbers;
   EXPECT_EQ(*numbers.tryInsert(1).value, 0);
}

TEST(Collection, HoldsValuesThatOnlyMove) {
   Mdl::Collection<int, std::unique_ptr<int>> owners;
   owners.tryInsert(1, std::make_unique<int>(10));
   owners.insertOrAssign(1, std::make_unique<int>(11));
   auto const removed = owners.extract(1);
   ASSERT_TRUE(removed);
   EXPECT_EQ(*removed->value, 11);
}

TEST(Collection, ErasesOnceAndIgnoresTheAbsent) {
   Numbers numbers;
   fill(numbers, 100);
   EXPECT_TRUE(numbers.erase(50));
   EXPECT_FALSE(numbers.erase(50));
   EXPECT_FALSE(numbers.erase(1000));
   EXPECT_EQ(numbers.size(), 99U);
   EXPECT_FALSE(numbers.contains(50));
   numbers.checkInvariants();
}

TEST(Collection, ExtractHandsOutKeyAndValue) {
   Numbers numbers;
   numbers.insertOrAssign(1, 10);
   auto const removed = numbers.extract(1);
   ASSERT_TRUE(removed);
   EXPECT_EQ(removed->key, 1);
   EXPECT_EQ(removed->value, 10);
   EXPECT_TRUE(numbers.empty());
   EXPECT_FALSE(numbers.extract(1));
}

TEST(Collection, ErasesByAReferenceToItsOwnKey) {
   Numbers numbers;
   fill(numbers, 20);
   for (auto const& entry : numbers) {
      if (entry.key != 7) continue;
      EXPECT_TRUE(numbers.erase(entry.key));
      break;
   }
   EXPECT_FALSE(numbers.contains(7));
   numbers.checkInvariants();
}

TEST(Collection, KeepsTheOrderOfInsertionUnderEverySeed) {
   for (std::uint32_t constant = 0; constant < 20; ++constant) {
      Numbers numbers(constant * 0x9e3779b9U);
      std::vector<int> inserted;
      for (int i = 0; i < 3000; ++i) inserted.push_back(i * 7919 % 3001);
      for (int const key : inserted) numbers.insertOrAssign(key, 0);
      EXPECT_EQ(walkedKeys(numbers), inserted);
   }
}

TEST(Collection, VariesTheSeedByItsConstant) {
   EXPECT_EQ(Numbers(1).seed(), Mdl::hashSeed32() ^ 1U);
   EXPECT_NE(Numbers(1).hashed(5).hash(), Numbers(2).hashed(5).hash());
}

TEST(Collection, AnAssignedEntryKeepsItsPlace) {
   Numbers numbers;
   fill(numbers, 3);
   numbers.insertOrAssign(0, 100);
   EXPECT_EQ(walkedKeys(numbers), (std::vector<int>{0, 1, 2}));
}

TEST(Collection, AnEntryThatComesBackIsTheLast) {
   Numbers numbers;
   fill(numbers, 3);
   numbers.erase(0);
   numbers.insertOrAssign(0, 0);
   EXPECT_EQ(walkedKeys(numbers), (std::vector<int>{1, 2, 0}));
}

TEST(Collection, KeepsTheOrderWhenHolesAreClosed) {
   Numbers numbers;
   fill(numbers, 10000);
   std::vector<int> left;
   for (int key = 0; key < 10000; ++key) {
      if (key % 13 == 0) {
         left.push_back(key);
      } else {
         numbers.erase(key);
      }
   }
   EXPECT_EQ(walkedKeys(numbers), left);
   numbers.checkInvariants();
}

TEST(Collection, InsertionMovesNoEntry) {
   Numbers numbers;
   std::vector<int const*> places;
   for (int key = 0; key < 5000; ++key) {
      numbers.insertOrAssign(key, key);
      places.push_back(numbers.find(key));
   }
   for (int key = 0; key < 5000; ++key) {
      ASSERT_EQ(numbers.find(key), places[static_cast<std::size_t>(key)]);
   }
}

TEST(Collection, RemovalMovesNoEntryWhileAWalkIsAlive) {
   Numbers numbers;
   fill(numbers, 5000);
   auto const walk = numbers.walk();
   int const* const place = numbers.find(4321);
   for (int key = 0; key < 5000; ++key) {
      if (key != 4321) numbers.erase(key);
   }
   EXPECT_EQ(numbers.find(4321), place);
   EXPECT_EQ(*place, 4321);
}

TEST(Collection, TakesAHashThatIsKnown) {
   Numbers numbers;
   Numbers others;
   int const key = 42;
   auto const hashed = numbers.hashed(key);
   EXPECT_EQ(numbers.insertOrAssign(hashed, 1), Change::inserted);
   EXPECT_TRUE(numbers.contains(hashed));
   EXPECT_EQ(*numbers.find(hashed), 1);
   EXPECT_FALSE(numbers.tryInsert(hashed, 2).inserted);
   EXPECT_EQ(numbers.find(key), numbers.find(hashed));
   EXPECT_TRUE(others.tryInsert(Numbers::Hashed(key, hashed.hash()), 2).inserted);
   EXPECT_TRUE(others.contains(key));
   EXPECT_TRUE(numbers.erase(hashed));
   EXPECT_TRUE(others.extract(Numbers::Hashed(key, hashed.hash())));
}

TEST(Collection, AHashOfZeroIsAHashLikeAnyOther) {
   Mdl::Collection<int, int, Support::ZeroHash> numbers;
   fill(numbers, 50);
   numbers.checkInvariants();
   for (int key = 0; key < 50; key += 2) EXPECT_TRUE(numbers.erase(key));
   EXPECT_EQ(numbers.size(), 25U);
   EXPECT_TRUE(numbers.contains(49));
}

TEST(Collection, ClearRemovesEverything) {
   Numbers numbers;
   fill(numbers, 3000);
   numbers.clear();
   EXPECT_TRUE(numbers.empty());
   EXPECT_EQ(numbers.bytes(), 0U);
   EXPECT_FALSE(numbers.contains(7));
   fill(numbers, 10);
   EXPECT_EQ(numbers.size(), 10U);
   numbers.checkInvariants();
}

TEST(Collection, MovesWithEverythingInIt) {
   Numbers numbers(5);
   fill(numbers, 100);
   int const* const place = numbers.find(50);
   Numbers moved(std::move(numbers));
   EXPECT_EQ(moved.find(50), place);
   EXPECT_EQ(moved.size(), 100U);
   moved.checkInvariants();
}

TEST(Collection, IsEmptyAndUsableWhenMovedFrom) {
   Numbers numbers;
   fill(numbers, 100);
   Numbers const moved(std::move(numbers));
   EXPECT_TRUE(numbers.empty());  // NOLINT(bugprone-use-after-move): the promise under test
   fill(numbers, 20);
   EXPECT_EQ(numbers.size(), 20U);
   numbers.checkInvariants();
}

TEST(Collection, MoveAssignmentReplacesTheEntries) {
   Numbers numbers;
   fill(numbers, 100);
   Numbers others(77);
   others.insertOrAssign(1000, 1);
   numbers = std::move(others);
   EXPECT_EQ(walkedKeys(numbers), (std::vector<int>{1000}));
   EXPECT_TRUE(numbers.contains(1000));
   numbers.checkInvariants();
}

}  // namespace
