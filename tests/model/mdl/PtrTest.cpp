#include "mdl/Ptr.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <type_traits>
#include <unordered_set>
#include <utility>

namespace {

using Mdl::Ptr;

/// Counts how many of it exist and how often one was destroyed.
class Counted : public Mdl::PtrInterface {
 public:
   Counted() { ++existing; }

   static inline int existing = 0;
   static inline int destroyed = 0;

 protected:
   ~Counted() override {
      --existing;
      ++destroyed;
   }
};

class Special final : public Counted {
 public:
   int value = 7;

 private:
   ~Special() override = default;
};

class PtrLifetime : public testing::Test {
 protected:
   void SetUp() override { Counted::existing = Counted::destroyed = 0; }
   void TearDown() override { EXPECT_EQ(Counted::existing, 0); }
};

using PtrValue = PtrLifetime;

TEST_F(PtrLifetime, TheFirstPointerHoldsTheOnlyReference) {
   auto const pointer = Mdl::allocate<Special>();
   EXPECT_EQ(pointer->references(), 1u);
}

TEST_F(PtrLifetime, ACopyAddsAReferenceAndItsEndTakesItBack) {
   auto const pointer = Mdl::allocate<Special>();
   {
      Ptr<Special> const copy = pointer;
      EXPECT_EQ(pointer->references(), 2u);
   }
   EXPECT_EQ(pointer->references(), 1u);
}

TEST_F(PtrLifetime, AMoveCarriesTheReferenceAndLeavesNull) {
   auto pointer = Mdl::allocate<Special>();
   Ptr<Special> const moved = std::move(pointer);
   EXPECT_EQ(pointer, nullptr);  // NOLINT(bugprone-use-after-move): what it leaves is promised
   EXPECT_EQ(moved->references(), 1u);
}

TEST_F(PtrLifetime, TheLastReferenceTakesTheObjectAlong) {
   auto pointer = Mdl::allocate<Special>();
   Ptr<Special> copy = pointer;
   pointer = nullptr;
   EXPECT_EQ(Counted::existing, 1);
   copy = nullptr;
   EXPECT_EQ(Counted::existing, 0);
}

TEST_F(PtrLifetime, AssignmentReleasesWhatWasHeld) {
   auto pointer = Mdl::allocate<Special>();
   pointer = Mdl::allocate<Special>();
   EXPECT_EQ(Counted::existing, 1);
   Ptr<Special> const other = Mdl::allocate<Special>();
   pointer = other;
   EXPECT_EQ(Counted::existing, 1);
   EXPECT_EQ(pointer, other);
}

TEST_F(PtrLifetime, SelfAssignmentKeepsTheObject) {
   auto pointer = Mdl::allocate<Special>();
   Ptr<Special> const& same = pointer;
   pointer = same;
   EXPECT_EQ(pointer->references(), 1u);
   Ptr<Special>& itself = pointer;
   pointer = std::move(itself);
   ASSERT_NE(pointer, nullptr);
   EXPECT_EQ(pointer->references(), 1u);
}

TEST_F(PtrLifetime, AdoptTakesTheReferenceOverAndDetachGivesItUp) {
   auto pointer = Mdl::allocate<Special>();
   Special* const object = pointer.detach();
   EXPECT_EQ(pointer, nullptr);
   EXPECT_EQ(object->references(), 1u);
   EXPECT_EQ(Ptr<Special>::adopt(object)->references(), 1u);
   EXPECT_EQ(Counted::existing, 0);
}

TEST_F(PtrLifetime, APlainPointerGainsAReference) {
   auto const pointer = Mdl::allocate<Special>();
   Ptr<Special> const second(pointer.get());
   EXPECT_EQ(pointer->references(), 2u);
}

TEST_F(PtrLifetime, AWiderPointerSharesTheCount) {
   auto pointer = Mdl::allocate<Special>();
   Ptr<Counted const> wide = pointer;
   EXPECT_EQ(wide->references(), 2u);
   Ptr<Counted const> const moved = std::move(pointer);
   EXPECT_EQ(moved->references(), 2u);
   EXPECT_EQ(moved, wide);
}

TEST_F(PtrLifetime, FlagsAreNoReferences) {
   auto pointer = Mdl::allocate<Special>();
   pointer->isMarkedForDeletionIs(true);
   pointer->hasNotificationActiveIs(true);
   EXPECT_EQ(pointer->references(), 1u);
   pointer = nullptr;
   EXPECT_EQ(Counted::destroyed, 1);
}

TEST_F(PtrLifetime, FlagsAreSetAndClearedOneByOne) {
   auto const pointer = Mdl::allocate<Special>();
   EXPECT_FALSE(pointer->isMarkedForDeletion());
   EXPECT_FALSE(pointer->hasNotificationActive());
   pointer->isMarkedForDeletionIs(true);
   EXPECT_FALSE(pointer->hasNotificationActive());
   pointer->hasNotificationActiveIs(true);
   pointer->isMarkedForDeletionIs(false);
   EXPECT_TRUE(pointer->hasNotificationActive());
   EXPECT_FALSE(pointer->isMarkedForDeletion());
}

TEST_F(PtrValue, ComparesByIdentity) {
   auto const one = Mdl::allocate<Special>();
   auto const other = Mdl::allocate<Special>();
   Ptr<Counted> const sameAsOne = one;
   EXPECT_EQ(one, sameAsOne);
   EXPECT_NE(one, other);
   EXPECT_NE(one, nullptr);
   EXPECT_NE(one < other, other < one);
}

TEST_F(PtrValue, HashesLikeItEquals) {
   auto const one = Mdl::allocate<Special>();
   std::unordered_set<Ptr<Special>> const set{one, Ptr<Special>(one), Mdl::allocate<Special>()};
   EXPECT_EQ(set.size(), 2u);
   EXPECT_TRUE(set.contains(one));
}

TEST_F(PtrValue, IsTrueUnlessNull) {
   EXPECT_FALSE(Ptr<Special>());
   EXPECT_FALSE(Ptr<Special>(nullptr));
   EXPECT_TRUE(Mdl::allocate<Special>());
}

TEST_F(PtrValue, ADynamicCastGivesNullForAnotherType) {
   Ptr<Counted> const plain = Ptr<Counted>::adopt(new Counted);
   Ptr<Counted> const special = Mdl::allocate<Special>();
   EXPECT_EQ(Mdl::dynamicPtrCast<Special>(plain), nullptr);
   EXPECT_EQ(Mdl::dynamicPtrCast<Special>(special)->value, 7);
   EXPECT_EQ(Mdl::staticPtrCast<Special>(special)->value, 7);
   EXPECT_EQ(Mdl::dynamicPtrCast<Special>(Ptr<Counted>()), nullptr);
   EXPECT_EQ(special->references(), 1u);
}

// Pointers do not narrow by themselves, and nothing becomes a pointer by accident.
static_assert(!std::is_convertible_v<Ptr<Counted>, Ptr<Special>>);
static_assert(!std::is_convertible_v<Ptr<Special const>, Ptr<Special>>);
static_assert(!std::is_convertible_v<Special*, Ptr<Special>>);
static_assert(!std::is_convertible_v<Ptr<Special>, bool>);

// ---- Objects that act while they come and go
// -----------------------------------------------------

/// Acts in its constructor and in its destructor.
class Busy final : public Counted {
 public:
   using Act = std::function<void(Busy*)>;
   Busy(Act const& atBirth, Act atDeath) : atDeath_(std::move(atDeath)) {
      if (atBirth) atBirth(this);
   }

