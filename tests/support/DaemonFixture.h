#pragma once

#include "support/Daemon.h"
#include "support/Program.h"
#include "support/Reloads.h"
#include "support/StateFiles.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

/// The programs themselves: an agent that runs, and clients that speak to it.
class DaemonFixture : public testing::Test {
 protected:
   using Texts = std::vector<std::string>;

   /// A group of so many prefixes.
   static constexpr char const* two =
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', "
       "'10.2.0.0/16']}]}";
   static constexpr char const* three =
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', '10.2.0.0/16', "
       "'10.3.0.0/16']}]}";

   void givenFile(std::string const& text) const {
      Support::writeFile(file, Support::quoted(text));
   }
   void givenAgent(std::string const& text, Texts const& more = {}) {
      givenFile(text);
      agent = start(more);
      ASSERT_TRUE(
          Support::eventually([&] { return agent->says(readyLine()) || agent->hasEnded(); }));
      ASSERT_FALSE(agent->hasEnded()) << agent->err();
   }
   std::unique_ptr<Support::RunningProgram> start(Texts const& more = {}) const {
      Texts arguments = {DECAP_AGENT_PROGRAM, "serve", "--config", file, "--socket", socket};
      arguments.insert(arguments.end(), more.begin(), more.end());
      return std::make_unique<Support::RunningProgram>(arguments, notify);
   }
   std::string readyLine() const { return "ready: commands are taken at " + socket; }

   Support::ProgramEnd ask(Texts const& words) const {
      Texts arguments = {DECAPCTL_PROGRAM, "--socket", socket};
      arguments.insert(arguments.end(), words.begin(), words.end());
      return Support::runProgram(arguments);
   }
   static Support::ProgramEnd shell(std::string const& script) {
      return Support::runProgram({"/bin/bash", "-c", script});
   }
   /// What the state folder's table has, after the agent has ended.
   Texts kept() const { return Support::fileTexts(state + "/hardware.state"); }

   Support::TempFolder const folder;
   std::string const file = folder.path("agent.json");
   std::string socket = folder.path("control.sock");
   std::string const state = folder.path("state");
   std::string notify;
   std::unique_ptr<Support::RunningProgram> agent;
};
