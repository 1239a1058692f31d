#pragma once

#include "FwdL3Unicast/DecapKey.h"
#include "FwdL3Unicast/dgRetCode.h"
#include "platform/sim/Call.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Agent {

class Tokens;

/// A key as a scenario describes it: a destination, and as much of the rest as matters. What is
/// left out matches anything.
struct KeyPattern {
   std::optional<Tunnel::Decap::TunnelType> tunnelType;
   Pkt::IpGenPrefix destination;
   std::optional<std::uint16_t> destPort;
   std::optional<Tunnel::Decap::PayloadType> payloadType;
   std::optional<L3::VrfName> vrf;

   bool matches(Fwd::DecapKey const& key) const;
   /// As it is written.
   std::string text() const;
};

/// A call as a scenario describes it.
struct CallPattern {
   Sim::Operation operation = Sim::Operation::program;
   std::optional<KeyPattern> key;
   std::optional<Fwd::dgRetCode> answer;

   bool matches(Sim::Call const& call) const;
   std::string text() const;
};

/// key = [ type ] prefix [ "port" n ] [ "payload" p ] [ "vrf" name ]. Throws InputError.
KeyPattern parseKeyPattern(Tokens& tokens);

/// "none", or patterns separated by commas.
std::vector<KeyPattern> parseKeyPatterns(Tokens& tokens);
std::vector<CallPattern> parseCallPatterns(Tokens& tokens);

}  // namespace Agent
