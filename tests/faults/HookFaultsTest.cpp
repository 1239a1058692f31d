// Something goes wrong, or somebody acts, in the n-th hook call of the tour, for every n.

#include "support/Tour.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>

namespace {

using Support::Tour;

std::uint64_t callsOfATour() {
   Tour tour;
   tour.play();
   return tour.hook().calls();
}

void expectCleanBooks(Tour const& tour, std::string const& when) {
   EXPECT_EQ(tour.findings(), std::vector<std::string>()) << when;
}

/// Plays the tour once for each of its hook calls, with `act` in that call, and checks that the
/// machine has all that the configuration calls for, that its books are in order, and that it goes
/// without a trace.
void inEachCall(std::function<void(Tour&, Fwd::DecapKey const*)> const& act) {
   std::uint64_t const calls = callsOfATour();
   for (std::uint64_t call = 1; call <= calls && !testing::Test::HasFailure(); ++call) {
      SCOPED_TRACE("call " + std::to_string(call));
      Tour tour;
      tour.hook().during(call, [&](Fwd::DecapKey const* key) { act(tour, key); });
      tour.play();
      expectCleanBooks(tour, "at the end of the tour");
      if (tour.machine()) {
         EXPECT_EQ(tour.counts(), tour.countsCalledFor());
      }
      tour.end();
      EXPECT_EQ(tour.hook().table().size(), 0U);
   }
}

TEST(HookFaults, AnExceptionLosesNothing) {
   inEachCall([](Tour&, Fwd::DecapKey const*) { throw Support::TourFault(); });
}

TEST(HookFaults, TheKeyThatIsAskedForIsReleased) {
   inEachCall([](Tour& tour, Fwd::DecapKey const* key) {
      if (key == nullptr) return;
      for (auto const& entry : tour.config()->decapGroup().walk()) {
         auto const group = tour.group(entry.key.view());
         if (group == entry.value) group->decapIpDel(key->dstIp());
      }
   });
}

TEST(HookFaults, TheConfigurationChanges) {
   inEachCall([](Tour& tour, Fwd::DecapKey const*) {
      for (auto const name : {"red", "gre", "rival"}) {
         auto const group = tour.group(name);
         if (!group) continue;
         group->decapIpIs(Pkt::IpGenPrefix(Mdl::String("10.99.0.0/16")));
         group->decapIpDel(Pkt::IpGenPrefix(Mdl::String("10.1.0.0/16")));
         group->destPortIs(static_cast<std::uint16_t>(group->destPort() + 1));
      }
   });
}

TEST(HookFaults, AGroupGoes) {
   inEachCall(
       [](Tour& tour, Fwd::DecapKey const*) { tour.config()->decapGroupDel(Mdl::String("red")); });
}

TEST(HookFaults, AllInterfacesGo) {
   inEachCall([](Tour& tour, Fwd::DecapKey const*) {
      tour.ip()->ipIntfStatusDelAll();
      tour.ip6()->intfDelAll();
   });
}

TEST(HookFaults, TheMachineIsDropped) {
   inEachCall([](Tour& tour, Fwd::DecapKey const*) { tour.dropMachine(); });
}

}  // namespace
