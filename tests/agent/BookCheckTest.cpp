#include "agent/BookCheck.h"

#include "agent/Wording.h"
#include "agent/World.h"
#include "support/StateFiles.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

using Texts = std::vector<std::string>;

class BookCheck : public testing::Test {
 protected:
   void givenGroup(char const* name, char const* prefix) {
      auto const group = world.groupFor(name);
      group->tunnelTypeIs(Tunnel::Decap::TunnelType::udp);
      group->destPortIs(6080);
      group->payloadTypeIs(Tunnel::Decap::PayloadType::ip);
      group->decapIpIs(Pkt::IpGenPrefix::fromText(prefix));
      world.groupIs(group);
   }
   static std::string text(char const* prefix) {
      return "udp " + std::string(prefix) + " port 6080 payload ip vrf default";
   }
   std::uint64_t verifications() const {
      std::uint64_t count = 0;
      for (auto const& call : world.hardware().journal().calls()) {
         count += call.operation == Sim::Operation::verify ? 1 : 0;
      }
      return count;
   }

   World world;
};

TEST_F(BookCheck, OfARunningMachineFindsNothing) {
   world.start();
   givenGroup("a", "10.1.0.0/16");
   EXPECT_EQ(verifyBooks(world), Texts());
   EXPECT_EQ(auditBooks(world), Texts());
}

TEST_F(BookCheck, VerifiesOnceAndTakesTheRequestBack) {
   world.start();
   verifyBooks(world);
   EXPECT_EQ(verifications(), 1u);
   EXPECT_FALSE(world.verifyData().requestVerify());
   givenGroup("a", "10.1.0.0/16");
   world.groupDel("a");
   EXPECT_EQ(verifications(), 1u) << "nothing asks for verifications any more";
   verifyBooks(world);
   EXPECT_EQ(verifications(), 2u) << "the next request is heard";
}

TEST_F(BookCheck, VerifySaysWhichKeyIsInNoBook) {
   world.start();
   givenGroup("a", "10.1.0.0/16");
   world.group("a")->destPortIs(0);
   Texts const lines = verifyBooks(world);
   ASSERT_EQ(lines.size(), 1u);
   EXPECT_TRUE(lines[0].starts_with("key ") && lines[0].find("10.1.0.0/16") != std::string::npos)
       << lines[0];
   world.group("a")->destPortIs(6080);
   EXPECT_EQ(verifyBooks(world), Texts()) << "reports of an earlier verification are gone";
}

TEST_F(BookCheck, AuditFindsWhatHardwareLost) {
   world.start();
   givenGroup("a", "10.1.0.0/16");
   world.hardware().table().clear();
   EXPECT_EQ(auditBooks(world), Texts{text("10.1.0.0/16") + ": accepted, and not in hardware"});
}

TEST_F(BookCheck, AuditFindsWhatNobodyHolds) {
   world.start();
   world.hardware().table().write(Support::udpKey("10.1.0.0/16"), 0.0);
   EXPECT_EQ(auditBooks(world),
             Texts{text("10.1.0.0/16") + ": in hardware, and no group holds it"});
}

TEST_F(BookCheck, AuditFindsWhatWaitsAndIsThere) {
   world.start();
   world.hardware().table().capacityIs(0);
   givenGroup("a", "10.1.0.0/16");
   world.hardware().table().writeUnchecked(Support::udpKey("10.1.0.0/16"), 0.0);
   EXPECT_EQ(auditBooks(world),
             Texts{text("10.1.0.0/16") + ": in hardware, and waits to be programmed"});
}

TEST_F(BookCheck, AuditComparesTheMachinesOwnBooks) {
   world.start();
   givenGroup("a", "10.1.0.0/16");
   world.machine()->refCountIs(Support::udpKey("10.1.0.0/16"), 3);
   EXPECT_EQ(auditBooks(world),
             Texts{text("10.1.0.0/16") + ": the groups hold 1 reference, 3 counted"});
   world.machine()->refCountIs(Support::udpKey("10.1.0.0/16"), 1);
   world.machine()->unprogrammedKeyIs(Support::udpKey("10.2.0.0/16"), true);
   EXPECT_EQ(auditBooks(world), Texts{text("10.2.0.0/16") + ": waits, and no group holds it"});
   world.machine()->unprogrammedKeyDel(Support::udpKey("10.2.0.0/16"));
   world.machine()->tunnelTypeDecapIpToVrfIs(
       {Tunnel::Decap::TunnelType::gre, Pkt::IpGenPrefix::fromText("10.3.0.0/16")},
       L3::VrfName("red"));
   EXPECT_EQ(auditBooks(world), Texts{"gre 10.3.0.0/16 vrf red: the VRF owns the destination "
                                      "without a key in hardware"});
}

TEST_F(BookCheck, AuditWithoutAMachineFindsNothing) { EXPECT_EQ(auditBooks(world), Texts()); }

}  // namespace
}  // namespace Agent
