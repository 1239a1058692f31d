#pragma once

#include "FwdL3Unicast/FwdDecapGroup.h"
#include "fwd/VerifyData.h"
#include "oracle/Books.h"
#include "oracle/Scene.h"
#include "oracle/Wanted.h"
#include "platform/journal/Recorder.h"
#include "platform/sim/SimHelper.h"
#include "platform/sim/SimTime.h"

#include <array>
#include <functional>

namespace Oracle {

/// The real thing: entities, a state machine and simulated hardware, to which events are applied.
///
/// Owner: a run, one at a time, as the process has one clock and one log.
class World {
 public:
   using Observer = std::function<void(Sim::Call const&, Mdl::Seconds now)>;

   /// `recorder` writes down what the machine is told and does, null for nobody; it outlives this.
   World(Observer observer, Journal::Recorder* recorder);
   World(World const&) = delete;
   World& operator=(World const&) = delete;
   ~World();

   Mdl::Seconds now() const { return time_.now(); }
   /// `scene` is what the event leads to.
   void apply(Event const& event, Scene const& scene);
   /// What there is to see, and what was logged since the last call.
   Found look();
   Wanted::Held<Origin> held(std::uint8_t group, std::uint8_t intf, std::uint8_t family) const;

 private:
   using Config = Tunnel::Decap::Config;
   using DecapGroup = Tunnel::Decap::DecapGroup;

   void applyToMachine(Event const& event);
   void build();
   void applyToHardware(Event const& event);
   void answer(Event const& event);
   void applyToGroup(Event const& event, Scene const& scene);
   void applyToEntries(Event const& event);
   void applyToConfig(Event const& event, Scene const& scene);
   void pointAtConfig(Mdl::Ptr<Config> const& config);
   void applyToIp(Event const& event, Scene const& scene);
   void applyToIp6(Event const& event, Scene const& scene);
   void replaceIp(Event const& event, Scene const& scene);
   void replaceIp6(Event const& event, Scene const& scene);
   static Mdl::Ptr<DecapGroup> newGroup(std::uint8_t group, Group const& content);
   void lookAtMachine(Found& found) const;

   template <class Note>
   void record(Note const& note) const {
      if (recorder_ != nullptr) note(*recorder_);
   }

   Sim::SimTime time_;
   Journal::Recorder* const recorder_;
   Mdl::Ptr<Config> config_;
   Mdl::Ptr<Tunnel::Decap::Hardware::Status> status_;
   Mdl::Ptr<Ip::Status> ip_;
   Mdl::Ptr<Ip6::Status> ip6_;
   Mdl::Ptr<Fwd::VerifyData> const verifyData_;
   Mdl::Ptr<Fwd::FwdCommonSmData> const acsd_;
   Mdl::Ptr<Sim::SimHelper> const hardware_;
   Mdl::Ptr<Fwd::FwdDecapGroupSm> sm_;
   // Writable faces of what configuration and status list.
   std::array<Mdl::Ptr<DecapGroup>, groupCount> groups_;
   std::array<Mdl::Ptr<Ip::IpIntfStatus>, intfCount> ipIntf_;
   std::array<Mdl::Ptr<Ip6::IntfStatus>, intfCount> ip6Intf_;
   std::uint32_t fullLogs_ = 0;
   std::uint32_t normalLogs_ = 0;
};

}  // namespace Oracle
