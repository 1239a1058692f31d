#include "FwdL3Unicast/Admission.h"

#include "pkt/InternalIntfId.h"
#include "pkt/MgmtIntfId.h"

namespace Fwd {

using Tunnel::Decap::AddressType;

bool Admission::isFrontPanel(Pkt::IntfId const& intfId) noexcept {
   return !Pkt::MgmtIntfId::isMgmtIntfId(intfId) && !Pkt::InternalIntfId::isInternalIntfId(intfId);
}

bool Admission::takesPart(Pkt::IntfId const& intfId, L3::VrfName const& vrf) noexcept {
   return isFrontPanel(intfId) && vrf == L3::VrfName::defaultVrf();
}

bool Admission::excludes(Pkt::IntfId const& intfId, std::uint32_t family) const {
   auto const* const set = group_.decapExcludeIntfSet().find({Pkt::emptyIntfId, family});
   return set != nullptr && set->excludeIntf(intfId);
}

bool Admission::uses(Pkt::IntfId const& intfId, std::uint32_t family) const {
   return decidingEntry(intfId, family) != nullptr;
}

bool Admission::admits(Pkt::IntfId const& intfId, AddressRole role) const {
   std::uint32_t const family = role == AddressRole::ip6 ? Pkt::familyIpv6 : Pkt::familyIpv4;
   auto const* const entry = decidingEntry(intfId, family);
   if (entry == nullptr) return false;
   switch (role) {
      case AddressRole::primary:
      case AddressRole::ip6: return true;
      case AddressRole::secondary:
      case AddressRole::virtualIp: return entry->addressType() != AddressType::primary;
      case AddressRole::unnamed: return false;
   }
   return false;
}

Tunnel::Decap::DecapIntf const* Admission::decidingEntry(Pkt::IntfId const& intfId,
                                                         std::uint32_t family) const {
   if (auto const* const own = group_.decapIntf().find({intfId, family})) return own;
   auto const* const all = group_.decapIntf().find({Pkt::emptyIntfId, family});
   return all != nullptr && excludes(intfId, family) ? nullptr : all;
}

}  // namespace Fwd
