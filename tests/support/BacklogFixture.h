#pragma once

#include "support/DecapFixture.h"
#include "support/MachineChecks.h"

#include <initializer_list>
#include <string>
#include <string_view>

/// A running state machine with the empty group "red", whose keys can be made to wait.
class BacklogFixture : public DecapFixture {
 protected:
   BacklogFixture() {
      givenGroup("red");
      givenRunning();
      forgetSoFar();
   }

   static std::string udp(std::string_view destination, std::string_view vrfName = "default") {
      return "udp " + std::string(destination) + " port 6080 payload ip vrf " +
             std::string(vrfName);
   }
   static Fwd::TunnelTypeDecapIp pairOf(Fwd::DecapKey const& key) {
      return {key.tunnelType(), key.dstIp()};
   }

   /// The prefixes join the group while hardware is not ready; from then on it is. Their review is
   /// scheduled.
   void givenWaiting(std::initializer_list<std::string_view> prefixes,
                     std::string_view group = "red") {
      hardware->notReadyUntilIs(Mdl::never);
      for (auto const text : prefixes) whenDecapIpAdded(group, text);
      hardware->notReadyUntilIs(0.0);
      forgetSoFar();
   }
   /// The answer to the next call.
   void givenAnswer(Fwd::dgRetCode code) { hardware->script().next(Sim::Answer::of(code)); }

   Mdl::Seconds wakeUp() const { return sm->mdlClock()->timeMin(); }
};
