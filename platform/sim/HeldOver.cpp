#include "platform/sim/HeldOver.h"

#include "platform/sim/HardwareTable.h"

namespace Sim {

void HeldOver::take(HardwareTable const& table) {
   keys_.clear();
   for (auto const& entry : table.entries()) keys_.insert(entry.key);
}

std::optional<Fwd::DecapKey> HeldOver::next() const {
   if (empty()) return std::nullopt;
   return *keys_.begin();
}

std::optional<Fwd::DecapKey> HeldOver::rival(Fwd::DecapKey const& key) const {
   if (empty()) return std::nullopt;
   Fwd::DecapKey const first(key.srcIp(), key.dstIp(), key.tunnelType(), 0,
                             Tunnel::Decap::PayloadType::unset, L3::VrfName());
   for (auto at = keys_.lower_bound(first); at != keys_.end(); ++at) {
      bool const sameDestination = at->srcIp() == key.srcIp() && at->dstIp() == key.dstIp() &&
                                   at->tunnelType() == key.tunnelType();
      if (!sameDestination) break;
      if (at->forwardingVrf() != key.forwardingVrf()) return *at;
   }
   return std::nullopt;
}

}  // namespace Sim
