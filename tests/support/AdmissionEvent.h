#pragma once

#include "ip/IpIntfStatus.h"
#include "ip6/IntfStatus.h"
#include "mdl/Ptr.h"
#include "pkt/IntfId.h"
#include "tunnel/decap/AddressType.h"
#include "tunnel/decap/DecapExcludeIntfSet.h"
#include "tunnel/decap/DecapIntfKey.h"
#include "tunnel/decap/TunnelType.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Support {

/// One step of a generated sequence, as plain data: what it does depends on nothing but its own
/// numbers and the state that it meets, so that a sequence may be shortened and run again.
struct AdmissionEvent {
   enum class Kind : std::uint8_t {
      createMachine,
      initialize,
      ready,
      ipPut,
      ipSame,
      ipRemove,
      ipPrimary,
      ipVirtual,
      ipSecondaryAdd,
      ipSecondaryDel,
      ipVrf,
      ip6Put,
      ip6Remove,
      ip6Add,
      ip6Del,
      ip6Vrf,
      entrySet,
      entryDel,
      excludeSet,
      excludeDel,
      applyAgain,
      excludeAgain,
      tunnelType,
      prefix,
      groupToggle,
      ipStatusReplaced,
      ip6StatusReplaced,
   };

   static constexpr std::uint32_t groups = 4;
   static constexpr std::uint32_t interfaces = 8;

   Kind kind = Kind::createMachine;
   std::uint8_t group = 0;
   std::uint8_t intf = 0;
   std::uint8_t family = 1;
   /// For an entry: whether it is the one for all interfaces.
   bool all = false;
   std::uint32_t word = 0;

   // What the numbers stand for.

   std::string groupName() const { return "g" + std::to_string(group); }
   Pkt::IntfId intfId() const { return intfIdAt(intf); }
   static Pkt::IntfId intfIdAt(std::uint32_t index);
   Tunnel::Decap::DecapIntfKey entryKey() const;
   Tunnel::Decap::AddressType addressType() const;
   Tunnel::Decap::DecapExcludeIntfSet excludeSet() const;
   Tunnel::Decap::TunnelType newTunnelType() const;
   Pkt::IpAddrWithMask ipAddr() const { return ipAddrAt(word); }
   Pkt::Ip6AddrWithMask ip6Addr() const { return ip6AddrAt(word); }
   L3::VrfName vrf() const;
   /// A status object with addresses of its own.
   Mdl::Ptr<Ip::IpIntfStatus> ipStatus() const;
   Mdl::Ptr<Ip6::IntfStatus> ip6Status() const;

   /// "g1 entry Ethernet2 family 1 type all".
   std::string text() const;

 private:
   // Few addresses, so that they meet each other on several interfaces and in several roles.
   static Pkt::IpAddrWithMask ipAddrAt(std::uint32_t bits);
   static Pkt::Ip6AddrWithMask ip6AddrAt(std::uint32_t bits);
};

using AdmissionEvents = std::vector<AdmissionEvent>;

/// The sequence of a seed: at least `length` events, of which some precede the running state.
AdmissionEvents admissionEvents(std::uint32_t seed, std::uint32_t length);

/// One event a line, numbered.
std::string admissionEventsText(AdmissionEvents const& events);

}  // namespace Support
