#pragma once

#include "mdl/Export.h"
#include "mdl/String.h"

#include <compare>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <utility>

namespace Pkt {

/// The identity of an interface: its name, as a handle that costs a pointer to copy.
///
/// The empty name is an identity of its own. It belongs to no interface, and stands for "all of
/// them" where a configuration may say so.
class MDL_EXPORT IntfId {
 public:
   /// The interface id of the empty name.
   constexpr IntfId() noexcept = default;
   explicit IntfId(Mdl::String name) noexcept : name_(std::move(name)) {}

   /// Reads the text representation (see mdl/Value.h). Throws ParseException.
   IntfId(char const*& at, char const* end);

   Mdl::String const& name() const noexcept { return name_; }
   constexpr bool empty() const noexcept { return name_.empty(); }

   /// The name as it stands.
   Mdl::String const& stringValue() const noexcept { return name_; }
   /// Appends the text representation: the name in quotes.
   void appendStrep(std::string& out) const;

   std::uint32_t hash(std::uint32_t seed) const noexcept { return name_.hash(seed); }

   friend bool operator==(IntfId const&, IntfId const&) noexcept = default;
   /// By the bytes of the name.
   friend std::strong_ordering operator<=>(IntfId const&, IntfId const&) noexcept = default;

   /// Writes the name as it stands.
   friend MDL_EXPORT std::ostream& operator<<(std::ostream& out, IntfId const& intfId);

 private:
   Mdl::String name_;
};

/// The interface id made from the empty name. It is there before any constructor runs.
inline constexpr IntfId emptyIntfId{};

}  // namespace Pkt

template <>
struct std::hash<Pkt::IntfId> {
   std::size_t operator()(Pkt::IntfId const& intfId) const noexcept { return intfId.hash(0); }
};
