#pragma once

/// The one header that an agent includes: the state machine, its factory, the platform hook and
/// the values that both speak of.

#include "FwdL3Unicast/Audit.h"
#include "FwdL3Unicast/DecapKey.h"
#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "FwdL3Unicast/FwdDecapGroupSmHelper.h"
#include "FwdL3Unicast/Messages.h"
#include "FwdL3Unicast/TunnelTypeDecapIp.h"
#include "FwdL3Unicast/dgRetCode.h"

namespace Fwd {

/// The agent's way in: forwards to `FwdDecapGroupSm::FwdDecapGroupSmIs`.
FWD_EXPORT Mdl::Ptr<FwdDecapGroupSm> fwdDecapGroupSmFactory(
    Mdl::Ptr<FwdCommonSmData> const& acsd, Mdl::Ptr<Tunnel::Decap::Config const> const& dgConfig,
    Mdl::Ptr<Tunnel::Decap::Hardware::Status> const& status,
    Mdl::Ptr<Ip::Status const> const& ipStatus, Mdl::Ptr<Ip6::Status const> const& ip6Status,
    Mdl::Ptr<Mdl::Clock const> const& clock, Mdl::Ptr<FwdDecapGroupSmHelper> const& decapHelper);

}  // namespace Fwd
