#include "support/ReentrantWorld.h"

namespace Support {

using Fwd::AddressRole;

namespace {

ModelOrigin originOf(Pkt::IntfId const& intfId, Pkt::IpAddrWithMask const& addr) {
   return {intfId, AddressRole::secondary, Pkt::IpGenPrefix(addr.addr(), addr.length())};
}

ModelOrigin originOf(Pkt::IntfId const& intfId, Pkt::Ip6AddrWithMask const& addr) {
   return {intfId, AddressRole::ip6, Pkt::IpGenPrefix(addr.addr(), addr.length())};
}

}  // namespace

// Entries and what undoes them are frequent: without an entry nothing is called for.
ReentrantWorld::Kind const ReentrantWorld::kinds[kindCount] = {
    {12, &ReentrantWorld::entryIsSet},         {8, &ReentrantWorld::entryGoes},
    {7, &ReentrantWorld::isExcluded},          {1, &ReentrantWorld::excludeSetGoes},
    {4, &ReentrantWorld::typeChanges},         {4, &ReentrantWorld::portChanges},
    {4, &ReentrantWorld::prefixComesOrGoes},   {1, &ReentrantWorld::groupGoes},
    {3, &ReentrantWorld::groupComes},          {1, &ReentrantWorld::groupIsAnother},
    {3, &ReentrantWorld::interfaceGoes},       {4, &ReentrantWorld::interfaceIsAnother},
    {4, &ReentrantWorld::interfaceIsPutBack},  {4, &ReentrantWorld::primaryChanges},
    {4, &ReentrantWorld::virtualChanges},      {8, &ReentrantWorld::secondaryComes},
    {4, &ReentrantWorld::secondaryGoes},       {1, &ReentrantWorld::interface6Goes},
    {2, &ReentrantWorld::interface6IsAnother}, {2, &ReentrantWorld::interface6IsPutBack},
    {3, &ReentrantWorld::address6Comes},       {2, &ReentrantWorld::address6Goes},
    {4, &ReentrantWorld::readinessChanges},
};

// Groups.

void ReentrantWorld::entryIsSet() {
   auto const group = anyGroup();
   DecapIntf const entry(anyEntryKey(), generate_.oneIn(2) ? primaryOnly : all);
   say(group->name(), " entry", entry.key(), " for ", Mdl::enumName(entry.addressType()));
   group->decapIntfIs(entry);
}

void ReentrantWorld::entryGoes() {
   auto const group = anyGroup();
   DecapIntfKey const key = anyEntryKey();
   say(group->name(), " no entry", key);
   group->decapIntfDel(key);
}

void ReentrantWorld::isExcluded() {
   auto const group = anyGroup();
   DecapExcludeIntfSet set({Pkt::emptyIntfId, anyFamily()});
   std::string names;
   for (auto const& id : ids_) {
      if (!generate_.oneIn(2)) continue;
      set.excludeIntfIs(id);
      names += " " + id.name().stdString();
   }
   say(group->name(), " excluded for family ", set.key().family(), ":", names);
   group->decapExcludeIntfSetIs(set);
}

void ReentrantWorld::excludeSetGoes() {
   auto const group = anyGroup();
   DecapIntfKey const key{Pkt::emptyIntfId, anyFamily()};
   say(group->name(), " no exclude set for family ", key.family());
   group->decapExcludeIntfSetDel(key);
}

void ReentrantWorld::typeChanges() {
   auto const group = anyGroup();
   TunnelType const other = generate_.oneIn(2) ? TunnelType::gre : TunnelType::unknown;
   TunnelType const type = generate_.oneIn(3) ? other : TunnelType::udp;
   say(group->name(), " type ", Mdl::enumName(type));
   group->tunnelTypeIs(type);
}

void ReentrantWorld::portChanges() {
   auto const group = anyGroup();
   std::uint16_t const port = anyPort();
   say(group->name(), " port ", port);
   group->destPortIs(port);
}

void ReentrantWorld::prefixComesOrGoes() {
   auto const group = anyGroup();
   // One that an interface may have, too: then the key is counted for both.
   Pkt::IpGenPrefix const destination(anyAddr().addr());
   if (generate_.oneIn(2)) {
      say(group->name(), " prefix ", destination);
      group->decapIpIs(destination);
   } else {
      say(group->name(), " no prefix ", destination);
      group->decapIpDel(destination);
   }
}

void ReentrantWorld::groupGoes() {
   auto const group = anyGroup();
   say(group->name(), " goes");
   config->decapGroupDel(group->name());
}

void ReentrantWorld::groupComes() {
   auto const group = anyGroup();
   say(group->name(), " comes");
   config->decapGroupIs(group);
}

void ReentrantWorld::groupIsAnother() {
   auto& group = anyGroup();
   Mdl::Ptr<DecapGroup> const before = group;
   auto const other = makeGroup(before->name().view(), {TunnelType::udp, anyPort()});
   for (auto const& entry : before->decapIntf()) {
      if (generate_.oneIn(2)) other->decapIntfIs(entry.value);
   }
   watch(other);
   group = other;
   say(other->name(), " is another, with ", other->decapIntf().size(), " of its entries and port ",
       other->destPort());
   config->decapGroupIs(other);
}

// IPv4 interfaces.

void ReentrantWorld::interfaceGoes() {
   std::size_t const at = anyIntf();
   say(ids_[at].name(), " IPv4 goes");
   ip->ipIntfStatusDel(ids_[at]);
}

void ReentrantWorld::interfaceIsAnother() {
   std::size_t const at = anyIntf();
   auto const other = makeInterface(ids_[at].name().view(), "10.0.0.1/24");
   watch(other);
   intf_[at] = other;
   noteNewStatus(ids_[at], ipv4);
   say(ids_[at].name(), " IPv4 is another, with 10.0.0.1/24");
   ip->ipIntfStatusIs(other);
}

void ReentrantWorld::interfaceIsPutBack() {
   std::size_t const at = anyIntf();
   auto const same = intf_[at];
   say(ids_[at].name(), " IPv4 is put back");
   for (auto const& entry : same->activeSecondaryWithMask()) {
      if (!isFollowed(at)) noteAddress(originOf(ids_[at], entry.key), false);
   }
   ip->ipIntfStatusIs(same);
}

void ReentrantWorld::primaryChanges() {
   std::size_t const at = anyIntf();
   auto const same = intf_[at];
   auto const address = generate_.oneIn(4) ? Pkt::IpAddrWithMask() : anyAddr();
   say(ids_[at].name(), " IPv4 primary ", address);
   same->addrWithMaskIs(address);
}

void ReentrantWorld::virtualChanges() {
   std::size_t const at = anyIntf();
   auto const same = intf_[at];
   bool const isVirtual = generate_.oneIn(2);
   say(ids_[at].name(), isVirtual ? " IPv4 virtual" : " IPv4 not virtual");
   same->virtualAddrIs(isVirtual);
}

void ReentrantWorld::secondaryComes() {
   std::size_t const at = anyIntf();
   auto const same = intf_[at];
   auto const address = anyAddr();
   say(ids_[at].name(), " IPv4 secondary ", address);
   if (!same->activeSecondaryWithMaskHas(address)) {
      noteAddress(originOf(ids_[at], address), isFollowed(at));
   }
   same->activeSecondaryWithMaskIs(address);
}

void ReentrantWorld::secondaryGoes() {
   std::size_t const at = anyIntf();
   auto const same = intf_[at];
   auto const address = anyAddr();
   say(ids_[at].name(), " IPv4 no secondary ", address);
   same->activeSecondaryWithMaskDel(address);
}

// IPv6 interfaces.

void ReentrantWorld::interface6Goes() {
   std::size_t const at = anyIntf();
   say(ids_[at].name(), " IPv6 goes");
   ip6->intfDel(ids_[at]);
}

void ReentrantWorld::interface6IsAnother() {
   std::size_t const at = anyIntf();
   auto const other = makeInterface6(ids_[at].name().view(), {});
   watch(other);
   intf6_[at] = other;
   noteNewStatus(ids_[at], ipv6);
   say(ids_[at].name(), " IPv6 is another, with no address");
   ip6->intfIs(other);
}

void ReentrantWorld::interface6IsPutBack() {
   std::size_t const at = anyIntf();
   auto const same = intf6_[at];
   say(ids_[at].name(), " IPv6 is put back");
   for (auto const& entry : same->addr()) {
      if (!isFollowed6(at)) noteAddress(originOf(ids_[at], entry.key), false);
   }
   ip6->intfIs(same);
}

void ReentrantWorld::address6Comes() {
   std::size_t const at = anyIntf();
   auto const same = intf6_[at];
   auto const address = anyAddr6();
   say(ids_[at].name(), " IPv6 address ", address);
   if (!same->addrHas(address)) noteAddress(originOf(ids_[at], address), isFollowed6(at));
   same->addrIs(address, {});
}

void ReentrantWorld::address6Goes() {
   std::size_t const at = anyIntf();
   auto const same = intf6_[at];
   auto const address = anyAddr6();
   say(ids_[at].name(), " IPv6 no address ", address);
   same->addrDel(address);
}

// The machine.

void ReentrantWorld::readinessChanges() {
   bool const initialized = !sm->initialized();
   say(initialized ? "initialized" : "no longer initialized");
   sm->initializedIs(initialized);
}

// Particulars.

ReentrantWorld::DecapIntfKey ReentrantWorld::anyEntryKey() {
   Pkt::IntfId const& intfId = generate_.oneIn(2) ? Pkt::emptyIntfId : ids_[anyIntf()];
   return {intfId, anyFamily()};
}

std::uint16_t ReentrantWorld::anyPort() {
   // Without a port keys wait: the group lists them and holds none.
   if (generate_.oneIn(6)) return 0;
   return static_cast<std::uint16_t>(6080 + generate_.below(2));
}

Pkt::IpAddrWithMask ReentrantWorld::anyAddr() {
   return {Pkt::IpAddr(0x0a000001 + generate_.below(4)), 24};
}

Pkt::Ip6AddrWithMask ReentrantWorld::anyAddr6() {
   static Each<Pkt::Ip6AddrWithMask> const addresses{addr6("2001:db8::1/64"),
                                                     addr6("2001:db8::2/64")};
   return addresses[generate_.below(each)];
}

void ReentrantWorld::noteAddress(ModelOrigin const& origin, bool isFollowed) {
   if (isFollowed) {
      untold_.erase(origin);
   } else {
      untold_.insert(origin);
   }
}

void ReentrantWorld::noteNewStatus(Pkt::IntfId const& intfId, std::uint32_t family) {
   std::erase_if(untold_, [&](ModelOrigin const& origin) {
      return origin.intfId == intfId && origin.family() == family;
   });
}

}  // namespace Support
