#pragma once

#include "FwdL3Unicast/AddressOrigin.h"
#include "FwdL3Unicast/FwdDecapGroup.h"

#include <cstddef>
#include <functional>

namespace Agent {

// What the agent reads of the state machine's reactors. Nothing else of the agent looks behind the
// machine's front.

/// When the machine wants to be woken; `Mdl::never` when it does not.
Mdl::Seconds nextWakeUp(Fwd::FwdDecapGroupSm const& machine);

/// Visits the keys that a group has derived, each once: from its prefixes, then those that only
/// its interfaces give. `held` says whether the group holds a reference on the key; a key without
/// one was stopped before hardware. The visitor changes nothing.
void forEachKeyOf(Fwd::FwdDecapGroupSm const& machine, Mdl::String const& group,
                  std::function<void(Fwd::DecapKey const& key, bool held)> const& visit);

/// Whether the group has derived the key.
bool groupHasKey(Fwd::FwdDecapGroupSm const& machine, Mdl::String const& group,
                 Fwd::DecapKey const& key);

/// How many destinations the group has from the addresses of interfaces.
std::size_t addressKeysOf(Fwd::FwdDecapGroupSm const& machine, Mdl::String const& group);

/// Visits why the group has keys of interface addresses: each address in its role, with the key
/// that it gives and whether the group holds a reference on that key. The visitor changes nothing.
void forEachOriginOf(Fwd::FwdDecapGroupSm const& machine, Mdl::String const& group,
                     std::function<void(Fwd::AddressOrigin const& origin, Fwd::DecapKey const& key,
                                        bool held)> const& visit);

/// Has the machine apply one of the group's interface entries, as if it were told of a change of
/// it. Nothing when there is no such group.
void applyEntry(Fwd::FwdDecapGroupSm const& machine, Mdl::String const& group,
                Tunnel::Decap::DecapIntfKey const& entry);

}  // namespace Agent
