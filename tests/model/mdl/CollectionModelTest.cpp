// Random operations against the plainest thing that could be right: a list in order of insertion.
// Walks are under way all the time, begun and ended at random.

#include "mdl/Collection.h"
#include "support/CollectionFixtures.h"
#include "support/Share.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

/// A key's stay in the collection: one that leaves and comes back is another stay.
struct Stay {
   int key;
   std::string value;
   int number;
};

class Reference {
 public:
   std::vector<Stay> const& stays() const { return stays_; }

   Stay* find(int key) {
      auto const at = std::find_if(stays_.begin(), stays_.end(),
                                   [&](Stay const& stay) { return stay.key == key; });
      return at == stays_.end() ? nullptr : &*at;
   }
   Stay const* byNumber(int number) const {
      // Numbers ascend, as stays are added at the end.
      auto const at = std::lower_bound(stays_.begin(), stays_.end(), number,
                                       [](Stay const& stay, int n) { return stay.number < n; });
      return at == stays_.end() || at->number != number ? nullptr : &*at;
   }
   void insert(int key, std::string value) { stays_.push_back({key, std::move(value), next_++}); }
   void erase(Stay* stay) { stays_.erase(stays_.begin() + (stay - stays_.data())); }
   void clear() { stays_.clear(); }

 private:
   std::vector<Stay> stays_;
   int next_ = 0;
};

/// A walk under way, and what it must still show.
template <class C, class W>
class Flight {
 public:
   Flight(C const& collection, std::vector<Stay> begun)
       : walk_(std::make_unique<W>(collection)), begun_(std::move(begun)) {}

   /// One step, compared with the reference. False at the end.
   bool step(Reference const& reference) {
      if (!cursor_) {
         cursor_.emplace(walk_->begin());
      } else {
         ++*cursor_;
      }
      Stay const* expected = nullptr;
      while (expected == nullptr && next_ < begun_.size()) {
         expected = reference.byNumber(begun_[next_++].number);
      }
      bool const atEnd = *cursor_ == walk_->end();
      EXPECT_EQ(atEnd, expected == nullptr);
      if (atEnd || expected == nullptr) return false;
      EXPECT_EQ((**cursor_).key, expected->key);
      EXPECT_EQ((**cursor_).value, expected->value);
      return true;
   }

 private:
   std::unique_ptr<W> walk_;
   std::optional<typename W::Cursor> cursor_;
   std::vector<Stay> begun_;
   std::size_t next_ = 0;
};

template <class Hasher>
class Machine {
   using C = Mdl::Collection<int, std::string, Hasher>;

 public:
   Machine(unsigned seed, unsigned keys) : random_(seed), keys_(keys) {}

   void run(std::uint32_t most) {
      int const operations = static_cast<int>(Support::shareOf(most));
      int const phase = static_cast<int>(Support::shareOf(5000));
      for (int i = 0; i < operations && !testing::Test::HasFailure(); ++i) {
         // Phases of growth and of decline, so that every size is met on the way up and down.
         unsigned const inserts = i / phase % 2 == 0 ? 60 : 30;
         unsigned const choice = draw(1000);
         if (choice < inserts * 10) {
            insert();
         } else if (choice < 920) {
            erase();
         } else if (choice < 935) {
            begin();
         } else if (choice < 999) {
            step();
         } else if (draw(10) == 0) {
            collection_.clear();
            reference_.clear();
         }
         if (i % 1000 == 0) compare();
      }
      walks_.clear();
      sorted_.clear();
      compare();
   }

 private:
   unsigned draw(unsigned below) { return static_cast<unsigned>(random_() % below); }
   int anyKey() { return static_cast<int>(draw(keys_)); }

   void insert() {
      int const key = anyKey();
      std::string const value = draw(4) == 0 ? "same" : std::to_string(draw(1000000));
      Stay* const stay = reference_.find(key);
      Mdl::Change const change = collection_.insertOrAssign(key, value);
      if (stay == nullptr) {
         EXPECT_EQ(change, Mdl::Change::inserted);
         reference_.insert(key, value);
      } else {
         EXPECT_EQ(change, stay->value == value ? Mdl::Change::none : Mdl::Change::assigned);
         stay->value = value;
      }
   }

   void erase() {
      int const key = anyKey();
      Stay* const stay = reference_.find(key);
      auto const removed = collection_.extract(key);
      EXPECT_EQ(removed.has_value(), stay != nullptr);
      if (!removed || stay == nullptr) return;
      EXPECT_EQ(removed->value, stay->value);
      reference_.erase(stay);
   }

   void begin() {
      if (walks_.size() + sorted_.size() >= 3) return;
      std::vector<Stay> stays = reference_.stays();
      if (draw(2) == 0) {
         walks_.emplace_back(collection_, std::move(stays));
      } else {
         std::sort(stays.begin(), stays.end(),
                   [](Stay const& a, Stay const& b) { return a.key < b.key; });
         sorted_.emplace_back(collection_, std::move(stays));
      }
   }

   /// One of the walks goes some steps, or is given up.
   void step() {
      bool const first = draw(2) == 0;
      unsigned const steps = draw(40);
      if (first) {
         advance(walks_, steps);
      } else {
         advance(sorted_, steps);
      }
   }
   template <class Flights>
   void advance(Flights& flights, unsigned steps) {
      if (flights.empty()) return;
      auto const chosen = flights.begin() + draw(static_cast<unsigned>(flights.size()));
      for (unsigned i = 0; i < steps; ++i) {
         if (chosen->step(reference_)) continue;
         flights.erase(chosen);
         return;
      }
      if (draw(20) == 0) flights.erase(chosen);
   }

   void compare() {
      collection_.checkInvariants();
      ASSERT_EQ(collection_.size(), reference_.stays().size());
      auto stay = reference_.stays().begin();
      for (auto const& entry : collection_) {
         ASSERT_EQ(entry.key, stay->key);
         ASSERT_EQ(entry.value, stay->value);
         ++stay;
      }
      for (unsigned key = 0; key < keys_; ++key) {
         ASSERT_EQ(collection_.contains(static_cast<int>(key)),
                   reference_.find(static_cast<int>(key)) != nullptr);
      }
   }

   std::mt19937 random_;
   unsigned keys_;
   C collection_;
   Reference reference_;
   std::vector<Flight<C, Mdl::Walk<C>>> walks_;
   std::vector<Flight<C, Mdl::SortedWalk<C>>> sorted_;
};

TEST(CollectionModel, AgreesOverFewKeys) { Machine<Mdl::KeyHash<int>>(1, 12).run(100000); }
TEST(CollectionModel, AgreesOverSomeKeys) { Machine<Mdl::KeyHash<int>>(2, 150).run(100000); }
TEST(CollectionModel, AgreesOverManyKeys) { Machine<Mdl::KeyHash<int>>(3, 4000).run(100000); }
TEST(CollectionModel, AgreesWhenAllHashesAreEqual) {
   Machine<Support::AllEqualHash>(4, 1200).run(20000);
}
TEST(CollectionModel, AgreesWhenAllHashesAreZero) { Machine<Support::ZeroHash>(5, 60).run(20000); }
TEST(CollectionModel, AgreesWhenOnlyLowBitsDiffer) {
   Machine<Support::LowBitsHash>(6, 4000).run(40000);
}
TEST(CollectionModel, AgreesWhenOnlyHighBitsDiffer) {
   Machine<Support::HighBitsHash>(7, 4000).run(40000);
}
TEST(CollectionModel, AgreesWhenSplitsPeelOffOneByOne) {
   Machine<Support::PeelingHash>(8, 2000).run(20000);
}

}  // namespace
