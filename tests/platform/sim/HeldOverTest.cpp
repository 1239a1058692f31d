#include "platform/sim/HeldOver.h"

#include "platform/sim/HardwareTable.h"
#include "support/StateFiles.h"

#include <gtest/gtest.h>

namespace Sim {
namespace {

using Support::udpKey;

class HeldOverTest : public testing::Test {
 protected:
   HeldOverTest() {
      table.write(udpKey("10.2.0.0/16", "red"), 0.0);
      table.write(udpKey("10.1.0.0/16", "red"), 0.0);
      held.take(table);
   }

   HardwareTable table;
   HeldOver held;
};

TEST_F(HeldOverTest, IsEmptyAtFirst) {
   HeldOver const none;
   EXPECT_TRUE(none.empty());
   EXPECT_FALSE(none.next());
   EXPECT_FALSE(none.rival(udpKey("10.1.0.0/16")));
}

TEST_F(HeldOverTest, IsWhatTheTableHeldThen) {
   table.write(udpKey("10.3.0.0/16"), 0.0);
   EXPECT_EQ(held.size(), 2u);
   EXPECT_TRUE(held.contains(udpKey("10.1.0.0/16", "red")));
   EXPECT_FALSE(held.contains(udpKey("10.3.0.0/16")));
}

TEST_F(HeldOverTest, TakenAgainItIsWhatTheTableHoldsNow) {
   table.erase(udpKey("10.1.0.0/16", "red"));
   held.take(table);
   EXPECT_EQ(held.size(), 1u);
   EXPECT_FALSE(held.contains(udpKey("10.1.0.0/16", "red")));
}

TEST_F(HeldOverTest, AKeyLeavesOnce) {
   EXPECT_TRUE(held.erase(udpKey("10.1.0.0/16", "red")));
   EXPECT_FALSE(held.erase(udpKey("10.1.0.0/16", "red")));
   EXPECT_EQ(held.size(), 1u);
}

TEST_F(HeldOverTest, OffersTheLeastKeyFirst) {
   EXPECT_EQ(held.next(), udpKey("10.1.0.0/16", "red"));
   held.erase(udpKey("10.1.0.0/16", "red"));
   EXPECT_EQ(held.next(), udpKey("10.2.0.0/16", "red"));
   held.erase(udpKey("10.2.0.0/16", "red"));
   EXPECT_FALSE(held.next());
}

TEST_F(HeldOverTest, ARivalIsAnotherVrfForTheSameDestination) {
   EXPECT_EQ(held.rival(udpKey("10.1.0.0/16", "blue")), udpKey("10.1.0.0/16", "red"));
   EXPECT_EQ(held.rival(udpKey("10.1.0.0/16", "zebra")), udpKey("10.1.0.0/16", "red"));
   EXPECT_FALSE(held.rival(udpKey("10.1.0.0/16", "red")));
   EXPECT_FALSE(held.rival(udpKey("10.1.0.0/17", "blue")));
   EXPECT_FALSE(held.rival(udpKey("10.3.0.0/16", "blue")));
}

TEST_F(HeldOverTest, AnotherPortOfTheSameVrfIsNoRivalAndAnotherPortOfAnotherVrfIs) {
   auto const onPort = [](char const* vrf) {
      Fwd::DecapKey const key = udpKey("10.1.0.0/16", vrf);
      return Fwd::DecapKey(key.srcIp(), key.dstIp(), key.tunnelType(), 1, key.payloadType(),
                           key.forwardingVrf());
   };
   EXPECT_FALSE(held.rival(onPort("red")));
   EXPECT_EQ(held.rival(onPort("blue")), udpKey("10.1.0.0/16", "red"));
}

TEST_F(HeldOverTest, AnotherTunnelTypeIsNoRival) {
   Fwd::DecapKey const key = udpKey("10.1.0.0/16", "blue");
   for (auto const type : {Tunnel::Decap::TunnelType::gre, Tunnel::Decap::TunnelType::ipip}) {
      EXPECT_FALSE(held.rival(Fwd::DecapKey(key.srcIp(), key.dstIp(), type, 0, key.payloadType(),
                                            key.forwardingVrf())));
   }
}

}  // namespace
}  // namespace Sim
