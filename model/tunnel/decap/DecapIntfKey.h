#pragma once

#include "mdl/Export.h"
#include "mdl/String.h"
#include "pkt/AddressFamily.h"
#include "pkt/IntfId.h"

#include <compare>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <utility>

namespace Tunnel::Decap {

/// Names what a decap group says of an interface: the interface, and the address family that is
/// meant. The empty interface id stands for all interfaces of the family.
class MDL_EXPORT DecapIntfKey {
 public:
   /// No interface, no family.
   constexpr DecapIntfKey() noexcept = default;
   /// `family` is `Pkt::familyIpv4` (1) or `Pkt::familyIpv6` (2). A key of any other number is a
   /// key that matches no interface.
   DecapIntfKey(Pkt::IntfId intfId, std::uint32_t family) noexcept
       : intfId_(std::move(intfId)), family_(family) {}

   /// Reads the text representation (see mdl/Value.h). Throws ParseException.
   DecapIntfKey(char const*& at, char const* end);

   Pkt::IntfId const& intfId() const noexcept { return intfId_; }
   std::uint32_t family() const noexcept { return family_; }

   /// For keyed collections.
   std::uint32_t hash(std::uint32_t seed) const noexcept;
   /// The same in every process; not for keyed collections.
   std::uint32_t hash() const noexcept;

   /// Text for traces: " Intf: Ethernet1 address-family: 1".
   Mdl::String stringValue() const;
   /// Appends the text representation.
   void appendStrep(std::string& out) const;

   friend bool operator==(DecapIntfKey const&, DecapIntfKey const&) noexcept = default;
   /// By interface id, then family.
   friend std::strong_ordering operator<=>(DecapIntfKey const&,
                                           DecapIntfKey const&) noexcept = default;

   /// Writes `stringValue`.
   friend MDL_EXPORT std::ostream& operator<<(std::ostream& out, DecapIntfKey const& key);

 private:
   Pkt::IntfId intfId_;
   std::uint32_t family_ = Pkt::familyNone;
};

}  // namespace Tunnel::Decap
