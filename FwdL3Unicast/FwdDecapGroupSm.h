#pragma once

#include "FwdL3Unicast/DecapIntfIp.h"
#include "FwdL3Unicast/DecapKey.h"
#include "FwdL3Unicast/Export.h"
#include "FwdL3Unicast/FwdDecapGroupSmHelper.h"
#include "FwdL3Unicast/MemberId.h"
#include "FwdL3Unicast/RefCount.h"
#include "FwdL3Unicast/TunnelTypeDecapIp.h"
#include "fwd/FwdCommonSmData.h"
#include "ip/Status.h"
#include "ip6/Status.h"
#include "l3/VrfName.h"
#include "mdl/Attribute.h"
#include "mdl/Clock.h"
#include "tunnel/decap/Config.h"
#include "tunnel/decap/hardware/Status.h"

#include <cstdint>

namespace Fwd {

class HardwareCall;

/// The decap group state machine: turns decap groups and interface addresses into hardware keys.
///
/// It watches the configuration, the interface status, the clock and the verify requests with one
/// nested reactor each, keeps one reactor a group and one an interface and family, and owns the
/// books that they write: how many references each key has, which keys wait, which VRF owns a
/// destination.
///
/// Owner: the agent's pointer. Every entry point keeps the object alive until it returns, so that
///   the hook may drop that pointer.
/// I1: a key is in `refCount` exactly while its count is at least 1.
/// I2: a key in `unprogrammedKey` is also in `refCount`.
/// I3: hardware is asked to program a key on its first reference and to remove it after its last,
///   unless it waits in `unprogrammedKey`.
/// I4: a pair in `tunnelTypeDecapIpToVrf` names the VRF of a key that hardware accepted.
/// I5: a reactor that has left its registry has no way back to the state machine.
/// Re-entrancy: hook and watchers may call anything, from any call.
/// Threads: one, the agent's event loop.
class FWD_EXPORT FwdDecapGroupSm : public Mdl::Entity {
 public:
   class MdlDgConfig;
   class MdlIpStatus;
   class MdlIp6Status;
   class MdlClock;
   class MdlVerifyData;
   class MdlDecapGroup;
   class MdlIpIntfStatus;
   class MdlIp6IntfStatus;

   static constexpr char typeName[] = "Fwd::FwdDecapGroupSm";

   /// Creates a state machine with its notifications on. Null is allowed for every argument: what
   /// is missing is not watched or written, but the configuration, the clock and the hook must be
   /// there by the time of `initializedIs(true)`.
   static Mdl::Ptr<FwdDecapGroupSm> FwdDecapGroupSmIs(
       Mdl::Ptr<FwdCommonSmData> const& acsd, Mdl::Ptr<Tunnel::Decap::Config const> const& dgConfig,
       Mdl::Ptr<Tunnel::Decap::Hardware::Status> const& status,
       Mdl::Ptr<Ip::Status const> const& ipStatus, Mdl::Ptr<Ip6::Status const> const& ip6Status,
       Mdl::Ptr<Mdl::Clock const> const& clock, Mdl::Ptr<FwdDecapGroupSmHelper> const& decapHelper);

   static Mdl::Type const& type() noexcept;
   Mdl::Type const& fwkType() const noexcept override { return type(); }

   // Inputs and outputs.

   Mdl::Ptr<FwdCommonSmData> const& acsd() const noexcept { return acsd_; }
   Mdl::Ptr<Tunnel::Decap::Config const> dgConfig() const noexcept;
   Mdl::Ptr<Tunnel::Decap::Hardware::Status> const& status() const noexcept { return status_; }
   Mdl::Ptr<Ip::Status const> ipStatus() const noexcept;
   Mdl::Ptr<Ip6::Status const> ip6Status() const noexcept;
   Mdl::Ptr<Mdl::Clock const> clock() const noexcept;
   Mdl::Ptr<FwdDecapGroupSmHelper> const& decapHelper() const noexcept { return decapHelper_; }
   Mdl::Ptr<VerifyData const> verifyData() const noexcept;
   /// Null removes the reactor, or creates none.
   void verifyDataIs(Mdl::Ptr<VerifyData const> const& verifyData);
   void verifyDataDel();

   // The reactors on the inputs, null where the input is missing.

   Mdl::Ptr<MdlDgConfig> const& mdlDgConfig() const noexcept { return dgConfig_; }
   Mdl::Ptr<MdlIpStatus> const& mdlIpStatus() const noexcept { return ipStatus_; }
   Mdl::Ptr<MdlIp6Status> const& mdlIp6Status() const noexcept { return ip6Status_; }
   Mdl::Ptr<MdlClock> const& mdlClock() const noexcept { return clock_; }
   Mdl::Ptr<MdlVerifyData> const& mdlVerifyData() const noexcept { return verifyData_; }