 private:
   ~Busy() override {
      if (atDeath_) atDeath_(this);
   }
   Act atDeath_;
};

TEST_F(PtrLifetime, APointerIsNullOnceItsObjectIsDestroyed) {
   Ptr<Busy> pointer;
   bool nullInDestructor = false;
   auto const look = [&](Busy*) { nullInDestructor = pointer == nullptr; };
   pointer = Mdl::allocate<Busy>(nullptr, look);
   pointer = nullptr;
   EXPECT_TRUE(nullInDestructor);
}

TEST_F(PtrLifetime, AnAssignedPointerHasItsNewObjectOnceTheOldOneIsDestroyed) {
   Ptr<Busy> pointer;
   Ptr<Busy> const next = Mdl::allocate<Busy>(nullptr, nullptr);
   bool isNext = false;
   pointer = Mdl::allocate<Busy>(nullptr, [&](Busy*) { isNext = pointer == next; });
   pointer = next;
   EXPECT_TRUE(isNext);
}

TEST_F(PtrLifetime, ADestructorMayAssignToThePointerThatLetGoOfIt) {
   Ptr<Busy> pointer;
   auto const refill = [&](Busy*) { pointer = Mdl::allocate<Busy>(nullptr, nullptr); };
   pointer = Mdl::allocate<Busy>(nullptr, refill);
   pointer = nullptr;
   EXPECT_NE(pointer, nullptr);
   EXPECT_EQ(Counted::existing, 1);
}

TEST_F(PtrLifetime, AConstructorMayHandOutPointersThatGoAgain) {
   auto pointer = Mdl::allocate<Busy>([](Busy* busy) { Ptr<Busy> const passing(busy); }, nullptr);
   EXPECT_EQ(Counted::destroyed, 0);
   EXPECT_EQ(pointer->references(), 1u);
}

TEST_F(PtrLifetime, AConstructorMayHandOutPointersThatStay) {
   Ptr<Busy> stays;
   auto pointer = Mdl::allocate<Busy>([&](Busy* busy) { stays = Ptr<Busy>(busy); }, nullptr);
   EXPECT_EQ(pointer->references(), 2u);
   pointer = nullptr;
   EXPECT_EQ(Counted::existing, 1);
}

TEST_F(PtrLifetime, ADestructorMayHandOutPointersThatGoAgain) {
   auto const pass = [](Busy* busy) {
      for (int i = 0; i < 3; ++i) Ptr<Busy> const passing(busy);
   };
   Mdl::allocate<Busy>(nullptr, pass);
   EXPECT_EQ(Counted::destroyed, 1);
}

TEST_F(PtrLifetime, AConstructorThatThrowsLeavesNothingBehind) {
   auto const refuse = [](Busy*) { throw std::runtime_error("refused"); };
   EXPECT_THROW(Mdl::allocate<Busy>(refuse, nullptr), std::runtime_error);
   EXPECT_EQ(Counted::existing, 0);
}

TEST_F(PtrLifetime, AConstructorMayThrowAfterItsPointersHaveGone) {
   auto const passAndRefuse = [](Busy* busy) {
      { Ptr<Busy> const passing(busy); }
      throw std::runtime_error("refused");
   };
   EXPECT_THROW(Mdl::allocate<Busy>(passAndRefuse, nullptr), std::runtime_error);
   EXPECT_EQ(Counted::destroyed, 1);
}

/// Says when its zero-reference handler runs.
class Handled final : public Mdl::PtrInterface {
 public:
   explicit Handled(int& handled) : handled_(handled) {}

