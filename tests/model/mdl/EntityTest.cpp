// What counts as a change of an entity, and what its mutators survive.

#include "mdl/Entity.h"

#include "support/Actor.h"
#include "support/CollectionFixtures.h"
#include "support/Plant.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Mdl::Ptr;
using Mdl::String;
using Support::Actor;
using Support::actorOn;
using Support::Journal;
using Support::Label;
using Support::Leaf;
using Support::Listener;
using Support::Plant;

class Entity : public testing::Test {
 protected:
   Entity() {
      listener->keysOf<String>(Plant::markAttributeId);
      listener->keysOf<String>(Plant::countAttributeId);
      listener->keysOf<String>(Plant::labelAttributeId);
      listener->keysOf<String>(Plant::leafAttributeId);
   }
   void thenHeard(Journal const& expected) {
      Journal const all = listener->heard();
      EXPECT_EQ(Journal(all.begin() + static_cast<std::ptrdiff_t>(heard_), all.end()), expected);
      heard_ = all.size();
   }

   Journal journal;
   Ptr<Plant> plant = Mdl::allocate<Plant>();
   Ptr<Listener> listener = Mdl::allocate<Listener>(plant);

 private:
   std::size_t heard_ = 0;
};

TEST_F(Entity, StartsWithItsNotificationsActiveAndUnmarked) {
   EXPECT_TRUE(plant->hasNotificationActive());
   EXPECT_FALSE(plant->isMarkedForDeletion());
}

TEST_F(Entity, TellsNothingWhileItIsSwitchedOffAndNothingOfItAfterwards) {
   plant->hasNotificationActiveIs(false);
   plant->heightIs(1);
   plant->markIs("a");
   plant->markDelAll();
   thenHeard({});
   EXPECT_EQ(plant->height(), 1u);
   plant->hasNotificationActiveIs(true);
   thenHeard({});
   plant->heightIs(2);
   thenHeard({"130"});
}

TEST_F(Entity, MayBecomePartOfAnotherAndDoesNothingByDefault) {
   plant->handleParent(Mdl::allocate<Plant>());
   plant->handleParent(nullptr);
   thenHeard({});
}

// ---- Scalars
// -------------------------------------------------------------------------------------

TEST_F(Entity, TellsOfAChangedScalarWithoutAKey) {
   plant->heightIs(1);
   plant->titleIs("oak");
   thenHeard({"130", "131"});
}

TEST_F(Entity, AnEqualScalarIsNoChange) {
   plant->heightIs(0);
   plant->titleIs("");
   thenHeard({});
   plant->titleIs("oak");
   plant->titleIs(String("oak"));
   thenHeard({"131"});
}

TEST_F(Entity, AScalarMayBeSetFromItself) {
   plant->titleIs("oak");
   plant->titleIs(plant->title());
   thenHeard({"131"});
   EXPECT_EQ(plant->title(), String("oak"));
}

TEST_F(Entity, AnExceptionReachesTheSetterAndTheEntryStays) {
   auto const thrower = actorOn(plant, journal, "thrower");
   thrower->actIs([] { throw std::runtime_error("refused"); });
   EXPECT_THROW(plant->countIs("a", 1), std::runtime_error);
   EXPECT_EQ(plant->count("a"), 1u);
   EXPECT_THROW(plant->countDel("a"), std::runtime_error);
   EXPECT_FALSE(plant->countHas("a"));
}

// ---- Entries
// -------------------------------------------------------------------------------------

TEST_F(Entity, TellsOfAnEntryAddedChangedAndRemoved) {
   plant->countIs("a", 1);
   plant->countIs("a", 2);
   plant->countDel("a");
   thenHeard({"133 'a'", "133 'a'", "133 'a'"});
}

TEST_F(Entity, AnEqualEntryIsNoChange) {
   auto const leaf = Mdl::allocate<Leaf>("l");
   auto const putAll = [&] {
      plant->markIs("a");
      plant->countIs("a", 1);
      plant->labelIs(Label("a", 1));
      plant->leafIs(leaf);
   };
   putAll();
   thenHeard({"132 'a'", "133 'a'", "134 'a'", "135 'l'"});
   putAll();
   thenHeard({});
}

TEST_F(Entity, AnotherEntityUnderTheSameNameIsAChange) {
   plant->leafIs(Mdl::allocate<Leaf>("l"));
   plant->leafIs(Mdl::allocate<Leaf>("l"));
   thenHeard({"135 'l'", "135 'l'"});
}

TEST_F(Entity, RemovingAnAbsentKeyIsNoChange) {
   plant->markDel("a");
   plant->markIs("a");
   plant->markDel("b");
   thenHeard({"132 'a'"});
}

