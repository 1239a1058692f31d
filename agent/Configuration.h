#pragma once

#include "l3/VrfName.h"
#include "mdl/Seconds.h"
#include "mdl/String.h"
#include "pkt/IntfId.h"
#include "pkt/Ip6AddrWithMask.h"
#include "pkt/IpAddrWithMask.h"
#include "pkt/IpGenPrefix.h"
#include "platform/sim/HardwareTable.h"
#include "platform/sim/Script.h"
#include "tunnel/decap/DecapExcludeIntfSet.h"
#include "tunnel/decap/DecapIntf.h"
#include "tunnel/decap/PayloadType.h"
#include "tunnel/decap/TunnelType.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Agent {

/// One decap group as configured. What is left out keeps the value that says "not set".
struct GroupConfiguration {
   Mdl::String name;
   Tunnel::Decap::TunnelType tunnelType = Tunnel::Decap::TunnelType::unknown;
   std::uint16_t destPort = 0;
   Tunnel::Decap::PayloadType payloadType = Tunnel::Decap::PayloadType::unset;
   L3::VrfName vrf = L3::VrfName::defaultVrf();
   std::vector<Pkt::IpGenPrefix> decapIps;
   std::vector<Tunnel::Decap::DecapIntf> decapInterfaces;
   /// At most one a family.
   std::vector<Tunnel::Decap::DecapExcludeIntfSet> excludeInterfaces;
};

/// One interface and its addresses.
struct InterfaceConfiguration {
   Pkt::IntfId name;
   L3::VrfName vrf = L3::VrfName::defaultVrf();
   /// The zero address for none.
   Pkt::IpAddrWithMask primary;
   std::vector<Pkt::IpAddrWithMask> secondary;
   /// The primary address is a virtual one.
   bool isVirtual = false;
   std::vector<Pkt::Ip6AddrWithMask> ipv6;
};

/// An answer that simulated hardware gives for a destination.
struct ScriptedAnswer {
   Pkt::IpGenPrefix destination;
   Sim::Answer answer;
   std::uint64_t times = Sim::Script::always;

   friend bool operator==(ScriptedAnswer const&, ScriptedAnswer const&) = default;
};

/// The simulated hardware under the machine.
struct HardwareConfiguration {
   std::size_t capacity = Sim::HardwareTable::unlimited;
   std::vector<std::pair<Tunnel::Decap::TunnelType, std::size_t>> capacityByType;
   Mdl::Seconds latency = 0.0;
   Mdl::Seconds notReadyUntil = 0.0;
   Mdl::Seconds callCost = 0.0;
   std::vector<ScriptedAnswer> answers;

   friend bool operator==(HardwareConfiguration const&, HardwareConfiguration const&) = default;
};

/// How the machine goes back to keys that wait.
struct ReviewConfiguration {
   Mdl::Seconds interval = 0.1;
   Mdl::Seconds budget = 0.01;

   friend bool operator==(ReviewConfiguration const&, ReviewConfiguration const&) = default;
};

/// What a configuration file says.
struct Configuration {
   std::vector<GroupConfiguration> groups;
   std::vector<InterfaceConfiguration> interfaces;
   HardwareConfiguration hardware;
   ReviewConfiguration review;
};

}  // namespace Agent
