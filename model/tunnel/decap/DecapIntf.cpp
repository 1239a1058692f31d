#include "tunnel/decap/DecapIntf.h"

#include "mdl/Value.h"

namespace Tunnel::Decap {

DecapIntf::DecapIntf(char const*& at, char const* end) {
   Mdl::needString(at, end, "Value('Tunnel::Decap::DecapIntf', ** {'key': ");
   key_ = Mdl::deserializeAttr<DecapIntfKey>(at, end, "key");
   Mdl::needString(at, end, ", 'addressType': ");
   addressType_ = Mdl::deserializeAttr<AddressType>(at, end, "addressType");
   Mdl::needString(at, end, "})");
}

void DecapIntf::appendStrep(std::string& out) const {
   out += "Value('Tunnel::Decap::DecapIntf', ** {'key': ";
   Mdl::appendStrep(out, key_);
   out += ", 'addressType': ";
   Mdl::appendStrep(out, addressType_);
   out += "})";
}

}  // namespace Tunnel::Decap
