#pragma once

namespace Ip6 {

/// What the agent knows of an IPv6 address beyond the address itself. The state machine reads the
/// addresses only.
struct AddressInfo {
   friend bool operator==(AddressInfo const&, AddressInfo const&) noexcept { return true; }
};

}  // namespace Ip6
