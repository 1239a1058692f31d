#pragma once

#include "FwdL3Unicast/FirstException.h"
#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "FwdL3Unicast/MdlDecapGroup.h"
#include "FwdL3Unicast/MdlDgConfig.h"

namespace Fwd {

/// Visits the decap groups of the configuration in its order, each with its reactor; groups
/// without a reactor, or one that is at rest, are passed over. All are visited although a hook
/// throws; the exceptions go to `errors`.
template <class Visit>
void forEachGroup(FwdDecapGroupSm& stateMachine, FirstException& errors, Visit const& visit) {
   auto const config = stateMachine.dgConfig();
   if (!config) return;
   for (auto const& entry : config->decapGroup().walk()) {
      auto const reactor = stateMachine.mdlDecapGroup(entry.key);
      if (!reactor || reactor->isMarkedForDeletion()) continue;
      errors.attempt([&] { visit(*entry.value, *reactor); });
   }
}

/// The same for the groups that say something of an interface or of all of its family, or hold
/// something of it; others may be visited as well, so `visit` asks the group.
template <class Visit>
void forEachUser(FwdDecapGroupSm& stateMachine, Tunnel::Decap::DecapIntfKey const& intf,
                 FirstException& errors, Visit const& visit) {
   auto const config = stateMachine.dgConfig();
   if (!config) return;
   auto const users = stateMachine.mdlDgConfig()->interfaceUsers().of(intf, *config);
   if (!users) return forEachGroup(stateMachine, errors, visit);
   for (Mdl::String const& name : *users) {
      auto const group = config->decapGroup(name);
      auto const reactor = stateMachine.mdlDecapGroup(name);
      if (!group || !reactor || reactor->isMarkedForDeletion()) continue;
      errors.attempt([&] { visit(*group, *reactor); });
   }
}

/// For an interface that was away before the machine heard of it, and is back with the status that
/// it had: what its groups were told meanwhile they followed without it. Takes, and gives nothing
/// back.
void deriveReturned(FwdDecapGroupSm& stateMachine, Tunnel::Decap::DecapIntfKey const& intf);

/// For an interface that came, went or got another status: has its groups give back what is not
/// called for. They may have taken addresses of a status that was there before the machine heard of
/// it, and has gone again.
void leaveStraysOf(FwdDecapGroupSm& stateMachine, Tunnel::Decap::DecapIntfKey const& intf);

/// Has the groups give back what they hold for an interface, wherever it came from; while
/// `onlyStrays()`, what is not called for now.
template <class OnlyStrays>
void leaveRest(FwdDecapGroupSm& stateMachine, Tunnel::Decap::DecapIntfKey const& intf,
               FirstException& errors, OnlyStrays const& onlyStrays) {
   forEachUser(stateMachine, intf, errors,
               [&](Tunnel::Decap::DecapGroup const&, FwdDecapGroupSm::MdlDecapGroup& group) {
                  group.leaveIntf(intf, onlyStrays);
               });
}

}  // namespace Fwd
