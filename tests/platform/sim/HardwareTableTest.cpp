#include "platform/sim/HardwareTable.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Sim {
namespace {

using Tunnel::Decap::PayloadType;
using Tunnel::Decap::TunnelType;
using Write = HardwareTable::Write;

Fwd::DecapKey key(char const* destination, TunnelType type = TunnelType::gre) {
   return {Pkt::IpGenPrefix(Pkt::IpAddr()),
           Pkt::IpGenPrefix::fromText(destination),
           type,
           0,
           PayloadType::unset,
           L3::VrfName::defaultVrf()};
}

std::vector<std::string> destinations(HardwareTable const& table) {
   std::vector<std::string> result;
   for (auto const& entry : table.entries()) {
      result.push_back(entry.key.dstIp().stringValue().stdString());
   }
   return result;
}

TEST(HardwareTable, HoldsWhatWasWrittenInTheOrderOfWriting) {
   HardwareTable table;
   EXPECT_EQ(table.write(key("10.2.0.0/16"), 1.0), Write::written);
   EXPECT_EQ(table.write(key("10.1.0.0/16"), 2.0), Write::written);
   EXPECT_EQ(destinations(table), (std::vector<std::string>{"10.2.0.0/16", "10.1.0.0/16"}));
   EXPECT_EQ(*table.entries().find(key("10.1.0.0/16")), 2.0);
}

TEST(HardwareTable, SaysThatItHoldsAKeyAndKeepsItsAge) {
   HardwareTable table;
   table.write(key("10.1.0.0/16"), 1.0);
   EXPECT_EQ(table.write(key("10.1.0.0/16"), 5.0), Write::held);
   EXPECT_EQ(table.size(), 1u);
   EXPECT_EQ(*table.entries().find(key("10.1.0.0/16")), 1.0);
}

TEST(HardwareTable, IsFullAtItsCapacity) {
   HardwareTable table;
   table.capacityIs(1);
   table.write(key("10.1.0.0/16"), 0.0);
   EXPECT_FALSE(table.hasRoom(TunnelType::gre));
   EXPECT_EQ(table.write(key("10.2.0.0/16"), 0.0), Write::full);
   EXPECT_FALSE(table.contains(key("10.2.0.0/16")));
}

TEST(HardwareTable, CountsATunnelTypeAgainstItsOwnCapacity) {
   HardwareTable table;
   table.capacityIs(TunnelType::gre, 1);
   table.write(key("10.1.0.0/16", TunnelType::gre), 0.0);
   EXPECT_EQ(table.write(key("10.2.0.0/16", TunnelType::gre), 0.0), Write::full);
   EXPECT_EQ(table.write(key("10.2.0.0/16", TunnelType::ipip), 0.0), Write::written);
   EXPECT_EQ(table.size(TunnelType::gre), 1u);
   EXPECT_EQ(table.size(TunnelType::ipip), 1u);
}

TEST(HardwareTable, RemovalMakesRoom) {
   HardwareTable table;
   table.capacityIs(1);
   table.write(key("10.1.0.0/16"), 0.0);
   EXPECT_TRUE(table.erase(key("10.1.0.0/16")));
   EXPECT_FALSE(table.erase(key("10.1.0.0/16")));
   EXPECT_EQ(table.write(key("10.2.0.0/16"), 0.0), Write::written);
   EXPECT_EQ(table.size(TunnelType::gre), 1u);
}

TEST(HardwareTable, RemembersHowFullItEverWas) {
   HardwareTable table;
   table.write(key("10.1.0.0/16"), 0.0);
   table.write(key("10.2.0.0/16"), 0.0);
   table.erase(key("10.1.0.0/16"));
   table.write(key("10.1.0.0/16", TunnelType::ipip), 0.0);
   EXPECT_EQ(table.highWater(), 2u);
   EXPECT_EQ(table.highWater(TunnelType::gre), 2u);
   EXPECT_EQ(table.highWater(TunnelType::ipip), 1u);
}

TEST(HardwareTable, ALoweredCapacityKeepsTheContent) {
   HardwareTable table;
   table.write(key("10.1.0.0/16"), 0.0);
   table.write(key("10.2.0.0/16"), 0.0);
   table.capacityIs(1);
   EXPECT_EQ(table.size(), 2u);
   table.erase(key("10.1.0.0/16"));
   EXPECT_EQ(table.write(key("10.3.0.0/16"), 0.0), Write::full);
}

TEST(HardwareTable, AnUncheckedWriteGoesBeyondTheCapacity) {
   HardwareTable table;
   table.capacityIs(0);
   EXPECT_TRUE(table.writeUnchecked(key("10.1.0.0/16"), 0.0));
   EXPECT_FALSE(table.writeUnchecked(key("10.1.0.0/16"), 0.0));
   EXPECT_EQ(table.size(), 1u);
}

TEST(HardwareTable, ClearKeepsCapacityAndHighWaterMark) {
   HardwareTable table;
   table.capacityIs(1);
   table.write(key("10.1.0.0/16"), 0.0);
   table.clear();
   EXPECT_EQ(table.size(), 0u);
   EXPECT_EQ(table.size(TunnelType::gre), 0u);
   EXPECT_EQ(table.highWater(), 1u);
   EXPECT_EQ(table.capacity(), 1u);
}

TEST(HardwareTable, TakesAKeyOfATypeThatHasNoName) {
   HardwareTable table;
   auto const odd = key("10.1.0.0/16", static_cast<TunnelType>(255));
   EXPECT_EQ(table.write(odd, 0.0), Write::written);
   EXPECT_EQ(table.size(static_cast<TunnelType>(255)), 1u);
}

TEST(HardwareTable, ErasesByAKeyThatIsItsOwn) {
   HardwareTable table;
   table.write(key("10.1.0.0/16"), 0.0);
   for (auto const& entry : table.entries().walk()) table.erase(entry.key);
   EXPECT_EQ(table.size(), 0u);
}

}  // namespace
}  // namespace Sim
