#include "FwdL3Unicast/DecapKey.h"

#include "mdl/Hash.h"
#include "mdl/Value.h"

#include <ostream>

namespace Fwd {

using Tunnel::Decap::PayloadType;
using Tunnel::Decap::TunnelType;

constexpr DecapKey invalidDecapKey(Pkt::ipGenPrefixV4Zero, Pkt::ipGenPrefixV4Zero,
                                   TunnelType::unknown, 0, PayloadType::unset, L3::VrfName());
constexpr DecapKey emptyDecapKey(Pkt::ipGenPrefixV4Zero, Pkt::ipGenPrefixV4Zero, TunnelType::ipip,
                                 0, PayloadType::unset, L3::VrfName());

DecapKey::DecapKey(char const*& at, char const* end) {
   Mdl::needString(at, end, "Value('Fwd::DecapKey', ** {");
   Mdl::needString(at, end, "'srcIp': ");
   srcIp_ = Mdl::deserializeAttr<Pkt::IpGenPrefix>(at, end, "srcIp");
   Mdl::needString(at, end, ", 'dstIp': ");
   dstIp_ = Mdl::deserializeAttr<Pkt::IpGenPrefix>(at, end, "dstIp");
   Mdl::needString(at, end, ", 'tunnelType': ");
   tunnelType_ = Mdl::deserializeAttr<TunnelType>(at, end, "tunnelType");
   Mdl::needString(at, end, ", 'destPort': ");
   destPort_ = Mdl::deserializeAttr<std::uint16_t>(at, end, "destPort");
   Mdl::needString(at, end, ", 'payloadType': ");
   payloadType_ = Mdl::deserializeAttr<PayloadType>(at, end, "payloadType");
   Mdl::needString(at, end, ", 'forwardingVrf': ");
   forwardingVrf_ = Mdl::deserializeAttr<L3::VrfName>(at, end, "forwardingVrf");
   Mdl::needString(at, end, "})");
}

std::uint32_t DecapKey::hash() const noexcept {
   return Mdl::Mixer32()
       .mix(srcIp_.hash())
       .mix(dstIp_.hash())
       .mix(static_cast<std::uint32_t>(tunnelType_))
       .result();
}

Mdl::String DecapKey::stringValue() const {
   // Prefixes and type name are finished texts: numbers in them are decimal, or as their own form
   // has them, whatever number base a stream of the caller's is set to.
   std::string text(" src:");
   srcIp_.appendText(text);
   text += ", dst: ";
   dstIp_.appendText(text);
   text += ", tunnelType: ";
   Mdl::appendStrep(text, tunnelType_);
   return Mdl::String(text);
}

void DecapKey::appendStrep(std::string& out) const {
   out += "Value('Fwd::DecapKey', ** {'srcIp': ";
   Mdl::appendStrep(out, srcIp_);
   out += ", 'dstIp': ";
   Mdl::appendStrep(out, dstIp_);
   out += ", 'tunnelType': ";
   Mdl::appendStrep(out, tunnelType_);
   out += ", 'destPort': ";
   Mdl::appendStrep(out, destPort_);
   out += ", 'payloadType': ";
   Mdl::appendStrep(out, payloadType_);
   out += ", 'forwardingVrf': ";
   Mdl::appendStrep(out, forwardingVrf_);
   out += "})";
}

std::ostream& operator<<(std::ostream& out, DecapKey const& key) {
   return out << Mdl::valueToStrep(key);
}

}  // namespace Fwd
