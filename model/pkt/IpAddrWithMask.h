#pragma once

#include "pkt/AddrWithMask.h"
#include "pkt/IpAddr.h"

namespace Pkt {

/// An IPv4 interface address with its network's length.
using IpAddrWithMask = AddrWithMask<IpAddr>;

}  // namespace Pkt
