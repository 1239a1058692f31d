#pragma once

#include "FwdL3Unicast/FwdDecapGroup.h"
#include "agent/Configuration.h"
#include "agent/OperatorLog.h"
#include "agent/Refusals.h"
#include "agent/TakeOver.h"
#include "platform/journal/Recorder.h"
#include "platform/journal/Watcher.h"
#include "platform/sim/SimHelper.h"
#include "platform/sim/SimTime.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace Agent {

/// How a run ended.
struct Settled {
   /// Nothing more would change by itself.
   bool quiet = false;
   Mdl::Seconds at = 0.0;
};

/// One interface as an agent reports it: a status object for each family. Both are there for every
/// interface, with or without addresses.
struct Interface {
   Mdl::Ptr<Ip::IpIntfStatus> ip;
   Mdl::Ptr<Ip6::IntfStatus> ip6;

   Pkt::IntfId const& name() const noexcept { return ip->intfId(); }
   L3::VrfName const& vrf() const noexcept { return ip->vrf(); }
   friend bool operator==(Interface const&, Interface const&) = default;
};

/// One switch in simulated time, or in real time that stands still while work is done: the entities
/// that an agent owns, simulated hardware, and the state machine between them.
///
/// Owner: a command that runs something; one at a time, as time, log and traces are the process's.
/// I1: the machine, while there is one, watches this world's entities and clock and drives its
///   hardware.
/// I2: time moves only here and by what hook calls cost.
/// Exceptions: whatever a change makes the hook throw reaches the caller of that change; in
///   `advanceTo` and `settle` it is handed to the fault handler, and time goes on.
class World {
 public:
   using DecapGroup = Tunnel::Decap::DecapGroup;
   using FaultHandler = std::function<void(std::exception const&)>;
   using CallObserver = std::function<void(Sim::Call const&)>;

   World();
   World(World const&) = delete;
   World& operator=(World const&) = delete;
   /// Drops the machine first, which withdraws what it programmed unless hardware is to be kept.
   ~World();

   /// Adds the interfaces and groups and takes over the settings. What exists is changed.
   void configure(Configuration const& configuration);
   void configure(HardwareConfiguration const& hardware);
   void configure(GroupConfiguration const& group);
   void configure(InterfaceConfiguration const& interface);

   /// Goes on with the hardware table that the file holds, and keeps it there. Before anything is
   /// built or configured.
   void resume(std::unique_ptr<Sim::StateFile> file);
   /// Whether the end of the world, however it comes, leaves hardware as it is. False at first.
   void keepHardwareIs(bool keep) noexcept { keepHardware_ = keep; }

   /// Has everything that the machine is told and does written down. Null for nobody; whoever
   /// writes outlives the machine. While there is no machine.
   void recorderIs(Journal::Recorder* recorder) noexcept { recorder_ = recorder; }
   Journal::Recorder* recorder() const noexcept { return recorder_; }

   /// Puts something between every machine and its platform: gets the platform, gives what the
   /// machine is to call. While there is no machine.
   using HookLayer = std::function<Mdl::Ptr<Fwd::FwdDecapGroupSmHelper>(
       Mdl::Ptr<Fwd::FwdDecapGroupSmHelper> const& platform)>;
   void hookLayerIs(HookLayer layer) { hookLayer_ = std::move(layer); }

   // The machine's life.

   /// Builds the machine without telling it to begin. What hardware holds is held over: what the
   /// machine does not ask for goes once it has the whole configuration. Its alarm is off at first.
   /// Nothing when there is one.
   void build();
   /// The configuration is complete.
   void configReady() { config_->readyIs(true); }
   /// The agent has finished its start-up. Nothing when there is no machine.
   void initialized() { initializedIs(true); }
   /// The agent takes that back, or gives it again.
   void initializedIs(bool initialized);
   /// All of it: build, configuration ready, initialized.
   void start();
   /// Drops the machine, and the configuration is not ready any more. With `keepHardware` the table
   /// stays as it is.
   void stop(bool keepHardware = false);

   // Groups.

   /// The group, made when it does not exist. A new one is not part of the configuration yet: set
   /// its attributes, then `groupIs`.
   Mdl::Ptr<DecapGroup> groupFor(Mdl::String const& name);
   /// A group of its own, whether or not there is one of that name. For `groupIs`.
   static Mdl::Ptr<DecapGroup> newGroup(Mdl::String const& name);
   /// The group, null when there is none.
   Mdl::Ptr<DecapGroup> group(Mdl::String const& name) const;
   /// Makes the group part of the configuration, instead of another of the same name.
   void groupIs(Mdl::Ptr<DecapGroup> const& group);
   void groupDel(Mdl::String const& name);
   /// In the order of configuration.
   Mdl::Collection<Mdl::String, Mdl::Ptr<DecapGroup>> const& groups() const noexcept {
      return groups_;
   }

   // Interfaces.

   /// The interface, made when it does not exist. A new one is not part of the status yet: set its
   /// attributes, then `interfaceIs`.
   Interface interfaceFor(Pkt::IntfId const& name);
   /// Makes the interface part of the status, with its IPv4 half first.
   void interfaceIs(Interface const& interface);
   void interfaceDel(Pkt::IntfId const& name);
   /// An interface that is part of the status moves without anybody being told.
   void vrfIs(Interface const& interface, L3::VrfName const& vrf) const;
   /// In the order of appearance.
   Mdl::Collection<Pkt::IntfId, Interface> const& interfaces() const noexcept {
      return interfaces_;
   }

