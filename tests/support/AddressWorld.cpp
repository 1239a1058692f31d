#include "support/AddressWorld.h"

namespace Support {

using Tunnel::Decap::DecapGroup;
using Tunnel::Decap::TunnelType;

namespace {

using World = AddressWorld;

Pkt::IntfId const& ethernet1() {
   static Pkt::IntfId const id{Mdl::String("Ethernet1")};
   return id;
}

Pkt::IpAddrWithMask v4(char const* text) { return Pkt::IpAddrWithMask::fromText(text); }
Pkt::Ip6AddrWithMask v6(char const* text) { return Pkt::Ip6AddrWithMask::fromText(text); }

/// Another status of the interface, in place of the one that may be there. It comes empty: what it
/// has then is told address by address.
void comes(World const& world, char const* primary, char const* secondary) {
   auto const status = Mdl::allocate<Ip::IpIntfStatus>(ethernet1(), L3::VrfName::defaultVrf());
   world.ip->ipIntfStatusIs(status);
   status->addrWithMaskIs(v4(primary));
   status->virtualAddrIs(true);
   status->activeSecondaryWithMaskIs(v4(secondary));
}

void comes6(World const& world) {
   auto const status = Mdl::allocate<Ip6::IntfStatus>(ethernet1(), L3::VrfName::defaultVrf());
   world.ip6->intfIs(status);
   status->addrIs(v6("2001:db8::1/64"), {});
   status->addrIs(v6("2001:db8::2/64"), {});
}

void exclude(DecapGroup& group, std::uint32_t family) {
   Tunnel::Decap::DecapExcludeIntfSet set({Pkt::emptyIntfId, family});
   set.excludeIntfIs(ethernet1());
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

void entriesGo(DecapGroup& group, Pkt::IntfId const& intfId) {
   group.decapIntfDel({intfId, Pkt::familyIpv4});
   group.decapIntfDel({intfId, Pkt::familyIpv6});
}

void entryIsBack(World const& world, Pkt::IntfId const& intfId, std::uint32_t family) {
   Tunnel::Decap::DecapIntf entry({intfId, family});
   entry.addressTypeIs(Tunnel::Decap::AddressType::all);
   world.group->decapIntfIs(entry);
}

void isIncluded(World const& world, std::uint32_t family) {
   world.group->decapExcludeIntfSetDel({Pkt::emptyIntfId, family});
}

Change const& changeNamed(std::string const& name) {
   return *std::ranges::find(allChanges(), name, &Change::name);
}

std::vector<Change> interfaceChanges() {
   return {
       {"InterfaceGoes", [](World const& w) { w.ip->ipIntfStatusDel(ethernet1()); }},
       {"InterfaceComes",
        [](World const& w) {
           if (!w.ip->ipIntfStatus(ethernet1())) comes(w, "10.0.0.1/24", "10.0.0.2/24");
        }},
       {"InterfaceIsBack",
        [](World const& w) {
           w.ip->ipIntfStatusDel(ethernet1());
           comes(w, "10.0.0.1/24", "10.0.0.2/24");
        }},
       {"InterfaceIsAnother", [](World const& w) { comes(w, "10.0.0.1/24", "10.0.0.5/24"); }},
       {"Interface6Goes", [](World const& w) { w.ip6->intfDel(ethernet1()); }},
       {"Interface6Comes",
        [](World const& w) {
           if (!w.ip6->intf(ethernet1())) comes6(w);
        }},
       {"Interface6IsBack",
        [](World const& w) {
           w.ip6->intfDel(ethernet1());
           comes6(w);
        }},
       {"PrimaryMoves", [](World const& w) { w.intf->addrWithMaskIs(v4("10.0.0.7/24")); }},
       {"PrimaryGoes", [](World const& w) { w.intf->addrWithMaskIs({}); }},
       {"SecondaryComes",
        [](World const& w) { w.intf->activeSecondaryWithMaskIs(v4("10.0.0.3/24")); }},
       {"SecondaryGoes",
        [](World const& w) { w.intf->activeSecondaryWithMaskDel(v4("10.0.0.2/24")); }},
       {"VirtualGoes", [](World const& w) { w.intf->virtualAddrIs(false); }},
       {"Address6Comes", [](World const& w) { w.intf6->addrIs(v6("2001:db8::3/64"), {}); }},
       {"Address6Goes", [](World const& w) { w.intf6->addrDel(v6("2001:db8::1/64")); }},
   };
}

std::vector<Change> groupChanges() {
   return {
       {"EntryGoes",
        [](World const& w) {
           w.group->decapIntfDel({ethernet1(), Pkt::familyIpv4});
        }},
       {"Entry6Goes",
        [](World const& w) {
           w.group->decapIntfDel({ethernet1(), Pkt::familyIpv6});
        }},
       {"EntryAndSecondaryGo",
        [](World const& w) {
           w.group->decapIntfDel({ethernet1(), Pkt::familyIpv4});
           w.intf->activeSecondaryWithMaskDel(v4("10.0.0.2/24"));
        }},
       {"EntryForAllGoes",
        [](World const& w) {
           w.group->decapIntfDel({Pkt::emptyIntfId, Pkt::familyIpv4});
        }},
       {"EntryForAll6Goes",
        [](World const& w) {
           w.group->decapIntfDel({Pkt::emptyIntfId, Pkt::familyIpv6});
        }},
       {"EntryIsForPrimary", [](World const& w) { primaryOnly(*w.group, ethernet1()); }},
       {"EntryForAllIsForPrimary", [](World const& w) { primaryOnly(*w.group, Pkt::emptyIntfId); }},
       {"IsExcluded", [](World const& w) { exclude(*w.group, Pkt::familyIpv4); }},
       {"IsExcluded6", [](World const& w) { exclude(*w.group, Pkt::familyIpv6); }},
       {"PrefixComes",
        [](World const& w) { w.group->decapIpIs(Pkt::IpGenPrefix::fromText("10.9.0.0/16")); }},
       {"PrefixGoes",
        [](World const& w) { w.group->decapIpDel(Pkt::IpGenPrefix::fromText("10.8.0.0/16")); }},
       {"PrefixIsSetAnew",
        [](World const& w) {
           w.group->decapIpDel(Pkt::IpGenPrefix::fromText("10.8.0.0/16"));
           w.group->decapIpIs(Pkt::IpGenPrefix::fromText("10.8.0.0/16"));
        }},
       {"PrefixIsSetAnewAndGoes",
        [](World const& w) {
           w.group->decapIpDel(Pkt::IpGenPrefix::fromText("10.8.0.0/16"));
           w.group->decapIpIs(Pkt::IpGenPrefix::fromText("10.8.0.0/16"));
           w.group->decapIpDel(Pkt::IpGenPrefix::fromText("10.8.0.0/16"));
        }},
       {"PortChanges", [](World const& w) { w.group->destPortIs(6081); }},
       {"VrfChanges", [](World const& w) { w.group->forwardingVrfIs(L3::VrfName("red")); }},
       {"TypeChanges", [](World const& w) { w.group->tunnelTypeIs(TunnelType::gre); }},
       {"TypeGoes", [](World const& w) { w.group->tunnelTypeIs(TunnelType::unknown); }},
       {"GroupGoes", [](World const& w) { w.config->decapGroupDel(w.group->name()); }},
       {"GroupIsBack",
        [](World const& w) {
           w.config->decapGroupDel(w.group->name());
           w.config->decapGroupIs(w.group);
        }},
       {"GroupIsBackChanged",
        [](World const& w) {
           w.config->decapGroupDel(w.group->name());
           w.intf->addrWithMaskIs(v4("10.0.0.8/24"));
           w.group->decapIpDel(Pkt::IpGenPrefix::fromText("10.8.0.0/16"));
           w.group->decapIpIs(Pkt::IpGenPrefix::fromText("10.9.0.0/16"));
           w.config->decapGroupIs(w.group);
        }},
       {"GroupIsAnother",
        [](World const& w) {
           auto const another = Mdl::allocate<DecapGroup>(w.group->name());
           another->tunnelTypeIs(TunnelType::udp);
           another->destPortIs(6082);
           another->payloadTypeIs(Tunnel::Decap::PayloadType::ip);
           for (auto const& entry : w.group->decapIntf()) another->decapIntfIs(entry.value);
           w.config->decapGroupDel(w.group->name());
           w.config->decapGroupIs(another);
        }},
       {"OtherGroupGoes", [](World const& w) { w.config->decapGroupDel(w.other->name()); }},
       {"OtherGroupsEntriesGo",
        [](World const& w) {
           entriesGo(*w.other, ethernet1());
           entriesGo(*w.other, Pkt::emptyIntfId);
        }},
   };
}

}  // namespace

std::vector<Change> const& allChanges() {
   static std::vector<Change> const all = [] {
      auto changes = interfaceChanges();
      for (Change& change : groupChanges()) changes.push_back(std::move(change));
      return changes;
   }();
   return all;
}

std::vector<Passing> const& passingChanges() {
   static std::vector<Passing> const all{
       {changeNamed("EntryGoes"),
        [](World const& w) { entryIsBack(w, ethernet1(), Pkt::familyIpv4); }},
       {changeNamed("EntryIsForPrimary"),
        [](World const& w) { entryIsBack(w, ethernet1(), Pkt::familyIpv4); }},
       {changeNamed("Entry6Goes"),
        [](World const& w) { entryIsBack(w, ethernet1(), Pkt::familyIpv6); }},
       {changeNamed("EntryForAllGoes"),
        [](World const& w) { entryIsBack(w, Pkt::emptyIntfId, Pkt::familyIpv4); }},
       {changeNamed("EntryForAllIsForPrimary"),
        [](World const& w) { entryIsBack(w, Pkt::emptyIntfId, Pkt::familyIpv4); }},
       {changeNamed("EntryForAll6Goes"),
        [](World const& w) { entryIsBack(w, Pkt::emptyIntfId, Pkt::familyIpv6); }},
       {changeNamed("IsExcluded"), [](World const& w) { isIncluded(w, Pkt::familyIpv4); }},
       {changeNamed("IsExcluded6"), [](World const& w) { isIncluded(w, Pkt::familyIpv6); }},
       {changeNamed("TypeGoes"), [](World const& w) { w.group->tunnelTypeIs(TunnelType::udp); }},
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

AddressWorld AddressWorldFixture::givenWorld() {
   sm = nullptr;
   config = Mdl::allocate<Tunnel::Decap::Config>();
   ip = Mdl::allocate<Ip::Status>();
   ip6 = Mdl::allocate<Ip6::Status>();
   hardware = Mdl::allocate<Sim::SimHelper>();
   AddressWorld const world{config,
                            makeGroup("one", Group()),
                            makeGroup("two", Group()),
                            ip,
                            ip6,
                            makeInterface("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24"}, true),
                            makeInterface6("Ethernet1", {"2001:db8::1/64", "2001:db8::2/64"})};
   world.other->destPortIs(0);
   world.other->tunnelTypeIs(TunnelType::ipip);
   groups = {world.group, world.other};
   for (auto const& group : groups) config->decapGroupIs(group);
   whenDecapIpAdded("one", "10.8.0.0/16");
   for (auto const* const group : {"one", "two"}) {
      for (std::uint32_t const family : {ipv4, ipv6}) {
         if (entries() != Entries::all) whenDecapIntfAdded(group, "Ethernet1", all, family);
         if (entries() != Entries::named) whenDecapIntfAdded(group, "", all, family);
      }
   }
   ip->ipIntfStatusIs(world.intf);
   ip6->intfIs(world.intf6);
   return world;
}

void AddressWorldFixture::thenAllGoesWithTheInterface() {
   ip->ipIntfStatusDel(ethernet1());
   ip6->intfDel(ethernet1());
   whenAllIsReviewed();
   EXPECT_EQ(held(), calledFor()) << "when the interface has gone";
}

void AddressWorldFixture::whenAllIsReviewed() {
   for (int pass = 0; pass < 3; ++pass) whenTimePasses(1.0);
}

AddressWorldFixture::Texts AddressWorldFixture::held() const {
   Texts keys;
   for (auto const& entry : hardware->table().entries()) keys.push_back(Sim::keyText(entry.key));
   std::ranges::sort(keys);
   return keys;
}

AddressWorldFixture::Texts AddressWorldFixture::calledFor() const {
   auto const fresh = Mdl::allocate<Sim::SimHelper>();
   auto const machine =
       Fwd::fwdDecapGroupSmFactory(nullptr, config, nullptr, ip, ip6, time.clock(), fresh);
   machine->initializedIs(true);
   Texts keys;
   for (auto const& entry : fresh->table().entries()) keys.push_back(Sim::keyText(entry.key));
   std::ranges::sort(keys);
   return keys;
}

}  // namespace Support
