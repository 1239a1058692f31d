#pragma once

#include "pkt/AddrWithMask.h"
#include "pkt/Ip6Addr.h"

namespace Pkt {

/// An IPv6 interface address with its network's length.
using Ip6AddrWithMask = AddrWithMask<Ip6Addr>;

}  // namespace Pkt
