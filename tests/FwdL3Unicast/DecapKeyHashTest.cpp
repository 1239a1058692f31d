#include "FwdL3Unicast/DecapKey.h"

#include "mdl/Hash.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

using Fwd::DecapKey;
using L3::VrfName;
using Pkt::IpGenPrefix;
using Tunnel::Decap::PayloadType;
using Tunnel::Decap::TunnelType;

DecapKey udpKey(IpGenPrefix const& srcIp, IpGenPrefix const& dstIp) {
   return DecapKey(srcIp, dstIp, TunnelType::udp, 6080, PayloadType::ip, VrfName("default"));
}

DecapKey const ipv4Key = udpKey(IpGenPrefix("0.0.0.0"), IpGenPrefix("10.1.0.0/16"));

// The numbers were computed by another program from the description of the hashes. They are here
// because a hash that changes unnoticed takes its measured quality with it.

TEST(DecapKeyHash, SeededGivesTheRecordedNumbers) {
   EXPECT_EQ(ipv4Key.hash(0), 0x7c92ddf8u);
   EXPECT_EQ(ipv4Key.hash(0x9e3779b9), 0x9b77924eu);
   EXPECT_EQ(DecapKey().hash(0), 0xad03b25au);
   EXPECT_EQ(DecapKey().hash(0x9e3779b9), 0x135b5f9au);
   EXPECT_EQ(Fwd::invalidDecapKey.hash(0), 0xa15f22aeu);
   EXPECT_EQ(Fwd::invalidDecapKey.hash(0x9e3779b9), 0x233f9953u);
}

TEST(DecapKeyHash, UnseededGivesTheRecordedNumbers) {
   EXPECT_EQ(ipv4Key.hash(), 0x573b3ac8u);
   EXPECT_EQ(DecapKey().hash(), 0x136a954au);
   EXPECT_EQ(Fwd::invalidDecapKey.hash(), 0xbf599a3bu);
}

TEST(DecapKeyHash, SeededMixesTheAttributesInTheirOrderAndWidth) {
   // IPv6 goes by the process's seed, so there is no number to record.
   DecapKey const key = udpKey(IpGenPrefix("::"), IpGenPrefix("2001:db8::1"));
   EXPECT_EQ(key.hash(5), Mdl::Hash(5)
                              .mix(IpGenPrefix("::/128").hash())
                              .mix(IpGenPrefix("2001:db8::1/128").hash())
                              .mix(std::uint32_t{3})
                              .mix(std::uint16_t{6080})
                              .mix(std::uint32_t{1})
                              .mix(Mdl::hashString("default", 0))
                              .result());
}

TEST(DecapKeyHash, SeededTellsTheLastAttributesApart) {
   auto const with = [](std::uint16_t port, PayloadType payload, char const* vrf) {
      return DecapKey(ipv4Key.srcIp(), ipv4Key.dstIp(), TunnelType::udp, port, payload,
                      VrfName(vrf))
          .hash(5);
   };
   std::uint32_t const hash = with(6080, PayloadType::ip, "default");
   EXPECT_NE(hash, with(6081, PayloadType::ip, "default"));
   EXPECT_NE(hash, with(6080, PayloadType::mpls, "default"));
   EXPECT_NE(hash, with(6080, PayloadType::ip, "red"));
}

// Deliberate: port, payload type and VRF have no part in the unseeded hash.
TEST(DecapKeyHash, UnseededIsSharedByKeysThatDifferInTheLastThreeAttributes) {
   DecapKey const other(ipv4Key.srcIp(), ipv4Key.dstIp(), TunnelType::udp, 1, PayloadType::mpls,
                        VrfName("red"));
   EXPECT_NE(other, ipv4Key);
   EXPECT_EQ(other.hash(), ipv4Key.hash());
}

TEST(DecapKeyHash, UnseededTellsTheFirstThreeAttributesApart) {
   IpGenPrefix const other("10.9.0.0/16");
   EXPECT_NE(udpKey(other, ipv4Key.dstIp()).hash(), ipv4Key.hash());
   EXPECT_NE(udpKey(ipv4Key.srcIp(), other).hash(), ipv4Key.hash());
   EXPECT_NE(DecapKey(ipv4Key.srcIp(), ipv4Key.dstIp(), TunnelType::gre, 6080, PayloadType::ip,
                      VrfName("default"))
                 .hash(),
             ipv4Key.hash());
}

TEST(DecapKeyHash, PrefixOfNoFamilyCountsAsZero) {
   DecapKey const key = udpKey(IpGenPrefix(), IpGenPrefix());
   EXPECT_EQ(key.hash(5), Mdl::Hash(5)
                              .mix(std::uint32_t{0})
                              .mix(std::uint32_t{0})
                              .mix(std::uint32_t{3})
                              .mix(std::uint16_t{6080})
                              .mix(std::uint32_t{1})
                              .mix(Mdl::hashString("default", 0))
                              .result());
   EXPECT_EQ(key.hash(), Mdl::Mixer32().mix(0).mix(0).mix(3).result());
}

}  // namespace
