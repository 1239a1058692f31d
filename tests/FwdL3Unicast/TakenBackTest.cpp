#include "support/AddressWorld.h"
#include "support/FirstToHear.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Somebody who hears of a change before the machine does makes another and then takes the first one
// back. The machine hears of the first when it is over, and finds everything as it was; but the one
// between has been followed while it was not.

namespace {

using Support::AddressWorld;
using Support::Change;

/// A change and how the world is again what it was.
struct Passing {
   Change change;
   void (*takeBack)(AddressWorld const& world);
};

Change const& changeNamed(std::string const& name) {
   return *std::ranges::find(Support::allChanges(), name, &Change::name);
}

void entryIsBack(AddressWorld const& world, std::string_view interfaceName, std::uint32_t family) {
   Tunnel::Decap::DecapIntf entry({Pkt::IntfId(Mdl::String(interfaceName)), family});
   entry.addressTypeIs(Tunnel::Decap::AddressType::all);
   world.group->decapIntfIs(entry);
}

Pkt::IpAddrWithMask v4(char const* text) { return Pkt::IpAddrWithMask::fromText(text); }
Pkt::Ip6AddrWithMask v6(char const* text) { return Pkt::Ip6AddrWithMask::fromText(text); }

void isIncluded(AddressWorld const& world, std::uint32_t family) {
   world.group->decapExcludeIntfSetDel({Pkt::emptyIntfId, family});
}

std::vector<Passing> const& passingChanges() {
   using World = AddressWorld;
   static std::vector<Passing> const all{
       {changeNamed("EntryGoes"), [](World const& w) { entryIsBack(w, "Ethernet1", 1); }},
       {changeNamed("EntryIsForPrimary"), [](World const& w) { entryIsBack(w, "Ethernet1", 1); }},
       {changeNamed("Entry6Goes"), [](World const& w) { entryIsBack(w, "Ethernet1", 2); }},
       {changeNamed("EntryForAllGoes"), [](World const& w) { entryIsBack(w, "", 1); }},
       {changeNamed("EntryForAllIsForPrimary"), [](World const& w) { entryIsBack(w, "", 1); }},
       {changeNamed("EntryForAll6Goes"), [](World const& w) { entryIsBack(w, "", 2); }},
       {changeNamed("IsExcluded"), [](World const& w) { isIncluded(w, 1); }},
       {changeNamed("IsExcluded6"), [](World const& w) { isIncluded(w, 2); }},
       {changeNamed("TypeGoes"),
        [](World const& w) { w.group->tunnelTypeIs(Tunnel::Decap::TunnelType::udp); }},
       {changeNamed("PortChanges"), [](World const& w) { w.group->destPortIs(6080); }},
       {changeNamed("GroupGoes"), [](World const& w) { w.config->decapGroupIs(w.group); }},
       {changeNamed("InterfaceGoes"), [](World const& w) { w.ip->ipIntfStatusIs(w.intf); }},
       {changeNamed("Interface6Goes"), [](World const& w) { w.ip6->intfIs(w.intf6); }},
       {changeNamed("PrimaryMoves"),
        [](World const& w) { w.intf->addrWithMaskIs(v4("10.0.0.1/24")); }},
       {changeNamed("PrimaryGoes"),
        [](World const& w) { w.intf->addrWithMaskIs(v4("10.0.0.1/24")); }},
       {changeNamed("SecondaryComes"),
        [](World const& w) { w.intf->activeSecondaryWithMaskDel(v4("10.0.0.3/24")); }},
       {changeNamed("SecondaryGoes"),
        [](World const& w) { w.intf->activeSecondaryWithMaskIs(v4("10.0.0.2/24")); }},
       {changeNamed("VirtualGoes"), [](World const& w) { w.intf->virtualAddrIs(true); }},
       {changeNamed("Address6Comes"),
        [](World const& w) { w.intf6->addrDel(v6("2001:db8::3/64")); }},
       {changeNamed("Address6Goes"),
        [](World const& w) { w.intf6->addrIs(v6("2001:db8::1/64"), {}); }},
   };
   return all;
}

class TakenBack : public Support::AddressWorldFixture {};

TEST_P(TakenBack, LeavesNothingOutAndNothingBehind) {
   for (Passing const& passing : passingChanges()) {
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
                                          testing::ValuesIn(changesOf(passingChanges()))),
                         Support::nameOfChange);

}  // namespace
