#include "support/Actor.h"
#include "support/InterfaceFixture.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

// Somebody else watches what the machine watches, hears of a change before the machine does, and
// makes another at once, which the machine then hears of first. In the end hardware has what a
// machine would program that finds the same configuration and addresses.

namespace {

using Tunnel::Decap::DecapGroup;
using Tunnel::Decap::TunnelType;

Pkt::IntfId const ethernet1{Mdl::String("Ethernet1")};

struct World {
   Mdl::Ptr<Tunnel::Decap::Config> config;
   Mdl::Ptr<DecapGroup> group;
   Mdl::Ptr<Ip::Status> ip;
   Mdl::Ptr<Ip6::Status> ip6;
   Mdl::Ptr<Ip::IpIntfStatus> intf;
   Mdl::Ptr<Ip6::IntfStatus> intf6;
};

/// One change of the world.
struct Change {
   std::string name;
   std::function<void(World const&)> make;

   friend std::ostream& operator<<(std::ostream& out, Change const& change) {
      return out << change.name;
   }
};

Pkt::IpAddrWithMask v4(char const* text) { return Pkt::IpAddrWithMask::fromText(text); }
Pkt::Ip6AddrWithMask v6(char const* text) { return Pkt::Ip6AddrWithMask::fromText(text); }

void exclude(DecapGroup& group, std::uint32_t family) {
   Tunnel::Decap::DecapExcludeIntfSet set({Pkt::emptyIntfId, family});
   set.excludeIntfIs(ethernet1);
   group.decapExcludeIntfSetIs(set);
}

/// An entry that is there counts only primary addresses from now on.
void primaryOnly(DecapGroup& group, Pkt::IntfId const& intfId) {
   Tunnel::Decap::DecapIntfKey const key{intfId, Pkt::familyIpv4};
   if (!group.decapIntfHas(key)) return;
   Tunnel::Decap::DecapIntf entry(key);
   entry.addressTypeIs(Tunnel::Decap::AddressType::primary);
   group.decapIntfIs(entry);
}

std::vector<Change> const changes{
    {"InterfaceGoes", [](World const& w) { w.ip->ipIntfStatusDel(ethernet1); }},
    {"Interface6Goes", [](World const& w) { w.ip6->intfDel(ethernet1); }},
    {"PrimaryMoves", [](World const& w) { w.intf->addrWithMaskIs(v4("10.0.0.7/24")); }},
    {"PrimaryGoes", [](World const& w) { w.intf->addrWithMaskIs({}); }},
    {"SecondaryComes",
     [](World const& w) { w.intf->activeSecondaryWithMaskIs(v4("10.0.0.3/24")); }},
    {"SecondaryGoes",
     [](World const& w) { w.intf->activeSecondaryWithMaskDel(v4("10.0.0.2/24")); }},
    {"VirtualGoes", [](World const& w) { w.intf->virtualAddrIs(false); }},
    {"Address6Comes", [](World const& w) { w.intf6->addrIs(v6("2001:db8::3/64"), {}); }},
    {"Address6Goes", [](World const& w) { w.intf6->addrDel(v6("2001:db8::1/64")); }},
    {"EntryGoes",
     [](World const& w) {
        w.group->decapIntfDel({ethernet1, Pkt::familyIpv4});
     }},
    {"Entry6Goes",
     [](World const& w) {
        w.group->decapIntfDel({ethernet1, Pkt::familyIpv6});
     }},
    {"EntryForAllGoes",
     [](World const& w) {
        w.group->decapIntfDel({Pkt::emptyIntfId, Pkt::familyIpv4});
     }},
    {"EntryForAll6Goes",
     [](World const& w) {
        w.group->decapIntfDel({Pkt::emptyIntfId, Pkt::familyIpv6});
     }},
    {"EntryIsForPrimary", [](World const& w) { primaryOnly(*w.group, ethernet1); }},
    {"EntryForAllIsForPrimary", [](World const& w) { primaryOnly(*w.group, Pkt::emptyIntfId); }},
    {"IsExcluded", [](World const& w) { exclude(*w.group, Pkt::familyIpv4); }},
    {"IsExcluded6", [](World const& w) { exclude(*w.group, Pkt::familyIpv6); }},
    {"PrefixComes",
     [](World const& w) { w.group->decapIpIs(Pkt::IpGenPrefix::fromText("10.9.0.0/16")); }},
    {"PrefixGoes",
     [](World const& w) { w.group->decapIpDel(Pkt::IpGenPrefix::fromText("10.8.0.0/16")); }},
    {"PortChanges", [](World const& w) { w.group->destPortIs(6081); }},
    {"VrfChanges", [](World const& w) { w.group->forwardingVrfIs(L3::VrfName("red")); }},
    {"TypeChanges", [](World const& w) { w.group->tunnelTypeIs(TunnelType::gre); }},
    {"TypeGoes", [](World const& w) { w.group->tunnelTypeIs(TunnelType::unknown); }},
    {"PrefixIsSetAnew",
     [](World const& w) {
        w.group->decapIpDel(Pkt::IpGenPrefix::fromText("10.8.0.0/16"));
        w.group->decapIpIs(Pkt::IpGenPrefix::fromText("10.8.0.0/16"));
     }},
    {"GroupGoes", [](World const& w) { w.config->decapGroupDel(w.group->name()); }},
};

/// Whether the group has an entry for the interface, for all, or both.
enum class Entries : std::uint8_t { named, all, both };

class EarlierWatcher : public InterfaceFixture,
                       public ::testing::WithParamInterface<std::tuple<Entries, Change>> {
 protected:
   /// Group "one" decapsulates what Ethernet1 has, and a prefix. Whoever hears first of the next
   /// change makes `second`.
   World givenWorld(Entries entries, Change const& second) {
      sm = nullptr;
      config = Mdl::allocate<Tunnel::Decap::Config>();
      ip = Mdl::allocate<Ip::Status>();
      ip6 = Mdl::allocate<Ip6::Status>();
      hardware = Mdl::allocate<Sim::SimHelper>();
      World const world{config,
                        makeGroup("one", Group()),
                        ip,
                        ip6,
                        makeInterface("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24"}, true),
                        makeInterface6("Ethernet1", {"2001:db8::1/64", "2001:db8::2/64"})};
      groups = {world.group};
      for (Mdl::Ptr<Mdl::Entity const> const& watched :
           std::initializer_list<Mdl::Ptr<Mdl::Entity const>>{world.config, world.group, world.ip,
                                                              world.ip6, world.intf, world.intf6}) {
         watchers.push_back(Support::actorOn(watched, told, "earlier"));
         watchers.back()->actIs([this, world, second] {
            if (std::exchange(waiting, false)) second.make(world);
         });
      }
      config->decapGroupIs(world.group);
      whenDecapIpAdded("one", "10.8.0.0/16");
      for (std::uint32_t const family : {ipv4, ipv6}) {
         if (entries != Entries::all) whenDecapIntfAdded("one", "Ethernet1", all, family);
         if (entries != Entries::named) whenDecapIntfAdded("one", "", all, family);
      }
      ip->ipIntfStatusIs(world.intf);
      ip6->intfIs(world.intf6);
      givenRunning();
      return world;
   }

