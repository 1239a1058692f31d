#include "l3/VrfName.h"

#include "mdl/Value.h"

#include <ostream>

namespace L3 {

VrfName::VrfName(char const*& at, char const* end) : name_(Mdl::parseQuoted(at, end)) {}

void VrfName::appendStrep(std::string& out) const { Mdl::appendQuoted(out, name_.view()); }

std::ostream& operator<<(std::ostream& out, VrfName const& vrf) { return out << vrf.name_; }

VrfName const& VrfName::defaultVrf() {
   // Never destroyed: destructors of load-time objects may ask for it as well.
   static VrfName const& name = *new VrfName(Mdl::String("default"));
   return name;
}

}  // namespace L3
