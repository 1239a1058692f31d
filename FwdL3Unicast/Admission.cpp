#include "FwdL3Unicast/Admission.h"

#include "pkt/InternalIntfId.h"
#include "pkt/MgmtIntfId.h"

namespace Fwd {

using Tunnel::Decap::AddressType;

bool Admission::isFrontPanel(Pkt::IntfId const& intfId) noexcept {
   return takesPart(intfId, L3::VrfName::defaultVrf());
}

Admission::Verdict Admission::ofInterface(Pkt::IntfId const& intfId,
                                          L3::VrfName const& vrf) noexcept {
   if (Pkt::MgmtIntfId::isMgmtIntfId(intfId)) return Verdict::management;
   if (Pkt::InternalIntfId::isInternalIntfId(intfId)) return Verdict::internal;
   return vrf == L3::VrfName::defaultVrf() ? Verdict::admitted : Verdict::otherVrf;
}

bool Admission::excludes(Tunnel::Decap::DecapIntfKey const& intf) const {
   auto const* const set = group_.decapExcludeIntfSet().find({Pkt::emptyIntfId, intf.family()});
   return set != nullptr && set->excludeIntf(intf.intfId());
}

bool Admission::uses(Pkt::IntfId const& intfId, std::uint32_t family) const {
   return decidingEntry(intfId, family) != nullptr;
}

Admission::Verdict Admission::ofRole(Pkt::IntfId const& intfId, AddressRole role) const {
   std::uint32_t const family = role == AddressRole::ip6 ? Pkt::familyIpv6 : Pkt::familyIpv4;
   auto const* const entry = decidingEntry(intfId, family);
   if (entry == nullptr) return withoutEntry(intfId, family);
   switch (role) {
      case AddressRole::primary:
      case AddressRole::ip6: return Verdict::admitted;
      case AddressRole::secondary:
      case AddressRole::virtualIp: break;
      case AddressRole::unnamed: return Verdict::addressType;
   }
   return entry->addressType() == AddressType::primary ? Verdict::addressType : Verdict::admitted;
}

/// What is in the way of an interface for which no entry decides.
Admission::Verdict Admission::withoutEntry(Pkt::IntfId const& intfId, std::uint32_t family) const {
   bool const leftOut =
       group_.decapIntfHas({Pkt::emptyIntfId, family}) && excludes({intfId, family});
   return leftOut ? Verdict::excluded : Verdict::noEntry;
}

Tunnel::Decap::DecapIntf const* Admission::decidingEntry(Pkt::IntfId const& intfId,
                                                         std::uint32_t family) const {
   if (auto const* const own = group_.decapIntf().find({intfId, family})) return own;
   auto const* const all = group_.decapIntf().find({Pkt::emptyIntfId, family});
   return all != nullptr && excludes({intfId, family}) ? nullptr : all;
}

}  // namespace Fwd
