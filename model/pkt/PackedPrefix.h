#pragma once

#include "mdl/KeyForm.h"
#include "pkt/IpGenPrefix.h"

#include <cstdint>
#include <cstring>

namespace Pkt {

/// A prefix as collections keep it: without the room that a family and a length do not need.
/// Cost: 18 bytes, at any address.
class PackedPrefix {
 public:
   explicit PackedPrefix(IpGenPrefix const& prefix) noexcept
       : addr_(prefix.addr_), family_(static_cast<std::uint8_t>(prefix.family_)),
         length_(static_cast<std::uint8_t>(prefix.length_)) {}

   IpGenPrefix key() const noexcept {
      IpGenPrefix prefix;
      prefix.family_ = family_;
      prefix.addr_ = addr_;
      prefix.length_ = length_;
      return prefix;
   }

   /// Without a branch for each part: collections compare often.
   bool operator==(IpGenPrefix const& prefix) const noexcept {
      return ((word(addr_, 0) ^ word(prefix.addr_, 0)) | (word(addr_, 8) ^ word(prefix.addr_, 8)) |
              (family_ ^ prefix.family_) | (length_ ^ prefix.length_)) == 0;
   }

 private:
   static std::uint64_t word(Ip6Addr::Bytes const& bytes, std::size_t at) noexcept {
      std::uint64_t result;
      std::memcpy(&result, bytes.data() + at, sizeof result);
      return result;
   }

   Ip6Addr::Bytes addr_;
   std::uint8_t family_;
   std::uint8_t length_;
};

static_assert(sizeof(PackedPrefix) == 18, "collections keep millions of prefixes");

}  // namespace Pkt

template <>
struct Mdl::KeyForm<Pkt::IpGenPrefix> : Mdl::PackedForm<Pkt::IpGenPrefix, Pkt::PackedPrefix> {};