   void TearDown() override {
      watchers.clear();
      InterfaceFixture::TearDown();
   }

   /// What a machine programs that is new to all this.
   Texts calledFor() const {
      auto const fresh = Mdl::allocate<Sim::SimHelper>();
      auto const machine =
          Fwd::fwdDecapGroupSmFactory(nullptr, config, nullptr, ip, ip6, time.clock(), fresh);
      machine->initializedIs(true);
      Texts keys;
      for (auto const& entry : fresh->table().entries()) keys.push_back(Sim::keyText(entry.key));
      return keys;
   }

   Support::Journal told;
   std::vector<Mdl::Ptr<Support::Actor>> watchers;
   bool waiting = false;
};

TEST_P(EarlierWatcher, IsMadeUpFor) {
   auto const& [entries, first] = GetParam();
   for (Change const& second : changes) {
      SCOPED_TRACE("then " + second.name);
      World const world = givenWorld(entries, second);
      waiting = true;
      first.make(world);
      thenHardware(calledFor());
      thenBooksAgree();
      watchers.clear();
   }
}

std::string nameOf(::testing::TestParamInfo<std::tuple<Entries, Change>> const& test) {
   char const* const names[] = {"Named", "All", "Both"};
   return names[static_cast<int>(std::get<0>(test.param))] + std::get<1>(test.param).name;
}

INSTANTIATE_TEST_SUITE_P(First, EarlierWatcher,
                         ::testing::Combine(::testing::Values(Entries::named, Entries::all,
                                                              Entries::both),
                                            ::testing::ValuesIn(changes)),
                         nameOf);

}  // namespace
