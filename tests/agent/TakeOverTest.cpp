#include "agent/TakeOver.h"

#include "platform/sim/HardwareTable.h"
#include "support/StateFiles.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

using Fate = TakeOver::Fate;
using Support::udpKey;

class TakeOverTest : public testing::Test {
 protected:
   TakeOverTest() {
      for (char const* text : {"10.1.0.0/16", "10.2.0.0/16"}) table.write(udpKey(text), 0.0);
      takeOver.begin(table);
   }

   void whenAsked(Fwd::dgRetCode answer) {
      note(Sim::Operation::program, Sim::Outcome::answered, answer);
   }
   void whenRemoved(Sim::Outcome outcome) { note(Sim::Operation::remove, outcome, {}); }
   void note(Sim::Operation operation, Sim::Outcome outcome, Fwd::dgRetCode answer) {
      Sim::Call call;
      call.operation = operation;
      call.key = udpKey("10.1.0.0/16");
      call.outcome = outcome;
      call.answer = answer;
      takeOver.note(call);
   }
   /// Of the entry that the calls are about; the other one is left alone.
   void thenFateIs(Fate expected) const {
      ASSERT_NE(takeOver.find(udpKey("10.1.0.0/16")), nullptr);
      EXPECT_EQ(*takeOver.find(udpKey("10.1.0.0/16")), expected);
      EXPECT_EQ(*takeOver.find(udpKey("10.2.0.0/16")), Fate::heldOver);
      EXPECT_EQ(takeOver.count(expected), expected == Fate::heldOver ? 2u : 1u);
      std::size_t sum = 0;
      for (std::size_t fate = 0; fate < TakeOver::fates; ++fate) {
         sum += takeOver.count(static_cast<Fate>(fate));
      }
      EXPECT_EQ(sum, takeOver.found().size());
   }

   Sim::HardwareTable table;
   TakeOver takeOver;
};

TEST_F(TakeOverTest, WhatIsFoundIsHeldOver) { thenFateIs(Fate::heldOver); }

TEST_F(TakeOverTest, AnEntryThatIsAskedForIsTakenOver) {
   whenAsked(Fwd::dgRcAlreadyExists);
   thenFateIs(Fate::takenOver);
}

TEST_F(TakeOverTest, AnEntryThatHardwareRefusesIsStillHeldOver) {
   for (auto const answer : {Fwd::dgRcNotReady, Fwd::dgRcUnSupported, Fwd::dgRcHwFull, Fwd::dgRcMax,
                             Fwd::dgRcPending}) {
      whenAsked(answer);
      thenFateIs(Fate::heldOver);
   }
   note(Sim::Operation::program, Sim::Outcome::threw, {});
   thenFateIs(Fate::heldOver);
}

TEST_F(TakeOverTest, AnEntryThatIsWrittenIsRewritten) {
   whenAsked(Fwd::dgRcSuccess);
   thenFateIs(Fate::rewritten);
   whenAsked(Fwd::dgRcAlreadyExists);
   thenFateIs(Fate::rewritten);
}

TEST_F(TakeOverTest, AnEntryThatIsTakenOverGivenBackAndWrittenAgainIsRewritten) {
   whenAsked(Fwd::dgRcAlreadyExists);
   whenRemoved(Sim::Outcome::removed);
   thenFateIs(Fate::removed);
   whenAsked(Fwd::dgRcSuccess);
   thenFateIs(Fate::rewritten);
}

TEST_F(TakeOverTest, AnEntryThatHardwareSweepsIsUnclaimed) {
   whenRemoved(Sim::Outcome::swept);
   thenFateIs(Fate::unclaimed);
}

TEST_F(TakeOverTest, ARemovalThatRemovedNothingChangesNothing) {
   whenAsked(Fwd::dgRcAlreadyExists);
   whenRemoved(Sim::Outcome::unknown);
   whenRemoved(Sim::Outcome::threw);
   thenFateIs(Fate::takenOver);
}

TEST_F(TakeOverTest, AnEntryThatWasNotFoundHasNoFate) {
   Sim::Call call;
   call.key = udpKey("10.9.0.0/16");
   call.outcome = Sim::Outcome::answered;
   takeOver.note(call);
   EXPECT_EQ(takeOver.find(call.key), nullptr);
   EXPECT_EQ(takeOver.found().size(), 2u);
}

TEST_F(TakeOverTest, BeginsAnewWithTheNextMachine) {
   whenAsked(Fwd::dgRcAlreadyExists);
   table.erase(udpKey("10.2.0.0/16"));
   takeOver.begin(table);
   EXPECT_EQ(takeOver.found().size(), 1u);
   EXPECT_EQ(takeOver.count(Fate::heldOver), 1u);
   EXPECT_EQ(takeOver.count(Fate::takenOver), 0u);
}

}  // namespace
}  // namespace Agent
