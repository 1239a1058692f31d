// One change and the reactors that hear of it, while they come, go, change things and throw.

#include "mdl/NotifieeList.h"

#include "support/Actor.h"
#include "support/Plant.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using Mdl::Ptr;
using Support::Actor;
using Support::actorOn;
using Support::Journal;
using Support::Plant;

/// Three reactors on one entity, "1" to "3" in order of registration.
class Dispatch : public testing::Test {
 protected:
   void whenChanged() { plant->heightIs(plant->height() + 1); }
   void thenTold(Journal const& expected) {
      EXPECT_EQ(journal, expected);
      journal.clear();
   }
   static void out(Ptr<Actor> const& actor) { actor->isRegisteredNotifieeIs(false); }
   static void in(Ptr<Actor> const& actor) { actor->isRegisteredNotifieeIs(true); }

   Journal journal;
   Ptr<Plant> plant = Mdl::allocate<Plant>();
   Ptr<Actor> one = actorOn(plant, journal, "1");
   Ptr<Actor> two = actorOn(plant, journal, "2");
   Ptr<Actor> three = actorOn(plant, journal, "3");
   Ptr<Actor> four;
};

TEST_F(Dispatch, TellsInOrderOfRegistration) {
   whenChanged();
   thenTold({"1", "2", "3"});
   out(one);
   in(one);
   whenChanged();
   thenTold({"2", "3", "1"});
}

TEST_F(Dispatch, TellsAfterTheChange) {
   std::optional<std::uint32_t> seen;
   one->actIs([&] { seen = plant->height(); });
   plant->heightIs(7);
   EXPECT_EQ(seen, 7u);
}

TEST_F(Dispatch, CountsTheRegisteredOnly) {
   EXPECT_EQ(plant->notifiees().size(), 3u);
   one->actIs([&] {
      out(two);
      EXPECT_EQ(plant->notifiees().size(), 2u);
   });
   whenChanged();
   EXPECT_EQ(plant->notifiees().size(), 2u);
   out(one);
   out(three);
   EXPECT_TRUE(plant->notifiees().empty());
}

TEST_F(Dispatch, GoesOnWhenOneRemovesItself) {
   two->actIs([&] { out(two); });
   whenChanged();
   thenTold({"1", "2", "3"});
   whenChanged();
   thenTold({"1", "3"});
}

TEST_F(Dispatch, SkipsANeighbourRemovedAhead) {
   one->actIs([&] { out(two); });
   whenChanged();
   thenTold({"1", "3"});
}

TEST_F(Dispatch, SkipsNobodyWhenTheNeighbourBehindIsRemoved) {
   two->actIs([&] { out(one); });
   whenChanged();
   thenTold({"1", "2", "3"});
   whenChanged();
   thenTold({"2", "3"});
}

TEST_F(Dispatch, EndsWhenOneRemovesAll) {
   one->actIs([&] {
      out(one);
      out(two);
      out(three);
   });
   whenChanged();
   thenTold({"1"});
   whenChanged();
   thenTold({});
   in(two);
   whenChanged();
   thenTold({"2"});
}

TEST_F(Dispatch, LetsANewOneWaitForTheNextChange) {
   one->actIs([&] {
      if (!four) four = actorOn(plant, journal, "4");
   });
   whenChanged();
   thenTold({"1", "2", "3"});
   whenChanged();
   thenTold({"1", "2", "3", "4"});
}

TEST_F(Dispatch, LetsManyNewOnesWaitThoughTheListMovesInMemory) {
   std::vector<Ptr<Actor>> crowd;
   one->actIs([&] {
      for (int i = 0; i < 100; ++i) crowd.push_back(actorOn(plant, journal, "new"));
   });
   whenChanged();
   thenTold({"1", "2", "3"});
   EXPECT_EQ(plant->notifiees().size(), 103u);
}

TEST_F(Dispatch, TellsOneThatRegistersItselfAgainOnlyOnce) {
   two->actIs([&] {
      out(two);
      in(two);
   });
   whenChanged();
   thenTold({"1", "2", "3"});
   two->actDel();
   whenChanged();
   thenTold({"1", "3", "2"});
}

TEST_F(Dispatch, LetsOneAheadThatLeftAndCameBackWaitForTheNextChange) {
   one->actIs([&] {
      out(two);
      in(two);
   });
   whenChanged();
   thenTold({"1", "3"});
   one->actDel();
   whenChanged();
   thenTold({"1", "3", "2"});
}

TEST_F(Dispatch, KeepsTheReactorAliveUntilItReturns) {
   bool gone = false;
   bool goneInside = true;
   two->lastWillIs([&] { gone = true; });
   two->actIs([&] {
      two = nullptr;
      goneInside = gone;
   });
   whenChanged();
   EXPECT_FALSE(goneInside);
   EXPECT_TRUE(gone);
   thenTold({"1", "2", "3"});
}

TEST_F(Dispatch, SkipsOneThatWasReleasedAhead) {
   one->actIs([&] { two = nullptr; });
   whenChanged();
   thenTold({"1", "3"});
   EXPECT_EQ(plant->notifiees().size(), 2u);
}

