#pragma once

#include "mdl/Export.h"
#include "mdl/String.h"

#include <compare>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <utility>

namespace L3 {

/// The name of a VRF. The empty name is that of no VRF, and not another word for the default one.
/// Cost: one pointer; a copy shares the text.
class MDL_EXPORT VrfName {
 public:
   constexpr VrfName() noexcept = default;
   explicit constexpr VrfName(Mdl::String name) noexcept : name_(std::move(name)) {}

   /// Reads the text representation (see mdl/Value.h). Throws ParseException.
   VrfName(char const*& at, char const* end);

   /// The name of the default VRF, "default". Made on first use, so that it may be asked for before
   /// main; the reference stays valid until the process ends.
   static VrfName const& defaultVrf();

   Mdl::String const& name() const noexcept { return name_; }
   constexpr bool empty() const noexcept { return name_.empty(); }

   /// The name as it stands.
   Mdl::String const& stringValue() const noexcept { return name_; }
   /// Appends the text representation: the name in quotes.
   void appendStrep(std::string& out) const;

   std::uint32_t hash(std::uint32_t seed) const noexcept { return name_.hash(seed); }

   friend bool operator==(VrfName const&, VrfName const&) noexcept = default;
   /// By the bytes of the name.
   friend std::strong_ordering operator<=>(VrfName const&, VrfName const&) noexcept = default;

   /// Writes the name as it stands.
   friend MDL_EXPORT std::ostream& operator<<(std::ostream& out, VrfName const& vrf);

 private:
   Mdl::String name_;
};

}  // namespace L3

template <>
struct std::hash<L3::VrfName> {
   std::size_t operator()(L3::VrfName const& vrf) const noexcept { return vrf.hash(0); }
};