TEST_F(Entity, TellsOfAnEntryWhenItIsThereAndWhenItIsGone) {
   std::vector<bool> seen;
   auto const actor = actorOn(plant, journal, "actor");
   actor->actIs([&](Mdl::AttributeId, void const* key) {
      seen.push_back(plant->markHas(*static_cast<String const*>(key)));
   });
   plant->markIs("a");
   plant->markDel("a");
   EXPECT_EQ(seen, std::vector<bool>({true, false}));
}

TEST_F(Entity, TheOldValueIsStillThereWhileItsRemovalIsTold) {
   bool gone = false;
   bool goneInside = true;
   auto const actor = actorOn(plant, journal, "actor");
   plant->leafIs(Mdl::allocate<Leaf>("l", [&] { gone = true; }));
   actor->actIs([&] { goneInside = gone; });
   plant->leafDel("l");
   EXPECT_FALSE(goneInside);
   EXPECT_TRUE(gone);
}

// ---- Removing all
// --------------------------------------------------------------------------------

TEST_F(Entity, RemovingAllTellsPerKeyInOrderAfterEachRemoval) {
   for (char const* const key : {"a", "b", "c"}) plant->markIs(key);
   thenHeard({"132 'a'", "132 'b'", "132 'c'"});
   std::vector<std::vector<String>> left;
   auto const actor = actorOn(plant, journal, "actor");
   actor->actIs([&] { left.push_back(Support::walkedKeys(plant->mark())); });
   plant->markDelAll();
   thenHeard({"132 'a'", "132 'b'", "132 'c'"});
   EXPECT_EQ(left, (std::vector<std::vector<String>>{{"b", "c"}, {"c"}, {}}));
}

TEST_F(Entity, RemovingAllOfNothingIsNoChange) {
   plant->markDelAll();
   thenHeard({});
}

TEST_F(Entity, RemovingAllKeepsWhatAReactorInsertsAgain) {
   plant->markIs("a");
   plant->markIs("b");
   thenHeard({"132 'a'", "132 'b'"});
   auto const actor = actorOn(plant, journal, "actor");
   actor->actIs([&] { plant->markIs("a"); });
   plant->markDelAll();
   EXPECT_EQ(Support::walkedKeys(plant->mark()), std::vector<String>({"a"}));
   thenHeard({"132 'a'", "132 'a'", "132 'b'"});
}

TEST_F(Entity, RemovingAllTellsOnceOfWhatAReactorRemovesAhead) {
   for (char const* const key : {"a", "b", "c"}) plant->markIs(key);
   thenHeard({"132 'a'", "132 'b'", "132 'c'"});
   auto const actor = actorOn(plant, journal, "actor");
   actor->actIs([&] { plant->markDel("b"); });
   plant->markDelAll();
   EXPECT_TRUE(plant->mark().empty());
   thenHeard({"132 'a'", "132 'b'", "132 'c'"});
}

TEST_F(Entity, RemovingAllMayBeDoneInsideRemovingAll) {
   for (char const* const key : {"a", "b", "c"}) plant->markIs(key);
   thenHeard({"132 'a'", "132 'b'", "132 'c'"});
   auto const actor = actorOn(plant, journal, "actor");
   actor->actIs([&] { plant->markDelAll(); });
   plant->markDelAll();
   EXPECT_TRUE(plant->mark().empty());
   thenHeard({"132 'a'", "132 'b'", "132 'c'"});
}

TEST_F(Entity, RemovingAllSurvivesAReactorThatDropsTheEntity) {
   bool gone = false;
   auto mortal = Mdl::allocate<Plant>([&] { gone = true; });
   for (char const* const key : {"a", "b", "c"}) mortal->markIs(key);
   auto actor = actorOn(mortal, journal, "actor");
   Plant& changed = *mortal;
   actor->actIs([&] {
      mortal = nullptr;
      actor = nullptr;
      EXPECT_FALSE(gone);
   });
   changed.markDelAll();
   EXPECT_EQ(journal, Journal({"actor"}));
   EXPECT_TRUE(gone);
}

TEST_F(Entity, RemovingAllIsDoneBeforeAnEntityDiesThatAReactorDropped) {
   auto mortal = Mdl::allocate<Plant>([&] { journal.push_back("plant"); });
   for (char const* const key : {"a", "b"}) {
      mortal->leafIs(Mdl::allocate<Leaf>(key, [this, key] { journal.push_back(key); }));
   }
   auto actor = actorOn(mortal, journal, "actor");
   Plant& changed = *mortal;
   actor->actIs([&] {
      mortal = nullptr;
      actor = nullptr;
   });
   changed.leafDelAll();
   EXPECT_EQ(journal, Journal({"actor", "a", "b", "plant"}));
}

TEST_F(Entity, RemovingAllSurvivesAnEntryThatDropsTheEntity) {
   auto mortal = Mdl::allocate<Plant>();
   mortal->leafIs(Mdl::allocate<Leaf>("a", [&] { mortal = nullptr; }));
   mortal->leafIs(Mdl::allocate<Leaf>("b"));
   Plant& changed = *mortal;
   changed.leafDelAll();
   EXPECT_EQ(mortal, nullptr);
}

