// What a reactor is to one notifier: registration, switching, re-pointing and being put to rest.

#include "mdl/Notifiee.h"

#include "support/Actor.h"
#include "support/Plant.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

namespace {

using Mdl::Ptr;
using Support::actorOn;
using Support::Journal;
using Support::Plant;

/// As a reactor is before anybody has switched it on.
class Bare : public Mdl::PtrInterface::NotifieeConst {
 public:
   explicit Bare(Ptr<Mdl::Entity const> notifier) : NotifieeConst(std::move(notifier)) {}
   void onAttribute(Mdl::AttributeId, void const*) override { ++told; }

   int told = 0;
};

class Notifiee : public testing::Test {
 protected:
   Journal journal;
   Ptr<Plant> plant = Mdl::allocate<Plant>();
   Ptr<Plant> other = Mdl::allocate<Plant>();
};

TEST_F(Notifiee, StartsUnregisteredAndInactive) {
   auto const bare = Mdl::allocate<Bare>(plant);
   EXPECT_FALSE(bare->isRegisteredNotifiee());
   EXPECT_FALSE(bare->hasNotificationActive());
   EXPECT_FALSE(bare->isMarkedForDeletion());
   EXPECT_TRUE(plant->notifiees().empty());
}

TEST_F(Notifiee, IsToldOnlyWhileRegisteredAndActive) {
   auto const bare = Mdl::allocate<Bare>(plant);
   plant->heightIs(1);
   bare->isRegisteredNotifieeIs(true);
   plant->heightIs(2);
   EXPECT_EQ(bare->told, 0);
   bare->hasNotificationActiveIs(true);
   plant->heightIs(3);
   EXPECT_EQ(bare->told, 1);
   bare->isRegisteredNotifieeIs(false);
   plant->heightIs(4);
   EXPECT_EQ(bare->told, 1);
}

TEST_F(Notifiee, LosesWhatChangesWhileItIsOff) {
   auto const actor = actorOn(plant, journal, "actor");
   actor->hasNotificationActiveIs(false);
   plant->heightIs(1);
   actor->hasNotificationActiveIs(true);
   EXPECT_EQ(journal, Journal());
   plant->heightIs(2);
   EXPECT_EQ(journal, Journal({"actor"}));
}

TEST_F(Notifiee, StandsInTheListOnceHoweverOftenItRegisters) {
   auto const actor = actorOn(plant, journal, "actor");
   actor->isRegisteredNotifieeIs(true);
   EXPECT_EQ(plant->notifiees().size(), 1u);
   plant->heightIs(1);
   EXPECT_EQ(journal, Journal({"actor"}));
   actor->isRegisteredNotifieeIs(false);
   actor->isRegisteredNotifieeIs(false);
   EXPECT_TRUE(plant->notifiees().empty());
}

TEST_F(Notifiee, WithoutANotifierStaysOut) {
   auto const actor = actorOn(nullptr, journal, "actor");
   EXPECT_FALSE(actor->isRegisteredNotifiee());
   actor->isRegisteredNotifieeIs(true);
   EXPECT_FALSE(actor->isRegisteredNotifiee());
}

TEST_F(Notifiee, HoldsItsNotifier) {
   auto const actor = actorOn(plant, journal, "actor");
   bool destroyed = false;
   auto mortal = Mdl::allocate<Plant>([&] { destroyed = true; });
   actor->notifierIs(mortal);
   mortal = nullptr;
   EXPECT_FALSE(destroyed);
   actor->notifierIs(nullptr);
   EXPECT_TRUE(destroyed);
}

TEST_F(Notifiee, LeavesTheOldNotifierWhenItIsPointedToAnother) {
   auto const actor = actorOn(plant, journal, "actor");
   actor->notifierIs(other);
   EXPECT_EQ(actor->notifier(), other);
   EXPECT_FALSE(actor->isRegisteredNotifiee());
   plant->heightIs(1);
   other->heightIs(1);
   EXPECT_EQ(journal, Journal());
   actor->isRegisteredNotifieeIs(true);
   plant->heightIs(2);
   EXPECT_EQ(journal, Journal());
   other->heightIs(2);
   EXPECT_EQ(journal, Journal({"actor"}));
}

TEST_F(Notifiee, MayBePointedAwayByAnArgumentThatItOwns) {
   auto const actor = actorOn(plant, journal, "actor");
   actor->notifierIs(actor->notifier());
   EXPECT_EQ(actor->notifier(), plant);
}

TEST_F(Notifiee, LeavesTheListWhenItGoes) {
   auto actor = actorOn(plant, journal, "actor");
   actor = nullptr;
   EXPECT_TRUE(plant->notifiees().empty());
   plant->heightIs(1);
   EXPECT_EQ(journal, Journal());
}

TEST_F(Notifiee, IsToldOfNothingOnceItsDestructorRuns) {
   auto actor = actorOn(plant, journal, "actor");
   actor->lastWillIs([&] { plant->heightIs(1); });
   actor = nullptr;
   EXPECT_EQ(journal, Journal());
   EXPECT_EQ(plant->height(), 1u);
}

TEST_F(Notifiee, LeavesTheListWhenItsConstructorThrows) {
   struct Refusing final : Bare {
      explicit Refusing(Ptr<Mdl::Entity const> notifier) : Bare(std::move(notifier)) {
         isRegisteredNotifieeIs(true);
         throw std::runtime_error("refused");
      }
   };
   EXPECT_THROW(Mdl::allocate<Refusing>(plant), std::runtime_error);
   EXPECT_TRUE(plant->notifiees().empty());
   EXPECT_EQ(plant->references(), 1u);
}

TEST_F(Notifiee, DoesNothingByDefaultWhenTold) {
   struct Mute final : Mdl::PtrInterface::NotifieeConst {
      explicit Mute(Ptr<Mdl::Entity const> notifier) : NotifieeConst(std::move(notifier)) {
         isRegisteredNotifieeIs(true);
         hasNotificationActiveIs(true);
      }
   };
   auto const mute = Mdl::allocate<Mute>(plant);
   plant->heightIs(1);
   EXPECT_EQ(plant->height(), 1u);
}

// ---- Being put to rest
// ---------------------------------------------------------------------------

TEST_F(Notifiee, AZombieIsMarkedAndSwitchedOffAndComesBack) {
   auto const actor = actorOn(plant, journal, "actor");
   actor->mdlDoZombieReactors(true);
   EXPECT_TRUE(actor->isMarkedForDeletion());
   EXPECT_FALSE(actor->hasNotificationActive());
   EXPECT_TRUE(actor->isRegisteredNotifiee());
   actor->mdlDoZombieReactors(false);
   EXPECT_FALSE(actor->isMarkedForDeletion());
   EXPECT_TRUE(actor->hasNotificationActive());
}

TEST_F(Notifiee, AnEqualZombieStateLeavesTheSwitchAlone) {
   auto const actor = actorOn(plant, journal, "actor");
   actor->hasNotificationActiveIs(false);
   actor->mdlDoZombieReactors(false);
   EXPECT_FALSE(actor->hasNotificationActive());
   actor->mdlDoZombieReactors(true);
   actor->hasNotificationActiveIs(true);
   actor->mdlDoZombieReactors(true);
   EXPECT_TRUE(actor->hasNotificationActive());
}

TEST_F(Notifiee, AZombieWithoutANotifierKeepsItsSwitch) {
   auto const actor = actorOn(nullptr, journal, "actor");
   actor->mdlDoZombieReactors(true);
   EXPECT_TRUE(actor->isMarkedForDeletion());
   EXPECT_TRUE(actor->hasNotificationActive());
}

/// Notes in which state its clean-up finds it, and may refuse.
class Cleaner final : public Bare {
 public:
   using Bare::Bare;
   void mdlDoZombieReactors(bool zombie) override {
      zombieTransition(zombie, [this] {
         ++cleanUps;
         activeInCleanUp = hasNotificationActive();
         markedInCleanUp = isMarkedForDeletion();
         if (refuse) throw std::runtime_error("refused");
      });
   }

