#pragma once

#include "FwdL3Unicast/Export.h"
#include "l3/VrfName.h"
#include "mdl/Collection.h"
#include "mdl/String.h"
#include "pkt/IntfId.h"
#include "pkt/IpGenPrefix.h"
#include "tunnel/decap/PayloadType.h"
#include "tunnel/decap/TunnelType.h"

#include <compare>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <tuple>
#include <utility>

namespace Fwd {

/// The interface id of the empty name, which stands for all interfaces.
using Pkt::emptyIntfId;

/// One hardware decapsulation entry: which packets lose their tunnel header, and the VRF in which
/// they go on.
///
/// A value: two keys with equal attributes are the same key. Never changes once it is made, but by
/// assignment.
/// Cost: 64 bytes; a copy shares the VRF's name. In a collection (DecapKeyForm.h) ten bytes.
class FWD_EXPORT DecapKey {
 public:
   /// Every attribute zero, the prefixes of no family. The only key that is false.
   constexpr DecapKey() noexcept = default;
   constexpr DecapKey(Pkt::IpGenPrefix const& srcIp, Pkt::IpGenPrefix const& dstIp,
                      Tunnel::Decap::TunnelType tunnelType, std::uint16_t destPort,
                      Tunnel::Decap::PayloadType payloadType, L3::VrfName forwardingVrf) noexcept
       : srcIp_(srcIp), dstIp_(dstIp), forwardingVrf_(std::move(forwardingVrf)),
         destPort_(destPort), tunnelType_(tunnelType), payloadType_(payloadType) {}

   /// Reads the text representation (see mdl/Value.h) and nothing but it. Throws ParseException,
   /// which names the attribute when the error lies inside its value.
   DecapKey(char const*& at, char const* end);

   Pkt::IpGenPrefix const& srcIp() const noexcept { return srcIp_; }
   Pkt::IpGenPrefix const& dstIp() const noexcept { return dstIp_; }
   Tunnel::Decap::TunnelType tunnelType() const noexcept { return tunnelType_; }
   /// UDP destination port; 0 where there is none.
   std::uint16_t destPort() const noexcept { return destPort_; }
   Tunnel::Decap::PayloadType payloadType() const noexcept { return payloadType_; }
   L3::VrfName const& forwardingVrf() const noexcept { return forwardingVrf_; }

   /// Whether the key differs from the default-constructed one. `invalidDecapKey` and
   /// `emptyDecapKey` do: their prefixes have a family. Who has to tell them apart from real keys
   /// compares with both.
   explicit operator bool() const noexcept { return !(*this == DecapKey()); }

   /// For keyed collections: all six attributes.
   std::uint32_t hash(std::uint32_t seed) const noexcept {
      return Mdl::Hash(seed)
          .mix(srcIp_.hash())
          .mix(dstIp_.hash())
          .mix(static_cast<std::uint32_t>(tunnelType_))
          .mix(destPort_)
          .mix(static_cast<std::uint32_t>(payloadType_))
          .mix(Mdl::hashString(forwardingVrf_.name(), 0))
          .result();
   }
   /// Source, destination and tunnel type only. Keys that differ in port, payload type or VRF share
   /// this hash, and are meant to; keyed collections use the other one.
   std::uint32_t hash() const noexcept;

   /// Short text for traces: source, destination and tunnel type. The missing blank after " src:"
   /// is part of the text.
   Mdl::String stringValue() const;
   /// Appends the text representation.
   void appendStrep(std::string& out) const;

   /// Without a branch for each attribute: keyed collections compare often.
   friend bool operator==(DecapKey const& a, DecapKey const& b) noexcept {
      unsigned const same = unsigned{a.dstIp_ == b.dstIp_} & unsigned{a.srcIp_ == b.srcIp_} &
                            unsigned{a.destPort_ == b.destPort_} &
                            unsigned{a.tunnelType_ == b.tunnelType_} &
                            unsigned{a.payloadType_ == b.payloadType_};
      return same != 0 && a.forwardingVrf_ == b.forwardingVrf_;
   }
   /// The first attribute that differs decides, in the order of the constructor.
   friend std::strong_ordering operator<=>(DecapKey const& a, DecapKey const& b) noexcept {
      return std::tie(a.srcIp_, a.dstIp_, a.tunnelType_, a.destPort_, a.payloadType_,
                      a.forwardingVrf_) <=> std::tie(b.srcIp_, b.dstIp_, b.tunnelType_, b.destPort_,
                                                     b.payloadType_, b.forwardingVrf_);
   }

   /// Writes the text representation.
   friend FWD_EXPORT std::ostream& operator<<(std::ostream& out, DecapKey const& key);

 private:
   // The small ones last, before the padding.
   Pkt::IpGenPrefix srcIp_;
   Pkt::IpGenPrefix dstIp_;
   L3::VrfName forwardingVrf_;
   std::uint16_t destPort_ = 0;
   Tunnel::Decap::TunnelType tunnelType_ = Tunnel::Decap::TunnelType::unknown;
   Tunnel::Decap::PayloadType payloadType_ = Tunnel::Decap::PayloadType::unset;
};

/// A key with the hash under which each collection of the machine has it: an event hashes its key
/// once.
using HashedKey = Mdl::Hashed<DecapKey>;
inline HashedKey hashedKey(DecapKey const& key) noexcept {
   return HashedKey(key, key.hash(Mdl::hashSeed32()));
}

// Both say "no key": they are never counted and never programmed. Both are there before any
// constructor runs.

/// Where no key can be formed. IPv4 zero prefixes, all else zero.
FWD_EXPORT extern DecapKey const invalidDecapKey;
/// The same but for the tunnel type, which is 2.
FWD_EXPORT extern DecapKey const emptyDecapKey;

}  // namespace Fwd

// Collections of keys keep what they have in common once.
#include "FwdL3Unicast/DecapKeyForm.h"

template <>
struct std::hash<Fwd::DecapKey> {
   std::size_t operator()(Fwd::DecapKey const& key) const noexcept { return key.hash(0); }
};
