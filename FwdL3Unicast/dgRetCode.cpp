#include "FwdL3Unicast/dgRetCode.h"

#include <ostream>

namespace Fwd {

Mdl::String stringValue(dgRetCode code) { return Mdl::enumName(code); }

std::ostream& operator<<(std::ostream& out, dgRetCode code) { return Mdl::streamEnum(out, code); }

}  // namespace Fwd