TEST_F(Dispatch, KeepsTheNotifierAliveUntilAllHaveBeenTold) {
   bool gone = false;
   auto mortal = Mdl::allocate<Plant>([&] { gone = true; });
   auto a = actorOn(mortal, journal, "a");
   auto b = actorOn(mortal, journal, "b");
   bool goneInside = true;
   a->actIs([&] {
      Plant* const last = mortal.get();
      mortal = nullptr;
      b = nullptr;
      a = nullptr;
      goneInside = gone;
      EXPECT_EQ(last->height(), 1u);
   });
   mortal->heightIs(1);
   EXPECT_FALSE(goneInside);
   EXPECT_TRUE(gone);
   thenTold({"a"});
}

TEST_F(Dispatch, GoesOnWhenOneIsPointedElsewhere) {
   auto const other = Mdl::allocate<Plant>();
   two->actIs([&] {
      two->notifierIs(other);
      in(two);
   });
   whenChanged();
   thenTold({"1", "2", "3"});
   other->heightIs(1);
   thenTold({"2"});
   EXPECT_EQ(plant->notifiees().size(), 2u);
}

TEST_F(Dispatch, SkipsOneThatIsSwitchedOffAhead) {
   one->actIs([&] { two->hasNotificationActiveIs(false); });
   whenChanged();
   thenTold({"1", "3"});
}

// ---- Changes inside changes
// ----------------------------------------------------------------------

TEST_F(Dispatch, TellsAllOfANestedChangeBeforeTheNextHearsOfTheFirst) {
   auto const note = [&](std::string name) {
      return [this, name](Mdl::AttributeId attribute, void const*) {
         journal.back() = name + ":" + std::to_string(attribute);
         if (name == "1" && attribute == Plant::heightAttributeId) plant->titleIs("nested");
      };
   };
   one->actIs(note("1"));
   two->actIs(note("2"));
   three->actIs(note("3"));
   plant->heightIs(1);
   thenTold({"1:130", "1:131", "2:131", "3:131", "2:130", "3:130"});
}

TEST_F(Dispatch, AnInnerChangeTellsOneThatTheOuterIsNotToTell) {
   one->actIs([&] {
      if (four) return;
      four = actorOn(plant, journal, "4");
      plant->titleIs("nested");
   });
   whenChanged();
   thenTold({"1", "1", "2", "3", "4", "2", "3"});
}

TEST_F(Dispatch, APlaceLeftInsideANestedChangeDoesNotShiftTheOuterOne) {
   bool nested = false;
   one->actIs([&] {
      if (std::exchange(nested, true)) {
         out(one);
      } else {
         plant->titleIs("nested");
      }
   });
   whenChanged();
   thenTold({"1", "1", "2", "3", "2", "3"});
   whenChanged();
   thenTold({"2", "3"});
}

// ---- Exceptions
// ----------------------------------------------------------------------------------

TEST_F(Dispatch, AnExceptionReachesTheSetterWhenAllHaveBeenToldAndTheChangeStays) {
   two->actIs([] { throw std::runtime_error("refused"); });
   EXPECT_THROW(plant->heightIs(5), std::runtime_error);
   thenTold({"1", "2", "3"});
   EXPECT_EQ(plant->height(), 5u);
}

TEST_F(Dispatch, TheFirstOfSeveralExceptionsReachesTheSetter) {
   one->actIs([] { throw std::runtime_error("first"); });
   three->actIs([] { throw std::logic_error("last"); });
   try {
      whenChanged();
      FAIL() << "nothing was thrown";
   } catch (std::exception const& exception) {
      EXPECT_STREQ(exception.what(), "first");
   }
}

TEST_F(Dispatch, AnExceptionLeavesTheListInOrder) {
   one->actIs([&] {
      out(one);
      throw std::runtime_error("refused");
   });
   EXPECT_THROW(whenChanged(), std::runtime_error);
   thenTold({"1", "2", "3"});
   whenChanged();
   thenTold({"2", "3"});
}

TEST_F(Dispatch, AnExceptionThatLeavesWithItsReactorAndNotifierIsStillThrown) {
   auto mortal = Mdl::allocate<Plant>();
   auto last = actorOn(mortal, journal, "last");
   last->actIs([&] {
      mortal = nullptr;
      last = nullptr;
      throw std::runtime_error("refused");
   });
   Plant& changed = *mortal;
   EXPECT_THROW(changed.heightIs(1), std::runtime_error);
   thenTold({"last"});
}

TEST_F(Dispatch, ManyThatLeftAndCameBackInsideAreTidiedUp) {
   one->actIs([&] {
      for (int i = 0; i < 1000; ++i) {
         out(two);
         in(two);
      }
   });
   whenChanged();
   EXPECT_EQ(plant->notifiees().size(), 3u);
   one->actDel();
   journal.clear();
   whenChanged();
   thenTold({"1", "3", "2"});
}

}  // namespace
