// What simulated hardware does with the entries of the process before.

#include "platform/sim/SimHelper.h"
#include "platform/sim/SimTime.h"
#include "support/StateFiles.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace Sim {
namespace {

using Support::udpKey;
using Texts = std::vector<std::string>;

class Claim : public testing::Test {
 protected:
   void givenHeldOver(std::vector<Fwd::DecapKey> const& keys) {
      for (auto const& key : keys) hardware->table().write(key, 0.0);
      hardware->holdOver();
   }
   Fwd::dgRetCode program(std::string_view destination, std::string_view vrf = "default") {
      return hardware->programDecapKey(udpKey(destination, vrf));
   }
   void ready() { hardware->decapGroupConfigReady(); }
   Texts table() const { return Support::keyTexts(hardware->table().entries()); }
   Texts calls() const {
      Texts texts = hardware->journal().texts();
      for (auto& text : texts) {
         if (auto const at = text.find(" port 6080 payload ip"); at != text.npos)
            text.erase(at, 21);
      }
      return texts;
   }

   SimTime time;
   Mdl::Ptr<SimHelper> const hardware = Mdl::allocate<SimHelper>();
};

TEST_F(Claim, AnEntryThatIsAskedForStaysWithoutARewrite) {
   givenHeldOver({udpKey("10.1.0.0/16"), udpKey("10.2.0.0/16")});
   EXPECT_EQ(program("10.1.0.0/16"), Fwd::dgRcAlreadyExists);
   EXPECT_EQ(hardware->written(), 0u);
   EXPECT_EQ(hardware->heldOver().size(), 1u);
   EXPECT_FALSE(hardware->heldOver().contains(udpKey("10.1.0.0/16")));
}

TEST_F(Claim, WhatNobodyAskedForGoesWhenTheConfigurationIsReady) {
   givenHeldOver({udpKey("10.3.0.0/16"), udpKey("10.1.0.0/16"), udpKey("10.2.0.0/16")});
   program("10.1.0.0/16");
   ready();
   EXPECT_EQ(table(), (Texts{"udp 10.1.0.0/16 port 6080 payload ip vrf default"}));
   EXPECT_EQ(calls(), (Texts{"program udp 10.1.0.0/16 vrf default -> exists", "configuration ready",
                             "remove udp 10.2.0.0/16 vrf default -> held over, not claimed",
                             "remove udp 10.3.0.0/16 vrf default -> held over, not claimed"}));
   EXPECT_TRUE(hardware->heldOver().empty());
   EXPECT_EQ(hardware->removeCalls(), 0u) << "nobody called";
}

TEST_F(Claim, WithoutHeldOverEntriesReadinessRemovesNothing) {
   program("10.1.0.0/16");
   ready();
   EXPECT_EQ(table().size(), 1u);
   EXPECT_EQ(calls(),
             (Texts{"program udp 10.1.0.0/16 vrf default -> success", "configuration ready"}));
}

TEST_F(Claim, ASecondReadinessSweepsNothingMore) {
   givenHeldOver({udpKey("10.1.0.0/16")});
   ready();
   program("10.1.0.0/16");
   ready();
   EXPECT_EQ(table().size(), 1u);
}

TEST_F(Claim, AClaimedEntryThatIsRemovedIsGoneForGood) {
   givenHeldOver({udpKey("10.1.0.0/16")});
   program("10.1.0.0/16");
   hardware->removeDecapKey(udpKey("10.1.0.0/16"));
   EXPECT_EQ(program("10.1.0.0/16"), Fwd::dgRcSuccess);
   ready();
   EXPECT_EQ(table().size(), 1u);
}

TEST_F(Claim, AnUnclaimedEntryMayBeRemoved) {
   givenHeldOver({udpKey("10.1.0.0/16")});
   hardware->removeDecapKey(udpKey("10.1.0.0/16"));
   EXPECT_EQ(table(), Texts());
   EXPECT_TRUE(hardware->heldOver().empty());
}

// Otherwise a slow start would sweep what is wanted, or leave behind what was wanted for a while.
TEST_F(Claim, HardwareThatIsNotReadyStillKnowsWhatIsHeldOver) {
   hardware->notReadyUntilIs(Mdl::never);
   givenHeldOver({udpKey("10.1.0.0/16")});
   EXPECT_EQ(program("10.1.0.0/16"), Fwd::dgRcAlreadyExists);
   EXPECT_EQ(program("10.2.0.0/16"), Fwd::dgRcNotReady);
   ready();
   EXPECT_EQ(table().size(), 1u);
}

TEST_F(Claim, AFullTableKnowsWhatIsHeldOver) {
   givenHeldOver({udpKey("10.1.0.0/16"), udpKey("10.2.0.0/16")});
   hardware->table().capacityIs(2);
   EXPECT_EQ(program("10.1.0.0/16"), Fwd::dgRcAlreadyExists);
   EXPECT_EQ(program("10.3.0.0/16"), Fwd::dgRcHwFull);
   ready();
   EXPECT_EQ(program("10.3.0.0/16"), Fwd::dgRcSuccess);
}

TEST_F(Claim, ARefusalClaimsNothing) {
   givenHeldOver({udpKey("10.1.0.0/16"), udpKey("10.2.0.0/16")});
   hardware->script().forPrefix(Pkt::IpGenPrefix::fromText("10.1.0.0/16"),
                                Answer::of(Fwd::dgRcUnSupported));
   hardware->script().forPrefix(Pkt::IpGenPrefix::fromText("10.2.0.0/16"), Answer::fault());
   EXPECT_EQ(program("10.1.0.0/16"), Fwd::dgRcUnSupported);
   EXPECT_THROW(program("10.2.0.0/16"), HardwareFault);
   ready();
   EXPECT_EQ(table(), Texts()) << "what was said not to be programmed is not";
}

TEST_F(Claim, AScriptedSuccessOrExistsClaims) {
   givenHeldOver({udpKey("10.1.0.0/16"), udpKey("10.2.0.0/16")});
   hardware->script().next(Answer::of(Fwd::dgRcSuccess));
   hardware->script().next(Answer::of(Fwd::dgRcAlreadyExists));
   program("10.1.0.0/16");
   program("10.2.0.0/16");
   ready();
   EXPECT_EQ(table().size(), 2u);
   EXPECT_EQ(hardware->written(), 0u);
}

TEST_F(Claim, AnotherVrfsEntryLeavesBeforeANewOneForTheSameDestination) {
   givenHeldOver({udpKey("10.1.0.0/16", "blue")});
   hardware->table().capacityIs(1);
   EXPECT_EQ(program("10.1.0.0/16", "red"), Fwd::dgRcSuccess);
   EXPECT_EQ(calls(), (Texts{"program udp 10.1.0.0/16 vrf red -> success",
                             "remove udp 10.1.0.0/16 vrf blue -> held over, not claimed"}));
   EXPECT_EQ(hardware->table().highWater(), 1u) << "there were never two";
   EXPECT_EQ(program("10.1.0.0/16", "blue"), Fwd::dgRcHwFull);
}

TEST_F(Claim, AnotherVrfsEntryStaysWhileTheNewOneIsNotWritten) {
   givenHeldOver({udpKey("10.1.0.0/16", "blue")});
   hardware->latencyIs(1.0);
   EXPECT_EQ(program("10.1.0.0/16", "red"), Fwd::dgRcPending);
   EXPECT_EQ(table().size(), 1u);
   time.advanceTo(1.0);
   EXPECT_EQ(program("10.1.0.0/16", "red"), Fwd::dgRcSuccess);
   EXPECT_EQ(table(), (Texts{"udp 10.1.0.0/16 port 6080 payload ip vrf red"}));
}

TEST_F(Claim, AClaimedEntryIsNoRival) {
   givenHeldOver({udpKey("10.1.0.0/16", "blue")});
   program("10.1.0.0/16", "blue");
   EXPECT_EQ(program("10.1.0.0/16", "red"), Fwd::dgRcSuccess);
   EXPECT_EQ(table().size(), 2u);
}

TEST_F(Claim, WhatIsClaimedDuringTheSweepStays) {
   givenHeldOver({udpKey("10.1.0.0/16"), udpKey("10.2.0.0/16"), udpKey("10.3.0.0/16")});
   hardware->observerIs([this](Call const& call) {
      if (call.key == udpKey("10.1.0.0/16")) program("10.2.0.0/16");
   });
   ready();
   EXPECT_EQ(table(), (Texts{"udp 10.2.0.0/16 port 6080 payload ip vrf default"}));
}

TEST_F(Claim, RoomThatASweepsObserverTakesIsNotGivenTwice) {
   givenHeldOver({udpKey("10.1.0.0/16", "blue")});
   hardware->table().capacityIs(1);
   hardware->observerIs([this](Call const& call) {
      if (call.outcome == Outcome::swept) program("10.2.0.0/16");
   });
   EXPECT_EQ(program("10.1.0.0/16", "red"), Fwd::dgRcHwFull);
   EXPECT_EQ(table(), (Texts{"udp 10.2.0.0/16 port 6080 payload ip vrf default"}));
}

TEST_F(Claim, EntriesRemovedBehindTheHooksBackAreNotClaimedOrSwept) {
   givenHeldOver({udpKey("10.1.0.0/16"), udpKey("10.2.0.0/16")});
   hardware->table().clear();
   EXPECT_EQ(program("10.1.0.0/16"), Fwd::dgRcSuccess);
   ready();
   EXPECT_EQ(table(), (Texts{"udp 10.1.0.0/16 port 6080 payload ip vrf default"}));
   EXPECT_EQ(calls().back(), "remove udp 10.2.0.0/16 vrf default -> not in the table");
}

TEST_F(Claim, AFileGoesOnAsTheTableThatItsLastUserLeft) {
   Support::TempFolder const folder;
   std::string const path = folder.path("hw.state");
   { Support::KeptTable(path).table.write(udpKey("10.1.0.0/16"), 0.0); }
   time.advanceTo(3.0);
   hardware->resume(StateFile::open(path));
   EXPECT_EQ(hardware->heldOver().size(), 1u);
   EXPECT_EQ(*hardware->table().entries().find(udpKey("10.1.0.0/16")), 3.0);
   ready();
   program("10.2.0.0/16");
   EXPECT_EQ(Support::readState(Support::readFile(path)).table,
             (Texts{"udp 10.2.0.0/16 port 6080 payload ip vrf default"}));
}

}  // namespace
}  // namespace Sim
