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
