#pragma once

#include "FwdL3Unicast/Export.h"
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
   std::uint32_t hash(std::uint32_t seed) const noexcept;

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

/// How collections keep it.
/// Cost: 19 bytes, at any address.
class KeptTunnelTypeDecapIp {
 public:
   explicit KeptTunnelTypeDecapIp(TunnelTypeDecapIp const& pair) noexcept
       : tunnelType_(pair.tunnelType()), decapIp_(pair.decapIp()) {}

   TunnelTypeDecapIp key() const noexcept { return {tunnelType_, decapIp_.key()}; }

   friend bool operator==(KeptTunnelTypeDecapIp const& kept,
                          TunnelTypeDecapIp const& pair) noexcept {
      return kept.tunnelType_ == pair.tunnelType() && kept.decapIp_ == pair.decapIp();
   }

 private:
   Tunnel::Decap::TunnelType tunnelType_;
   Pkt::PackedPrefix decapIp_;
};

}  // namespace Fwd

template <>
struct Mdl::KeyForm<Fwd::TunnelTypeDecapIp>
    : Mdl::PackedForm<Fwd::TunnelTypeDecapIp, Fwd::KeptTunnelTypeDecapIp> {};

template <>
struct std::hash<Fwd::TunnelTypeDecapIp> {
   std::size_t operator()(Fwd::TunnelTypeDecapIp const& value) const noexcept {
      return value.hash(0);
   }
};
