#pragma once

#include "mdl/Export.h"
#include "pkt/IntfId.h"
#include "tunnel/decap/DecapIntfKey.h"

#include <cstddef>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Tunnel::Decap {

/// The interfaces that a decap group leaves out of an all-interfaces entry. A plain value: copies
/// are made to compare the configuration with what was applied last.
///
/// I1: an interface is a member once, and members stand in the order in which they were added.
/// Re-entrancy: changing the set ends the validity of what `excludeIntf()` refers to; who changes
///   it inside a loop walks over a copy.
/// Cost: adding and looking up is O(log n), taking out O(n).
class MDL_EXPORT DecapExcludeIntfSet {
 public:
   /// The empty set of a key.
   explicit DecapExcludeIntfSet(DecapIntfKey key = {}) noexcept : key_(std::move(key)) {}

   /// Reads the text representation (see mdl/Value.h). Throws ParseException.
   DecapExcludeIntfSet(char const*& at, char const* end);

   DecapIntfKey const& key() const noexcept { return key_; }

   /// The members, in the order of their addition.
   std::vector<Pkt::IntfId> const& excludeIntf() const noexcept { return ordered_; }
   /// Whether the interface is a member.
   bool excludeIntf(Pkt::IntfId const& intfId) const { return members_.contains(intfId); }
   std::size_t size() const noexcept { return ordered_.size(); }
   bool empty() const noexcept { return ordered_.empty(); }

   /// Adds the interface; true when it was no member. Nothing has changed if memory runs out.
   bool excludeIntfIs(Pkt::IntfId const& intfId);
   /// Takes the interface out; true when it was a member.
   bool excludeIntfDel(Pkt::IntfId const& intfId);
   void excludeIntfDelAll() noexcept;

   /// Appends the text representation, the members in their order.
   void appendStrep(std::string& out) const;

   /// The same key and the same members, in whatever order.
   friend bool operator==(DecapExcludeIntfSet const& a, DecapExcludeIntfSet const& b) {
      return a.key_ == b.key_ && a.members_ == b.members_;
   }

 private:
   DecapIntfKey key_;
   std::set<Pkt::IntfId> members_;
   std::vector<Pkt::IntfId> ordered_;
};

}  // namespace Tunnel::Decap
