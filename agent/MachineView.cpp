#include "agent/MachineView.h"

#include "FwdL3Unicast/MdlClock.h"
#include "FwdL3Unicast/MdlDecapGroup.h"

namespace Agent {

Mdl::Seconds nextWakeUp(Fwd::FwdDecapGroupSm const& machine) {
   auto const& clock = machine.mdlClock();
   return clock ? clock->timeMin() : Mdl::never;
}

void forEachKeyOf(Fwd::FwdDecapGroupSm const& machine, Mdl::String const& group,
                  std::function<void(Fwd::DecapKey const& key, bool held)> const& visit) {
   auto const reactor = machine.mdlDecapGroup(group);
   if (!reactor) return;
   auto const& fromIp = reactor->decapKeyFromIp();
   auto const& fromIntf = reactor->decapKeyFromIntf();
   for (auto const& entry : fromIp.walk()) {
      if (!fromIp.isListed(entry.hashed())) continue;
      visit(entry.key, fromIp.isHeld(entry.hashed()) || fromIntf.isHeld(entry.hashed()));
   }
   for (auto const& entry : fromIntf.walk()) {
      if (!fromIntf.isListed(entry.hashed()) || fromIp.isListed(entry.hashed())) continue;
      visit(entry.key, fromIntf.isHeld(entry.hashed()));
   }
}

bool groupHasKey(Fwd::FwdDecapGroupSm const& machine, Mdl::String const& group,
                 Fwd::DecapKey const& key) {
   auto const reactor = machine.mdlDecapGroup(group);
   if (!reactor) return false;
   Fwd::HashedKey const hashed = Fwd::hashedKey(key);
   return reactor->decapKeyFromIp().isListed(hashed) ||
          reactor->decapKeyFromIntf().isListed(hashed);
}

std::size_t addressKeysOf(Fwd::FwdDecapGroupSm const& machine, Mdl::String const& group) {
   auto const reactor = machine.mdlDecapGroup(group);
   if (!reactor) return 0;
   auto const& keys = reactor->decapKeyFromIntf();
   std::size_t count = 0;
   for (auto const& entry : keys.walk()) count += keys.isListed(entry.hashed()) ? 1 : 0;
   return count;
}

void forEachOriginOf(Fwd::FwdDecapGroupSm const& machine, Mdl::String const& group,
                     std::function<void(Fwd::AddressOrigin const& origin, Fwd::DecapKey const& key,
                                        bool held)> const& visit) {
   auto const reactor = machine.mdlDecapGroup(group);
   if (!reactor) return;
   for (auto const& entry : reactor->decapKeyFromIntf().walk()) {
      for (auto const& origin : entry.value.origins) visit(origin, entry.key, entry.value.held);
   }
}

void applyEntry(Fwd::FwdDecapGroupSm const& machine, Mdl::String const& group,
                Tunnel::Decap::DecapIntfKey const& entry) {
   if (auto const reactor = machine.mdlDecapGroup(group)) reactor->handleUpdateIntf(entry);
}

}  // namespace Agent
