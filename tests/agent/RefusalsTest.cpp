#include "agent/Refusals.h"

#include "agent/World.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

Fwd::DecapKey key(std::uint32_t address) {
   return {{}, Pkt::IpGenPrefix(Pkt::IpAddr(address)), Tunnel::Decap::TunnelType::gre,
           0,  Tunnel::Decap::PayloadType::unset,      L3::VrfName::defaultVrf()};
}

Sim::Call program(std::uint32_t address, Fwd::dgRetCode answer, Mdl::Seconds time) {
   Sim::Call call;
   call.key = key(address);
   call.time = time;
   call.outcome = Sim::Outcome::answered;
   call.answer = answer;
   return call;
}

Sim::Call removal(std::uint32_t address) {
   Sim::Call call;
   call.operation = Sim::Operation::remove;
   call.key = key(address);
   call.outcome = Sim::Outcome::unknown;
   return call;
}

TEST(Refusals, KeepTheLastAnswerAndCountThem) {
   Refusals refusals;
   refusals.note(program(1, Fwd::dgRcNotReady, 1.0), false);
   refusals.note(program(1, Fwd::dgRcHwFull, 2.0), true);
   ASSERT_NE(refusals.find(key(1)), nullptr);
   EXPECT_EQ(*refusals.find(key(1)), (Refusal{false, Fwd::dgRcHwFull, 2.0, 2}));
}

TEST(Refusals, AreForgottenOnceHardwareHasTheKey) {
   for (auto const accepted : {Fwd::dgRcSuccess, Fwd::dgRcAlreadyExists}) {
      Refusals refusals;
      refusals.note(program(1, Fwd::dgRcHwFull, 1.0), false);
      refusals.note(program(1, accepted, 2.0), true);
      EXPECT_EQ(refusals.find(key(1)), nullptr);
   }
}

TEST(Refusals, AreForgottenWithARemoval) {
   Refusals refusals;
   refusals.note(program(1, Fwd::dgRcUnSupported, 1.0), false);
   refusals.note(removal(1), false);
   EXPECT_EQ(refusals.size(), 0u);
}

// A key that hardware refuses although its table holds it from before leaves that table when the
// configuration has been replayed. It is still refused.
TEST(Refusals, OutliveTheSweepOfAnEntryFromBefore) {
   Refusals refusals;
   refusals.note(program(1, Fwd::dgRcUnSupported, 1.0), false);
   Sim::Call sweep = removal(1);
   sweep.outcome = Sim::Outcome::swept;
   refusals.note(sweep, false);
   ASSERT_NE(refusals.find(key(1)), nullptr);
   EXPECT_EQ(refusals.find(key(1))->answer, Fwd::dgRcUnSupported);
}

TEST(Refusals, CountAnewForAKeyThatHadBeenGivenUp) {
   Refusals refusals;
   refusals.note(program(1, Fwd::dgRcHwFull, 1.0), false);
   refusals.note(program(1, Fwd::dgRcHwFull, 2.0), true);
   refusals.note(program(1, Fwd::dgRcHwFull, 9.0), false);
   EXPECT_EQ(refusals.find(key(1))->times, 1u);
}

TEST(Refusals, TellAnExceptionFromAnAnswer) {
   Refusals refusals;
   Sim::Call call = program(1, Fwd::dgRcSuccess, 1.0);
   call.outcome = Sim::Outcome::threw;
   refusals.note(call, false);
   ASSERT_NE(refusals.find(key(1)), nullptr);
   EXPECT_TRUE(refusals.find(key(1))->threw);
}

TEST(Refusals, StayBoundedWhenWaitingKeysAreGivenUpAllTheTime) {
   World world;
   world.hardware().table().capacityIs(0);
   world.start();
   auto const group = world.groupFor("a");
   group->tunnelTypeIs(Tunnel::Decap::TunnelType::gre);
   world.groupIs(group);
   for (std::uint32_t i = 1; i <= 20000; ++i) {
      Pkt::IpGenPrefix const prefix{Pkt::IpAddr(i)};
      group->decapIpIs(prefix);
      group->decapIpDel(prefix);
   }
   EXPECT_LT(world.refusals().size(), 5000u);
}

}  // namespace
}  // namespace Agent
