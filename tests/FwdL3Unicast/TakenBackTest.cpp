#include "support/AddressWorld.h"
#include "support/FirstToHear.h"

#include <vector>

// Somebody who hears of a change before the machine does makes another and then takes the first one
// back. The machine hears of the first when it is over, and finds everything as it was; but the one
// between has been followed while it was not.

namespace {

using Support::AddressWorld;
using Support::Change;
using Support::Passing;

class TakenBack : public Support::AddressWorldFixture {};

TEST_P(TakenBack, LeavesNothingOutAndNothingBehind) {
   for (Passing const& passing : Support::passingChanges()) {
      if (passing.change.name != first().name) continue;
      for (Change const& second : Support::allChanges()) {
         SCOPED_TRACE("meanwhile " + second.name);
         AddressWorld const world = givenWorld();
         Support::FirstToHear watcher(
             {world.config, world.group, world.ip, world.ip6, world.intf, world.intf6});
         givenRunning();
         watcher.nextIs([&] {
            second.make(world);
            passing.takeBack(world);
         });
         first().make(world);
         watcher.nextIs(nullptr);
         whenAllIsReviewed();
         EXPECT_EQ(held(), calledFor());
         thenBooksAgree();
         thenAllGoesWithTheInterface();
      }
   }
}

std::vector<Change> changesOf(std::vector<Passing> const& passing) {
   std::vector<Change> changes;
   for (auto const& each : passing) changes.push_back(each.change);
   return changes;
}

INSTANTIATE_TEST_SUITE_P(First, TakenBack,
                         testing::Combine(testing::Values(Support::Entries::named,
                                                          Support::Entries::all,
                                                          Support::Entries::both),
                                          testing::ValuesIn(changesOf(Support::passingChanges()))),
                         Support::nameOfChange);

}  // namespace
