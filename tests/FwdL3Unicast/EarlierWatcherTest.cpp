#include "support/Actor.h"
#include "support/AddressWorld.h"

#include <initializer_list>
#include <utility>
#include <vector>

// Somebody else watches what the machine watches, hears of a change before the machine does, and
// makes another at once, which the machine then hears of first. In the end hardware has what a
// machine would program that finds the same configuration and addresses.

namespace {

using Support::AddressWorld;
using Support::Change;

class EarlierWatcher : public Support::AddressWorldFixture {
 protected:
   /// Whoever hears first of the next change makes `second`.
   void givenEarlierWatchers(AddressWorld const& world, Change const& second) {
      watchers_.clear();
      for (Mdl::Ptr<Mdl::Entity const> const& watched :
           std::initializer_list<Mdl::Ptr<Mdl::Entity const>>{world.config, world.group, world.ip,
                                                              world.ip6, world.intf, world.intf6}) {
         watchers_.push_back(Support::actorOn(watched, told_, "earlier"));
         watchers_.back()->actIs([this, world, second] {
            if (std::exchange(waiting, false)) second.make(world);
         });
      }
   }
   void TearDown() override {
      watchers_.clear();
      AddressWorldFixture::TearDown();
   }

   bool waiting = false;

 private:
   Support::Journal told_;
   std::vector<Mdl::Ptr<Support::Actor>> watchers_;
};

TEST_P(EarlierWatcher, IsMadeUpFor) {
   for (Change const& second : Support::allChanges()) {
      SCOPED_TRACE("then " + second.name);
      AddressWorld const world = givenWorld();
      givenEarlierWatchers(world, second);
      givenRunning();
      waiting = true;
      first().make(world);
      whenAllIsReviewed();
      EXPECT_EQ(held(), calledFor());
      thenBooksAgree();
      thenAllGoesWithTheInterface();
   }
}

INSTANTIATE_TEST_SUITE_P(First, EarlierWatcher, Support::eachFirstChange(), Support::nameOfChange);

}  // namespace
