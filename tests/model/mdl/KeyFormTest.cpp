// Keys that a collection keeps in another form than it shows them.

#include "mdl/Collection.h"
#include "support/Share.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <optional>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

/// A key that is kept as a number of its form's own, and wherever it is shown is made again.
struct Name {
   std::uint64_t text = 0;
   std::uint32_t hash(std::uint32_t seed) const noexcept {
      return Mdl::Hash(seed).mix(text).result();
   }
   friend auto operator<=>(Name const&, Name const&) = default;
};

/// How many kept names there are in all forms, and whether the next one finds no memory.
int keptNames = 0;
bool keepFails = false;

}  // namespace

template <>
class Mdl::KeyForm<Name> {
 public:
   struct Kept {
      std::uint32_t at;
   };
   using Shown = Name;

   KeyForm() = default;
   KeyForm(KeyForm const&) = delete;
   KeyForm& operator=(KeyForm const&) = delete;
   KeyForm(KeyForm&& other) noexcept : names_(std::exchange(other.names_, {})) {}
   KeyForm& operator=(KeyForm&& other) noexcept {
      KeyForm(std::move(other)).names_.swap(names_);
      return *this;
   }
   ~KeyForm() {
      for (auto const& name : names_) keptNames -= name ? 1 : 0;
   }

   Kept keep(Name const& name) {
      if (keepFails) throw std::bad_alloc();
      auto const free = std::find(names_.begin(), names_.end(), std::nullopt);
      auto const at = static_cast<std::uint32_t>(free - names_.begin());
      if (free == names_.end()) names_.emplace_back();
      names_[at] = name;
      ++keptNames;
      return Kept{at};
   }
   Name show(Kept const& kept) const noexcept { return names_[kept.at].value_or(Name()); }
   Name take(Kept const& kept) noexcept {
      Name const name = show(kept);
      drop(kept);
      return name;
   }
   void drop(Kept const& kept) noexcept {
      names_[kept.at] = std::nullopt;
      --keptNames;
   }
   bool isSame(Kept const& kept, Name const& name) const noexcept { return show(kept) == name; }

 private:
   std::vector<std::optional<Name>> names_;
};

namespace {

using Names = Mdl::Collection<Name, std::uint32_t>;

class KeyForm : public testing::Test {
 protected:
   KeyForm() {
      keptNames = 0;
      keepFails = false;
   }
   static std::vector<std::uint64_t> texts(Names const& names) {
      std::vector<std::uint64_t> all;
      for (auto const& entry : names) all.push_back(entry.key.text);
      return all;
   }
};

TEST_F(KeyForm, AKeyIsKeptAsLongAsItsEntryIsThere) {
   std::mt19937 random(3);
   std::vector<std::uint64_t> expected;
   {
      Names names;
      for (std::uint32_t i = 0; i < Support::shareOf(20000); ++i) {
         std::uint64_t const text = random() % 100;
         auto const at = std::find(expected.begin(), expected.end(), text);
         if (random() % 2 == 0) {
            EXPECT_EQ(names.tryInsert(Name{text}, i).inserted, at == expected.end());
            if (at == expected.end()) expected.push_back(text);
         } else {
            auto const gone = names.extract(Name{text});
            ASSERT_EQ(gone.has_value(), at != expected.end());
            if (gone) {
               EXPECT_EQ(gone->key.text, text);
               expected.erase(at);
            }
         }
         ASSERT_EQ(keptNames, static_cast<int>(names.size()));
         if (i % 100 != 0) continue;
         ASSERT_EQ(texts(names), expected);
      }
      names.checkInvariants();
   }
   EXPECT_EQ(keptNames, 0);
}

TEST_F(KeyForm, ClearDropsAllAtOnce) {
   Names names;
   for (std::uint32_t i = 0; i < 100; ++i) names.insertOrAssign(Name{i}, i);
   names.clear();
   EXPECT_EQ(keptNames, 0);
   names.insertOrAssign(Name{7}, 1);
   EXPECT_EQ(texts(names), std::vector<std::uint64_t>{7});
   EXPECT_EQ(keptNames, 1);
}

TEST_F(KeyForm, MovesWithItsEntries) {
   Names names;
   for (std::uint32_t i = 0; i < 100; ++i) names.insertOrAssign(Name{i}, i);
   Names others;
   others.insertOrAssign(Name{1000}, 0);
   others = std::move(names);
   Names const last(std::move(others));
   EXPECT_EQ(keptNames, 100);
   EXPECT_EQ(last.size(), 100U);
   for (std::uint32_t i = 0; i < 100; ++i) EXPECT_TRUE(last.contains(Name{i}));
   names.insertOrAssign(Name{5}, 5);  // NOLINT(bugprone-use-after-move)
   EXPECT_EQ(texts(names), std::vector<std::uint64_t>{5});
}

TEST_F(KeyForm, WalksShowTheKeys) {
   Names names;
   for (std::uint32_t i = 0; i < 50; ++i) names.insertOrAssign(Name{49 - i}, i);
   std::uint32_t next = 0;
   std::uint32_t shownAhead = 0;
   auto walk = names.walk();
   for (auto const& entry : walk) {
      EXPECT_EQ(entry.key.text, 49 - next);
      EXPECT_EQ(entry.hash, names.hashed(entry.key).hash());
      walk.ahead(3, [&](Names::Hashed const& ahead) {
         ++shownAhead;
         EXPECT_EQ(ahead.key().text, 49 - next - 3);
      });
      if (next++ % 2 == 0) walk.lookup(names).erase();
   }
   EXPECT_EQ(next, 50U);
   EXPECT_GE(shownAhead, 25U);  // none from one chunk of memory into the next
   std::uint64_t least = 0;
   for (auto const& entry : names.walkSorted()) {
      EXPECT_EQ(entry.key.text, least);
      least += 2;
   }
   EXPECT_EQ(least, 50U);
}

TEST_F(KeyForm, AKeyThatCannotBeKeptLeavesNoTrace) {
   Names names;
   for (std::uint32_t i = 0; i < 100; ++i) {
      keepFails = true;
      EXPECT_THROW(names.insertOrAssign(Name{i}, i), std::bad_alloc);
      EXPECT_EQ(names.size(), i);
      keepFails = false;
      EXPECT_FALSE(names.contains(Name{i}));
      names.insertOrAssign(Name{i}, i);
   }
   names.checkInvariants();
}

/// Made from a number, which fails for every odd one.
struct Even {
   explicit Even(std::uint32_t number) {
      if (number % 2 != 0) throw std::invalid_argument("odd");
   }
};

TEST_F(KeyForm, AKeyIsDroppedWhenItsValueCannotBeMade) {
   Mdl::Collection<Name, Even> names;
   for (std::uint32_t i = 0; i < 100; ++i) {
      if (i % 2 == 0) {
         names.tryInsert(Name{i}, i);
      } else {
         EXPECT_THROW(names.tryInsert(Name{i}, i), std::invalid_argument);
      }
      EXPECT_EQ(names.size(), i / 2 + 1);
      EXPECT_EQ(keptNames, static_cast<int>(names.size()));
   }
}

}  // namespace
