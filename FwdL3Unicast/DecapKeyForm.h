#pragma once

// How collections keep decap keys. DecapKey.h includes it, so that no collection of keys is made
// without.

#include "FwdL3Unicast/DecapKey.h"
#include "FwdL3Unicast/Export.h"
#include "mdl/HashIndex.h"
#include "mdl/KeyForm.h"
#include "pkt/PackedPrefix.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Fwd {

/// What many keys have in common, which is all but the destination: each combination once, under a
/// number. The keys of a group have one combination for each address family, twice as many while it
/// is re-keyed.
///
/// Owner: the form in which one collection keeps its keys. Not shared.
/// I1: a number is in use as often as it was taken and not yet dropped, and is given to nobody else
///   meanwhile.
/// I2: no two numbers in use have equal values.
/// Exceptions: `take` may throw std::bad_alloc and then has changed nothing.
/// Cost: 48 bytes a combination, and some 10 of index when there are more than a few. The one that
///   was taken last is found by comparing.
class FWD_EXPORT SharedValues {
 public:
   /// The number of the key's values, in use once more.
   std::uint32_t take(DecapKey const& key) {
      if (last_ >= values_.size() || !has(last_, key)) last_ = find(key);
      ++values_[last_].uses;
      return last_;
   }
   void drop(std::uint32_t number) noexcept {
      if (--values_[number].uses == 0) free(number);
   }

   bool isSame(std::uint32_t number, DecapKey const& key) const noexcept {
      Values const& values = values_[number];
      return asOne(values.destPort, values.tunnelType, values.payloadType) ==
                 asOne(key.destPort(), key.tunnelType(), key.payloadType()) &&
             values.srcIp == key.srcIp() && values.forwardingVrf == key.forwardingVrf();
   }
   /// The key of these values and this destination.
   DecapKey keyOf(std::uint32_t number, Pkt::IpGenPrefix const& dstIp) const noexcept {
      Values const& values = values_[number];
      return DecapKey(values.srcIp, dstIp, values.tunnelType, values.destPort, values.payloadType,
                      values.forwardingVrf);
   }

   std::size_t inUse() const noexcept { return inUse_; }

 private:
   static constexpr std::uint32_t npos = Mdl::HashIndex::npos;
   static constexpr std::size_t mostUnindexed = 8;

   struct Values {
      Pkt::IpGenPrefix srcIp;
      L3::VrfName forwardingVrf;
      std::uint16_t destPort = 0;
      Tunnel::Decap::TunnelType tunnelType{};
      Tunnel::Decap::PayloadType payloadType{};
      std::uint32_t uses = 0;
      std::uint32_t hash = 0;  ///< while not in use, the next number that is not
   };

   /// The three small ones as one number, which compilers load at once as they stand in memory.
   static std::uint32_t asOne(std::uint16_t destPort, Tunnel::Decap::TunnelType tunnelType,
                              Tunnel::Decap::PayloadType payloadType) noexcept {
      return std::uint32_t{destPort} | static_cast<std::uint32_t>(tunnelType) << 16 |
             static_cast<std::uint32_t>(payloadType) << 24;
   }

   bool has(std::uint32_t number, DecapKey const& key) const noexcept {
      return values_[number].uses != 0 && isSame(number, key);
   }
   static std::uint32_t hashOf(DecapKey const& key) noexcept;
   std::uint32_t find(DecapKey const& key);
   std::uint32_t search(DecapKey const& key, std::uint32_t hash) const noexcept;
   void makeRoom(std::uint32_t hash);
   void free(std::uint32_t number) noexcept;
   Mdl::HashIndex::Hashes hashes() const noexcept;

   std::vector<Values> values_;
   Mdl::HashIndex index_;
   std::uint32_t last_ = 0;
   std::uint32_t free_ = npos;
   std::uint32_t inUse_ = 0;
};

}  // namespace Fwd

/// A key is kept as its destination and the number of its other values: 10 bytes instead of 60, and
/// two more that are free for the collection's value.
template <>
class Mdl::KeyForm<Fwd::DecapKey> {
 public:
   class Kept {
    public:
      Kept(std::uint32_t values, Pkt::PackedPrefix const& dstIp) noexcept
          : values_(values), dstIp_(dstIp) {}

    private:
      friend KeyForm;
      std::uint32_t values_;
      [[no_unique_address]] Pkt::PackedPrefix dstIp_;
   };
   using Shown = Fwd::DecapKey;

   [[gnu::always_inline]] Kept keep(Fwd::DecapKey const& key) {
      if (!shared_) [[unlikely]]
         shared_ = std::make_unique<Fwd::SharedValues>();
      std::uint32_t const values = shared_->take(key);
      try {
         return Kept(values, destinations_.keep(key.dstIp()));
      } catch (...) {
         shared_->drop(values);
         throw;
      }
   }
   Fwd::DecapKey show(Kept const& kept) const noexcept {
      return shared_->keyOf(kept.values_, destinations_.show(kept.dstIp_));
   }
   Fwd::DecapKey take(Kept const& kept) noexcept {
      Fwd::DecapKey key = show(kept);
      drop(kept);
      return key;
   }
   void drop(Kept const& kept) noexcept {
      shared_->drop(kept.values_);
      destinations_.drop(kept.dstIp_);
   }
   bool isSame(Kept const& kept, Fwd::DecapKey const& key) const noexcept {
      return destinations_.isSame(kept.dstIp_, key.dstIp()) && shared_->isSame(kept.values_, key);
   }

 private:
   /// Null until the first key.
   std::unique_ptr<Fwd::SharedValues> shared_;
   Pkt::PrefixForm destinations_;
};
