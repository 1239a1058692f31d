#include "platform/sim/HardwareTable.h"

#include "mdl/Assert.h"
#include "platform/sim/StateFile.h"

#include <utility>

namespace Sim {

HardwareTable::HardwareTable() = default;
HardwareTable::~HardwareTable() = default;

HardwareTable::Write HardwareTable::write(Fwd::DecapKey const& key, Mdl::Seconds now) {
   if (contains(key)) return Write::held;
   if (!hasRoom(key.tunnelType())) return Write::full;
   writeUnchecked(key, now);
   return Write::written;
}

bool HardwareTable::writeUnchecked(Fwd::DecapKey const& key, Mdl::Seconds now) {
   if (contains(key)) return false;
   entries_.insertOrAssign(key, now);
   if (file_) {
      // The entry came first: a record cannot be taken back if there is no memory for the entry.
      try {
         file_->append(StateChange::written, key);
      } catch (...) {
         entries_.erase(key);
         throw;
      }
      file_->rewriteIfLong(entries_);
   }
   all_.grow();
   of(key.tunnelType()).grow();
   return true;
}

bool HardwareTable::erase(Fwd::DecapKey const& key) {
   // The caller's key may be the table's own.
   auto const type = key.tunnelType();
   if (!contains(key)) return false;
   if (file_) file_->append(StateChange::erased, key);
   entries_.erase(key);
   if (file_) file_->rewriteIfLong(entries_);
   --all_.size;
   --of(type).size;
   return true;
}

void HardwareTable::clear() {
   if (file_) file_->append(StateChange::cleared, {});
   entries_.clear();
   if (file_) file_->rewriteIfLong(entries_);
   all_.size = 0;
   for (auto& share : byType_) share.size = 0;
}

void HardwareTable::fileForget() noexcept { static_cast<void>(file_.release()); }

void HardwareTable::fileIs(std::unique_ptr<StateFile> file, Mdl::Seconds now) {
   MDL_ASSERT(file && !file_ && entries_.empty());
   for (auto const& entry : file->takeEntries()) writeUnchecked(entry.key, now);
   file_ = std::move(file);
   file_->rewriteIfLong(entries_);
}

}  // namespace Sim
