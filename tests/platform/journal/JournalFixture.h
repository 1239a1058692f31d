#pragma once

#include "fwd/VerifyData.h"
#include "platform/journal/Player.h"
#include "platform/journal/Recorder.h"
#include "platform/sim/SimHelper.h"
#include "platform/sim/SimTime.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A machine on simulated hardware that is recorded, as an agent would do it.
class JournalFixture : public testing::Test {
 protected:
   using DecapGroup = Tunnel::Decap::DecapGroup;

   /// Everything a recorded life needs; gone before its journal is replayed, as both are the
   /// process's.
   struct Life {
      std::vector<std::string> lines;
      Sim::SimTime time;
      Mdl::Ptr<Tunnel::Decap::Config> config = Mdl::allocate<Tunnel::Decap::Config>();
      Mdl::Ptr<Ip::Status> ip = Mdl::allocate<Ip::Status>();
      Mdl::Ptr<Ip6::Status> ip6 = Mdl::allocate<Ip6::Status>();
      Mdl::Ptr<Fwd::VerifyData> verifyData = Mdl::allocate<Fwd::VerifyData>();
      Mdl::Ptr<Fwd::FwdCommonSmData> shared = Mdl::allocate<Fwd::FwdCommonSmData>(verifyData);
      Mdl::Ptr<Sim::SimHelper> hardware = Mdl::allocate<Sim::SimHelper>();
      Journal::Recorder recorder{[this](std::string const& line) { lines.push_back(line); }};
      Mdl::Ptr<Fwd::FwdDecapGroupSm> machine;

      Life() {
         Mdl::Log::sinkIs([this](Mdl::LogHandle const& message) { recorder.noteLog(message); });
         Mdl::Trace::sinkIs([this](Mdl::TraceRecord const& record) { recorder.noteTrace(record); });
      }
      ~Life() {
         machine = nullptr;
         Mdl::TraceHandle::find("FwdDecapGroup")->maskIs(0);
         Mdl::Trace::sinkIs({});
         Mdl::Log::sinkIs({});
      }
      Life(Life const&) = delete;
      Life& operator=(Life const&) = delete;

      void build() {
         auto const status = Mdl::allocate<Tunnel::Decap::Hardware::Status>();
         recorder.noteBuild({config, status, ip, ip6, verifyData, time.clock()});
         machine = Fwd::fwdDecapGroupSmFactory(shared, config, status, ip, ip6, time.clock(),
                                               recorder.hook(hardware));
      }
      void initialize() {
         recorder.noteInitialized(true);
         machine->initializedIs(true);
      }
      void start() {
         build();
         config->readyIs(true);
         initialize();
      }
      void drop() {
         recorder.noteDrop();
         machine = nullptr;
      }
      void traceLevelsAre(std::uint32_t mask) {
         recorder.noteTraceMask(mask);
         Mdl::TraceHandle::find("FwdDecapGroup")->maskIs(mask);
      }
   };

   static Mdl::Ptr<DecapGroup> group(std::string_view name,
                                     std::initializer_list<std::string_view> prefixes = {}) {
      auto made = Mdl::allocate<DecapGroup>(Mdl::String(name));
      made->tunnelTypeIs(Tunnel::Decap::TunnelType::gre);
      made->forwardingVrfIs(L3::VrfName::defaultVrf());
      for (auto const text : prefixes) made->decapIpIs(prefix(text));
      return made;
   }
   static Pkt::IpGenPrefix prefix(std::string_view text) {
      return Pkt::IpGenPrefix::fromText(text);
   }
   static Pkt::IntfId intf(std::string_view name) { return Pkt::IntfId(Mdl::String(name)); }

   /// Lives a life and gives its journal.
   template <class Living>
   static std::string journalOf(Living const& living) {
      Life life;
      living(life);
      if (life.machine) life.drop();
      life.recorder.close();
      return text(life.lines);
   }
   static std::string text(std::vector<std::string> const& lines) {
      std::string result;
      for (auto const& line : lines) result += line + '\n';
      return result;
   }
   static Journal::Outcome replay(std::string const& journal) {
      return Journal::Player(journal).play();
   }
   static void thenTheSame(std::string const& journal) {
      Journal::Outcome const outcome = replay(journal);
      EXPECT_TRUE(outcome.complete);
      EXPECT_EQ(outcome.lines, static_cast<std::size_t>(std::ranges::count(journal, '\n')));
      if (!outcome.difference) return;
      ADD_FAILURE() << "line " << outcome.difference->line << "\n"
                    << outcome.difference->recorded << "\n"
                    << outcome.difference->replayed;
   }
};
