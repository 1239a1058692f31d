#pragma once

#include "FwdL3Unicast/Export.h"
#include "mdl/Hash.h"
#include "mdl/KeyForm.h"
#include "mdl/String.h"
#include "pkt/IpGenPrefix.h"
#include "pkt/PackedPrefix.h"
#include "tunnel/decap/TunnelType.h"

#include <compare>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>

namespace Fwd {

/// What can belong to one forwarding VRF at a time: a destination, for one type of tunnel. A key's
/// is made of its tunnel type and its destination.
class FWD_EXPORT TunnelTypeDecapIp {
 public:
   /// Every attribute zero, the prefix of no family.
   constexpr TunnelTypeDecapIp() noexcept = default;
   constexpr TunnelTypeDecapIp(Tunnel::Decap::TunnelType tunnelType,
                               Pkt::IpGenPrefix const& decapIp) noexcept
       : tunnelType_(tunnelType), decapIp_(decapIp) {}

   /// Reads the text representation (see mdl/Value.h) and nothing but it. Throws ParseException,
   /// which names the attribute when the error lies inside its value.
   TunnelTypeDecapIp(char const*& at, char const* end);

   Tunnel::Decap::TunnelType tunnelType() const noexcept { return tunnelType_; }
   Pkt::IpGenPrefix const& decapIp() const noexcept { return decapIp_; }

   /// For keyed collections.
   std::uint32_t hash(std::uint32_t seed) const noexcept {
      return Mdl::Hash(seed)
          .mix(static_cast<std::uint32_t>(tunnelType_))
          .mix(decapIp_.hash())
          .result();
   }

   /// Appends the text representation.
   void appendStrep(std::string& out) const;

   friend bool operator==(TunnelTypeDecapIp const&, TunnelTypeDecapIp const&) noexcept = default;
   /// By tunnel type, as a number, then prefix.
   friend std::strong_ordering operator<=>(TunnelTypeDecapIp const&,
                                           TunnelTypeDecapIp const&) noexcept = default;

   /// Writes the text representation.
   friend FWD_EXPORT std::ostream& operator<<(std::ostream& out, TunnelTypeDecapIp const& value);

 private:
   // In the order of comparison.
   Tunnel::Decap::TunnelType tunnelType_ = Tunnel::Decap::TunnelType::unknown;
   Pkt::IpGenPrefix decapIp_;
};

}  // namespace Fwd

/// How collections keep it: 7 bytes (see pkt/PackedPrefix.h).
template <>
class Mdl::KeyForm<Fwd::TunnelTypeDecapIp> {
 public:
   class Kept {
    public:
      Kept(Pkt::PackedPrefix const& decapIp, Tunnel::Decap::TunnelType tunnelType) noexcept
          : decapIp_(decapIp), tunnelType_(tunnelType) {}

    private:
      friend KeyForm;
      [[no_unique_address]] Pkt::PackedPrefix decapIp_;
      Tunnel::Decap::TunnelType tunnelType_;
   };
   using Shown = Fwd::TunnelTypeDecapIp;

   [[gnu::always_inline]] Kept keep(Fwd::TunnelTypeDecapIp const& pair) {
      return Kept(prefixes_.keep(pair.decapIp()), pair.tunnelType());
   }
   Fwd::TunnelTypeDecapIp show(Kept const& kept) const noexcept {
      return {kept.tunnelType_, prefixes_.show(kept.decapIp_)};
   }
   Fwd::TunnelTypeDecapIp take(Kept const& kept) noexcept {
      return {kept.tunnelType_, prefixes_.take(kept.decapIp_)};
   }
   void drop(Kept const& kept) noexcept { prefixes_.drop(kept.decapIp_); }
   bool isSame(Kept const& kept, Fwd::TunnelTypeDecapIp const& pair) const noexcept {
      return kept.tunnelType_ == pair.tunnelType() &&
             prefixes_.isSame(kept.decapIp_, pair.decapIp());
   }

 private:
   Pkt::PrefixForm prefixes_;
};

template <>
struct std::hash<Fwd::TunnelTypeDecapIp> {
   std::size_t operator()(Fwd::TunnelTypeDecapIp const& value) const noexcept {
      return value.hash(0);
   }
};
