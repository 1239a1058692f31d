#include "mdl/ThreadSafety.h"

namespace Mdl::Detail {

constinit std::atomic<bool> threadSafePtrsSwitch{false};

}  // namespace Mdl::Detail
