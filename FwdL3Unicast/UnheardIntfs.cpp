// What a group decided about interfaces by entries and exclude sets of which it had not heard yet.
// They may be taken back before it does: what it then hears of changes nothing, and an address that
// was refused would stay out.

#include "FwdL3Unicast/Admission.h"
#include "FwdL3Unicast/MdlDecapGroup.h"
#include "FwdL3Unicast/UsingGroups.h"

namespace Fwd {

using Tunnel::Decap::TunnelType;

/// Notes an interface if the configuration says of it what has not been heard. `handled` is the
/// entry that is just being followed: of that one it has.
void FwdDecapGroupSm::MdlDecapGroup::noteUnheard(DecapIntfKey const& intf,
                                                 DecapIntfKey const& handled) {
   if (!hasHeardOf(intf, handled)) unheard_.tryInsert(intf, true);
}

/// Whether what was last applied is what the configuration says of an interface. IPv6 entries leave
/// no record and need none: whatever is heard of them is applied anew.
bool FwdDecapGroupSm::MdlDecapGroup::hasHeardOf(DecapIntfKey const& intf,
                                                DecapIntfKey const& handled) const {
   auto const watched = group();
   if (!watched) return true;
   auto const isRecorded = [&](DecapIntfKey const& key) {
      if (key.family() != Pkt::familyIpv4 || key == handled) return true;
      auto const* const entry = watched->decapIntf().find(key);
      auto const record = intfAddressType(key.intfId());
      // Without its tunnel type a record may outlive the entry.
      if (entry == nullptr) return !record || record->tunnelType() == TunnelType::unknown;
      return record && record->addrType() == entry->addressType();
   };
   DecapIntfKey const all{Pkt::emptyIntfId, intf.family()};
   auto const* const excluded = prevExclude_.find(all);
   bool const wasExcluded = excluded != nullptr && excluded->excludeIntf(intf.intfId());
   return isRecorded(intf) && isRecorded(all) &&
          Admission(*watched).excludes(intf.intfId(), intf.family()) == wasExcluded;
}

/// Something was heard of an entry or an exclude set, and followed: now the interfaces that it
/// concerns are derived anew. Those of which there is more to hear stay noted.
void FwdDecapGroupSm::MdlDecapGroup::deriveUnheard(DecapIntfKey const& heard) {
   FirstException errors;
   for (auto const& entry : unheard_.walk()) {
      DecapIntfKey const& intf = entry.key;
      bool const concerns = heard.intfId() == Pkt::emptyIntfId || intf == heard;
      if (!concerns || intf.family() != heard.family()) continue;
      unheard_.erase(entry.hashed());
      errors.attempt([&] { deriveIntf(intf); });
      errors.attempt([&] { noteUnheard(intf); });
   }
   errors.rethrow();
}

void deriveReturned(FwdDecapGroupSm& stateMachine, Tunnel::Decap::DecapIntfKey const& intf) {
   if (!stateMachine.initializedAndReady()) return;
   FirstException errors;
   forEachUser(stateMachine, intf, errors,
               [&](Tunnel::Decap::DecapGroup const&, FwdDecapGroupSm::MdlDecapGroup& group) {
                  group.deriveIntf(intf);
               });
   errors.rethrow();
}

}  // namespace Fwd
