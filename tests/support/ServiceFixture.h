#pragma once

#include "agent/serve/Service.h"
#include "support/Reloads.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fcntl.h>
#include <memory>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

/// A service whose clock the test moves. It began on 2026-01-31 at 12:00:00 UTC.
class ServiceFixture : public testing::Test {
 protected:
   using Texts = std::vector<std::string>;

   static Agent::TimeScale wallTime() {
      return Agent::TimeScale(Agent::TimeScale::WallTime(std::chrono::seconds(1769860800)));
   }

   /// What the configuration file says, in single quotes.
   void givenFile(std::string const& text) const {
      Support::writeFile(configurationFile, Support::quoted(text));
   }
   /// A service that has started on the configuration.
   void given(std::string const& text) {
      givenFile(text);
      givenService();
      ASSERT_TRUE(service->start(err)) << err.str();
   }
   /// A service that has not started. The one before it goes first.
   void givenService() {
      service = nullptr;
      service = std::make_unique<Agent::Service>(
          Agent::ServiceOptions{configurationFile, stateFolder, mode}, [this] { return clock; },
          wallTime(),
          [this](unsigned severity, std::string const& text) {
             log.push_back(std::to_string(severity) + ' ' + text);
          });
   }
   /// The agent's loop, with no command in between.
   void whenTimePasses(Mdl::Seconds seconds) {
      Mdl::Seconds const end = clock + seconds;
      for (int turns = 0; service->nextTurn() <= end && turns < 10'000; ++turns) {
         clock = service->nextTurn();
         service->turn();
      }
      clock = end;
      service->turn();
   }

   /// The file is opened as the client does it.
   void whenJournalStarts(std::string const& name) const {
      int const file = ::open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
      try {
         service->journalStart(name, file);
      } catch (...) {
         ::close(file);
         throw;
      }
      ::close(file);
   }

   Agent::World& world() { return service->world(); }
   Sim::SimHelper& hardware() { return service->world().hardware(); }
   Texts table() { return Support::tableTexts(world()); }
   Texts backlog() { return Support::backlogTexts(world()); }
   /// The hook calls about keys since `forgetCalls`.
   Texts calls() { return Support::keyCalls(world()); }
   void forgetCalls() { hardware().journal().clear(); }
   bool logHas(std::string const& part) const {
      for (std::string const& line : log) {
         if (line.find(part) != std::string::npos) return true;
      }
      return false;
   }

   Support::TempFolder const folder;
   std::string const configurationFile = folder.path("agent.json");
   std::string stateFolder;
   Agent::InterfaceMode mode = Agent::InterfaceMode::file;
   Mdl::Seconds clock = 0.0;
   Texts log;
   std::ostringstream err;
   std::unique_ptr<Agent::Service> service;
};
