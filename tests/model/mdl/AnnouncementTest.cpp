// Reactors are told that an entry of a large collection is about to change, so that they can have
// memory loaded that they will need.

#include "mdl/Attribute.h"
#include "mdl/Reflection.h"
#include "support/Actor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

class Field final : public Mdl::Entity {
 public:
   static constexpr char typeName[] = "Test::Field";
   static Mdl::Type const& type() noexcept {
      static Mdl::Type const made(typeName);
      return made;
   }
   Mdl::Type const& fwkType() const noexcept override { return type(); }

   MDL_MAP(std::uint32_t, std::uint32_t, plant, 7);
   MDL_SET(std::uint32_t, weed, 8);

 private:
   ~Field() override = default;
};

using Journal = std::vector<std::string>;

/// Writes down what it hears, and the size of the field at that time.
class Watcher final : public Mdl::PtrInterface::NotifieeConst {
 public:
   Watcher(Mdl::Ptr<Field> const& field, Journal& journal)
       : NotifieeConst(field), field_(*field), journal_(journal) {
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
   }
   void onAttributeSoon(Mdl::AttributeId attribute, void const* key,
                        Mdl::Soon soon) noexcept override {
      char const* const when[] = {"later", "next", "now"};
      write(when[static_cast<int>(soon)], attribute, key);
   }
   void onAttribute(Mdl::AttributeId attribute, void const* key) override {
      write("changed", attribute, key);
      auto const number = *static_cast<std::uint32_t const*>(key);
      if (number % 1000 == throwsAt) throw std::runtime_error(std::to_string(number));
   }
   /// Throws at keys that end with this number of three digits.
   std::uint32_t throwsAt = 1000;

 private:
   ~Watcher() override = default;
   void write(char const* what, Mdl::AttributeId attribute, void const* key) {
      journal_.push_back(std::string(what) + " " + std::to_string(attribute) + " key " +
                         std::to_string(*static_cast<std::uint32_t const*>(key)) + " of " +
                         std::to_string(field_.plant().size()));
   }

   Field& field_;
   Journal& journal_;
};

class Announcement : public testing::Test {
 protected:
   void givenPlants(std::uint32_t count) {
      for (std::uint32_t key = 0; key < count; ++key) field->plantIs(key, 1);
      journal.clear();
   }
   void thenHeard(Journal const& expected) {
      EXPECT_EQ(journal, expected);
      journal.clear();
   }

   Journal journal;
   Mdl::Ptr<Field> field = Mdl::allocate<Field>();
   Mdl::Ptr<Watcher> watcher = Mdl::allocate<Watcher>(field, journal);
};

TEST_F(Announcement, ComesBeforeAnEntryOfALargeCollectionIsAdded) {
   givenPlants(1024);
   field->plantIs(5000, 1);
   thenHeard({"later 7 key 5000 of 1024", "changed 7 key 5000 of 1025"});
}

TEST_F(Announcement, ComesBeforeAnEntryOfALargeCollectionIsRemoved) {
   givenPlants(1024);
   field->plantDel(17);
   thenHeard({"now 7 key 17 of 1024", "changed 7 key 17 of 1023"});
}

// The keys 2000 to 2019 come and go at once beside 1024 others.
class AnnouncementOfABurst : public Announcement {
 protected:
   AnnouncementOfABurst() {
      std::vector<std::uint32_t> many(1024);
      std::iota(many.begin(), many.end(), 0U);
      field->weedIsEach(many);
      journal.clear();
      std::iota(burst.begin(), burst.end(), 2000U);
   }
   /// Which in the order of all that was heard, from 1 on; 0 when it was not.
   std::size_t at(std::string const& what, std::uint32_t key) const {
      auto const begins = what + " 8 key " + std::to_string(key) + " of ";
      auto const found = std::ranges::find_if(
          journal, [&](std::string const& line) { return line.starts_with(begins); });
      return found == journal.end() ? 0 : static_cast<std::size_t>(found - journal.begin()) + 1;
   }
   void thenChangedInTurn() const {
      for (std::uint32_t key = 2001; key < 2020; ++key) {
         EXPECT_LT(at("changed", key - 1), at("changed", key));
      }
   }

