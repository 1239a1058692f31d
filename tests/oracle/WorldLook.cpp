// What the world shows of itself.

#include "FwdL3Unicast/Audit.h"
#include "FwdL3Unicast/MdlClock.h"
#include "FwdL3Unicast/MdlDecapGroup.h"
#include "FwdL3Unicast/MdlIp6IntfStatus.h"
#include "FwdL3Unicast/MdlIpIntfStatus.h"
#include "oracle/World.h"

#include <algorithm>
#include <optional>
#include <sstream>
#include <utility>

namespace Oracle {

namespace {

Role roleOf(Fwd::AddressRole role) {
   switch (role) {
      case Fwd::AddressRole::primary: return Role::primary;
      case Fwd::AddressRole::secondary: return Role::secondary;
      case Fwd::AddressRole::virtualIp: return Role::virtualIp;
      case Fwd::AddressRole::ip6: return Role::ip6;
      case Fwd::AddressRole::unnamed: break;
   }
   return Role::primary;
}

std::uint8_t addrOf(Fwd::AddressOrigin const& origin) {
   bool const masked =
       origin.role == Fwd::AddressRole::secondary || origin.role == Fwd::AddressRole::ip6;
   for (std::uint8_t addr = 0; addr < addrCount; ++addr) {
      auto const ip = ipAddrOf(addr);
      auto const ip6 = ip6AddrOf(addr);
      bool const same =
          origin.address.isIpv4()
              ? origin.address.ipAddr() == ip.addr() &&
                    (!masked || origin.address.length() == ip.length())
              : origin.address.ip6Addr() == ip6.addr() && origin.address.length() == ip6.length();
      if (same) return addr;
   }
   return addrCount;
}

/// The number of a key, noted as an oddity where it has none.
std::optional<Key> numberOf(Fwd::DecapKey const& key, Found& found) {
   auto const number = keyOf(key);
   if (!number)
      found.oddities.push_back("a key that nothing calls for: " + Sim::callText({.key = key}));
   return number;
}

}  // namespace

Found World::look() {
   Found found;
   found.resourceFull = status_->hwResourceFull();
   found.fullLogs = std::exchange(fullLogs_, 0);
   found.normalLogs = std::exchange(normalLogs_, 0);
   found.verifyLines = static_cast<std::uint32_t>(verifyData_->cliVerifyOutput().size());
   verifyData_->outputDelAll();
   for (auto const& entry : hardware_->table().entries()) {
      if (auto const key = numberOf(entry.key, found)) found.table.push_back(*key);
   }
   std::ranges::sort(found.table);
   if (sm_) lookAtMachine(found);
   return found;
}

void World::lookAtMachine(Found& found) const {
   for (auto const& entry : sm_->refCount()) {
      if (auto const key = numberOf(entry.key, found)) found.counts.emplace_back(*key, entry.value);
   }
   std::ranges::sort(found.counts);
   for (auto const& entry : sm_->unprogrammedKey()) {
      if (auto const key = numberOf(entry.key, found)) found.backlog.push_back(*key);
   }
   for (auto const& entry : sm_->tunnelTypeDecapIpToVrf()) {
      auto const pair = pairOf(entry.key);
      auto const vrf = vrfNumber(entry.value);
      if (pair && vrf) {
         found.owners.emplace_back(*pair, *vrf);
      } else {
         found.oddities.emplace_back("an owner that nothing calls for");
      }
   }
   std::ranges::sort(found.owners);
   found.wakeUp = sm_->mdlClock()->timeMin();

   std::vector<Fwd::DecapKey> readback;
   for (auto const& entry : hardware_->table().entries()) {
      // What the machine before left there is wanted or not, as the replay will tell.
      if (!hardware_->heldOver().contains(entry.key)) readback.push_back(entry.key);
   }
   for (auto const& finding : Fwd::audit(*sm_, &readback)) {
      std::ostringstream line;
      line << "audit: " << finding;
      found.oddities.push_back(line.str());
   }
   if (sm_->mdlIpIntfStatus().size() != ip_->ipIntfStatus().size() ||
       sm_->mdlIp6IntfStatus().size() != ip6_->intf().size()) {
      found.oddities.emplace_back("interfaces and their reactors are not one to one");
   }
   if (sm_->mdlDecapGroup().size() != config_->decapGroup().size()) {
      found.oddities.emplace_back("groups and their reactors are not one to one");
   }
}

Wanted::Held<Origin> World::held(std::uint8_t group, std::uint8_t intf, std::uint8_t family) const {
   Wanted::Held<Origin> origins;
   auto const reactor = sm_->mdlDecapGroup(Mdl::String(groupName(group)));
   if (!reactor) return origins;
   for (auto const& entry : reactor->decapKeyFromIntf().walk()) {
      auto const key = keyOf(entry.key);
      if (!key) continue;
      for (auto const& origin : entry.value.origins) {
         Origin const number{0, roleOf(origin.role), addrOf(origin)};
         if (origin.intfId != intfIdOf(intf) || number.family() != family) continue;
         if (number.addr == addrCount) continue;
         origins.push_back({{intf, number.role, number.addr}, {key->port, key->payload, key->vrf}});
      }
   }
   return origins;
}

}  // namespace Oracle
