#include "support/AdmissionEvent.h"

#include "support/Generate.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

namespace Support {

namespace {

using Kind = AdmissionEvent::Kind;

struct Weight {
   Kind kind;
   std::uint32_t weight;
};

constexpr Weight weights[] = {
    {Kind::ipPut, 8},
    {Kind::ipSame, 1},
    {Kind::ipRemove, 4},
    {Kind::ipPrimary, 12},
    {Kind::ipVirtual, 7},
    {Kind::ipSecondaryAdd, 12},
    {Kind::ipSecondaryDel, 8},
    {Kind::ip6Put, 5},
    {Kind::ip6Remove, 3},
    {Kind::ip6Add, 11},
    {Kind::ip6Del, 7},
    {Kind::entrySet, 18},
    {Kind::entryDel, 9},
    {Kind::excludeSet, 9},
    {Kind::excludeDel, 2},
    {Kind::applyAgain, 3},
    {Kind::excludeAgain, 1},
    {Kind::tunnelType, 3},
    {Kind::prefix, 2},
    {Kind::groupToggle, 2},
    {Kind::ipStatusReplaced, 1},
    {Kind::ip6StatusReplaced, 1},
};

Kind kindFor(Generate& generate, bool withSilentVrf) {
   if (withSilentVrf && generate.oneIn(60)) {
      return generate.oneIn(2) ? Kind::ipVrf : Kind::ip6Vrf;
   }
   std::uint32_t total = 0;
   for (Weight const& entry : weights) total += entry.weight;
   std::uint32_t left = generate.below(total);
   for (Weight const& entry : weights) {
      if (left < entry.weight) return entry.kind;
      left -= entry.weight;
   }
   return Kind::ipPut;
}

char const* kindText(Kind kind) {
   switch (kind) {
      case Kind::createMachine: return "machine created";
      case Kind::initialize: return "machine initialized";
      case Kind::ready: return "configuration ready";
      case Kind::ipPut: return "ip put";
      case Kind::ipSame: return "ip put again";
      case Kind::ipRemove: return "ip removed";
      case Kind::ipPrimary: return "ip primary";
      case Kind::ipVirtual: return "ip virtual";
      case Kind::ipSecondaryAdd: return "ip secondary added";
      case Kind::ipSecondaryDel: return "ip secondary removed, number";
      case Kind::ipVrf: return "ip vrf changed silently";
      case Kind::ip6Put: return "ip6 put";
      case Kind::ip6Remove: return "ip6 removed";
      case Kind::ip6Add: return "ip6 address added";
      case Kind::ip6Del: return "ip6 address removed, number";
      case Kind::ip6Vrf: return "ip6 vrf changed silently";
      case Kind::entrySet: return "entry set";
      case Kind::entryDel: return "entry removed";
      case Kind::excludeSet: return "excluded";
      case Kind::excludeDel: return "exclude set removed";
      case Kind::applyAgain: return "entry applied again";
      case Kind::excludeAgain: return "exclude set applied again";
      case Kind::tunnelType: return "tunnel type";
      case Kind::prefix: return "prefix added or removed";
      case Kind::groupToggle: return "group added or removed";
      case Kind::ipStatusReplaced: return "all of ip replaced";
      case Kind::ip6StatusReplaced: return "all of ip6 replaced";
   }
   return "?";
}

std::string describe(Mdl::Ptr<Ip::IpIntfStatus> const& status) {
   std::string text = " vrf " + status->vrf().name().stdString() + " primary " +
                      status->addrWithMask().stringValue().stdString();
   if (status->virtualAddr()) text += " virtual";
   for (auto const& entry : status->activeSecondaryWithMask()) {
      text += " +" + entry.key.stringValue().stdString();
   }
   return text;
}

std::string describe(Mdl::Ptr<Ip6::IntfStatus> const& status) {
   std::string text = " vrf " + status->vrf().name().stdString();
   for (auto const& entry : status->addr()) text += " +" + entry.key.stringValue().stdString();
   return text;
}

}  // namespace

Pkt::IntfId AdmissionEvent::intfIdAt(std::uint32_t index) {
   static std::array<Pkt::IntfId, interfaces> const ids = [] {
      std::array<Pkt::IntfId, interfaces> made;
      std::size_t next = 0;
      for (char const* const name : {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4", "Vlan5",
                                     "Loopback0", "Management1", "Internal7"}) {
         made[next++] = Pkt::IntfId(Mdl::String(name));
      }
      return made;
   }();
   return ids[index % interfaces];
}

Tunnel::Decap::DecapIntfKey AdmissionEvent::entryKey() const {
   return {all ? Pkt::emptyIntfId : intfId(), family};
}

Tunnel::Decap::AddressType AdmissionEvent::addressType() const {
   // A value that has no name yet counts as any other but "primary only".
   return static_cast<Tunnel::Decap::AddressType>(word % 8 == 0 ? 2 : word % 2);
}

Tunnel::Decap::DecapExcludeIntfSet AdmissionEvent::excludeSet() const {
   Tunnel::Decap::DecapExcludeIntfSet set({Pkt::emptyIntfId, family});
   for (std::uint32_t i = 0; i < interfaces; ++i) {
      if ((word >> (2 * i) & 3) == 3) set.excludeIntfIs(intfIdAt(i));
   }
   return set;
}

Tunnel::Decap::TunnelType AdmissionEvent::newTunnelType() const {
   return static_cast<Tunnel::Decap::TunnelType>(word % 4);
}

Pkt::IpAddrWithMask AdmissionEvent::ipAddrAt(std::uint32_t bits) {
   std::uint32_t const host = bits % 8;
   return {Pkt::IpAddr(host == 0 ? 0 : 0x0a000000 + host), (bits & 8) != 0 ? 24U : 32U};
}

Pkt::Ip6AddrWithMask AdmissionEvent::ip6AddrAt(std::uint32_t bits) {
   static std::array<Pkt::Ip6Addr, 8> const addrs = [] {
      std::array<Pkt::Ip6Addr, 8> made;
      std::size_t next = 0;
      for (char const* const text : {"::", "2001:db8::1", "2001:db8::2", "2001:db8::3",
                                     "2001:db8:1::1", "fe80::1", "fe80::2", "fec0::1"}) {
         made[next++] = Pkt::Ip6Addr::fromText(text);
      }
      return made;
   }();
   return {addrs[bits % 8], (bits & 8) != 0 ? 64U : 128U};
}

L3::VrfName AdmissionEvent::vrf() const {
   static L3::VrfName const red(Mdl::String("red"));
   return word >> 29 == 0 ? red : L3::VrfName::defaultVrf();
}

Mdl::Ptr<Ip::IpIntfStatus> AdmissionEvent::ipStatus() const {
   auto made = Mdl::allocate<Ip::IpIntfStatus>(intfId(), vrf());
   made->addrWithMaskIs(ipAddrAt(word));
   made->virtualAddrIs((word >> 4 & 1) != 0);
   for (std::uint32_t i = 0; i < 3; ++i) {
      std::uint32_t const bits = word >> (5 + 5 * i);
      if ((bits & 16) != 0) made->activeSecondaryWithMaskIs(ipAddrAt(bits));
   }
   return made;
}

Mdl::Ptr<Ip6::IntfStatus> AdmissionEvent::ip6Status() const {
   auto made = Mdl::allocate<Ip6::IntfStatus>(intfId(), vrf());
   for (std::uint32_t i = 0; i < 3; ++i) {
      std::uint32_t const bits = word >> (5 * i);
      if ((bits & 16) != 0) made->addrIs(ip6AddrAt(bits), {});
   }
   return made;
}

std::string AdmissionEvent::text() const {
   std::string const name = intfId().name().stdString();
   std::string const what = kindText(kind);
   std::string const entry = groupName() + " " + what + entryKey().stringValue().stdString();
   switch (kind) {
      case Kind::createMachine:
      case Kind::initialize:
      case Kind::ready: return what;
      case Kind::ipPut: return name + " " + what + describe(ipStatus());
      case Kind::ip6Put: return name + " " + what + describe(ip6Status());
      case Kind::ipPrimary:
      case Kind::ipSecondaryAdd:
         return name + " " + what + " " + ipAddr().stringValue().stdString();
      case Kind::ip6Add: return name + " " + what + " " + ip6Addr().stringValue().stdString();
      case Kind::ipSecondaryDel:
      case Kind::ip6Del: return name + " " + what + " " + std::to_string(word);
      case Kind::ipVirtual: return name + " " + what + ((word & 1) != 0 ? " on" : " off");
      case Kind::ipSame:
      case Kind::ipRemove:
      case Kind::ip6Remove: return name + " " + what;
      case Kind::ipVrf:
      case Kind::ip6Vrf: return name + " " + what + " to " + vrf().name().stdString();
      case Kind::entrySet:
         return entry + " type " + std::to_string(static_cast<unsigned>(addressType()));
      case Kind::entryDel:
      case Kind::applyAgain: return entry;
      case Kind::excludeSet: {
         std::string names;
         auto const set = excludeSet();
         for (auto const& id : set.excludeIntf()) names += " " + id.name().stdString();
         return groupName() + " " + what + " for family " + std::to_string(family) + ":" + names;
      }
      case Kind::excludeDel:
      case Kind::excludeAgain:
         return groupName() + " " + what + " for family " + std::to_string(family);
      case Kind::tunnelType:
         return groupName() + " " + what + " " + Mdl::enumName(newTunnelType()).stdString();
      case Kind::prefix:
         return groupName() + " " + what + " " + ipAddr().addr().stringValue().stdString();
      case Kind::groupToggle: return groupName() + " " + what;
      case Kind::ipStatusReplaced:
      case Kind::ip6StatusReplaced: return what + " " + std::to_string(word);
   }
   return what;
}

AdmissionEvents admissionEvents(std::uint32_t seed, std::uint32_t length) {
   Generate generate(seed);
   bool const withSilentVrf = seed % 2 == 1;
   AdmissionEvents events;
   for (std::uint32_t i = 0; i < length; ++i) {
      AdmissionEvent event;
      event.kind = kindFor(generate, withSilentVrf);
      event.group = static_cast<std::uint8_t>(generate.below(AdmissionEvent::groups));
      event.intf = static_cast<std::uint8_t>(generate.below(AdmissionEvent::interfaces));
      event.family = static_cast<std::uint8_t>(generate.oneIn(3) ? 2 : 1);
      event.all = generate.oneIn(3);
      event.word = generate.word();
      bool const isEntry = event.kind == Kind::entrySet || event.kind == Kind::entryDel;
      if (isEntry && generate.oneIn(12)) event.family = 3;
      events.push_back(event);
   }
   // The machine starts somewhere, in its two steps in either order.
   std::array<std::ptrdiff_t, 3> at{};
   for (auto& position : at) position = static_cast<std::ptrdiff_t>(generate.below(length / 5 + 1));
   std::ranges::sort(at);
   bool const readyFirst = generate.oneIn(2);
   auto const insert = [&](Kind kind, std::ptrdiff_t position) {
      AdmissionEvent event;
      event.kind = kind;
      events.insert(std::next(events.begin(), position), event);
   };
   insert(readyFirst ? Kind::initialize : Kind::ready, at[2]);
   insert(readyFirst ? Kind::ready : Kind::initialize, at[1]);
   insert(Kind::createMachine, at[0]);
   return events;
}

std::string admissionEventsText(AdmissionEvents const& events) {
   std::string text;
   std::size_t number = 0;
   for (AdmissionEvent const& event : events) {
      text += "  " + std::to_string(++number) + ". " + event.text() + "\n";
   }
   return text;
}

}  // namespace Support
