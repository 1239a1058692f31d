#include "agent/Words.h"

#include "agent/InputError.h"
#include "mdl/Value.h"
#include "platform/sim/KeyText.h"

#include <algorithm>
#include <optional>
#include <string>

namespace Agent {

namespace {

/// The prefix without the bits beyond its length.
Pkt::IpGenPrefix masked(Pkt::IpGenPrefix const& prefix) {
   std::uint32_t const length = prefix.length();
   if (prefix.isIpv4()) {
      std::uint32_t const mask = length == 0 ? 0 : ~std::uint32_t{0} << (32 - length);
      return {Pkt::IpAddr(prefix.ipAddr().value() & mask), length};
   }
   Pkt::Ip6Addr::Bytes bytes = prefix.ip6Addr().bytes();
   for (std::uint32_t bit = length; bit < 128; ++bit) {
      bytes[bit / 8] = static_cast<std::uint8_t>(bytes[bit / 8] & ~(0x80u >> bit % 8));
   }
   return {Pkt::Ip6Addr(bytes), length};
}

/// The enumerator of that name, which must not be the one that stands for "not set".
template <class E>
E enumeratorFromText(std::string_view text, char const* what) {
   std::optional<E> const value = Mdl::enumFromName<E>(text);
   if (value && static_cast<std::uint8_t>(*value) != 0) return *value;
   std::string known;
   for (Mdl::Enumerator const& enumerator : Mdl::enumDescriptor<E>().enumerators) {
      if (enumerator.value == 0) continue;
      known += (known.empty() ? "" : ", ") + std::string(enumerator.name);
   }
   throw ValueError("unknown " + std::string(what) + " " + Mdl::quotedForMessage(text) +
                    "; known are " + known);
}

/// Reads a network value whose own errors say what is wrong, but not where.
template <class T>
T readAs(std::string_view text) {
   try {
      return T::fromText(text);
   } catch (Mdl::Exception const& error) {
      throw ValueError(error.what());
   }
}

}  // namespace

Pkt::IpGenPrefix destinationFromText(std::string_view text) {
   auto const prefix = readAs<Pkt::IpGenPrefix>(text);
   if (prefix.empty()) throw ValueError("an empty text is no prefix");
   if (prefix.hasHostBits()) {
      throw ValueError("bits are set beyond the prefix length: " + Mdl::quotedForMessage(text) +
                       " lies in " + masked(prefix).stringValue().stdString());
   }
   if (prefix.length() == 0) {
      throw ValueError(
          "a prefix of length 0 covers every address; a decap destination needs a "
          "length of at least 1");
   }
   return prefix;
}

Tunnel::Decap::TunnelType tunnelTypeFromText(std::string_view text) {
   return enumeratorFromText<Tunnel::Decap::TunnelType>(text, "tunnel type");
}

Tunnel::Decap::PayloadType payloadTypeFromText(std::string_view text) {
   return enumeratorFromText<Tunnel::Decap::PayloadType>(text, "payload type");
}

Fwd::dgRetCode answerFromWord(std::string_view text) {
   if (std::optional<Fwd::dgRetCode> const code = Sim::answerFromText(text)) return *code;
   throw ValueError("unknown answer " + Mdl::quotedForMessage(text) +
                    "; known are success, not-ready, exists, unsupported, full, max, pending");
}

Mdl::String nameFromText(std::string_view text) {
   if (text.empty()) throw ValueError("a name must not be empty");
   if (text.size() > 255) throw ValueError("a name has at most 255 bytes");
   if (printable(text) != text) throw ValueError("a name must not hold control characters");
   return Mdl::String(text);
}

Pkt::IntfId intfIdFromText(std::string_view text) {
   Mdl::String const name = nameFromText(text);
   if (text == allInterfacesWord) {
      throw ValueError("\"all\" stands for all interfaces and is no interface's name");
   }
   return Pkt::IntfId(name);
}

Pkt::IpAddrWithMask ipAddrFromText(std::string_view text) {
   return readAs<Pkt::IpAddrWithMask>(text);
}

Pkt::Ip6AddrWithMask ip6AddrFromText(std::string_view text) {
   return readAs<Pkt::Ip6AddrWithMask>(text);
}

std::uint32_t familyFromText(std::string_view text) {
   for (std::uint32_t const family : {Pkt::familyIpv4, Pkt::familyIpv6}) {
      if (text == familyText(family)) return family;
   }
   throw ValueError("unknown address family " + Mdl::quotedForMessage(text) +
                    "; known are ipv4, ipv6");
}

std::string familyText(std::uint32_t family) {
   switch (family) {
      case Pkt::familyIpv4: return "ipv4";
      case Pkt::familyIpv6: return "ipv6";
      default: return std::to_string(family);  // a number that a scenario made up
   }
}

Tunnel::Decap::AddressType addressTypeFromText(std::string_view text) {
   if (auto const type = Mdl::enumFromName<Tunnel::Decap::AddressType>(text)) return *type;
   throw ValueError("unknown address type " + Mdl::quotedForMessage(text) +
                    "; known are primary, all");
}

}  // namespace Agent
