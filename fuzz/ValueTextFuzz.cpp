// The texts of values: the first byte chooses the type, the rest is the text. A text that is read
// gives a value whose own text reads back to it.

#include "FwdL3Unicast/DecapKey.h"
#include "FwdL3Unicast/TunnelTypeDecapIp.h"
#include "FwdL3Unicast/dgRetCode.h"
#include "fuzz/Fuzz.h"
#include "l3/VrfName.h"
#include "mdl/Exception.h"
#include "mdl/Value.h"
#include "pkt/IntfId.h"
#include "pkt/Ip6Addr.h"
#include "pkt/Ip6AddrWithMask.h"
#include "pkt/IpAddr.h"
#include "pkt/IpAddrWithMask.h"
#include "pkt/IpGenPrefix.h"
#include "tunnel/decap/AddressType.h"
#include "tunnel/decap/DecapExcludeIntfSet.h"
#include "tunnel/decap/DecapIntfKey.h"
#include "tunnel/decap/PayloadType.h"
#include "tunnel/decap/TunnelType.h"

#include <concepts>
#include <iterator>

namespace {

template <class T>
concept Hashed = requires(T const& value) {
   value.hash(std::uint32_t{1});
};

/// The representation, as programs exchange it: one text for a value, so the text read is the text
/// written, unless it spells an address in one of its other ways.
template <class T>
void representation(Mdl::String const& text) try {
   T const value = Mdl::strepToValue<T>(text);
   Mdl::String const written = Mdl::valueToStrep(value);
   T const again = Mdl::strepToValue<T>(written);
   Fuzz::require(again == value, "a representation reads back to its value");
   Fuzz::require(Mdl::valueToStrep(again) == written, "a value has one representation");
   if constexpr (Hashed<T>) {
      Fuzz::require(again.hash(7U) == value.hash(7U), "equal values have equal hashes");
   }
} catch (Mdl::ParseException const& error) {
   Fuzz::requireOneLine(error.what());
}

/// The text that people read and write: an address, a prefix.
template <class T>
void readable(Mdl::String const& text) try {
   T const value(text);
   Fuzz::require(T(value.stringValue()) == value, "a value's text reads back to it");
} catch (Mdl::ParseException const& error) {
   Fuzz::requireOneLine(error.what());
}

using Read = void (*)(Mdl::String const&);

constexpr Read reads[] = {
    representation<Fwd::DecapKey>,
    representation<Fwd::TunnelTypeDecapIp>,
    representation<Fwd::dgRetCode>,
    representation<L3::VrfName>,
    representation<Pkt::IntfId>,
    representation<Pkt::IpAddr>,
    representation<Pkt::Ip6Addr>,
    representation<Pkt::IpAddrWithMask>,
    representation<Pkt::Ip6AddrWithMask>,
    representation<Pkt::IpGenPrefix>,
    representation<Tunnel::Decap::AddressType>,
    representation<Tunnel::Decap::DecapExcludeIntfSet>,
    representation<Tunnel::Decap::DecapIntfKey>,
    representation<Tunnel::Decap::PayloadType>,
    representation<Tunnel::Decap::TunnelType>,
    representation<Mdl::String>,
    representation<std::uint64_t>,
    representation<std::uint8_t>,
    representation<bool>,
    readable<Pkt::IpAddr>,
    readable<Pkt::Ip6Addr>,
    readable<Pkt::IpAddrWithMask>,
    readable<Pkt::Ip6AddrWithMask>,
    readable<Pkt::IpGenPrefix>,
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   if (size == 0) return 0;
   reads[data[0] % std::size(reads)](Mdl::String(Fuzz::textOf(data + 1, size - 1)));
   return 0;
}
