#include "agent/Ownership.h"

#include "agent/MachineView.h"
#include "agent/World.h"

namespace Agent {

void Ownership::collect(World const& world) {
   if (!world.machine()) return;
   if (ofKey_.empty() && ofDestination_.empty()) return;
   for (auto const& entry : world.groups()) {
      auto const index = static_cast<std::uint32_t>(names_.size());
      names_.push_back(entry.key);
      forEachKeyOf(*world.machine(), entry.key, [&](Fwd::DecapKey const& key, bool held) {
         if (auto const wanted = ofKey_.find(key); wanted != ofKey_.end()) {
            wanted->second.push_back(index);
         }
         if (!held || ofDestination_.empty()) return;
         auto const owned = ofDestination_.find(Destination(key.tunnelType(), key.dstIp()));
         if (owned != ofDestination_.end() && owned->second.vrf == key.forwardingVrf()) {
            owned->second.groups.push_back(index);
         }
      });
   }
}

Ownership::Names Ownership::of(Fwd::DecapKey const& key) const {
   auto const found = ofKey_.find(key);
   return found == ofKey_.end() ? Names{} : names(found->second);
}

Ownership::Names Ownership::ownersOf(Destination const& destination) const {
   auto const found = ofDestination_.find(destination);
   return found == ofDestination_.end() ? Names{} : names(found->second.groups);
}

Ownership::Names Ownership::names(std::vector<std::uint32_t> const& groups) const {
   Names result;
   result.reserve(groups.size());
   for (std::uint32_t const group : groups) result.push_back(names_[group]);
   return result;
}

}  // namespace Agent
