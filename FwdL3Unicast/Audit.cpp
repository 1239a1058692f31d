#include "FwdL3Unicast/Audit.h"

#include "FwdL3Unicast/MdlDecapGroup.h"

#include <ostream>
#include <utility>

namespace Fwd {

namespace {

using Kind = AuditFinding::Kind;
using Findings = std::vector<AuditFinding>;
using HeldCounts = Mdl::Collection<DecapKey, std::uint32_t>;
using Keys = Mdl::Collection<DecapKey, bool>;

TunnelTypeDecapIp destinationOf(DecapKey const& key) { return {key.tunnelType(), key.dstIp()}; }

template <class Use>
void addHeld(HeldCounts& held, GroupKeys<Use> const& keys) {
   for (auto const& entry : keys.walk()) {
      if (entry.value.held) ++*held.tryInsert(entry.key, 0u).value;
   }
}

void compareCounts(FwdDecapGroupSm const& stateMachine, Findings& findings) {
   HeldCounts held;
   for (auto const& group : stateMachine.mdlDecapGroup()) {
      addHeld(held, group.value->decapKeyFromIntf());
      addHeld(held, group.value->decapKeyFromIp());
   }
   for (auto const& counted : stateMachine.refCount()) {
      std::uint32_t const* const found = held.find(counted.key);
      std::uint32_t const references = found == nullptr ? 0 : *found;
      if (references != counted.value) {
         findings.push_back({Kind::countDiffers, counted.key, references, counted.value});
      }
   }
   for (auto const& entry : held) {
      if (!stateMachine.refCountHas(entry.key)) {
         findings.push_back({Kind::countDiffers, entry.key, entry.value, 0});
      }
   }
}

void compareBacklogAndOwners(FwdDecapGroupSm const& stateMachine, Findings& findings) {
   for (auto const& waiting : stateMachine.unprogrammedKey()) {
      if (!stateMachine.refCountHas(waiting.key)) {
         findings.push_back({Kind::waitingUncounted, waiting.key});
      }
   }
   Mdl::Collection<TunnelTypeDecapIp, bool> owned;
   for (auto const& counted : stateMachine.refCount()) {
      DecapKey const& key = counted.key;
      if (stateMachine.unprogrammedKeyHas(key) || stateMachine.refusedKey().contains(key)) continue;
      auto const* const owner = stateMachine.tunnelTypeDecapIpToVrf().find(destinationOf(key));
      if (owner != nullptr && *owner == key.forwardingVrf()) {
         owned.insertOrAssign(destinationOf(key), true);
      }
   }
   for (auto const& owner : stateMachine.tunnelTypeDecapIpToVrf()) {
      if (owned.contains(owner.key)) continue;
      findings.push_back(
          {Kind::ownerWithoutKey,
           DecapKey({}, owner.key.decapIp(), owner.key.tunnelType(), 0, {}, owner.value)});
   }
}

void compareHardware(FwdDecapGroupSm const& stateMachine, std::vector<DecapKey> const& readback,
                     Findings& findings) {
   Keys present;
   for (auto const& key : readback) present.insertOrAssign(key, true);
   for (auto const& entry : present) {
      if (!stateMachine.refCountHas(entry.key)) {
         findings.push_back({Kind::unwantedInHardware, entry.key});
      } else if (stateMachine.unprogrammedKeyHas(entry.key)) {
         findings.push_back({Kind::waitingInHardware, entry.key});
      }
   }
   for (auto const& counted : stateMachine.refCount()) {
      DecapKey const& key = counted.key;
      bool const expected =
          !stateMachine.unprogrammedKeyHas(key) && !stateMachine.refusedKey().contains(key);
      if (expected && !present.contains(key)) findings.push_back({Kind::missingInHardware, key});
   }
}

char const* describe(Kind kind) noexcept {
   switch (kind) {
      case Kind::countDiffers: return "references held and counted differ";
      case Kind::waitingUncounted: return "waits, but nobody counts it";
      case Kind::ownerWithoutKey:
         return "VRF owns a destination for which it has no key in hardware";
      case Kind::missingInHardware: return "accepted, but not in hardware";
      case Kind::unwantedInHardware: return "in hardware, but nobody counts it";
      case Kind::waitingInHardware: return "in hardware, but waits to be programmed";
   }
   return "";
}

}  // namespace

std::ostream& operator<<(std::ostream& out, AuditFinding const& finding) {
   out << describe(finding.kind) << ": " << finding.key;
   if (finding.kind == Kind::countDiffers) {
      out << " held " << finding.held << " counted " << finding.counted;
   }
   return out;
}

std::vector<AuditFinding> audit(FwdDecapGroupSm const& stateMachine,
                                std::vector<DecapKey> const* readback) {
   Findings findings;
   compareCounts(stateMachine, findings);
   compareBacklogAndOwners(stateMachine, findings);
   if (readback != nullptr) compareHardware(stateMachine, *readback, findings);
   return findings;
}

}  // namespace Fwd
