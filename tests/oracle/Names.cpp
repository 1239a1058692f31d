#include "oracle/Names.h"

#include "platform/sim/KeyText.h"

#include <algorithm>
#include <unordered_map>
#include <vector>

namespace Oracle {

namespace {

using Pkt::IpGenPrefix;

std::array<IpGenPrefix, prefixCount> const& prefixes() {
   static auto const all = [] {
      // Some are interface addresses as well, and two have no length: they give one and the same
      // key, that of no destination.
      constexpr std::array<char const*, prefixCount> texts = {
          "10.1.0.0/16",     "10.2.0.0/16",     "10.3.0.0/24", "10.0.0.1/32",
          "10.0.0.2/32",     "10.0.0.3/32",     "0.0.0.0/0",   "::/0",
          "2001:db8::1/128", "2001:db8::2/128", "::/128",      "2001:db8:9::/48",
          "10.4.0.0/16",     "0.0.0.0/32",      "10.5.0.0/16", "10.0.0.4/32",
      };
      std::array<IpGenPrefix, prefixCount> made;
      std::ranges::transform(texts, made.begin(), IpGenPrefix::fromText);
      return made;
   }();
   return all;
}

std::array<Pkt::Ip6Addr, 8> const& ip6Hosts() {
   static std::array<Pkt::Ip6Addr, 8> const all = {
       Pkt::Ip6Addr::fromText("::"),           Pkt::Ip6Addr::fromText("2001:db8::1"),
       Pkt::Ip6Addr::fromText("2001:db8::2"),  Pkt::Ip6Addr::fromText("2001:db8::3"),
       Pkt::Ip6Addr::fromText("2001:db8:1::"), Pkt::Ip6Addr::fromText("fe80::1"),
       Pkt::Ip6Addr::fromText("fe80::2"),      Pkt::Ip6Addr::fromText("fec0::1"),
   };
   return all;
}

/// All destinations there are; the place is the number.
std::vector<IpGenPrefix> const& destinations() {
   static auto const all = [] {
      std::vector<IpGenPrefix> made = {IpGenPrefix()};
      auto const add = [&](IpGenPrefix const& prefix) {
         if (std::ranges::find(made, prefix) == made.end()) made.push_back(prefix);
      };
      for (auto const& prefix : prefixes()) {
         if (prefix.length() != 0) add(prefix);
      }
      for (std::uint8_t addr = 1; addr < 8; ++addr) add(IpGenPrefix(ipAddrOf(addr).addr()));
      for (auto const& host : ip6Hosts()) add(IpGenPrefix(host));
      return made;
   }();
   return all;
}

struct PrefixHash {
   std::size_t operator()(IpGenPrefix const& prefix) const noexcept { return prefix.hash(1); }
};

/// One behind the last for a prefix that is no destination.
std::uint8_t numberOf(IpGenPrefix const& destination) {
   static auto const numbers = [] {
      std::unordered_map<IpGenPrefix, std::uint8_t, PrefixHash> made;
      for (auto const& known : destinations()) {
         made.emplace(known, static_cast<std::uint8_t>(made.size()));
      }
      return made;
   }();
   auto const found = numbers.find(destination);
   return static_cast<std::uint8_t>(found == numbers.end() ? numbers.size() : found->second);
}

template <class T, std::size_t size>
std::uint8_t placeIn(std::array<T, size> const& all, T const& value) {
   return static_cast<std::uint8_t>(std::ranges::find(all, value) - all.begin());
}

constexpr std::array<std::uint16_t, valueCount> ports = {0, 6080, 4789};
constexpr std::array payloads = {Tunnel::Decap::PayloadType::unset, Tunnel::Decap::PayloadType::ip,
                                 Tunnel::Decap::PayloadType::mpls};

std::array<L3::VrfName, valueCount> const& vrfs() {
   static std::array<L3::VrfName, valueCount> const all = {L3::VrfName::defaultVrf(),
                                                           L3::VrfName(Mdl::String("red")),
                                                           L3::VrfName(Mdl::String("blue"))};
   return all;
}

}  // namespace

std::string groupName(std::uint8_t group) { return "g" + std::to_string(group); }

Pkt::IntfId const& intfIdOf(std::uint8_t intf) {
   static auto const all = [] {
      constexpr std::array<char const*, intfCount> names = {"Ethernet1",   "Ethernet2", "Ethernet3",
                                                            "Ethernet4",   "Vlan5",     "Loopback0",
                                                            "Management1", "Internal7"};
      std::array<Pkt::IntfId, intfCount> made;
      std::ranges::transform(names, made.begin(),
                             [](char const* name) { return Pkt::IntfId(Mdl::String(name)); });
      return made;
   }();
   return all[intf];
}

Pkt::IpGenPrefix const& prefixOf(std::uint8_t prefix) { return prefixes()[prefix]; }

Pkt::IpAddrWithMask ipAddrOf(std::uint8_t addr) {
   std::uint32_t const host = hostOf(addr);
   return {Pkt::IpAddr(host == 0 ? 0 : 0x0a000000 + host), (addr & 8) != 0 ? 24U : 32U};
}

Pkt::Ip6AddrWithMask ip6AddrOf(std::uint8_t addr) {
   return {ip6Hosts()[hostOf(addr)], (addr & 8) != 0 ? 64U : 128U};
}

L3::VrfName const& vrfOf(std::uint8_t vrf) { return vrfs()[vrf]; }
std::uint16_t portOf(std::uint8_t port) { return ports[port]; }
Tunnel::Decap::PayloadType payloadOf(std::uint8_t payload) { return payloads[payload]; }
Tunnel::Decap::TunnelType typeOf(std::uint8_t type) {
   return static_cast<Tunnel::Decap::TunnelType>(type);
}

std::uint8_t destinationOfPrefix(std::uint8_t prefix) {
   static auto const all = [] {
      std::array<std::uint8_t, prefixCount> made{};
      std::ranges::transform(prefixes(), made.begin(), [](IpGenPrefix const& prefix_) {
         return prefix_.length() == 0 ? std::uint8_t{0} : numberOf(prefix_);
      });
      return made;
   }();
   return all[prefix];
}

std::uint8_t destinationOfIp(std::uint8_t addr) {
   static auto const all = [] {
      std::array<std::uint8_t, 8> made{};
      for (std::uint8_t i = 1; i < 8; ++i) made[i] = numberOf(IpGenPrefix(ipAddrOf(i).addr()));
      return made;
   }();
   return all[hostOf(addr)];
}

std::uint8_t destinationOfIp6(std::uint8_t addr) {
   static auto const all = [] {
      std::array<std::uint8_t, 8> made{};
      for (std::uint8_t i = 0; i < 8; ++i) made[i] = numberOf(IpGenPrefix(ip6AddrOf(i).addr()));
      return made;
   }();
   return all[hostOf(addr)];
}

Fwd::DecapKey decapKeyOf(Key const& key) {
   IpGenPrefix const& to = destinations()[key.destination];
   auto const from = to.isIpv4() ? IpGenPrefix(Pkt::IpAddr()) : IpGenPrefix(Pkt::Ip6Addr());
   return Fwd::DecapKey(from, to, typeOf(key.type), portOf(key.port), payloadOf(key.payload),
                        vrfOf(key.vrf));
}

std::optional<Key> keyOf(Fwd::DecapKey const& key) {
   Key const found{numberOf(key.dstIp()), static_cast<std::uint8_t>(key.tunnelType()),
                   placeIn(ports, key.destPort()), placeIn(payloads, key.payloadType()),
                   placeIn(vrfs(), key.forwardingVrf())};
   bool const known = found.destination < destinations().size() && found.type != 0 &&
                      found.type < 4 && found.port < valueCount && found.payload < valueCount &&
                      found.vrf < valueCount;
   if (!known) return std::nullopt;
   IpGenPrefix const from =
       key.dstIp().isIpv4() ? IpGenPrefix(Pkt::IpAddr()) : IpGenPrefix(Pkt::Ip6Addr());
   if (key.srcIp() != from) return std::nullopt;
   return found;
}

std::optional<Pair> pairOf(Fwd::TunnelTypeDecapIp const& pair) {
   Pair const found{static_cast<std::uint8_t>(pair.tunnelType()), numberOf(pair.decapIp())};
   if (found.destination >= destinations().size() || found.type > 3) return std::nullopt;
   return found;
}

std::optional<std::uint8_t> vrfNumber(L3::VrfName const& vrf) {
   std::uint8_t const found = placeIn(vrfs(), vrf);
   if (found >= valueCount) return std::nullopt;
   return found;
}

std::string keyText(Key const& key) { return Sim::keyText(decapKeyOf(key)); }

std::string pairText(Pair const& pair) {
   IpGenPrefix const& to = destinations()[pair.destination];
   return Mdl::enumName(typeOf(pair.type)).stdString() + " " +
          (to.empty() ? "(no destination)" : to.stringValue().stdString());
}

}  // namespace Oracle
