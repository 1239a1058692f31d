#pragma once

#include "platform/sim/StateFile.h"
#include "support/DecapFixture.h"
#include "support/StateFiles.h"
#include "support/TempFolder.h"

#include <algorithm>
#include <string>
#include <vector>

/// Agents that follow one another on the same hardware: each has a configuration, a state machine
/// and a hook of its own; what stays is the table, in a file.
class RestartFixture : public DecapFixture {
 protected:
   /// A new agent finds hardware as the last one left it, and has no configuration yet.
   void givenAgent() {
      whenAgentStops();
      config = Mdl::allocate<Tunnel::Decap::Config>();
      status = Mdl::allocate<Tunnel::Decap::Hardware::Status>();
      ip = Mdl::allocate<Ip::Status>();
      ip6 = Mdl::allocate<Ip6::Status>();
      groups.clear();
      givenHook();
   }
   /// A new hook and no state machine; the configuration stays.
   void givenHook() {
      hardware = Mdl::allocate<Sim::SimHelper>();
      hardware->resume(Sim::StateFile::open(path));
      forgetSoFar();
   }

   void whenAgentStops() {
      sm = nullptr;
      hardware = nullptr;
   }
   /// Hardware goes on as it is.
   void whenAgentStopsForARestart() {
      sm->disableCleanupOnRestartIs(true);
      whenAgentStops();
   }
   /// Everything that waits for time has had its time.
   void whenQuiet() {
      for (int i = 0; i < 5; ++i) whenTimePasses(1.0);
   }

   /// The table, without regard to order.
   Texts tableTexts() const {
      Texts texts = Support::keyTexts(hardware->table().entries());
      std::ranges::sort(texts);
      return texts;
   }
   Texts fileTexts() const {
      Texts texts = *Support::readState(Support::readFile(path)).table;
      std::ranges::sort(texts);
      return texts;
   }

   Support::TempFolder const folder;
   std::string const path = folder.path("hw.state");
};
