// Scenario events that configure a group.

#include "agent/MachineView.h"
#include "agent/ScenarioEvents.h"
#include "agent/Stage.h"
#include "agent/Tokens.h"
#include "agent/Words.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

namespace Agent {

namespace {

using Tunnel::Decap::DecapGroup;
using Change = std::function<void(DecapGroup&)>;

using Tunnel::Decap::DecapExcludeIntfSet;
using Tunnel::Decap::DecapIntf;
using Tunnel::Decap::DecapIntfKey;

constexpr std::array<std::string_view, 8> keywords = {"type", "port",      "payload", "vrf",
                                                      "ip",   "interface", "exclude", "no"};

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

std::uint32_t parseFamily(Tokens& tokens) {
   return tokens.read("an address family", familyFromText);
}

/// The same, or a number that may mean nothing.
std::uint32_t parseFamilyOrNumber(Tokens& tokens) {
   if (!tokens.take("family")) return parseFamily(tokens);
   constexpr std::uint64_t greatest = std::numeric_limits<std::uint32_t>::max();
   return static_cast<std::uint32_t>(tokens.number("the number of a family", greatest));
}

/// What an interface entry is for.
DecapIntfKey parseEntryKey(Tokens& tokens) {
   Pkt::IntfId const intfId =
       tokens.take(allInterfacesWord)
           ? Pkt::emptyIntfId
           : tokens.read("the name of an interface or \"all\"", intfIdFromText);
   return {intfId, parseFamilyOrNumber(tokens)};
}

Change parseEntry(Tokens& tokens) {
   DecapIntfKey const key = parseEntryKey(tokens);
   auto const type = tokens.take("address-type")
                         ? tokens.read("an address type", addressTypeFromText)
                         : Tunnel::Decap::AddressType::primary;
   return [entry = DecapIntf(key, type)](DecapGroup& group) { group.decapIntfIs(entry); };
}

/// The whole set of a family.
Change parseExclude(Tokens& tokens) {
   DecapExcludeIntfSet set({Pkt::emptyIntfId, parseFamily(tokens)});
   if (tokens.take("none")) {
      return [key = set.key()](DecapGroup& group) { group.decapExcludeIntfSetDel(key); };
   }
   do {
      set.excludeIntfIs(tokens.read("the name of an interface or \"none\"", intfIdFromText));
   } while (!tokens.atEnd() && !atKeyword(tokens));
   return [set](DecapGroup& group) { group.decapExcludeIntfSetIs(set); };
}

/// What stands behind "no".
void parseRemovals(Tokens& tokens, std::vector<Change>& changes) {
   if (tokens.take("interface")) {
      DecapIntfKey const key = parseEntryKey(tokens);
      changes.emplace_back([key](DecapGroup& group) { group.decapIntfDel(key); });
   } else if (tokens.take("ip")) {
      parsePrefixes(tokens, false, changes);
   } else {
      tokens.unexpected("ip or interface");
   }
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
      } else if (tokens.take("interface")) {
         changes.push_back(parseEntry(tokens));
      } else if (tokens.take("exclude")) {
         changes.push_back(parseExclude(tokens));
      } else if (tokens.take("no")) {
         parseRemovals(tokens, changes);
      } else {
         tokens.unexpected(
             "one of type, port, payload, vrf, ip, no ip, interface, no interface, exclude");
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

ScenarioEvent parseApply(Tokens& tokens) {
   Mdl::String const name = tokens.read("the name of a group", nameFromText);
   tokens.need("interface");
   DecapIntfKey const key = parseEntryKey(tokens);
   ScenarioEvent event;
   event.act = [name, key](Stage& stage) { stage.world().applyEntry(name, key); };
   return event;
}

}  // namespace Agent
