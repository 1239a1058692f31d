#pragma once

#include "FwdL3Unicast/FirstException.h"

namespace Fwd {

class FwdDecapGroupSm;

/// Brings a machine that is initialized again, or has a configuration again, in line with what
/// changed while it was not: ports, payload types and VRFs of groups, entries and exclude sets,
/// interfaces and their addresses. What is right already stays in hardware untouched. Exceptions of
/// the hook go to `errors`, and the rest is done. Cost: looks at every interface key of every group
/// and at every address that a group admits; at prefixes only of groups whose values changed.
void catchUp(FwdDecapGroupSm& stateMachine, FirstException& errors);

}  // namespace Fwd
