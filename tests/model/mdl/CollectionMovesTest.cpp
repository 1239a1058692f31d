#include "mdl/Collection.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <vector>

namespace {

/// Counts how often one of its kind is moved.
struct Moved {
   explicit Moved(std::size_t& count) noexcept : moves(&count) {}
   Moved(Moved&& other) noexcept : moves(other.moves) { ++*moves; }
   Moved(Moved const&) = delete;
   Moved& operator=(Moved const&) = delete;
   Moved& operator=(Moved&&) = delete;
   ~Moved() = default;
   std::size_t* moves;
};

using Entries = Mdl::Collection<int, Moved>;

/// How often the value of an entry that is removed is itself moved, on its way out.
double movesOfOneThatGoes() {
   std::size_t moves = 0;
   Entries few;
   for (int key = 0; key < 100; ++key) few.tryInsert(key, moves);
   few.erase(50);
   return static_cast<double>(moves);
}

/// What removals cost those who stay: how often one of them closes up, for each that goes.
class CollectionMoves : public testing::TestWithParam<int> {
 protected:
   CollectionMoves() {
      for (int key = 0; key < GetParam(); ++key) add(key);
   }
   void add(int key) {
      entries_.tryInsert(key, moves_);
      here_.push_back(key);
   }
   void removeFirst() { remove(here_[removals_]); }
   void removeAny() {
      int& chosen = here_[random_() % here_.size()];
      remove(chosen);
      chosen = here_.back();
      here_.pop_back();
   }
   bool empty() const noexcept { return entries_.empty(); }
   double forEachRemoval() const {
      return static_cast<double>(moves_) / static_cast<double>(removals_) - movesOfOneThatGoes();
   }

 private:
   void remove(int key) {
      entries_.erase(key);
      ++removals_;
   }

   std::size_t moves_ = 0;
   std::size_t removals_ = 0;
   std::vector<int> here_;
   std::mt19937 random_{3};
   Entries entries_;
};

TEST_P(CollectionMoves, AreAThirdInAQueue) {
   for (int i = 0; i < 50'000; ++i) {
      removeFirst();
      add(GetParam() + i);
   }
   EXPECT_LE(forEachRemoval(), 0.4);
}

TEST_P(CollectionMoves, AreHalfWhereAnyoneGoesAndOthersCome) {
   for (int i = 0; i < 50'000; ++i) {
      removeAny();
      add(GetParam() + i);
   }
   EXPECT_LE(forEachRemoval(), 0.65);
}

TEST_P(CollectionMoves, AreLessThanOneWhereAllGoOneAfterTheOther) {
   while (!empty()) removeAny();
   EXPECT_LE(forEachRemoval(), 0.9);
}

INSTANTIATE_TEST_SUITE_P(Entries, CollectionMoves,
                         testing::Values(1, 10, 30, 100, 300, 700, 1'000, 1'500, 3'000, 10'000));

}  // namespace