   // Time.

   Mdl::Seconds now() const noexcept { return time_.now(); }
   /// Time follows a real clock, whose reading from 0 `source` gives: it catches up at the end of
   /// each turn and in each hook call, and stands still in between. So what is written down has
   /// every moment at which the machine can have looked at the time.
   void followIs(std::function<Mdl::Seconds()> source);
   /// Ends a turn of the event loop: the clock catches up with what the work has cost.
   void turn();
   /// When the machine is to be woken next; `Mdl::never` when it does not want to be.
   Mdl::Seconds nextTurn() const;
   /// Moves time on, waking the machine whenever it wants to be woken on the way.
   void advanceTo(Mdl::Seconds time);
   /// Wakes the machine until it is quiet, or until `limit` simulated seconds have gone by.
   ///
   /// It is quiet when it wants no wake-up; or when a wake-up has changed nothing (no entry came or
   /// went, no key left or joined the backlog, the alarm stands as it stood) while hardware would
   /// answer the same at any later time.
   Settled settle(Mdl::Seconds limit);

   /// Whether the machine wants no wake-up.
   bool isAsleep() const { return nextTurn() == Mdl::never; }

   // What there is.

   /// Null while there is none.
   Mdl::Ptr<Fwd::FwdDecapGroupSm> const& machine() const noexcept { return machine_; }
   Tunnel::Decap::Hardware::Status const& status() const noexcept { return *status_; }
   /// Requests for verification, and what verifications reported.
   Fwd::VerifyData& verifyData() const noexcept { return *shared_->verifyData(); }
   Sim::SimHelper& hardware() const noexcept { return *hardware_; }
   OperatorLog& log() noexcept { return log_; }
   OperatorLog const& log() const noexcept { return log_; }
   Refusals& refusals() noexcept { return refusals_; }
   Refusals const& refusals() const noexcept { return refusals_; }
   ReviewConfiguration& review() noexcept { return review_; }
   /// Since when a key is in the backlog; none for one that is not.
   std::optional<Mdl::Seconds> waitsSince(Fwd::DecapKey const& key) const;
   /// Since when the key waits that waits longest; none when the backlog is empty.
   std::optional<Mdl::Seconds> waitingLongest() const;
   /// Changes that machines have told of, and reviews that they were woken for, so far.
   std::uint64_t notifications() const noexcept { return notifications_; }
   std::uint64_t reviews() const noexcept { return reviews_; }
   /// What the last machine that was built found in hardware.
   TakeOver const& takeOver() const noexcept { return takeOver_; }
   /// Hands the review settings to the machine.
   void reviewChanged();
   void callCostIs(Mdl::Seconds cost) { hardware_->callCostIs(cost, &time_); }

   /// Kills the process, as SIGKILL does, in the n-th hook call from now on: its outcome stands,
   /// and the machine has not heard of it. `before` is run first.
   void killIn(std::uint64_t calls, std::function<void()> before);

   /// Has the group look at an entry anew, as after a notification.
   void applyEntry(Mdl::String const& group, Tunnel::Decap::DecapIntfKey const& entry);

   void callObserverIs(CallObserver observer) { callObserver_ = std::move(observer); }
   void logObserverIs(OperatorLog::Observer observer) { logObserver_ = std::move(observer); }
   void faultHandlerIs(FaultHandler handler) { faultHandler_ = std::move(handler); }

 private:
   void noteCall(Sim::Call const& call);
   void noteBacklog(Fwd::DecapKey const& key);
   void moveClock(Mdl::Seconds time);

   Sim::SimTime time_;
   OperatorLog log_;
   Refusals refusals_;
   std::size_t refusalsWorthPruning_ = 0;
   TakeOver takeOver_;
   bool keepHardware_ = false;
   std::uint64_t callsToLive_ = 0;  ///< 0: any number
   std::function<void()> beforeDeath_;
   ReviewConfiguration review_;
   Journal::Recorder* recorder_ = nullptr;
   HookLayer hookLayer_;
   std::uint64_t notifications_ = 0;
   std::uint64_t reviews_ = 0;
   CallObserver callObserver_;
   OperatorLog::Observer logObserver_;
   FaultHandler faultHandler_;
   Mdl::Collection<Mdl::String, Mdl::Ptr<DecapGroup>> groups_;
   Mdl::Collection<Pkt::IntfId, Interface> interfaces_;
   Mdl::Ptr<Tunnel::Decap::Config> config_;
   Mdl::Ptr<Tunnel::Decap::Hardware::Status> status_;
   Mdl::Ptr<Ip::Status> ipStatus_;
   Mdl::Ptr<Ip6::Status> ip6Status_;
   Mdl::Ptr<Fwd::FwdCommonSmData> shared_;
   Mdl::Ptr<Sim::SimHelper> hardware_;
   Mdl::Ptr<Fwd::FwdDecapGroupSm> machine_;
   Mdl::Collection<Fwd::DecapKey, Mdl::Seconds> waitsSince_;
   /// Hears of the machine's backlog.
   Mdl::Ptr<Journal::Watcher> backlogWatcher_;
};

}  // namespace Agent
