#include "FwdL3Unicast/Messages.h"

namespace Fwd {

namespace {

constexpr unsigned severityError = 3;

}  // namespace

Mdl::TraceHandle traceHandle("FwdDecapGroup", 0);

Mdl::LogHandle const TUNNEL_HW_RESOURCE_FULL(
    "TUNNEL_HW_RESOURCE_FULL", severityError,
    "Hardware resources are insufficient to program all tunnels.",
    "The switch is unable to program all tunnels due to insufficient hardware resources. Packets "
    "to/from one or more tunnels may not get forwarded in hardware.",
    "Reconfigure your network to reduce the number of tunnels in the switch.", 0.0, 1.0, 0, 0);

Mdl::LogHandle const TUNNEL_HW_RESOURCE_NORMAL(
    "TUNNEL_HW_RESOURCE_NORMAL", severityError,
    "Hardware resources to program tunnels are recovered.",
    "The switch was able to program all tunnels in hardware.", Mdl::NoActionRequired, 0.0, 1.0, 0,
    0);

}  // namespace Fwd
