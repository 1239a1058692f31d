#include "agent/Version.h"

namespace Agent {

char const* version() noexcept { return DECAP_VERSION; }

}  // namespace Agent
