#include "FwdL3Unicast/TunnelTypeDecapIp.h"

#include "mdl/Value.h"

#include <ostream>

namespace Fwd {

using Tunnel::Decap::TunnelType;

TunnelTypeDecapIp::TunnelTypeDecapIp(char const*& at, char const* end) {
   Mdl::needString(at, end, "Value('Fwd::TunnelTypeDecapIp', ** {");
   Mdl::needString(at, end, "'tunnelType': ");
   tunnelType_ = Mdl::deserializeAttr<TunnelType>(at, end, "tunnelType");
   Mdl::needString(at, end, ", 'decapIp': ");
   decapIp_ = Mdl::deserializeAttr<Pkt::IpGenPrefix>(at, end, "decapIp");
   Mdl::needString(at, end, "})");
}

void TunnelTypeDecapIp::appendStrep(std::string& out) const {
   out += "Value('Fwd::TunnelTypeDecapIp', ** {'tunnelType': ";
   Mdl::appendStrep(out, tunnelType_);
   out += ", 'decapIp': ";
   Mdl::appendStrep(out, decapIp_);
   out += "})";
}

std::ostream& operator<<(std::ostream& out, TunnelTypeDecapIp const& value) {
   return out << Mdl::valueToStrep(value);
}

}  // namespace Fwd
