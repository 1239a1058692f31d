#include "pkt/IpAddr.h"

#include "mdl/Exception.h"
#include "mdl/Value.h"

#include <ostream>

namespace Pkt {

namespace {

/// Takes a decimal octet off the front of `text`.
std::optional<std::uint32_t> takeOctet(std::string_view& text) noexcept {
   std::uint32_t value = 0;
   std::size_t digits = 0;
   while (digits < text.size() && digits < 3 && text[digits] >= '0' && text[digits] <= '9') {
      value = value * 10 + static_cast<std::uint32_t>(text[digits] - '0');
      ++digits;
   }
   bool const leadingZero = digits > 1 && text.front() == '0';
   if (digits == 0 || leadingZero || value > 255) return std::nullopt;
   text.remove_prefix(digits);
   return value;
}

}  // namespace

IpAddr::IpAddr(char const*& at, char const* end)
    : IpAddr(fromText(Mdl::parsePlainQuoted(at, end))) {}

IpAddr IpAddr::fromText(std::string_view text) {
   if (std::optional<IpAddr> const addr = tryFromText(text)) return *addr;
   throw Mdl::ParseException("not an IPv4 address: " + Mdl::quotedForMessage(text));
}

std::optional<IpAddr> IpAddr::tryFromText(std::string_view text) noexcept {
   std::uint32_t value = 0;
   for (int octet = 0; octet < 4; ++octet) {
      if (octet > 0) {
         if (!text.starts_with('.')) return std::nullopt;
         text.remove_prefix(1);
      }
      std::optional<std::uint32_t> const taken = takeOctet(text);
      if (!taken) return std::nullopt;
      value = value << 8 | *taken;
   }
   if (!text.empty()) return std::nullopt;
   return IpAddr(value);
}

Mdl::String IpAddr::stringValue() const {
   std::string text;
   appendText(text);
   return Mdl::String(text);
}

void IpAddr::appendText(std::string& out) const {
   for (int shift = 24; shift >= 0; shift -= 8) {
      out += std::to_string(value_ >> shift & 0xff);
      if (shift > 0) out += '.';
   }
}

void IpAddr::appendStrep(std::string& out) const {
   out += '\'';
   appendText(out);
   out += '\'';
}

std::ostream& operator<<(std::ostream& out, IpAddr addr) {
   std::string text;
   addr.appendText(text);
   return out << text;
}

}  // namespace Pkt
