#include "agent/Explanation.h"

#include "agent/MachineView.h"
#include "agent/Prefixes.h"
#include "agent/Wording.h"
#include "agent/World.h"
#include "platform/sim/KeyText.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace Agent {

namespace {

constexpr std::size_t everything = std::numeric_limits<std::size_t>::max();

std::string prefixText(Pkt::IpGenPrefix const& prefix) {
   std::string const text = prefix.stringValue().stdString();
   return isAddress(prefix) ? text.substr(0, text.find('/')) : text;
}

/// Prefixes of the group that cover the destination. Looked up length by length, as a group may
/// have a million of them.
void findClaims(Mdl::Ptr<Tunnel::Decap::DecapGroup const> const& group,
                Pkt::IpGenPrefix const& destination, std::vector<Explanation::Claim>& claims) {
   bool const withoutType = group->tunnelType() == Tunnel::Decap::TunnelType::unknown;
   for (std::uint32_t length = destination.length(); length > 0; --length) {
      Pkt::IpGenPrefix const around = shortened(destination, length);
      if (group->decapIpHas(around)) claims.push_back({group->name(), around, withoutType});
   }
}

/// Why no group at all speaks of the destination.
std::string silence(Explanation const& explanation) {
   if (!explanation.running) return "the machine does not run";
   for (AddressRow const& row : explanation.addresses) {
      if (row.state != AddressState::noEntry) {
         return "it is an address of interface " + row.intfId.name().stdString() + ", and " +
                addressStateText(row.state);
      }
   }
   if (!explanation.addresses.empty()) {
      return "it is an address of interface " +
             explanation.addresses.front().intfId.name().stdString() + ", which no group names";
   }
   return "no group has a prefix around it, and no interface has the address";
}

std::string verdictOf(Explanation const& explanation) {
   std::string const name = prefixText(explanation.destination);
   for (KeyRow const& row : explanation.keys) {
      if (row.reason != Reason::none) continue;
      return name + " is decapsulated: " + Sim::keyText(row.key) + " is in hardware";
   }
   std::string text = name + " is not decapsulated: ";
   if (!explanation.keys.empty()) {
      KeyRow const& first = explanation.keys.front();
      return text + Sim::keyText(first.key) + ": " + reasonText(first, explanation.times);
   }
   for (auto const& claim : explanation.claims) {
      if (!claim.withoutType) continue;
      return text + "group " + claim.group.stdString() + " has " + prefixText(claim.prefix) +
             ", but no tunnel type";
   }
   return text + silence(explanation);
}

}  // namespace

Explanation::Explanation(World const& world, Pkt::IpGenPrefix const& asked,
                         TimeScale const& timeScale)
    : destination(asked), times(timeScale), running(world.machine() != nullptr) {
   for (auto const& entry : world.groups()) findClaims(entry.value, asked, claims);
   ReportScope scope;
   scope.rows = everything;
   scope.times = timeScale;
   scope.groups = false;
   scope.interfaces = false;
   scope.keys = [&](Fwd::DecapKey const& key) {
      bool const around = covers(key.dstIp(), asked);
      if (!around && covers(asked, key.dstIp())) ++inside;
      return around;
   };
   Report report(world, scope);
   for (Rows* const list : {&report.hardware, &report.waiting, &report.missing}) {
      std::ranges::move(list->rows, std::back_inserter(keys));
   }
   std::ranges::stable_sort(keys, [](KeyRow const& a, KeyRow const& b) {
      return a.key.dstIp().length() > b.key.dstIp().length();
   });
   if (isAddress(asked)) {
      for (AddressRow& row : AddressRows(world, everything).rows) {
         bool const same = row.address.family() == asked.family() &&
                           row.address.ipAddr() == asked.ipAddr() &&
                           row.address.ip6Addr() == asked.ip6Addr();
         if (same) addresses.push_back(std::move(row));
      }
   }
   if (running) {
      Mdl::Seconds const wakeUp = nextWakeUp(*world.machine());
      if (wakeUp != Mdl::never) nextReview = wakeUp;
   }
   decapsulated =
       std::ranges::any_of(keys, [](KeyRow const& row) { return row.reason == Reason::none; });
   verdict = verdictOf(*this);
}

void printText(std::ostream& out, Explanation const& explanation) {
   out << explanation.verdict << ".\n";
   for (auto const& claim : explanation.claims) {
      out << "  Group " << claim.group << " has the prefix " << claim.prefix
          << (claim.withoutType ? ", but no tunnel type: nothing comes of it" : "") << ".\n";
   }
   for (AddressRow const& row : explanation.addresses) {
      out << "  Interface " << row.intfId.name() << " (VRF " << vrfText(row.vrf) << ") has "
          << addressText(row.address);
      if (row.role) out << " as " << roleName(*row.role) << " address";
      out << ": " << addressStateText(row.state);
      if (!row.groups.empty()) out << " (" << namesText(row.groups) << ")";
      out << ".\n";
   }
   TimeScale const& times = explanation.times;
   bool waiting = false;
   for (KeyRow const& row : explanation.keys) {
      out << "  Key " << Sim::keyText(row.key) << ": " << statusText(row);
      if (row.since) out << " since " << times.text(*row.since);
      out << ", tried " << counted(row.tries, "time") << ", "
          << counted(row.references, "reference");
      if (!row.groups.empty()) out << " of " << namesText(row.groups);
      if (row.reason != Reason::none) out << "; " << reasonText(row, times);
      out << ".\n";
      waiting =
          waiting || (row.reason != Reason::none && row.since && row.reason < Reason::portUnset);
   }
   if (waiting && explanation.nextReview) {
      out << "  Keys that wait are tried again at " << times.text(*explanation.nextReview) << ".\n";
   }
   if (explanation.inside != 0) {
      out << "  Inside it: " << counted(explanation.inside, "entry", "entries")
          << "; 'show entries " << prefixText(explanation.destination) << "' lists them.\n";
   }
}

}  // namespace Agent