   bool refuse = false;
   int cleanUps = 0;
   bool activeInCleanUp = false;
   bool markedInCleanUp = false;
};

TEST_F(Notifiee, CleansUpAfterTheSwitchAndBeforeTheMark) {
   auto const cleaner = Mdl::allocate<Cleaner>(plant);
   cleaner->hasNotificationActiveIs(true);
   cleaner->mdlDoZombieReactors(true);
   EXPECT_FALSE(cleaner->activeInCleanUp);
   EXPECT_FALSE(cleaner->markedInCleanUp);
   cleaner->mdlDoZombieReactors(true);
   EXPECT_EQ(cleaner->cleanUps, 1);
   cleaner->mdlDoZombieReactors(false);
   EXPECT_EQ(cleaner->cleanUps, 2);
   EXPECT_TRUE(cleaner->activeInCleanUp);
   EXPECT_TRUE(cleaner->markedInCleanUp);
}

TEST_F(Notifiee, DoesNotCleanUpTwiceWhenTheFirstTimeThrows) {
   auto const cleaner = Mdl::allocate<Cleaner>(plant);
   cleaner->refuse = true;
   EXPECT_THROW(cleaner->mdlDoZombieReactors(true), std::runtime_error);
   EXPECT_TRUE(cleaner->isMarkedForDeletion());
   cleaner->mdlDoZombieReactors(true);
   EXPECT_EQ(cleaner->cleanUps, 1);
}

}  // namespace
