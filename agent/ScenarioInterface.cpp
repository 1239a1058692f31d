// Scenario events that change an interface.

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

using Change = std::function<void(World&, Interface const&)>;

constexpr std::array<std::string_view, 6> keywords = {"vrf",     "primary", "secondary",
                                                      "virtual", "ipv6",    "no"};

bool atKeyword(Tokens const& tokens) {
   return std::any_of(keywords.begin(), keywords.end(),
                      [&tokens](std::string_view word) { return tokens.is(word); });
}

/// One or more addresses, up to the next keyword; `change` gives the change that one makes.
template <class Addr, class MakeChange>
void parseList(Tokens& tokens, std::string_view what, Addr (*reader)(std::string_view),
               std::vector<Change>& changes, MakeChange const& change) {
   do {
      changes.push_back(change(tokens.read(what, reader)));
   } while (!tokens.atEnd() && !atKeyword(tokens));
}

void parseSecondary(Tokens& tokens, bool add, std::vector<Change>& changes) {
   parseList(tokens, "an IPv4 address", ipAddrFromText, changes,
             [add](Pkt::IpAddrWithMask const& addr) -> Change {
                return [addr, add](World&, Interface const& interface) {
                   if (add) {
                      interface.ip->activeSecondaryWithMaskIs(addr);
                   } else {
                      interface.ip->activeSecondaryWithMaskDel(addr);
                   }
                };
             });
}

void parseIpv6(Tokens& tokens, bool add, std::vector<Change>& changes) {
   parseList(tokens, "an IPv6 address", ip6AddrFromText, changes,
             [add](Pkt::Ip6AddrWithMask const& addr) -> Change {
                return [addr, add](World&, Interface const& interface) {
                   if (add) {
                      interface.ip6->addrIs(addr, {});
                   } else {
                      interface.ip6->addrDel(addr);
                   }
                };
             });
}

Change parseVrf(Tokens& tokens) {
   L3::VrfName const vrf(tokens.read("the name of a VRF", nameFromText));
   return [vrf](World& world, Interface const& interface) { world.vrfIs(interface, vrf); };
}

Change parsePrimary(Tokens& tokens) {
   auto const addr = tokens.take("none")
                         ? Pkt::IpAddrWithMask()
                         : tokens.read("an IPv4 address or \"none\"", ipAddrFromText);
   return [addr](World&, Interface const& interface) { interface.ip->addrWithMaskIs(addr); };
}

Change parseVirtual(Tokens& tokens) {
   bool const isVirtual = tokens.take("on");
   if (!isVirtual && !tokens.take("off")) tokens.unexpected("on or off");
   return
       [isVirtual](World&, Interface const& interface) { interface.ip->virtualAddrIs(isVirtual); };
}

/// What stands behind "no".
void parseRemovals(Tokens& tokens, std::vector<Change>& changes) {
   if (tokens.take("secondary")) {
      parseSecondary(tokens, false, changes);
   } else if (tokens.take("ipv6")) {
      parseIpv6(tokens, false, changes);
   } else {
      tokens.unexpected("secondary or ipv6");
   }
}

std::vector<Change> parseChanges(Tokens& tokens) {
   std::vector<Change> changes;
   while (!tokens.atEnd()) {
      if (tokens.take("vrf")) {
         changes.push_back(parseVrf(tokens));
      } else if (tokens.take("primary")) {
         changes.push_back(parsePrimary(tokens));
      } else if (tokens.take("secondary")) {
         parseSecondary(tokens, true, changes);
      } else if (tokens.take("virtual")) {
         changes.push_back(parseVirtual(tokens));
      } else if (tokens.take("ipv6")) {
         parseIpv6(tokens, true, changes);
      } else if (tokens.take("no")) {
         parseRemovals(tokens, changes);
      } else {
         tokens.unexpected("one of vrf, primary, secondary, no secondary, virtual, ipv6, no ipv6");
      }
   }
   return changes;
}

}  // namespace

ScenarioEvent parseInterface(Tokens& tokens) {
   Pkt::IntfId const name = tokens.read("the name of an interface", intfIdFromText);
   std::vector<Change> const changes = parseChanges(tokens);
   ScenarioEvent event;
   event.act = [name, changes](Stage& stage) {
      World& world = stage.world();
      Interface const interface = world.interfaceFor(name);
      for (Change const& change : changes) {
         stage.attempt([&] { change(world, interface); });
      }
      world.interfaceIs(interface);
   };
   return event;
}

}  // namespace Agent
