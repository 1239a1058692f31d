#include "oracle/Scene.h"

#include <utility>

namespace Oracle {

namespace {

constexpr std::uint16_t bit(std::uint8_t index) { return static_cast<std::uint16_t>(1u << index); }

/// Whether the set changed.
bool setBit(std::uint16_t& set, std::uint8_t index, bool on) {
   std::uint16_t const before = set;
   set = static_cast<std::uint16_t>(on ? set | bit(index) : set & ~bit(index));
   return set != before;
}

template <class T>
bool assign(T& target, T value) {
   return std::exchange(target, value) != value;
}

IpIntf newIpIntf(std::uint32_t word) {
   IpIntf made;
   made.vrf = word >> 29 == 0 ? 1 : 0;
   made.primary = word % addrCount;
   made.isVirtual = (word >> 4 & 1) != 0;
   for (std::uint32_t i = 0; i < 3; ++i) {
      std::uint32_t const bits = word >> (5 + 5 * i);
      if ((bits & 16) != 0) setBit(made.secondaries, bits % addrCount, true);
   }
   return made;
}

Ip6Intf newIp6Intf(std::uint32_t word) {
   Ip6Intf made;
   made.vrf = word >> 29 == 0 ? 1 : 0;
   for (std::uint32_t i = 0; i < 3; ++i) {
      std::uint32_t const bits = word >> (5 * i);
      if ((bits & 16) != 0) setBit(made.addrs, bits % addrCount, true);
   }
   return made;
}

Group newGroup(std::uint32_t word) {
   Group made;
   made.type = word % 4;
   made.values = {static_cast<std::uint8_t>(word / 4 % valueCount),
                  static_cast<std::uint8_t>(word / 16 % valueCount),
                  static_cast<std::uint8_t>(word / 64 % valueCount)};
   made.prefixes = static_cast<std::uint16_t>(word >> 8 & word >> 16);
   for (std::uint32_t i = 0; i < 4; ++i) {
      std::uint32_t const bits = word >> (6 * i);
      // All interfaces as often as one.
      std::uint32_t const index = bits % (2 * intfCount);
      made.entries[bits >> 4 & 1][index < intfCount ? index : intfCount] =
          static_cast<std::int8_t>(bits >> 5 & 1);
   }
   if (word % 3 == 0) made.excludes[0] = static_cast<std::uint8_t>(word >> 20 & word >> 4);
   if (word % 5 == 0) made.excludes[1] = static_cast<std::uint8_t>(word >> 18 & word >> 2);
   return made;
}

}  // namespace

bool Scene::apply(Event const& event) {
   switch (event.kind) {
      case Kind::build:
      case Kind::configReady:
      case Kind::initialize:
      case Kind::uninitialize:
      case Kind::stop:
      case Kind::stopKeepingHardware:
      case Kind::udpWait: return applyToMachine(event);
      case Kind::reviewInterval:
      case Kind::reviewBudget:
      case Kind::verify: return built_;
      case Kind::advance:
      case Kind::capacity:
      case Kind::typeCapacity:
      case Kind::latency:
      case Kind::callCost:
      case Kind::notReady:
      case Kind::answerForDestination:
      case Kind::answerNext:
      case Kind::answersForgotten: return true;
      case Kind::groupPut:
      case Kind::groupRemove:
      case Kind::groupReplace:
      case Kind::tunnelType:
      case Kind::port:
      case Kind::payload:
      case Kind::vrf:
      case Kind::prefixAdd:
      case Kind::prefixRemove:
      case Kind::entrySet:
      case Kind::entryRemove:
      case Kind::entryAgain:
      case Kind::excludeSet:
      case Kind::excludeRemove:
      case Kind::excludeAgain: return applyToGroup(event);
      case Kind::configReplace:
      case Kind::configAway:
      case Kind::configBack: return applyToConfig(event);
      case Kind::ipPut:
      case Kind::ipAgain:
      case Kind::ipRemove:
      case Kind::ipPrimary:
      case Kind::ipVirtual:
      case Kind::ipSecondaryAdd:
      case Kind::ipSecondaryRemove:
      case Kind::ipVrf:
      case Kind::ipReplace: return applyToIp(event);
      case Kind::ip6Put:
      case Kind::ip6Remove:
      case Kind::ip6AddrAdd:
      case Kind::ip6AddrRemove:
      case Kind::ip6Vrf:
      case Kind::ip6Replace: return applyToIp6(event);
   }
   return false;
}

bool Scene::applyToMachine(Event const& event) {
   bool const keeps = event.kind == Kind::stopKeepingHardware;
   if (event.kind == Kind::build) return !std::exchange(built_, true);
   if (event.kind == Kind::configReady) return !away_ && assign(ready_, true);
   // Initialization wants a configuration, and stops the process where there is none.
   if (event.kind == Kind::initialize) return built_ && !away_ && assign(initialized_, true);
   if (event.kind == Kind::uninitialize) return built_ && assign(initialized_, false);
   if (event.kind == Kind::stop || keeps) {
      initialized_ = away_ = false;
      return assign(built_, false);
   }
   // Keys that wait for their port are looked at when they are derived, not when hardware changes
   // its mind: a machine lives with one answer.
   return !built_ && assign(udpWait_, event.flag());
}

bool Scene::applyToGroup(Event const& event) {
   // What a machine without configuration makes of a group is nobody's concern.
   if (away_) return false;
   Group& group = groups_[event.group];
   bool& configured = configured_[event.group];
   if (event.kind == Kind::groupPut) return assign(configured, true);
   if (event.kind == Kind::groupRemove) return assign(configured, false);
   if (event.kind == Kind::groupReplace) {
      // An equal group is another one, too.
      if (event.word % 4 != 0) group = newGroup(event.word);
      return true;
   }
   if (event.kind == Kind::tunnelType) return assign(group.type, event.type());
   if (event.kind == Kind::port) return assign(group.values.port, event.value());
   if (event.kind == Kind::payload) return assign(group.values.payload, event.value());
   if (event.kind == Kind::vrf) return assign(group.values.vrf, event.value());
   if (event.kind == Kind::prefixAdd) return setBit(group.prefixes, event.prefix(), true);
   if (event.kind == Kind::prefixRemove) return setBit(group.prefixes, event.prefix(), false);
   return applyToEntries(event, group);
}

bool Scene::applyToEntries(Event const& event, Group& group) {
   bool const again = event.kind == Kind::entryAgain || event.kind == Kind::excludeAgain;
   if (again && !(active() && isConfigured(event.group))) return false;
   if (event.kind == Kind::excludeAgain) return true;
   if (event.kind == Kind::excludeSet) {
      std::optional<std::uint8_t> const set = event.interfaces();
      return assign(group.excludes[event.family - 1u], set);
   }
   if (event.kind == Kind::excludeRemove) {
      return assign(group.excludes[event.family - 1u], std::optional<std::uint8_t>());
   }
   // An entry of no family: the machine is told and has nothing to do.
   if (event.family > 2) return event.kind != Kind::entryAgain;
   std::int8_t& entry = group.entries[event.family - 1u][event.entryIndex()];
   if (event.kind == Kind::entryAgain) return entry != Group::noEntry;
   if (event.kind == Kind::entryRemove) return assign(entry, Group::noEntry);
   return assign(entry, static_cast<std::int8_t>(event.addressType()));
}

bool Scene::applyToConfig(Event const& event) {
   if (event.kind == Kind::configAway) return built_ && assign(away_, true);
   // A machine takes no configuration that is not ready.
   if (event.kind == Kind::configBack) return ready_ && assign(away_, false);
   if (away_) return false;
   ready_ = true;
   for (std::uint8_t group = 0; group < groupCount; ++group) {
      configured_[group] = event.fate(group) != Event::Fate::lost;
   }
   return true;
}

bool Scene::applyToIp(Event const& event) {
   if (event.kind == Kind::ipReplace) {
      for (std::uint8_t intf = 0; intf < intfCount; ++intf) {
         if (event.fate(intf) == Event::Fate::lost) ip_[intf].reset();
         if (event.fate(intf) == Event::Fate::replaced) {
            ip_[intf] = newIpIntf(event.word * (2u * intf + 3));
         }
      }
      return true;
   }
   std::optional<IpIntf>& intf = ip_[event.intf];
   if (event.kind == Kind::ipPut) {
      intf = newIpIntf(event.word);
      return true;
   }
   if (!intf) return false;
   if (event.kind == Kind::ipRemove) intf.reset();
   if (event.kind == Kind::ipRemove || event.kind == Kind::ipAgain) return true;
   if (event.kind == Kind::ipPrimary) return assign(intf->primary, event.addr());
   if (event.kind == Kind::ipVirtual) return assign(intf->isVirtual, event.flag());
   if (event.kind == Kind::ipVrf) return assign(intf->vrf, event.intfVrf());
   return setBit(intf->secondaries, event.addr(), event.kind == Kind::ipSecondaryAdd);
}

bool Scene::applyToIp6(Event const& event) {
   if (event.kind == Kind::ip6Replace) {
      for (std::uint8_t intf = 0; intf < intfCount; ++intf) {
         if (event.fate(intf) == Event::Fate::lost) ip6_[intf].reset();
         if (event.fate(intf) == Event::Fate::replaced) {
            ip6_[intf] = newIp6Intf(event.word * (2u * intf + 3));
         }
      }
      return true;
   }
   std::optional<Ip6Intf>& intf = ip6_[event.intf];
   if (event.kind == Kind::ip6Put) {
      intf = newIp6Intf(event.word);
      return true;
   }
   if (!intf) return false;
   if (event.kind == Kind::ip6Remove) {
      intf.reset();
      return true;
   }
   if (event.kind == Kind::ip6Vrf) return assign(intf->vrf, event.intfVrf());
   return setBit(intf->addrs, event.addr(), event.kind == Kind::ip6AddrAdd);
}

}  // namespace Oracle
