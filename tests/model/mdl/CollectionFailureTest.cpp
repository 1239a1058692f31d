// An insertion that fails has changed nothing; a removal does not fail.

#include "mdl/Collection.h"
#include "support/CollectionFixtures.h"
#include "support/FailingNew.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

namespace {

using Numbers = Mdl::Collection<int, int>;

/// A key or value whose copies can fail; moving it cannot.
struct Brittle {
   explicit Brittle(int n) noexcept : number(n) {}
   Brittle(Brittle const& other) : number(other.number) {
      if (copiesFail) throw std::runtime_error("copy");
   }
   Brittle(Brittle&& other) noexcept = default;
   Brittle& operator=(Brittle const&) = delete;
   Brittle& operator=(Brittle&&) = delete;
   ~Brittle() = default;
   bool operator==(Brittle const&) const = default;
   std::uint32_t hash(std::uint32_t seed) const noexcept {
      return Mdl::KeyHash<int>{}(number, seed);
   }

   int number;
   static inline bool copiesFail = false;
};

class CollectionFailure : public testing::Test {
 protected:
   ~CollectionFailure() override { Brittle::copiesFail = false; }
};

TEST_F(CollectionFailure, AKeyThatCannotBeCopiedLeavesNoTrace) {
   Mdl::Collection<Brittle, int> brittle;
   for (int key = 0; key < 1000; ++key) {
      Brittle::copiesFail = true;
      EXPECT_THROW(brittle.insertOrAssign(Brittle(key), key), std::runtime_error);
      EXPECT_EQ(brittle.size(), static_cast<std::size_t>(key));
      EXPECT_FALSE(brittle.contains(Brittle(key)));
      Brittle::copiesFail = false;
      brittle.insertOrAssign(Brittle(key), key);
   }
   brittle.checkInvariants();
}

TEST_F(CollectionFailure, AValueThatCannotBeMadeLeavesNoTrace) {
   Mdl::Collection<int, Brittle> brittle;
   Brittle const value(5);
   for (int key = 0; key < 1000; ++key) {
      Brittle::copiesFail = true;
      EXPECT_THROW(brittle.tryInsert(key, value), std::runtime_error);
      EXPECT_FALSE(brittle.contains(key));
      Brittle::copiesFail = false;
      EXPECT_TRUE(brittle.tryInsert(key, value).inserted);
   }
   brittle.checkInvariants();
}

TEST_F(CollectionFailure, AValueThatCannotBeMadeTakesItsKeyWithIt) {
   struct SharedKey {
      std::shared_ptr<int> number;
      bool operator==(SharedKey const& other) const { return *number == *other.number; }
      std::uint32_t hash(std::uint32_t seed) const noexcept {
         return Mdl::KeyHash<int>{}(*number, seed);
      }
   };
   Mdl::Collection<SharedKey, Brittle> brittle;
   SharedKey const key{std::make_shared<int>(1)};
   Brittle const value(5);
   Brittle::copiesFail = true;
   EXPECT_THROW(brittle.tryInsert(key, value), std::runtime_error);
   EXPECT_EQ(key.number.use_count(), 1);
}

TEST_F(CollectionFailure, AWalkThatCannotCopyAnEntryEndsWithTheException) {
   Mdl::Collection<int, Brittle> brittle;
   for (int key = 0; key < 5; ++key) brittle.tryInsert(key, key);
   int seen = 0;
   EXPECT_THROW(
       {
          for (auto const& entry : brittle.walk()) {
             Brittle::copiesFail = entry.key == 2;
             ++seen;
          }
       },
       std::runtime_error);
   EXPECT_EQ(seen, 3);
   brittle.checkInvariants();
}

TEST_F(CollectionFailure, AnInsertionWithoutMemoryChangesNothing) {
   Numbers numbers;
   int refusals = 0;
   for (int key = 0; key < 3000; ++key) {
      for (int allowed = 0; !numbers.contains(key); ++allowed) {
         try {
            Support::FailingNew const limit(allowed);
            numbers.insertOrAssign(key, key);
         } catch (std::bad_alloc const&) {
            ++refusals;
            ASSERT_EQ(numbers.size(), static_cast<std::size_t>(key));
            ASSERT_FALSE(numbers.contains(key));
            numbers.checkInvariants();
         }
      }
   }
   EXPECT_GT(refusals, 20);
   numbers.checkInvariants();
   std::vector<int> const keys = Support::walkedKeys(numbers);
   for (int key = 0; key < 3000; ++key) ASSERT_EQ(keys[static_cast<std::size_t>(key)], key);
}

TEST_F(CollectionFailure, ACollectionOfHolesStaysWholeWithoutMemory) {
   Numbers numbers;
   Support::fill(numbers, 8);
   auto const walk = numbers.walk();
   for (int key = 0; key < 7; ++key) numbers.erase(key);
   for (int allowed = 0; !numbers.contains(100); ++allowed) {
      try {
         Support::FailingNew const limit(allowed);
         numbers.insertOrAssign(100, 0);
      } catch (std::bad_alloc const&) {
         numbers.checkInvariants();
      }
   }
   EXPECT_EQ(numbers.size(), 2U);
   numbers.checkInvariants();
}

TEST_F(CollectionFailure, RemovalNeedsNoMemory) {
   Numbers numbers;
   Support::fill(numbers, 5000);
   {
      Support::FailingNew const none(0);
      for (int key = 0; key < 5000; ++key) {
         if (key % 100 != 0) numbers.erase(key);
      }
   }
   EXPECT_EQ(numbers.size(), 50U);
   for (int key = 0; key < 5000; key += 100) EXPECT_TRUE(numbers.contains(key));
}

TEST_F(CollectionFailure, MemoryThatCouldNotBeGivenBackIsGivenBackLater) {
   Numbers numbers;
   Support::fill(numbers, 5000);
   {
      Support::FailingNew const none(0);
      for (int key = 0; key < 4800; ++key) numbers.erase(key);
   }
   for (int key = 4800; key < 4999; ++key) numbers.erase(key);
   EXPECT_LE(numbers.bytes(), 800U);
   EXPECT_TRUE(numbers.contains(4999));
}

}  // namespace
