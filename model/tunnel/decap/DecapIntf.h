#pragma once

#include "mdl/Export.h"
#include "tunnel/decap/AddressType.h"
#include "tunnel/decap/DecapIntfKey.h"

#include <string>
#include <utility>

namespace Tunnel::Decap {

/// What a decap group says of an interface, or of all interfaces of a family: which of the
/// addresses are decapsulated. IPv6 interfaces have no such distinction; it is not looked at there.
class MDL_EXPORT DecapIntf {
 public:
   explicit DecapIntf(DecapIntfKey key = {},
                      AddressType addressType = AddressType::primary) noexcept
       : key_(std::move(key)), addressType_(addressType) {}

   /// Reads the text representation (see mdl/Value.h). Throws ParseException.
   DecapIntf(char const*& at, char const* end);

   DecapIntfKey const& key() const noexcept { return key_; }
   AddressType addressType() const noexcept { return addressType_; }
   void addressTypeIs(AddressType addressType) noexcept { addressType_ = addressType; }

   /// Appends the text representation.
   void appendStrep(std::string& out) const;

   friend bool operator==(DecapIntf const&, DecapIntf const&) noexcept = default;

 private:
   DecapIntfKey key_;
   AddressType addressType_ = AddressType::primary;
};

}  // namespace Tunnel::Decap
