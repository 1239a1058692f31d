#pragma once

#include "FwdL3Unicast/AddressOrigin.h"
#include "FwdL3Unicast/FwdDecapGroup.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Agent {

class World;

/// What an interface's address is to a group: which way its key went, or why it gives none.
enum class AddressState : std::uint8_t {
   // The group has it.
   inHardware,
   waiting,        ///< its key is in the backlog
   notProgrammed,  ///< its key is in neither
   leftOver,       ///< the group has it, though it is admitted no more
   // The group has it not.
   management,    ///< the interface is a management interface
   internal,      ///< the interface is an internal one
   otherVrf,      ///< the interface is outside the default VRF
   linkLocal,     ///< no link-local address is a destination
   noEntry,       ///< no entry of the group names the interface
   excluded,      ///< the interface is in the group's exclude set
   addressType,   ///< the entry is for other roles
   noTunnelType,  ///< the group has no tunnel type
   notRunning,    ///< the machine does not run
   notTaken,      ///< it is admitted, but the machine has not been told of it
   noAddress,     ///< the interface has none
   noInterface,   ///< the group names an interface that is not there
};

/// The name of a state in documents for programs: "inHardware".
char const* addressStateName(AddressState state) noexcept;

/// Whether the group has the address as a destination.
bool isContributed(AddressState state) noexcept;

/// The name of a role in documents and scenarios: "primary", "secondary", "virtual", "ipv6".
char const* roleName(Fwd::AddressRole role) noexcept;

/// One address of an interface, and groups to which it is the same.
struct AddressRow {
   Pkt::IntfId intfId;
   L3::VrfName vrf;
   /// None where there is no address to speak of; `address` is empty then.
   std::optional<Fwd::AddressRole> role;
   /// With the mask that it has on the interface.
   Pkt::IpGenPrefix address;
   AddressState state = AddressState::noEntry;
   /// In the order of configuration. Empty where the state has nothing to do with a group.
   std::vector<Mdl::String> groups;
};

/// The addresses of all interfaces, each with what it gives to which groups and why it gives
/// nothing to the others.
///
/// Interfaces stand in the order of their appearance; in each the primary address, the secondary
/// ones in ascending order, the virtual and the IPv6 addresses. Behind them are addresses that a
/// group still has of what is there no more, and entries for interfaces that are not there.
/// Cost: groups times addresses.
struct AddressRows {
   AddressRows() = default;
   /// Keeps no more than `most` rows.
   AddressRows(World const& world, std::size_t most);

   std::vector<AddressRow> rows;
   std::size_t total = 0;  ///< rows there would be
   std::size_t interfaces = 0;
   std::size_t addresses = 0;
   std::size_t contributed = 0;  ///< addresses that some group has
};

}  // namespace Agent
