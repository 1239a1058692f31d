#pragma once

#include "FwdL3Unicast/FwdDecapGroup.h"
#include "agent/AddressRows.h"
#include "agent/OperatorLog.h"
#include "agent/TakeOver.h"
#include "agent/TimeScale.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Agent {

class World;

/// Why a key is not in hardware.
enum class Reason : std::uint8_t {
   none,         ///< it is
   vrfConflict,  ///< waits: another VRF owns the destination
   full,         ///< waits: no room
   notReady,     ///< waits: the hardware was not ready
   pending,      ///< waits: the hardware had accepted the key but not finished
   fault,        ///< the hook failed with an exception
   untried,      ///< waits for the next review
   portUnset,    ///< not handed to hardware: UDP without port or payload type
   unsupported,  ///< refused for good
   refused,      ///< refused for good, by a limit or an unknown code
};

/// The name of a reason in documents for programs: "vrfConflict".
char const* reasonName(Reason reason) noexcept;

/// A key as a report shows it.
struct KeyRow {
   Fwd::DecapKey key;
   /// The groups that call for it, in the order of configuration.
   std::vector<Mdl::String> groups;
   std::uint32_t references = 0;
   /// When it came into hardware or into the backlog, or was refused for good; none where nothing
   /// of the kind has happened.
   std::optional<Mdl::Seconds> since;
   Reason reason = Reason::none;
   std::uint32_t refusals = 0;      ///< answers that were refusals
   Mdl::Seconds lastRefusal = 0.0;  ///< when `refusals` is not 0
   /// How often hardware was asked since the key was first called for, as far as it is known.
   std::uint32_t tries = 0;
   /// What became of the entry that the machine found; empty for one that it did not find.
   std::optional<TakeOver::Fate> fate;
   // For a conflict: who owns the destination.
   L3::VrfName ownerVrf;
   std::vector<Mdl::String> ownerGroups;
};

/// Some rows of a list, and how long it is.
struct Rows {
   std::vector<KeyRow> rows;
   std::size_t total = 0;
   /// Of `total`, those that the scope asks for.
   std::size_t matching = 0;
   /// Of `matching`, those before the first row.
   std::size_t passed = 0;

   /// How many come behind the last row.
   std::size_t left() const noexcept { return matching - passed - rows.size(); }
};

/// One group and what became of its keys.
struct GroupRow {
   Mdl::Ptr<Tunnel::Decap::DecapGroup const> group;
   /// Destinations that it has from interfaces.
   std::size_t addresses = 0;
   std::size_t inHardware = 0;
   std::size_t waiting = 0;
   std::size_t missing = 0;
};

/// What the machine found in hardware when it was built, and what became of it.
struct Restart {
   std::size_t found = 0;
   std::size_t takenOver = 0;
   std::size_t rewritten = 0;
   std::size_t unclaimed = 0;
   std::size_t removed = 0;
   std::size_t heldOver = 0;
   /// The entries that have left since: unclaimed or removed, in the order of the table they were
   /// in.
   Rows gone;
};

/// What a tunnel type may take of the hardware table, and takes.
struct TypeShare {
   Tunnel::Decap::TunnelType type = Tunnel::Decap::TunnelType::unknown;
   std::size_t size = 0;
   std::size_t capacity = 0;
   std::size_t highWater = 0;
};

/// How many rows of a list a report takes, and of which lists it takes any.
struct ReportScope {
   std::size_t rows = 40;
   /// Rows that are passed over first, in each list of keys.
   std::size_t from = 0;
   /// Which keys get rows; all where it is empty.
   std::function<bool(Fwd::DecapKey const&)> keys;
   /// Of the groups only this one; all where it is empty.
   Mdl::String onlyGroup;
   /// Of the backlog only what waits for another VRF to leave.
   bool onlyConflicts = false;
   TimeScale times;
   bool groups = true;
   bool interfaces = true;
   bool hardware = true;
   bool backlog = true;
};

/// What a person or a program wants to know about a world now.
///
/// A value: it stays as it is when the world moves on.
/// Cost: one pass over all keys, and memory for the rows that it takes.
struct Report {
   Report(World const& world, ReportScope const& scope);

   Mdl::Seconds time = 0.0;
   TimeScale times;
   std::vector<GroupRow> groups;
   std::size_t groupsTotal = 0;
   /// Of them, those that the scope asks for.
   std::size_t groupsMatching = 0;
   std::size_t prefixes = 0;
   /// Destinations that groups have from interfaces.
   std::size_t addresses = 0;
   /// Some group has entries for interfaces.
   bool usesInterfaces = false;

   /// What the addresses of interfaces give to which groups.
   AddressRows interfaces;

   /// In the order of programming.
   Rows hardware;
   std::size_t capacity = 0;
   std::size_t highWater = 0;
   /// The tunnel types with a capacity of their own.
   std::vector<TypeShare> shares;
   /// Entries with several references: of several groups, or of one that calls for the destination
   /// by its prefixes and by its interfaces.
   std::size_t shared = 0;
   /// Entries that no group calls for.
   std::size_t unclaimed = 0;
   bool resourceFull = false;
   Restart restart;

   /// In the order of the backlog.
   Rows waiting;
   std::size_t waitingForVrf = 0;
   /// What groups call for and is neither in hardware nor waiting.
   Rows missing;

   std::vector<LogEntry> log;
};

}  // namespace Agent