   // Settings. They store the value and do nothing else.

   /// The delay from scheduling a review to the review, 0.1 s at first.
   Mdl::Seconds reviewInterval() const noexcept { return reviewInterval_; }
   void reviewIntervalIs(Mdl::Seconds interval) noexcept { reviewInterval_ = interval; }
   /// The time that one pass of a review may take, 0.01 s at first.
   Mdl::Seconds reviewQuanta() const noexcept { return reviewQuanta_; }
   void reviewQuantaIs(Mdl::Seconds quanta) noexcept { reviewQuanta_ = quanta; }
   /// Whether clean-up leaves hardware as it is, so that it forwards while the agent restarts. Read
   /// at the moment of clean-up.
   bool disableCleanupOnRestart() const noexcept { return disableCleanupOnRestart_; }
   void disableCleanupOnRestartIs(bool disable) noexcept { disableCleanupOnRestart_ = disable; }

   // Start-up.

   bool initialized() const noexcept { return initialized_; }
   /// The agent has finished its own start-up. Runs `handleInitialized` when the value changes.
   void initializedIs(bool initialized);
   bool dgConfigReadyHandled() const noexcept { return dgConfigReadyHandled_; }
   /// Whether handlers may touch hardware: initialized, and the configuration present and ready.
   bool initializedAndReady() const noexcept;
   virtual void handleInitialized();
   void handleDecapGroupConfigReady();

   // Groups.

   Mdl::Collection<Mdl::String, Mdl::Ptr<MdlDecapGroup>> const& mdlDecapGroup() const noexcept {
      return mdlDecapGroup_;
   }
   /// The reactor of a group, null when there is none.
   Mdl::Ptr<MdlDecapGroup> mdlDecapGroup(Mdl::String const& name) const;
   /// The group that the reactor of that name watches, null when there is none.
   Mdl::Ptr<Tunnel::Decap::DecapGroup const> decapGroup(Mdl::String const& name) const;
   void decapGroupIs(Mdl::Ptr<Tunnel::Decap::DecapGroup const> const& group);
   Mdl::Ptr<Tunnel::Decap::DecapGroup const> decapGroupDel(Mdl::String const& name);
   void decapGroupDelAll();

   // Interfaces. A status of null is a NullArgumentException.

   Mdl::Collection<Pkt::IntfId, Mdl::Ptr<MdlIpIntfStatus>> const& mdlIpIntfStatus() const noexcept {
      return mdlIpIntfStatus_;
   }
   Mdl::Ptr<MdlIpIntfStatus> mdlIpIntfStatus(Pkt::IntfId const& intfId) const;
   bool mdlIpIntfStatusHas(Pkt::IntfId const& intfId) const;
   Mdl::Ptr<Ip::IpIntfStatus const> ipIntfStatus(Pkt::IntfId const& intfId) const;
   Mdl::Ptr<MdlIpIntfStatus> ipIntfStatusIs(Mdl::Ptr<Ip::IpIntfStatus const> const& status);
   void ipIntfStatusDel(Pkt::IntfId const& intfId);
   void ipIntfStatusDelAll();

   Mdl::Collection<Pkt::IntfId, Mdl::Ptr<MdlIp6IntfStatus>> const& mdlIp6IntfStatus()
       const noexcept {
      return mdlIp6IntfStatus_;
   }
   Mdl::Ptr<MdlIp6IntfStatus> mdlIp6IntfStatus(Pkt::IntfId const& intfId) const;
   bool mdlIp6IntfStatusHas(Pkt::IntfId const& intfId) const;
   Mdl::Ptr<Ip6::IntfStatus const> ip6IntfStatus(Pkt::IntfId const& intfId) const;
   Mdl::Ptr<MdlIp6IntfStatus> ip6IntfStatusIs(Mdl::Ptr<Ip6::IntfStatus const> const& status);
   void ip6IntfStatusDel(Pkt::IntfId const& intfId);
   void ip6IntfStatusDelAll();

   /// The interface's record, created with zero addresses when there is none.
   Mdl::Ptr<DecapIntfIp> decapIntfIpIs(Pkt::IntfId const& intfId);

   // Keys.

   /// Raises or lowers the count of a key by one. Sentinel keys are ignored; lowering a count that
   /// is not there stops the process.
   void updateRefCount(DecapKey const& key, bool inc);
   /// The key waits for a review, which is scheduled.
   void addKeyToUnprogrammed(DecapKey const& key);
   /// Sets the wake-up to `reviewInterval` from now when keys wait. Every call moves it.
   void doMaybeScheduleReview();
   /// One pass over the keys that wait.
   void doReview();

   /// The counted keys that hardware refused for good, with its answer. Nothing depends on it: it
   /// is there for those who compare books with hardware.
   Mdl::Collection<DecapKey, dgRetCode> const& refusedKey() const noexcept { return refusedKey_; }

