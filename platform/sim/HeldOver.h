#pragma once

#include "FwdL3Unicast/DecapKey.h"

#include <cstddef>
#include <optional>
#include <set>

namespace Sim {

class HardwareTable;

/// The entries that hardware had when this process began, and that nobody has asked for since.
///
/// A restarted agent finds its predecessor's entries in hardware. Each one that it asks for is
/// claimed and goes on as its own; what is left when the whole configuration has been replayed is
/// wanted by nobody.
///
/// Owner: the hook (`SimHelper`). It only names keys; the table holds the entries.
/// I1: a key leaves once, by being claimed or by leaving the table through the hook.
/// Re-entrancy: none is needed, no call runs foreign code. There are no walks: who takes several
///   keys takes the next one each time.
/// Cost: O(log size) a call; about 100 bytes a key.
class HeldOver {
 public:
   /// What the table holds now is held over.
   void take(HardwareTable const& table);

   std::size_t size() const noexcept { return keys_.size(); }
   bool empty() const noexcept { return keys_.empty(); }
   bool contains(Fwd::DecapKey const& key) const { return keys_.contains(key); }

   /// The key is claimed, or gone from the table. Whether it was held over.
   bool erase(Fwd::DecapKey const& key) { return !empty() && keys_.erase(key) != 0; }

   /// The least key, for who takes all of them one by one.
   std::optional<Fwd::DecapKey> next() const;

   /// A key of the same source, destination and tunnel type as `key`, for another VRF. Only one
   /// VRF at a time gets the packets to a destination.
   std::optional<Fwd::DecapKey> rival(Fwd::DecapKey const& key) const;

 private:
   // Keys of one destination stand together in the order of keys.
   std::set<Fwd::DecapKey> keys_;
};

}  // namespace Sim