   std::vector<std::uint32_t> burst = std::vector<std::uint32_t>(20);
};

TEST_F(AnnouncementOfABurst, RunsAheadOfEntriesThatCome) {
   field->weedIsEach(burst);
   EXPECT_EQ(field->weed().size(), 1044U);
   ASSERT_EQ(journal.size(), 40U);
   thenChangedInTurn();
   for (std::uint32_t const key : burst) {
      ASSERT_NE(at("later", key), 0U);
      EXPECT_LT(at("later", key), at("changed", key));
      if (key < 2012) {
         EXPECT_LT(at("later", key + 8), at("changed", key + 1));
      }
   }
}

// Each is announced twice before its turn.
TEST_F(AnnouncementOfABurst, RunsAheadOfEntriesThatGo) {
   field->weedIsEach(burst);
   journal.clear();
   field->weedDelEach(burst);
   EXPECT_EQ(field->weed().size(), 1024U);
   ASSERT_EQ(journal.size(), 60U);
   thenChangedInTurn();
   for (std::uint32_t const key : burst) {
      ASSERT_NE(at("later", key), 0U);
      EXPECT_LT(at("later", key), at("next", key));
      EXPECT_LT(at("next", key), at("changed", key));
      if (key < 2012) {
         EXPECT_LT(at("later", key + 8), at("changed", key + 1));
         EXPECT_LT(at("next", key + 4), at("changed", key + 1));
      }
   }
}

TEST_F(Announcement, ABurstGoesOnAfterAnException) {
   std::vector<std::uint32_t> const burst{1, 1007, 2, 2007, 3};
   watcher->throwsAt = 7;
   auto const message = [](auto const& act) -> std::string {
      try {
         act();
      } catch (std::runtime_error const& error) {
         return error.what();
      }
      return "none";
   };
   EXPECT_EQ(message([&] { field->weedIsEach(burst); }), "1007");
   EXPECT_EQ(field->weed().size(), 5U);
   EXPECT_EQ(message([&] { field->weedDelEach(burst); }), "1007");
   EXPECT_TRUE(field->weed().empty());
   EXPECT_EQ(message([&] { field->weedIsEach({}); }), "none");
}

// The only ones who hold the entity let it go at the first change.
TEST(Burst, GoesOnThoughItsEntityIsLetGo) {
   Support::Journal heard;
   auto field = Mdl::allocate<Field>();
   auto const actor = Support::actorOn(field, heard, "actor");
   actor->actIs([&] {
      actor->notifierIs(nullptr);
      field = nullptr;
   });
   std::vector<std::uint32_t> const burst{1, 2, 3};
   field->weedIsEach(burst);
   EXPECT_EQ(heard.size(), 1U);
}

TEST_F(Announcement, IsNoPromiseOfAChange) {
   givenPlants(1024);
   field->plantIs(17, 1);
   field->plantDel(5000);
   thenHeard({"later 7 key 17 of 1024", "now 7 key 5000 of 1024"});
}

TEST_F(Announcement, IsNotWorthWhileInASmallCollection) {
   givenPlants(1023);
   field->plantIs(17, 2);
   thenHeard({"changed 7 key 17 of 1023"});
}

TEST_F(Announcement, GoesByTheSizeThatTheCollectionHas) {
   givenPlants(1025);
   field->plantDel(0);
   field->plantDel(1);
   field->plantDel(2);
   thenHeard({"now 7 key 0 of 1025", "changed 7 key 0 of 1024", "now 7 key 1 of 1024",
              "changed 7 key 1 of 1023", "changed 7 key 2 of 1022"});
}

TEST_F(Announcement, ReachesNoReactorThatIsOff) {
   givenPlants(1024);
   watcher->hasNotificationActiveIs(false);
   field->plantIs(5000, 1);
   thenHeard({});
   watcher->hasNotificationActiveIs(true);
   watcher->isRegisteredNotifieeIs(false);
   field->plantIs(5001, 1);
   thenHeard({});
}

TEST_F(Announcement, IsNotMadeByAnEntityWhoseNotificationsAreOff) {
   givenPlants(1024);
   field->hasNotificationActiveIs(false);
   field->plantDel(17);
   thenHeard({});
}

}  // namespace