   /// Checks that every key of every group is counted or waits, and reports the first that is not.
   void handleVerify();

   // Notifications and rest.

   void hasNotificationActiveIs(bool active) override;
   virtual void mdlDoZombieReactors(bool zombie);

   /// The IPv4 addresses last seen, by interface.
   MDL_COLLECTION_BASE(Pkt::IntfId, Mdl::Ptr<DecapIntfIp>, decapIntfIp, memberId::decapIntfIp);
   /// The backlog: keys that hardware refused or whose destination another VRF owns.
   MDL_MAP(DecapKey, bool, unprogrammedKey, memberId::unprogrammedKey);
   /// The VRF that owns a destination in hardware.
   MDL_MAP(TunnelTypeDecapIp, L3::VrfName, tunnelTypeDecapIpToVrf,
           memberId::tunnelTypeDecapIpToVrf);
   /// The references on each key. The mutators do nothing but store; see `updateRefCount`.
   MDL_MAP(DecapKey, std::uint32_t, refCount, memberId::refCount);

 protected:
   FwdDecapGroupSm(Mdl::Ptr<FwdCommonSmData> const& acsd,
                   Mdl::Ptr<Tunnel::Decap::Config const> const& dgConfig,
                   Mdl::Ptr<Tunnel::Decap::Hardware::Status> const& status,
                   Mdl::Ptr<Ip::Status const> const& ipStatus,
                   Mdl::Ptr<Ip6::Status const> const& ip6Status,
                   Mdl::Ptr<Mdl::Clock const> const& clock,
                   Mdl::Ptr<FwdDecapGroupSmHelper> const& decapHelper);
   ~FwdDecapGroupSm() override;

 private:
   template <class T, class... Args>
   friend Mdl::Ptr<T> Mdl::allocate(Args&&... args);
   friend class HardwareCall;

   void createInputReactors(Mdl::Ptr<Tunnel::Decap::Config const> const& dgConfig,
                            Mdl::Ptr<Ip::Status const> const& ipStatus,
                            Mdl::Ptr<Ip6::Status const> const& ip6Status,
                            Mdl::Ptr<Mdl::Clock const> const& clock);
   void replayInputs();
   void tearDown() noexcept;
   void detachReactors() noexcept;
   template <class Visit>
   void forEachReactor(Visit&& visit);
   void replayGroups();
   // The steps of `createDecapEntry` and `deleteDecapEntry` behind the group's own.
   RefCount refCountAt(HashedKey const& key) { return refCount_.lookup(key); }
   std::uint32_t changeRefCount(RefCount& count, bool inc);
   void referenceTaken(RefCount& count, std::uint32_t references);
   void referenceReleased(RefCount& count, std::uint32_t references);
   bool handOver(RefCount const& count);
   void takeBack(RefCount const& count);
   void addToBacklog(HashedKey const& key);
   void traceOwner(char const* function, DecapKey const& key) const;
   dgRetCode reviewKeys(Mdl::Seconds deadline);
   bool reviewScheduled() const noexcept;
   void raiseHwResourceFull();
   void clearHwResourceFull();
   void requestVerifyIfAsked();
   bool keyIsKnown(DecapKey const& key) const;
   void reportUnknownKey(Mdl::String const& text, std::uint32_t line);

   Mdl::Ptr<FwdCommonSmData> const acsd_;
   Mdl::Ptr<MdlDgConfig> dgConfig_;
   Mdl::Ptr<Tunnel::Decap::Hardware::Status> const status_;
   Mdl::Ptr<MdlIpStatus> ipStatus_;
   Mdl::Ptr<MdlIp6Status> ip6Status_;
   Mdl::Ptr<MdlClock> clock_;
   Mdl::Ptr<FwdDecapGroupSmHelper> const decapHelper_;
   Mdl::Seconds reviewInterval_ = 0.1;
   Mdl::Seconds reviewQuanta_ = 0.01;
   bool disableCleanupOnRestart_ = false;
   bool dgConfigReadyHandled_ = false;
   bool initialized_ = false;
   bool replaying_ = false;
   unsigned replay_ = 0;
   Mdl::Collection<Mdl::String, Mdl::Ptr<MdlDecapGroup>> mdlDecapGroup_;
   Mdl::Collection<Pkt::IntfId, Mdl::Ptr<MdlIpIntfStatus>> mdlIpIntfStatus_;
   Mdl::Collection<Pkt::IntfId, Mdl::Ptr<MdlIp6IntfStatus>> mdlIp6IntfStatus_;
   Mdl::Ptr<MdlVerifyData> verifyData_;
   Mdl::Collection<DecapKey, dgRetCode> refusedKey_;
   HardwareCall* hardwareCalls_ = nullptr;
};

}  // namespace Fwd
