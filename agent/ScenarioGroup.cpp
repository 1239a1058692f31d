// Scenario events that configure a group.

#include "agent/ScenarioEvents.h"
#include "agent/Stage.h"
#include "agent/Tokens.h"
#include "agent/Words.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>
#include <vector>

namespace Agent {

namespace {

using Tunnel::Decap::DecapGroup;
using Change = std::function<void(DecapGroup&)>;

constexpr std::array<std::string_view, 6> keywords = {"type", "port", "payload", "vrf", "ip", "no"};

bool atKeyword(Tokens const& tokens) {
   return std::any_of(keywords.begin(), keywords.end(),
                      [&tokens](std::string_view word) { return tokens.is(word); });
}

/// One or more prefixes, up to the next keyword.
void parsePrefixes(Tokens& tokens, bool add, std::vector<Change>& changes) {
   do {
      Pkt::IpGenPrefix const prefix = tokens.read("a prefix", destinationFromText);
      changes.emplace_back([prefix, add](DecapGroup& group) {
         if (add) {
            group.decapIpIs(prefix);
         } else {
            group.decapIpDel(prefix);
         }
      });
   } while (!tokens.atEnd() && !atKeyword(tokens));
}

Change parseType(Tokens& tokens) {
   auto const type = tokens.take("none") ? Tunnel::Decap::TunnelType::unknown
                                         : tokens.read("a tunnel type", tunnelTypeFromText);
   return [type](DecapGroup& group) { group.tunnelTypeIs(type); };
}

Change parsePort(Tokens& tokens) {
   auto const port = static_cast<std::uint16_t>(tokens.number("a port", 65535));
   return [port](DecapGroup& group) { group.destPortIs(port); };
}

Change parsePayload(Tokens& tokens) {
   auto const payload = tokens.take("none") ? Tunnel::Decap::PayloadType::unset
                                            : tokens.read("a payload type", payloadTypeFromText);
   return [payload](DecapGroup& group) { group.payloadTypeIs(payload); };
}

Change parseVrf(Tokens& tokens) {
   L3::VrfName const vrf(tokens.read("the name of a VRF", nameFromText));
   return [vrf](DecapGroup& group) { group.forwardingVrfIs(vrf); };
}

std::vector<Change> parseChanges(Tokens& tokens) {
   std::vector<Change> changes;
   while (!tokens.atEnd()) {
      if (tokens.take("type")) {
         changes.push_back(parseType(tokens));
      } else if (tokens.take("port")) {
         changes.push_back(parsePort(tokens));
      } else if (tokens.take("payload")) {
         changes.push_back(parsePayload(tokens));
      } else if (tokens.take("vrf")) {
         changes.push_back(parseVrf(tokens));
      } else if (tokens.take("ip")) {
         parsePrefixes(tokens, true, changes);
      } else if (tokens.take("no")) {
         tokens.need("ip");
         parsePrefixes(tokens, false, changes);
      } else {
         tokens.unexpected("one of type, port, payload, vrf, ip, no ip");
      }
   }
   return changes;
}

/// The group that is there, or always a new one, with the changes that follow.
ScenarioEvent parseGroupEvent(Tokens& tokens, bool anew) {
   Mdl::String const name = tokens.read("the name of a group", nameFromText);
   std::vector<Change> const changes = parseChanges(tokens);
   ScenarioEvent event;
   event.act = [name, changes, anew](Stage& stage) {
      World& world = stage.world();
      auto const group = anew ? World::newGroup(name) : world.groupFor(name);
      for (Change const& change : changes) {
         stage.attempt([&] { change(*group); });
      }
      world.groupIs(group);
   };
   return event;
}

}  // namespace

ScenarioEvent parseGroup(Tokens& tokens) { return parseGroupEvent(tokens, false); }

ScenarioEvent parseReplace(Tokens& tokens) {
   tokens.need("group");
   return parseGroupEvent(tokens, true);
}

}  // namespace Agent
