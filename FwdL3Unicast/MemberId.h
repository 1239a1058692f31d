#pragma once

#include "mdl/Notifiee.h"

/// The reflection identifiers of the state machine, consecutive from 130: its attributes in order
/// of declaration, each followed by the views and operations that belong to it. The collections
/// notify under the same identifiers.
namespace Fwd::memberId {

enum : Mdl::AttributeId {
   acsd = 130,
   dgConfig,
   status,
   ipStatus,
   ip6Status,
   clock,
   decapHelper,
   decapIntfIp,
   decapIntfIpDel,
   unprogrammedKey,
   addKeyToUnprogrammed,
   doMaybeScheduleReview,
   doReview,
   tunnelTypeDecapIpToVrf,
   refCount,
   updateRefCount,
   reviewInterval,
   reviewQuanta,
   disableCleanupOnRestart,
   mdlDecapGroup,
   decapGroup,
   dgConfigReadyHandled,
   handleDecapGroupConfigReady,
   mdlIpIntfStatus,
   ipIntfStatus,
   mdlIp6IntfStatus,
   ip6IntfStatus,
   verifyData,
   handleVerify,
   initialized,
   initializedAndReady,
   handleInitialized,
};

}  // namespace Fwd::memberId
