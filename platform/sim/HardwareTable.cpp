#include "platform/sim/HardwareTable.h"

namespace Sim {

HardwareTable::Write HardwareTable::write(Fwd::DecapKey const& key, Mdl::Seconds now) {
   if (contains(key)) return Write::held;
   if (!hasRoom(key.tunnelType())) return Write::full;
   writeUnchecked(key, now);
   return Write::written;
}

bool HardwareTable::writeUnchecked(Fwd::DecapKey const& key, Mdl::Seconds now) {
   if (contains(key)) return false;
   entries_.insertOrAssign(key, now);
   all_.grow();
   of(key.tunnelType()).grow();
   return true;
}

bool HardwareTable::erase(Fwd::DecapKey const& key) {
   // The caller's key may be the table's own.
   auto const type = key.tunnelType();
   if (!entries_.erase(key)) return false;
   --all_.size;
   --of(type).size;
   return true;
}

void HardwareTable::clear() {
   entries_.clear();
   all_.size = 0;
   for (auto& share : byType_) share.size = 0;
}

}  // namespace Sim
