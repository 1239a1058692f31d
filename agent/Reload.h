#pragma once

#include "agent/Configuration.h"
#include "mdl/Exception.h"
#include "tunnel/decap/DecapGroup.h"

#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

namespace Agent {

class World;
struct Interface;

/// How much of what ran had to change.
struct Changes {
   std::size_t groupsAdded = 0;
   std::size_t groupsRemoved = 0;
   std::size_t groupsChanged = 0;
   std::size_t prefixesAdded = 0;
   std::size_t prefixesRemoved = 0;
   std::size_t interfacesAdded = 0;
   std::size_t interfacesRemoved = 0;
   std::size_t interfacesChanged = 0;
   bool settings = false;  ///< of hardware or review

   bool any() const noexcept { return *this != Changes(); }
   friend bool operator==(Changes const&, Changes const&) = default;
};

/// Brings a running world in line with a configuration, by as few changes as will do: what is
/// right already is not touched, so hardware forwards on.
///
/// What goes, goes first and makes room: groups, interfaces, then in each group prefixes, entries
/// for interfaces and exclusions; attributes follow, and what is new comes last.
///
/// Owner: whoever changes the world; for the length of a call.
/// Errors: a change during which a hook throws has taken place all the same; the exception goes to
///   the fault handler, and the next change follows. Lack of memory leaves the call.
/// Cost: one pass over the prefixes of both sides.
class Reload {
 public:
   using FaultHandler = std::function<void(Mdl::Exception const&)>;

   Reload(World& world, FaultHandler onFault) : world_(world), onFault_(std::move(onFault)) {}

   /// The groups are these and no others.
   void groupsAre(std::vector<GroupConfiguration> const& groups);
   void groupIs(GroupConfiguration const& group);
   /// The interface has these addresses and no others. One that moves to another VRF goes and
   /// appears again, as that is the only move that the machine is told of.
   void interfaceIs(InterfaceConfiguration const& interface);
   void interfaceDel(Pkt::IntfId const& name);
   void reviewIs(ReviewConfiguration const& review);

   Changes& changes() noexcept { return changes_; }
   /// Single changes made so far.
   std::size_t made() const noexcept { return made_; }

 private:
   template <class Change>
   void attempt(Change const& change);
   void thin(Tunnel::Decap::DecapGroup& group, GroupConfiguration const& wanted);
   void exclude(Tunnel::Decap::DecapGroup& group, GroupConfiguration const& wanted);
   void recast(Tunnel::Decap::DecapGroup& group, GroupConfiguration const& wanted);
   void fill(Tunnel::Decap::DecapGroup& group, GroupConfiguration const& wanted);
   void enter(InterfaceConfiguration const& wanted);
   void bring(Interface const& interface, InterfaceConfiguration const& wanted);

   World& world_;
   FaultHandler const onFault_;
   Changes changes_;
   std::size_t made_ = 0;
};

}  // namespace Agent
