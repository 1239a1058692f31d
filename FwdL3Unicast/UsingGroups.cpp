#include "FwdL3Unicast/UsingGroups.h"

namespace Fwd {

void deriveReturned(FwdDecapGroupSm& stateMachine, Tunnel::Decap::DecapIntfKey const& intf) {
   if (!stateMachine.initializedAndReady()) return;
   FirstException errors;
   forEachUser(stateMachine, intf, errors,
               [&](Tunnel::Decap::DecapGroup const&, FwdDecapGroupSm::MdlDecapGroup& group) {
                  group.deriveIntf(intf);
               });
   errors.rethrow();
}

void leaveStraysOf(FwdDecapGroupSm& stateMachine, Tunnel::Decap::DecapIntfKey const& intf) {
   // A restart that leaves hardware as it is leaves also this.
   if (!stateMachine.initializedAndReady() || stateMachine.disableCleanupOnRestart()) return;
   FirstException errors;
   leaveRest(stateMachine, intf, errors, [] { return true; });
   errors.rethrow();
}

}  // namespace Fwd
