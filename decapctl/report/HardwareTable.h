#pragma once

#include "decapctl/report/KeyBook.h"
#include "decapctl/report/RunHistory.h"

#include <cstddef>
#include <cstdint>
#include <unordered_set>

namespace Ctl::Report {

/// What hardware holds, as far as the answers tell: a key is in it once it was answered with
/// success or exists, until its removal was answered. An entry that a machine found there and did
/// not ask for leaves when the configuration has been replayed, or when another VRF gets its
/// destination.
class HardwareTable {
 public:
   /// Keeps what a report shows of it in `run`.
   HardwareTable(KeyBook& book, RunHistory& run) : book_(book), run_(run) {}

   std::uint32_t size() const noexcept {
      return static_cast<std::uint32_t>(claimed_.size() + heldOver_.size());
   }
   void machineBegins();
   /// What is re-keyed from here on is the work of another change.
   void inputBegins() noexcept { goesOn_ = false; }
   void configurationReplayed();
   void written(KeyId id, Place place, bool wasThere);
   void removed(KeyId id, Place place);
   /// There was no room for the key.
   void full(KeyId id);

 private:
   void enter(KeyId id);
   void takeOut(KeyId id);
   void supersede(KeyId id);
   void rekeyed(Place since, Place now);

   KeyBook& book_;
   RunHistory& run_;
   /// Whether the last burst may get longer.
   bool goesOn_ = false;
   /// What the machine has asked for, and what it has not.
   std::unordered_set<KeyId> claimed_;
   std::unordered_set<KeyId> heldOver_;
};

}  // namespace Ctl::Report
