#include "decapctl/report/HardwareTable.h"

#include <algorithm>
#include <vector>

namespace Ctl::Report {

namespace {

/// A removal and a programming of a destination that lie no further apart belong together.
constexpr double soonAfter = 1.0;

void noteFull(Use& use) {
   use.fullLeast = use.full == 0 ? use.entries : std::min(use.fullLeast, use.entries);
   use.fullGreatest = std::max(use.fullGreatest, use.entries);
   ++use.full;
}

}  // namespace

void HardwareTable::machineBegins() {
   ++run_.machines;
   heldOver_.merge(claimed_);
   claimed_.clear();
}

void HardwareTable::configurationReplayed() {
   while (!heldOver_.empty()) takeOut(*heldOver_.begin());
}

void HardwareTable::written(KeyId id, Place place, bool wasThere) {
   Destination& destination = *book_[id].destination;
   if (wasThere && !book_[id].story.present) ++run_.olderEntries;
   if (!wasThere && destination.removed && destination.removedFrom == run_.machines) {
      rekeyed(*destination.removed, place);
   }
   destination.removed.reset();
   supersede(id);
   enter(id);
}

void HardwareTable::enter(KeyId id) {
   Key& key = book_[id];
   heldOver_.erase(id);
   claimed_.insert(id);
   if (key.story.present) return;
   key.story.present = true;
   key.destination->present.push_back(id);
   ++key.type->entries;
   key.type->greatest = std::max(key.type->greatest, key.type->entries);
   run_.table.entries = size();
}

void HardwareTable::takeOut(KeyId id) {
   Key& key = book_[id];
   heldOver_.erase(id);
   claimed_.erase(id);
   key.story.present = false;
   std::erase(key.destination->present, id);
   --key.type->entries;
   run_.table.entries = size();
}

void HardwareTable::removed(KeyId id, Place place) {
   Key& key = book_[id];
   key.destination->removed = place;
   key.destination->removedFrom = run_.machines;
   // What hardware has refused for good is removed like any other, and was never there.
   if (key.story.present) {
      takeOut(id);
   } else if (key.story.refusals() == 0) {
      ++run_.olderEntries;
   }
}

void HardwareTable::full(KeyId id) {
   noteFull(run_.table);
   noteFull(*book_[id].type);
}

/// An entry that nobody has asked for makes room for one of another VRF.
void HardwareTable::supersede(KeyId id) {
   if (heldOver_.empty()) return;
   KeyWords const words(book_[id].text);
   std::vector<KeyId> gone;
   for (KeyId const other : book_[id].destination->present) {
      bool const isInTheWay =
          heldOver_.contains(other) && other != id && KeyWords(book_[other].text).vrf != words.vrf;
      if (isInTheWay) gone.push_back(other);
   }
   std::for_each(gone.begin(), gone.end(), [this](KeyId other) { takeOut(other); });
}

void HardwareTable::rekeyed(Place since, Place now) {
   double const gap = now.time - since.time;
   if (gap > soonAfter) return;
   ++run_.rekeyed;
   run_.longestGap = std::max(run_.longestGap, gap);
   if (!goesOn_) run_.bursts.push_back({{since, now, true}, 0, 0});
   goesOn_ = true;
   Burst& burst = run_.bursts.back();
   burst.span.end = now;
   burst.longestGap = std::max(burst.longestGap, gap);
   ++burst.destinations;
}

}  // namespace Ctl::Report
