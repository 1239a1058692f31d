#pragma once

#include "FwdL3Unicast/FirstException.h"
#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "FwdL3Unicast/MdlDecapGroup.h"

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

}  // namespace Fwd
