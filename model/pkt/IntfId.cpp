#include "pkt/IntfId.h"

#include "mdl/Value.h"

#include <ostream>

namespace Pkt {

IntfId::IntfId(char const*& at, char const* end) : name_(Mdl::parseQuoted(at, end)) {}

void IntfId::appendStrep(std::string& out) const { Mdl::appendQuoted(out, name_.view()); }

std::ostream& operator<<(std::ostream& out, IntfId const& intfId) { return out << intfId.name_; }

}  // namespace Pkt
