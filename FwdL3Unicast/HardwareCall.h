#pragma once

#include "FwdL3Unicast/DecapKey.h"
#include "FwdL3Unicast/DestinationOf.h"
#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "FwdL3Unicast/RefCount.h"
#include "FwdL3Unicast/dgRetCode.h"

namespace Fwd {

/// A call of the platform hook that is under way for one key.
///
/// The hook may change configuration inside the call, and with it the very key that it was called
/// for: the last reference goes while the key is being programmed, or a new first one comes while
/// it is being removed. Answering that with a nested hook call for the same key would leave it to
/// the hook's inside which of the two wins. So there is one call at a time for a key: whoever
/// finds one under way only changes the count, and leaves hardware to that call. It looks at the
/// count when the hook has returned, and once more when all those have heard of the answer who
/// watch the books, for they may do the same; then it brings hardware in line.
///
/// Owner: the stack of the function that calls the hook.
/// I1: at most one object for a key asks the hook.
/// I2: when its last function returns, hardware has the key if it is counted, unless another VRF or
///   hardware itself refuses it; in that case it waits, or has been given up.
class HardwareCall {
 public:
   using Waiting = Mdl::Collection<DecapKey, bool>;

   /// For the key whose count was looked up.
   HardwareCall(FwdDecapGroupSm& stateMachine, RefCount const& count) noexcept;
   ~HardwareCall();
   HardwareCall(HardwareCall const&) = delete;
   HardwareCall& operator=(HardwareCall const&) = delete;

   /// Whether a call for the key is under way, which then will do what its count calls for.
   static bool leaveTo(FwdDecapGroupSm const& stateMachine, DecapKey const& key) noexcept;
   /// Whether another call for the key is under way around this one, which then must not ask.
   bool isNested() const noexcept { return callFor(key_, outer_) != nullptr; }

   /// Programs the key while it is counted, unless another VRF owns its destination; then it
   /// waits. What the hook answers is recorded only for a key that is still counted.
   /// False when it waits for another VRF.
   bool program();

   /// Tries a key of the backlog again and records the answer. The key may have left books and
   /// backlog when this returns.
   dgRetCode retry(Mdl::Lookup<Waiting>& waiting);

   /// Whether another VRF owns the destination.
   bool ownerIsAnother();

   /// Removes the key, whose last reference has gone, and programs it again if a new reference has
   /// come meanwhile.
   void remove();

 private:
   /// The innermost of the calls around each other, from `inner` outwards, that is for the key.
   static HardwareCall* callFor(DecapKey const& key, HardwareCall* inner) noexcept;
   HashedKey const& hashed() const noexcept { return count_.key(); }
   bool isCounted() { return count_.exists(); }
   dgRetCode ask();
   void settle(dgRetCode answer);
   void settleRetried(dgRetCode answer, Mdl::Lookup<Waiting>& waiting);
   void withdrawUnwanted(dgRetCode answer);
   void recordSuccess(Mdl::Lookup<Waiting>& waiting);
   void recordRefusal(dgRetCode answer);
   void giveWay();
   void bringInLine();

   FwdDecapGroupSm& stateMachine_;
   DecapKey const key_;
   RefCount count_;
   DestinationOf const destination_;
   Mdl::Lookup<Mdl::Collection<TunnelTypeDecapIp, L3::VrfName>> owner_;
   HardwareCall* const outer_;
   bool inHardware_ = false;  ///< as far as this call knows
   bool left_ = false;        ///< somebody has changed the count and left hardware to this call
};

}  // namespace Fwd
