#include "FwdL3Unicast/UnheardIntfs.h"

#include "FwdL3Unicast/Admission.h"
#include "FwdL3Unicast/MdlDecapGroup.h"

namespace Fwd {

void UnheardIntfs::note(DecapIntfKey const& intf) {
   if (!hasHeardOf(intf)) noted_.tryInsert(intf, true);
}

/// Whether what was last applied is what the configuration says of an interface. IPv6 entries leave
/// no record and need none: whatever is heard of them is applied anew.
bool UnheardIntfs::hasHeardOf(DecapIntfKey const& intf) const {
   auto const watched = group_.group();
   if (!watched) return true;
   auto const isRecorded = [&](DecapIntfKey const& key) {
      if (key.family() != Pkt::familyIpv4) return true;
      auto const* const entry = watched->decapIntf().find(key);
      if (entry == nullptr) return !group_.isApplied(key);
      auto const record = group_.intfAddressType(key.intfId());
      return record && record->addrType() == entry->addressType();
   };
   return isRecorded(intf) && isRecorded({Pkt::emptyIntfId, intf.family()}) &&
          Admission(*watched).excludes(intf) == group_.wasExcluded(intf);
}

void UnheardIntfs::derive(DecapIntfKey const& heard) {
   FirstException errors;
   for (auto const& entry : noted_.walk()) {
      DecapIntfKey const& intf = entry.key;
      bool const concerns = heard.intfId() == Pkt::emptyIntfId || intf == heard;
      if (!concerns || intf.family() != heard.family()) continue;
      noted_.erase(entry.hashed());
      errors.attempt([&] { group_.deriveIntf(intf); });
   }
   errors.rethrow();
}

void UnheardIntfs::dropHeard() {
   for (auto const& entry : noted_.walk()) {
      if (hasHeardOf(entry.key)) noted_.erase(entry.hashed());
   }
}

}  // namespace Fwd
