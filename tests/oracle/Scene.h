#pragma once

#include "oracle/Event.h"

#include <array>
#include <cstdint>
#include <optional>

namespace Oracle {

/// What a group puts into all its keys beside the type.
struct Values {
   std::uint8_t port = 1;
   std::uint8_t payload = 1;
   std::uint8_t vrf = 0;

   friend constexpr auto operator<=>(Values const&, Values const&) = default;
};

struct Group {
   static constexpr std::int8_t noEntry = -1;

   std::uint8_t type = 1;
   Values values;
   /// One bit a prefix.
   std::uint16_t prefixes = 0;
   /// By family and interface, the last one for all interfaces: the address type, or `noEntry`.
   std::array<std::array<std::int8_t, intfCount + 1>, 2> entries;
   /// By family: one bit an interface.
   std::array<std::optional<std::uint8_t>, 2> excludes;

   Group() {
      for (auto& family : entries) family.fill(noEntry);
   }
   std::int8_t entry(std::uint8_t family, std::uint8_t index) const {
      return entries[family - 1u][index];
   }

   friend bool operator==(Group const&, Group const&) = default;
};

struct IpIntf {
   std::uint8_t vrf = 0;
   std::uint8_t primary = 0;
   bool isVirtual = false;
   /// One bit an address.
   std::uint16_t secondaries = 0;
};

struct Ip6Intf {
   std::uint8_t vrf = 0;
   std::uint16_t addrs = 0;
};

/// What configuration and interface status say, as far as events go: the state that the machine
/// looks at, in numbers.
///
/// Owner: a run. Both sides are told of an event with the scene that it leads to.
class Scene {
 public:
   /// Changes the scene. False for an event that means nothing as things stand: nobody is told.
   bool apply(Event const& event);

   Group const& group(std::uint8_t index) const { return groups_[index]; }
   bool isConfigured(std::uint8_t group) const { return configured_[group]; }
   std::optional<IpIntf> const& ip(std::uint8_t intf) const { return ip_[intf]; }
   std::optional<Ip6Intf> const& ip6(std::uint8_t intf) const { return ip6_[intf]; }
   /// Whether the interface has status of the family.
   bool has(std::uint8_t intf, std::uint8_t family) const {
      return family == 1 ? ip_[intf].has_value() : ip6_[intf].has_value();
   }

   bool built() const { return built_; }
   bool initialized() const { return initialized_; }
   /// Whether the configuration has been taken away from the machine.
   bool away() const { return away_; }
   bool ready() const { return ready_; }
   /// The machine may act on what it sees.
   bool active() const { return built_ && initialized_ && ready_ && !away_; }
   bool udpWait() const { return udpWait_; }

 private:
   bool applyToMachine(Event const& event);
   bool applyToGroup(Event const& event);
   bool applyToEntries(Event const& event, Group& group);
   bool applyToConfig(Event const& event);
   bool applyToIp(Event const& event);
   bool applyToIp6(Event const& event);

   std::array<Group, groupCount> groups_;
   std::array<bool, groupCount> configured_{};
   std::array<std::optional<IpIntf>, intfCount> ip_;
   std::array<std::optional<Ip6Intf>, intfCount> ip6_;
   bool built_ = false;
   bool initialized_ = false;
   bool away_ = false;
   bool ready_ = false;
   bool udpWait_ = true;
};

}  // namespace Oracle
