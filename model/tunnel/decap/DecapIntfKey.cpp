#include "tunnel/decap/DecapIntfKey.h"

#include "mdl/Hash.h"
#include "mdl/Value.h"

#include <ostream>

namespace Tunnel::Decap {

DecapIntfKey::DecapIntfKey(char const*& at, char const* end) {
   Mdl::needString(at, end, "Value('Tunnel::Decap::DecapIntfKey', ** {'intfId': ");
   intfId_ = Mdl::deserializeAttr<Pkt::IntfId>(at, end, "intfId");
   Mdl::needString(at, end, ", 'addressFamily': ");
   family_ = Mdl::deserializeAttr<std::uint32_t>(at, end, "addressFamily");
   Mdl::needString(at, end, "})");
}

std::uint32_t DecapIntfKey::hash(std::uint32_t seed) const noexcept {
   return Mdl::Hash(seed).mix(intfId_.hash(seed)).mix(family_).result();
}

std::uint32_t DecapIntfKey::hash() const noexcept {
   return Mdl::Mixer32().mix(intfId_.hash(0)).mix(family_).result();
}

Mdl::String DecapIntfKey::stringValue() const {
   std::string text(" Intf: ");
   text += intfId_.name().view();
   text += " address-family: ";
   text += std::to_string(family_);
   return Mdl::String(text);
}

void DecapIntfKey::appendStrep(std::string& out) const {
   out += "Value('Tunnel::Decap::DecapIntfKey', ** {'intfId': ";
   Mdl::appendStrep(out, intfId_);
   out += ", 'addressFamily': ";
   Mdl::appendStrep(out, family_);
   out += "})";
}

std::ostream& operator<<(std::ostream& out, DecapIntfKey const& key) {
   return out << key.stringValue();
}

}  // namespace Tunnel::Decap
