// An agent that is killed inside any hook call, and the one after it.

#include "support/RestartFixture.h"

#include <cstdint>
#include <functional>

#include <sys/wait.h>
#include <unistd.h>

namespace {

class Kill : public RestartFixture {
 protected:
   enum class Moment { beforeTheTable, afterTheTable, insideTheRecord };

   static constexpr int killedAsPlanned = 42;

   struct UndisturbedRun {
      Texts hardware;
      std::vector<Sim::Call> calls;
   };

   /// What an agent of long ago has left in hardware: some that is wanted, some that is not, and
   /// one that is in the way of another VRF.
   void givenOldHardware() const {
      Support::StateFileText old;
      old.written(key("10.1.0.0/16", {.vrf = "red"}));
      old.written(key("10.5.0.0/16", {.vrf = "blue"}));
      for (int i = 0; i < 4; ++i) old.written(key("172.16." + std::to_string(i) + ".0/24"));
      Support::writeFile(path, old.text());
   }

   static std::string shared(int i) { return "10.20." + std::to_string(i) + ".0/24"; }

   /// From the first configuration to the last. What it ends in depends on the last alone: where
   /// two VRFs want a destination at the end, the group that comes first in the configuration has
   /// it.
   void runScenario() {
      givenGroup("red", {.vrf = "red"});
      givenGroup("blue", {.vrf = "blue"});
      for (char const* text : {"10.1.0.0/16", "10.2.0.0/16", "10.5.0.0/16"}) {
         whenDecapIpAdded("red", text);
      }
      for (char const* text : {"10.5.0.0/16", "10.6.0.0/16"}) whenDecapIpAdded("blue", text);
      givenRunning();
      shareKeys();
      handOverADestination();
      rekeyGroups();
      changeInterfaces();
      whenGroupRemoved("share2");
      for (int i = 0; i < 3; ++i) whenDecapIpRemoved("share1", shared(i));
      whenQuiet();
   }

   void shareKeys() {
      givenGroup("share1");
      givenGroup("share2");
      for (int i = 0; i < 10; ++i) whenDecapIpAdded("share1", shared(i));
      for (int i = 5; i < 15; ++i) whenDecapIpAdded("share2", shared(i));
   }

   void handOverADestination() {
      whenDecapIpRemoved("red", "10.5.0.0/16");
      whenQuiet();
      thenOwnerIs("blue");
      whenDecapIpAdded("red", "10.5.0.0/16");
      whenDecapIpRemoved("blue", "10.5.0.0/16");
      whenQuiet();
      thenOwnerIs("red");
      whenDecapIpAdded("blue", "10.5.0.0/16");
   }

   void rekeyGroups() {
      groupNamed("share1").destPortIs(6081);
      groupNamed("share2").payloadTypeIs(PayloadType::mpls);
      groupNamed("red").forwardingVrfIs(vrf("crimson"));
      whenQuiet();
      groupNamed("red").forwardingVrfIs(vrf("red"));
      groupNamed("share1").tunnelTypeIs(TunnelType::unknown);
      groupNamed("share1").tunnelTypeIs(TunnelType::gre);
      whenQuiet();
   }

   void changeInterfaces() {
      givenGroup("edge", {.type = TunnelType::ipip, .port = 0, .payload = PayloadType::unset});
      auto const first = givenInterface("Ethernet1", "192.0.2.1/24");
      for (int i = 2; i < 8; ++i) {
         givenInterface("Ethernet" + std::to_string(i), "192.0.2." + std::to_string(i) + "/24");
      }
      whenDecapIntfAdded("edge", "");
      first->addrWithMaskIs(Pkt::IpAddrWithMask(Mdl::String("198.51.100.1/24")));
      whenExcluded("edge", {"Ethernet2", "Ethernet3"});
      whenExcluded("edge", {"Ethernet3", "Ethernet4"});
      ip->ipIntfStatusDel(intf("Ethernet5"));
   }

   void thenOwnerIs(std::string_view name) const {
      auto const* const owner =
          sm->tunnelTypeDecapIpToVrf().find({TunnelType::udp, prefix("10.5.0.0/16")});
      ASSERT_NE(owner, nullptr);
      EXPECT_EQ(*owner, vrf(name));
   }

   /// The scenario with nobody killed. Its last configuration stays for those who come after.
   UndisturbedRun undisturbedRun() {
      givenOldHardware();
      givenAgent();
      runScenario();
      thenBooksAgree();
      UndisturbedRun run;
      run.hardware = tableTexts();
      run.calls.assign(hardware->journal().calls().begin(), hardware->journal().calls().end());
      whenAgentStopsForARestart();
      return run;
   }

