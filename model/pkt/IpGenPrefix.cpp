#include "pkt/IpGenPrefix.h"

#include "mdl/Value.h"

#include <optional>
#include <ostream>

namespace Pkt {

IpGenPrefix::IpGenPrefix(char const*& at, char const* end)
    : IpGenPrefix(fromText(Mdl::parsePlainQuoted(at, end))) {}

IpGenPrefix IpGenPrefix::fromText(std::string_view text) {
   if (text.empty()) return IpGenPrefix();
   PrefixText const halves(text, typeName);
   if (std::optional<IpAddr> const addr = IpAddr::tryFromText(halves.address)) {
      return IpGenPrefix(*addr, halves.lengthOf(IpAddr::bits));
   }
   if (std::optional<Ip6Addr> const addr = Ip6Addr::tryFromText(halves.address)) {
      return IpGenPrefix(*addr, halves.lengthOf(Ip6Addr::bits));
   }
   refusePrefixText(typeName, text);
}

std::uint32_t IpGenPrefix::hashIfNotIpv4() const noexcept {
   return empty() ? 0 : scramble(Ip6Addr(addr_).hash() ^ length_);
}

bool IpGenPrefix::hasHostBits() const noexcept {
   for (std::uint32_t bit = length_; bit < 8 * addr_.size(); ++bit) {
      if ((addr_[bit / 8] >> (7 - bit % 8) & 1) != 0) return true;
   }
   return false;
}

Mdl::String IpGenPrefix::stringValue() const {
   std::string text;
   appendText(text);
   return Mdl::String(text);
}

void IpGenPrefix::appendText(std::string& out) const {
   if (empty()) return;
   if (isIpv4()) {
      ipAddr().appendText(out);
   } else {
      ip6Addr().appendText(out);
   }
   out += '/';
   out += std::to_string(length_);
}

void IpGenPrefix::appendStrep(std::string& out) const {
   out += '\'';
   appendText(out);
   out += '\'';
}

std::ostream& operator<<(std::ostream& out, IpGenPrefix const& prefix) {
   std::string text;
   prefix.appendText(text);
   return out << text;
}

}  // namespace Pkt