// ---- Keys that live in what is being changed
// -----------------------------------------------------

TEST_F(Entity, AKeyMayLiveInTheEntryThatItRemoves) {
   plant->labelIs(Label("a", 1));
   plant->labelDel(plant->label().find(String("a"))->name());
   EXPECT_TRUE(plant->label().empty());
   thenHeard({"134 'a'", "134 'a'"});
}

TEST_F(Entity, AKeyMayLiveInTheEntryThatItReplaces) {
   plant->countIs("a", 1);
   for (auto const& entry : plant->count()) plant->countIs(entry.key, entry.value + 1);
   EXPECT_EQ(plant->count("a"), 2u);
   plant->labelIs(Label("a", 1));
   plant->labelIs(*plant->label().find(String("a")));
   EXPECT_EQ(plant->label("a").weight(), 1u);
}

TEST_F(Entity, AKeyMayLiveInSomethingThatAReactorRemoves) {
   // A name of its own memory, which nobody but the passing owner holds.
   auto const actor = actorOn(plant, journal, "actor");
   auto const second = Mdl::allocate<Listener>(plant);
   second->keysOf<String>(Plant::markAttributeId);
   auto owner = std::make_unique<String>(std::string(100, 'n'));
   actor->actIs([&] { owner = nullptr; });
   plant->markIs(*owner);
   EXPECT_EQ(owner, nullptr);
   EXPECT_EQ(second->heard(), Journal({"132 '" + std::string(100, 'n') + "'"}));
}

TEST_F(Entity, ARemovedKeyMayLiveInSomethingThatAReactorRemoves) {
   plant->markIs(std::string(100, 'n'));
   auto const actor = actorOn(plant, journal, "actor");
   auto const second = Mdl::allocate<Listener>(plant);
   second->keysOf<String>(Plant::markAttributeId);
   auto owner = std::make_unique<String>(std::string(100, 'n'));
   actor->actIs([&] { owner = nullptr; });
   plant->markDel(*owner);
   EXPECT_EQ(second->heard(), Journal({"132 '" + std::string(100, 'n') + "'"}));
}

TEST_F(Entity, AnEntityToInsertMayLiveInAPointerThatAReactorClears) {
   auto const actor = actorOn(plant, journal, "actor");
   auto const second = Mdl::allocate<Listener>(plant);
   second->keysOf<String>(Plant::leafAttributeId);
   Ptr<Leaf const> leaf = Mdl::allocate<Leaf>("l");
   actor->actIs([&] {
      leaf = nullptr;
      if (plant->leafHas("l")) plant->leafDel("l");
   });
   plant->leafIs(leaf);
   EXPECT_FALSE(plant->leafHas("l"));
   EXPECT_EQ(second->heard(), Journal({"135 'l'", "135 'l'"}));
}

// ---- What entries do when they die
// ---------------------------------------------------------------

TEST_F(Entity, ADyingEntryMayChangeItsEntity) {
   plant->leafIs(Mdl::allocate<Leaf>("a", [&] { plant->leafIs(Mdl::allocate<Leaf>("b")); }));
   thenHeard({"135 'a'"});
   plant->leafDel("a");
   thenHeard({"135 'a'", "135 'b'"});
   EXPECT_TRUE(plant->leafHas("b"));
}

TEST_F(Entity, ADyingEntryMayDropItsEntityAndAllThatWatchIt) {
   auto mortal = Mdl::allocate<Plant>();
   auto actor = actorOn(mortal, journal, "actor");
   mortal->leafIs(Mdl::allocate<Leaf>("a", [&] {
      mortal = nullptr;
      actor = nullptr;
   }));
   Plant& changed = *mortal;
   changed.leafDel("a");
   EXPECT_EQ(journal, Journal({"actor", "actor"}));
   EXPECT_EQ(mortal, nullptr);
}

TEST(EntityDeathTest, StopsTheProcessWhenAReactorsRegistrationOutlivesIt) {
   // Only a reactor that is entered behind the framework's back can bring this about.
   Journal journal;
   auto const actor = actorOn(nullptr, journal, "actor");
   EXPECT_DEATH(Mdl::allocate<Plant>()->notifiees().add(*actor), "Assertion failed: live_ == 0");
}

TEST(EntityDeathTest, StopsTheProcessWhenAReactorLeavesAListThatItIsNotIn) {
   Journal journal;
   auto const plant = Mdl::allocate<Plant>();
   auto const actor = actorOn(nullptr, journal, "actor");
   EXPECT_DEATH(plant->notifiees().remove(*actor), "Assertion failed: place != places_.end");
}

}  // namespace