   /// An action for inside the n-th call, or after it.
   void givenDeath(std::size_t n, Moment moment, std::vector<Sim::Call> const& calls) {
      auto const die = [] { ::_exit(killedAsPlanned); };
      Sim::Call const& last = calls[n];
      if (moment != Moment::beforeTheTable) {
         hardware->observerIs([number = last.number, die](Sim::Call const& call) {
            if (call.number == number) die();
         });
         return;
      }
      auto const isAsked = [&](Sim::Call const& call) {
         return call.operation == last.operation && call.outcome != Sim::Outcome::swept;
      };
      auto const count = static_cast<std::uint64_t>(std::count_if(
          calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(n) + 1, isAsked));
      if (last.operation == Sim::Operation::program) hardware->duringProgram(count, die);
      if (last.operation == Sim::Operation::remove) hardware->duringRemoval(count, die);
   }

   /// Runs the scenario in a process that dies in its n-th hook call, counted from 0.
   void whenKilled(std::size_t n, Moment moment, std::vector<Sim::Call> const& calls) {
      pid_t const child = ::fork();
      ASSERT_NE(child, -1);
      if (child == 0) {
         givenAgent();
         givenDeath(n, moment, calls);
         runScenario();
         ::_exit(1);
      }
      int end = 0;
      ASSERT_EQ(::waitpid(child, &end, 0), child);
      ASSERT_TRUE(WIFEXITED(end));
      ASSERT_EQ(WEXITSTATUS(end), killedAsPlanned) << "call " << n;
      if (moment == Moment::insideTheRecord) cutLastLine();
   }

   /// As a kill in the middle of the last record's write leaves the file.
   void cutLastLine() const {
      std::string text = Support::readFile(path);
      auto const start = text.rfind('\n', text.size() - 2) + 1;
      text.resize(start + (text.size() - start) / 2);
      Support::writeFile(path, text);
   }

   /// The next agent, with the scenario's last configuration, is done with its start.
   void whenStartedAgain() {
      givenHook();
      givenRunning();
      whenQuiet();
   }

   /// Kills in every call that `includes` admits.
   void thenEveryKillEndsInTheSameTable(Moment moment,
                                        std::function<bool(Sim::Call const&)> const& includes) {
      UndisturbedRun const undisturbed = undisturbedRun();
      std::size_t kills = 0;
      for (std::size_t n = 0; n < undisturbed.calls.size(); ++n) {
         if (!includes(undisturbed.calls[n])) continue;
         givenOldHardware();
         ASSERT_NO_FATAL_FAILURE(whenKilled(n, moment, undisturbed.calls));
         whenStartedAgain();
         ASSERT_EQ(tableTexts(), undisturbed.hardware)
             << "killed in call " << n << ": " << callText(undisturbed.calls[n]);
         ASSERT_EQ(fileTexts(), undisturbed.hardware);
         thenBooksAgree();
         whenAgentStopsForARestart();
         ++kills;
      }
      EXPECT_GE(kills, 100u);
   }

   static bool isAsked(Sim::Call const& call) {
      return (call.operation == Sim::Operation::program ||
              call.operation == Sim::Operation::remove) &&
             call.outcome != Sim::Outcome::swept;
   }
};

TEST_F(Kill, TheScenarioHasEveryKindOfCall) {
   UndisturbedRun const run = undisturbedRun();
   std::size_t programmed = 0, removed = 0, claimed = 0, swept = 0;
   for (Sim::Call const& call : run.calls) {
      programmed += call.outcome == Sim::Outcome::answered && call.answer == Fwd::dgRcSuccess;
      claimed += call.outcome == Sim::Outcome::answered && call.answer == Fwd::dgRcAlreadyExists;
      removed += call.outcome == Sim::Outcome::removed;
      swept += call.outcome == Sim::Outcome::swept;
   }
   EXPECT_GE(run.calls.size(), 100u);
   EXPECT_GE(programmed, 50u);
   EXPECT_GE(removed, 30u);
   EXPECT_EQ(claimed, 1u);
   EXPECT_EQ(swept, 5u);
   EXPECT_FALSE(run.hardware.empty());
}

TEST_F(Kill, BeforeTheTableIsTouched) {
   thenEveryKillEndsInTheSameTable(Moment::beforeTheTable, isAsked);
}

TEST_F(Kill, AfterTheTableIsWritten) {
   thenEveryKillEndsInTheSameTable(Moment::afterTheTable, [](Sim::Call const&) { return true; });
}

TEST_F(Kill, InTheMiddleOfTheRecord) {
   thenEveryKillEndsInTheSameTable(Moment::insideTheRecord, [](Sim::Call const&) { return true; });
}

}  // namespace
