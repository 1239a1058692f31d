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

}  // namespace Fwd
