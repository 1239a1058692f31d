#include "agent/Wording.h"

#include "mdl/Format.h"
#include "platform/sim/KeyText.h"

#include <algorithm>

namespace Agent {

namespace {

std::string refusalText(KeyRow const& row, TimeScale const& times, std::string const& what) {
   if (row.refusals == 0) return what;
   return what + "; refused " + counted(row.refusals, "time") + ", last at " +
          times.text(row.lastRefusal);
}

std::string conflictText(KeyRow const& row) {
   std::string text = "VRF conflict: " + row.key.dstIp().stringValue().stdString() +
                      " goes to VRF " + vrfText(row.ownerVrf);
   if (!row.ownerGroups.empty()) {
      text += row.ownerGroups.size() == 1 ? " (group " : " (groups ";
      text += namesText(row.ownerGroups) + ")";
   }
   return text;
}

std::string unsetText(KeyRow const& row) {
   bool const port = row.key.destPort() == 0;
   bool const payload = row.key.payloadType() == Tunnel::Decap::PayloadType::unset;
   if (port && payload) return "UDP destination port and payload type are not set";
   return port ? "UDP destination port is not set" : "UDP payload type is not set";
}

}  // namespace

std::string secondsText(Mdl::Seconds time) {
   std::string text = Mdl::format("%.6f", time).stdString();
   std::size_t const point = text.find('.');
   if (point == std::string::npos) return text;  // infinity
   std::size_t const last = std::max(text.find_last_not_of('0'), point + 3);
   text.resize(last + 1);
   return text;
}

std::string counted(std::uint64_t count, std::string_view noun, std::string_view plural) {
   std::string text = std::to_string(count) + ' ';
   if (count == 1 || plural.empty()) {
      text += noun;
      return count == 1 ? text : text + 's';
   }
   text += plural;
   return text;
}

std::string namesText(std::vector<Mdl::String> const& names, std::size_t most) {
   std::string text;
   for (std::size_t i = 0; i < std::min(names.size(), most); ++i) {
      text += (i == 0 ? "" : ", ") + names[i].stdString();
   }
   if (names.size() > most) text += " and " + std::to_string(names.size() - most) + " more";
   return text;
}

std::string vrfText(L3::VrfName const& vrf) {
   return vrf.empty() ? "(none)" : vrf.name().stdString();
}

std::string findingText(Fwd::AuditFinding const& finding) {
   using Kind = Fwd::AuditFinding::Kind;
   std::string key = Sim::keyText(finding.key);
   switch (finding.kind) {
      case Kind::countDiffers:
         return key + ": the groups hold " + counted(finding.held, "reference") + ", " +
                std::to_string(finding.counted) + " counted";
      case Kind::waitingUncounted: return key + ": waits, and no group holds it";
      case Kind::ownerWithoutKey:
         return key + ": the VRF owns the destination without a key in hardware";
      case Kind::missingInHardware: return key + ": accepted, and not in hardware";
      case Kind::unwantedInHardware: return key + ": in hardware, and no group holds it";
      case Kind::waitingInHardware: return key + ": in hardware, and waits to be programmed";
   }
   return key;
}

char const* fateText(TakeOver::Fate fate) noexcept {
   switch (fate) {
      case TakeOver::Fate::heldOver: return "found, not asked for yet";
      case TakeOver::Fate::takenOver: return "taken over";
      case TakeOver::Fate::rewritten: return "found, written again";
      case TakeOver::Fate::unclaimed: return "removed as unclaimed";
      case TakeOver::Fate::removed: return "removed";
   }
   return "";
}

std::string addressText(Pkt::IpGenPrefix const& address) {
   return address.empty() ? "-" : address.stringValue().stdString();
}

std::string addressStateText(AddressState state) {
   switch (state) {
      case AddressState::inHardware: return "in hardware";
      case AddressState::waiting: return "waits to be programmed";
      case AddressState::notProgrammed: return "not programmed";
      case AddressState::leftOver: return "still taken: the machine was not told of the change";
      case AddressState::management: return "not taken: a management interface";
      case AddressState::internal: return "not taken: an internal interface";
      case AddressState::otherVrf: return "not taken: the interface is not in the default VRF";
      case AddressState::linkLocal: return "not taken: a link-local address";
      case AddressState::noEntry: return "not taken: no entry for the interface";
      case AddressState::excluded: return "not taken: the interface is excluded";
      case AddressState::addressType: return "not taken: the entry is for primary addresses only";
      case AddressState::noTunnelType: return "not taken: the group has no tunnel type";
      case AddressState::notRunning: return "not taken: the machine does not run";
      case AddressState::notTaken: return "not taken yet: the machine was not told of it";
      case AddressState::noAddress: return "no address";
      case AddressState::noInterface: return "no such interface";
   }
   return "";
}

char const* statusText(KeyRow const& row) noexcept {
   switch (row.reason) {
      case Reason::none: return "in hardware";
      case Reason::vrfConflict: return "conflict";
      case Reason::full:
      case Reason::notReady:
      case Reason::pending:
      case Reason::fault:
      case Reason::untried: return "waiting";
      case Reason::portUnset: return "held back";
      case Reason::unsupported:
      case Reason::refused: return "refused";
   }
   return "";
}

std::string reasonText(KeyRow const& row, TimeScale const& times) {
   switch (row.reason) {
      case Reason::none: return "";
      case Reason::vrfConflict: return conflictText(row);
      case Reason::full: return refusalText(row, times, "hardware table full");
      case Reason::notReady: return refusalText(row, times, "hardware not ready");
      case Reason::pending: return refusalText(row, times, "hardware is still writing it");
      case Reason::fault: return refusalText(row, times, "hardware call failed");
      case Reason::untried: return "waits for the next review";
      case Reason::portUnset: return unsetText(row);
      case Reason::unsupported: return refusalText(row, times, "hardware does not support it");
      case Reason::refused: return refusalText(row, times, "hardware will not take it");
   }
   return "";
}

}  // namespace Agent
