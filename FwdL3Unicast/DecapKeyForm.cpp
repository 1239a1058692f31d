#include "FwdL3Unicast/DecapKeyForm.h"

#include "mdl/Hash.h"

#include <utility>

namespace Fwd {

std::uint32_t SharedValues::hashOf(DecapKey const& key) noexcept {
   return Mdl::Hash(Mdl::hashSeed32())
       .mix(key.srcIp().hash())
       .mix(static_cast<std::uint32_t>(key.tunnelType()))
       .mix(key.destPort())
       .mix(static_cast<std::uint32_t>(key.payloadType()))
       .mix(Mdl::hashString(key.forwardingVrf().name(), 0))
       .result();
}

/// The number of the key's values, which are in use or are put down now, without a use yet.
std::uint32_t SharedValues::find(DecapKey const& key) {
   std::uint32_t const hash = hashOf(key);
   if (std::uint32_t const known = search(key, hash); known != npos) return known;
   makeRoom(hash);
   std::uint32_t const number = free_;
   Values& values = values_[number];
   free_ = std::exchange(values.hash, hash);
   values.srcIp = key.srcIp();
   values.forwardingVrf = key.forwardingVrf();
   values.destPort = key.destPort();
   values.tunnelType = key.tunnelType();
   values.payloadType = key.payloadType();
   if (index_.active()) index_.insert(hash, number);
   ++inUse_;
   return number;
}

std::uint32_t SharedValues::search(DecapKey const& key, std::uint32_t hash) const noexcept {
   if (index_.active()) {
      return index_.find(hash, [&](std::uint32_t number) { return isSame(number, key); });
   }
   for (std::uint32_t number = 0; number < values_.size(); ++number) {
      if (has(number, key)) return number;
   }
   return npos;
}

/// A free number, and a place in the index, if there is one or ought to be one.
void SharedValues::makeRoom(std::uint32_t hash) {
   if (!index_.active() && inUse_ == mostUnindexed) {
      Mdl::HashIndex index;
      index.makeRoom(hash, hashes());
      for (std::uint32_t number = 0; number < values_.size(); ++number) {
         index.insert(values_[number].hash, number);
      }
      index_ = std::move(index);
   }
   if (index_.active()) index_.makeRoom(hash, hashes());
   if (free_ != npos) return;
   values_.emplace_back().hash = npos;
   free_ = static_cast<std::uint32_t>(values_.size() - 1);
}

void SharedValues::free(std::uint32_t number) noexcept {
   Values& values = values_[number];
   if (index_.active()) index_.erase(values.hash, number, hashes());
   values.forwardingVrf = L3::VrfName();
   values.hash = std::exchange(free_, number);
   --inUse_;
}

Mdl::HashIndex::Hashes SharedValues::hashes() const noexcept {
   return {this, [](void const* self, std::uint32_t number) noexcept {
              return static_cast<SharedValues const*>(self)->values_[number].hash;
           }};
}

}  // namespace Fwd
