#include "pkt/Ip6Addr.h"

#include "mdl/Exception.h"
#include "mdl/Value.h"
#include "pkt/IpAddr.h"

#include <ostream>

namespace Pkt {

namespace {

constexpr std::size_t groupCount = 8;

/// Groups of 16 bits, as far as they have been read.
class Groups {
 public:
   std::size_t size() const noexcept { return size_; }
   std::uint16_t operator[](std::size_t i) const noexcept { return groups_[i]; }
   bool add(std::uint32_t group) noexcept {
      if (size_ == groupCount) return false;
      groups_[size_++] = static_cast<std::uint16_t>(group);
      return true;
   }

 private:
   std::array<std::uint16_t, groupCount> groups_{};
   std::size_t size_ = 0;
};

std::optional<std::uint32_t> hexValue(char digit) noexcept {
   if (digit >= '0' && digit <= '9') return static_cast<std::uint32_t>(digit - '0');
   if (digit >= 'a' && digit <= 'f') return static_cast<std::uint32_t>(digit - 'a' + 10);
   if (digit >= 'A' && digit <= 'F') return static_cast<std::uint32_t>(digit - 'A' + 10);
   return std::nullopt;
}

std::optional<std::uint32_t> hexGroup(std::string_view text) noexcept {
   if (text.empty() || text.size() > 4) return std::nullopt;
   std::uint32_t value = 0;
   for (char const digit : text) {
      std::optional<std::uint32_t> const nibble = hexValue(digit);
      if (!nibble) return std::nullopt;
      value = value << 4 | *nibble;
   }
   return value;
}

bool addIpv4(std::string_view text, Groups& groups) noexcept {
   std::optional<IpAddr> const addr = IpAddr::tryFromText(text);
   return addr && groups.add(addr->value() >> 16) && groups.add(addr->value() & 0xffff);
}

/// Reads groups with single colons between them. Only the last may be an IPv4 address, and only
/// where the text ends the whole address.
bool readGroups(std::string_view text, bool endsAddress, Groups& groups) noexcept {
   if (text.empty()) return true;
   while (true) {
      std::size_t const colon = text.find(':');
      std::string_view const word = text.substr(0, colon);
      bool const last = colon == std::string_view::npos;
      if (last && endsAddress && word.find('.') != std::string_view::npos) {
         return addIpv4(word, groups);
      }
      std::optional<std::uint32_t> const group = hexGroup(word);
      if (!group || !groups.add(*group)) return false;
      if (last) return true;
      text.remove_prefix(colon + 1);
   }
}

void putGroup(Ip6Addr::Bytes& bytes, std::size_t index, std::uint16_t group) noexcept {
   bytes[2 * index] = static_cast<std::uint8_t>(group >> 8);
   bytes[2 * index + 1] = static_cast<std::uint8_t>(group & 0xff);
}

std::uint32_t groupAt(Ip6Addr::Bytes const& bytes, std::size_t index) noexcept {
   return static_cast<std::uint32_t>(bytes[2 * index] << 8 | bytes[2 * index + 1]);
}

/// Where "::" stands when an address is written.
struct Run {
   std::size_t first = groupCount;
   std::size_t count = 0;
};

/// The longest run of zero groups, the first of equals; a single zero group is no run (RFC 5952,
/// sections 4.2.2 and 4.2.3).
Run longestZeroRun(Ip6Addr::Bytes const& bytes, std::size_t groups) noexcept {
   Run longest;
   for (std::size_t first = 0; first < groups; ++first) {
      std::size_t count = 0;
      while (first + count < groups && groupAt(bytes, first + count) == 0) ++count;
      if (count > longest.count) longest = {first, count};
   }
   return longest.count >= 2 ? longest : Run{};
}

void appendHexGroup(std::string& out, std::uint32_t group) {
   constexpr std::string_view digits = "0123456789abcdef";
   bool started = false;
   for (int shift = 12; shift >= 0; shift -= 4) {
      std::uint32_t const nibble = group >> shift & 0xf;
      started = started || nibble != 0 || shift == 0;
      if (started) out += digits[nibble];
   }
}

/// ::ffff:0:0/96, whose addresses are IPv4 addresses (RFC 4291, section 2.5.5.2).
bool isIpv4Mapped(Ip6Addr::Bytes const& bytes) noexcept {
   for (std::size_t i = 0; i < 10; ++i) {
      if (bytes[i] != 0) return false;
   }
   return bytes[10] == 0xff && bytes[11] == 0xff;
}

}  // namespace

Ip6Addr::Ip6Addr(char const*& at, char const* end)
    : Ip6Addr(fromText(Mdl::parsePlainQuoted(at, end))) {}

Ip6Addr Ip6Addr::fromText(std::string_view text) {
   if (std::optional<Ip6Addr> const addr = tryFromText(text)) return *addr;
   throw Mdl::ParseException("not an IPv6 address: " + Mdl::quotedForMessage(text));
}

std::optional<Ip6Addr> Ip6Addr::tryFromText(std::string_view text) noexcept {
   std::size_t const gap = text.find("::");
   bool const hasGap = gap != std::string_view::npos;
   Groups before;
   Groups after;
   if (!readGroups(text.substr(0, gap), !hasGap, before)) return std::nullopt;
   if (hasGap && !readGroups(text.substr(gap + 2), true, after)) return std::nullopt;

   // "::" stands for one zero group at least.
   std::size_t const read = before.size() + after.size();
   if (hasGap ? read >= groupCount : read != groupCount) return std::nullopt;

   Bytes bytes{};
   for (std::size_t i = 0; i < before.size(); ++i) putGroup(bytes, i, before[i]);
   for (std::size_t i = 0; i < after.size(); ++i) {
      putGroup(bytes, groupCount - after.size() + i, after[i]);
   }
   return Ip6Addr(bytes);
}

Mdl::String Ip6Addr::stringValue() const {
   std::string text;
   appendText(text);
   return Mdl::String(text);
}

void Ip6Addr::appendText(std::string& out) const {
   bool const mapped = isIpv4Mapped(bytes_);
   std::size_t const groups = mapped ? groupCount - 2 : groupCount;
   Run const run = longestZeroRun(bytes_, groups);

   bool needsColon = false;
   for (std::size_t i = 0; i < groups; ++i) {
      if (i == run.first) {
         out += "::";
         i += run.count - 1;
         needsColon = false;
         continue;
      }
      if (needsColon) out += ':';
      appendHexGroup(out, groupAt(bytes_, i));
      needsColon = true;
   }
   if (mapped) {
      out += ':';
      IpAddr(groupAt(bytes_, 6) << 16 | groupAt(bytes_, 7)).appendText(out);
   }
}

void Ip6Addr::appendStrep(std::string& out) const {
   out += '\'';
   appendText(out);
   out += '\'';
}

std::ostream& operator<<(std::ostream& out, Ip6Addr const& addr) {
   std::string text;
   addr.appendText(text);
   return out << text;
}

}  // namespace Pkt
