#include "support/AddressWorld.h"
#include "support/FirstToHear.h"

// Somebody else watches what the machine watches, hears of a change before the machine does, and
// makes another at once, which the machine then hears of first. In the end hardware has what a
// machine would program that finds the same configuration and addresses.

namespace {

using Support::AddressWorld;
using Support::Change;

class EarlierWatcher : public Support::AddressWorldFixture {};

TEST_P(EarlierWatcher, IsMadeUpFor) {
   for (Change const& second : Support::allChanges()) {
      SCOPED_TRACE("then " + second.name);
      AddressWorld const world = givenWorld();
      Support::FirstToHear watcher(
          {world.config, world.group, world.ip, world.ip6, world.intf, world.intf6});
      givenRunning();
      watcher.nextIs([&] { second.make(world); });
      first().make(world);
      whenAllIsReviewed();
      EXPECT_EQ(held(), calledFor());
      thenBooksAgree();
      thenAllGoesWithTheInterface();
   }
}

INSTANTIATE_TEST_SUITE_P(First, EarlierWatcher, Support::eachFirstChange(), Support::nameOfChange);

}  // namespace