 private:
   void onZeroReferences() override {
      ++handled_;
      { Ptr<Handled> const passing(this); }
      PtrInterface::onZeroReferences();
   }
   int& handled_;
};

TEST_F(PtrLifetime, TheZeroReferenceHandlerRunsOnceThoughPointersComeAndGoInIt) {
   int handled = 0;
   Mdl::allocate<Handled>(handled);
   EXPECT_EQ(handled, 1);
}

// ---- What stops the process
// ----------------------------------------------------------------------

TEST(PtrDeathTest, FollowingANullPointerStopsTheProcess) {
   Ptr<Special> const null;
   EXPECT_DEATH(static_cast<void>(null->value), "Assertion failed: object_ != nullptr, file .*Ptr");
   EXPECT_DEATH(static_cast<void>((*null).value), "Assertion failed: object_ != nullptr");
}

TEST(PtrDeathTest, AReferenceThatOutlivesItsObjectStopsTheProcess) {
   Ptr<Busy> dangling;
   auto const leak = [&](Busy* busy) { dangling = Ptr<Busy>(busy); };
   EXPECT_DEATH(Mdl::allocate<Busy>(nullptr, leak),
                "Assertion failed: references\\(\\) == \\(handlerRan \\? 0u : 1u\\)");
}

}  // namespace
