#pragma once

#include "FwdL3Unicast/DecapKey.h"
#include "mdl/Collection.h"
#include "mdl/Seconds.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

namespace Sim {

class StateFile;

/// The decapsulation table of a simulated chip: what is in it, how much fits, how full it ever was.
///
/// Owner: the platform hook that writes it (`SimHelper`), or a test.
/// I1: a key is in the table at most once; the entries stand in the order in which they were
///   written.
/// I2: a write never takes the content past a capacity. Content that was there before a capacity
///   was lowered stays.
/// I3: no high-water mark is smaller than the size it belongs to.
/// I4: with a state file, table and file tell the same. A change that the file refuses does not
///   take place: `StateFileError` leaves the call.
/// Re-entrancy: none is needed, no call runs foreign code. Walks over `entries()` survive any call.
/// Cost: O(1) a call; a key, its time and an index slot an entry. With a state file, one append to
///   it for each change.
class HardwareTable {
 public:
   using Entries = Mdl::Collection<Fwd::DecapKey, Mdl::Seconds>;

   HardwareTable();
   ~HardwareTable();
   HardwareTable(HardwareTable const&) = delete;
   HardwareTable& operator=(HardwareTable const&) = delete;

   /// The capacity of a table that is never full.
   static constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();

   enum class Write : std::uint8_t {
      written,  ///< the key is in the table now
      held,     ///< the key was in the table already; it stays as it is
      full,     ///< no room; nothing changed
   };

   /// How many entries fit in all, `unlimited` at first.
   std::size_t capacity() const noexcept { return all_.capacity; }
   void capacityIs(std::size_t entries) noexcept { all_.capacity = entries; }
   /// How many entries of one tunnel type fit, `unlimited` at first.
   std::size_t capacity(Tunnel::Decap::TunnelType type) const noexcept { return of(type).capacity; }
   void capacityIs(Tunnel::Decap::TunnelType type, std::size_t entries) noexcept {
      of(type).capacity = entries;
   }

   std::size_t size() const noexcept { return all_.size; }
   std::size_t size(Tunnel::Decap::TunnelType type) const noexcept { return of(type).size; }

   /// The greatest size that the table ever had.
   std::size_t highWater() const noexcept { return all_.highWater; }
   std::size_t highWater(Tunnel::Decap::TunnelType type) const noexcept {
      return of(type).highWater;
   }

   /// Whether one more entry of the type fits, once `leaving` of that type have left.
   bool hasRoom(Tunnel::Decap::TunnelType type, std::size_t leaving = 0) const noexcept {
      return all_.hasRoom(leaving) && of(type).hasRoom(leaving);
   }
   bool contains(Fwd::DecapKey const& key) const { return entries_.contains(key); }

   /// Writes the key unless it is held or there is no room. `now` is kept as the entry's age.
   Write write(Fwd::DecapKey const& key, Mdl::Seconds now);
   /// Writes the key whatever the capacity says; false when it was held.
   bool writeUnchecked(Fwd::DecapKey const& key, Mdl::Seconds now);
   /// Whether the key was there to be removed.
   bool erase(Fwd::DecapKey const& key);
   /// Empties the table, as a reset of the chip does. Capacities and high-water marks stay.
   void clear();

   /// Readback: the keys and when each was written, in the order of writing.
   Entries const& entries() const noexcept { return entries_; }

   /// Fills the table, which is empty so far, with what the file holds, whatever the capacity says,
   /// and keeps every change in the file from now on. The entries are as old as this call.
   void fileIs(std::unique_ptr<StateFile> file, Mdl::Seconds now);
   /// The table lives in memory only from now on; the file is neither written nor closed. For a
   /// copy of the process, whose file belongs to the original.
   void fileForget() noexcept;
   /// Null for a table that lives in memory only.
   StateFile* file() const noexcept { return file_.get(); }

 private:
   struct Share {
      std::size_t capacity = unlimited;
      std::size_t size = 0;
      std::size_t highWater = 0;

      bool hasRoom(std::size_t leaving) const noexcept {
         return size < leaving || size - leaving < capacity;
      }
      void grow() noexcept {
         if (++size > highWater) highWater = size;
      }
   };

   Share const& of(Tunnel::Decap::TunnelType type) const noexcept {
      return byType_[static_cast<std::uint8_t>(type)];
   }
   Share& of(Tunnel::Decap::TunnelType type) noexcept {
      return byType_[static_cast<std::uint8_t>(type)];
   }

   Share all_;
   // One for every value the type can have, as a key may carry any.
   std::array<Share, 256> byType_;
   Entries entries_;
   std::unique_ptr<StateFile> file_;
};

}  // namespace Sim
