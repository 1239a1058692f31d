#pragma once

#include "mdl/KeyForm.h"
#include "pkt/IpGenPrefix.h"
#include "pkt/WideAddresses.h"

#include <cstdint>
#include <cstring>
#include <memory>

namespace Pkt {

/// A prefix as collections keep it: an IPv4 address as it is, an IPv6 address by its number.
/// Cost: 6 bytes, and two more that are free for who stands behind it.
class PackedPrefix {
 private:
   friend PrefixForm;
   PackedPrefix(std::uint32_t address, IpGenPrefix const& prefix) noexcept;

   std::uint32_t family() const noexcept { return kind_ >> 8; }
   std::uint32_t length() const noexcept { return kind_ & 0xffU; }
   static std::uint16_t kindOf(IpGenPrefix const& prefix) noexcept;

   std::uint32_t address_;
   std::uint16_t kind_;  ///< family and length, which are compared together
};

/// Keeps the prefixes of one collection (see mdl/KeyForm.h).
class PrefixForm {
 public:
   using Kept = PackedPrefix;
   using Shown = IpGenPrefix;

   [[gnu::always_inline]] Kept keep(IpGenPrefix const& prefix) {
      return Kept(prefix.isIpv6() ? addWide(prefix.addr_) : firstWord(prefix), prefix);
   }
   IpGenPrefix show(Kept const& kept) const noexcept {
      IpGenPrefix prefix;
      prefix.family_ = kept.family();
      prefix.length_ = kept.length();
      if (kept.family() == familyIpv6) {
         prefix.addr_ = wide_->at(kept.address_);
      } else {
         std::memcpy(prefix.addr_.data(), &kept.address_, sizeof kept.address_);
      }
      return prefix;
   }
   IpGenPrefix take(Kept const& kept) noexcept {
      IpGenPrefix const prefix = show(kept);
      drop(kept);
      return prefix;
   }
   void drop(Kept const& kept) noexcept {
      if (kept.family() == familyIpv6) wide_->remove(kept.address_);
   }
   bool isSame(Kept const& kept, IpGenPrefix const& prefix) const noexcept {
      if (kept.kind_ != Kept::kindOf(prefix)) return false;
      if (prefix.isIpv6()) return wide_->at(kept.address_) == prefix.addr_;
      return kept.address_ == firstWord(prefix);
   }

 private:
   /// All of an address that is not IPv6: the other bytes are zero.
   static std::uint32_t firstWord(IpGenPrefix const& prefix) noexcept {
      std::uint32_t word;
      std::memcpy(&word, prefix.addr_.data(), sizeof word);
      return word;
   }
   [[gnu::noinline]] std::uint32_t addWide(Ip6Addr::Bytes const& address) {
      if (!wide_) wide_ = std::make_unique<WideAddresses>();
      return wide_->add(address);
   }

   /// Null until the first IPv6 prefix.
   std::unique_ptr<WideAddresses> wide_;
};

inline PackedPrefix::PackedPrefix(std::uint32_t address, IpGenPrefix const& prefix) noexcept
    : address_(address), kind_(kindOf(prefix)) {}

inline std::uint16_t PackedPrefix::kindOf(IpGenPrefix const& prefix) noexcept {
   return static_cast<std::uint16_t>(prefix.family() << 8 | prefix.length());
}

}  // namespace Pkt

template <>
struct Mdl::KeyForm<Pkt::IpGenPrefix> : Pkt::PrefixForm {};
