#include "FwdL3Unicast/TunnelTypeDecapIp.h"

#include "support/Generate.h"
#include "support/ValueChecks.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Fwd::TunnelTypeDecapIp;
using Pkt::IpGenPrefix;
using Support::parseError;
using Tunnel::Decap::TunnelType;

TunnelTypeDecapIp const udpHost(TunnelType::udp, IpGenPrefix("10.1.0.0/16"));
std::string const udpHostText =
    "Value('Fwd::TunnelTypeDecapIp', ** {'tunnelType': udp, 'decapIp': '10.1.0.0/16'})";

TEST(TunnelTypeDecapIp, HoldsTunnelTypeAndPrefix) {
   EXPECT_EQ(udpHost.tunnelType(), TunnelType::udp);
   EXPECT_EQ(udpHost.decapIp(), IpGenPrefix("10.1.0.0/16"));
   EXPECT_EQ(TunnelTypeDecapIp(), TunnelTypeDecapIp(static_cast<TunnelType>(0), IpGenPrefix()));
}

TEST(TunnelTypeDecapIp, BothAttributesDecideEquality) {
   EXPECT_EQ(udpHost, TunnelTypeDecapIp(TunnelType::udp, IpGenPrefix("10.1.0.0/16")));
   EXPECT_NE(udpHost, TunnelTypeDecapIp(TunnelType::gre, IpGenPrefix("10.1.0.0/16")));
   EXPECT_NE(udpHost, TunnelTypeDecapIp(TunnelType::udp, IpGenPrefix("10.1.0.0/17")));
}

TEST(TunnelTypeDecapIp, OrdersByTunnelTypeThenPrefix) {
   EXPECT_LT(TunnelTypeDecapIp(TunnelType::gre, IpGenPrefix("255.0.0.0/8")), udpHost);
   EXPECT_LT(udpHost, TunnelTypeDecapIp(static_cast<TunnelType>(200), IpGenPrefix()));
   EXPECT_LT(udpHost, TunnelTypeDecapIp(TunnelType::udp, IpGenPrefix("10.1.0.0/17")));
   EXPECT_LT(udpHost, TunnelTypeDecapIp(TunnelType::udp, IpGenPrefix("::/0")));
}

// Computed by another program; here so that a change of the hash is noticed.
TEST(TunnelTypeDecapIp, HashGivesTheRecordedNumbers) {
   EXPECT_EQ(udpHost.hash(0), 0x7a409749u);
   EXPECT_EQ(udpHost.hash(0x9e3779b9), 0x506e4461u);
   EXPECT_EQ(TunnelTypeDecapIp().hash(0), 0xe0c16c5bu);
   EXPECT_EQ(TunnelTypeDecapIp().hash(0x9e3779b9), 0x2110584fu);
}

TEST(TunnelTypeDecapIp, RepresentationNamesTypeAndAttributes) {
   EXPECT_EQ(Mdl::valueToStrep(udpHost).stdString(), udpHostText);
   EXPECT_EQ(Mdl::valueToStrep(TunnelTypeDecapIp()).stdString(),
             "Value('Fwd::TunnelTypeDecapIp', ** {'tunnelType': unknown, 'decapIp': ''})");
   Support::expectNoPartIsAValue(udpHost);
}

TEST(TunnelTypeDecapIp, StreamWritesTheRepresentationWhateverTheNumberBase) {
   std::ostringstream out;
   out << std::hex << udpHost << ' ' << 255;
   EXPECT_EQ(out.str(), udpHostText + " ff");
}

TEST(TunnelTypeDecapIp, ErrorInsideAValueNamesTheAttribute) {
   EXPECT_EQ(parseError<TunnelTypeDecapIp>(
                 "Value('Fwd::TunnelTypeDecapIp', ** {'tunnelType': 3, 'decapIp': ''})"),
             "attribute 'tunnelType': \"3\" is no value of Tunnel::Decap::TunnelType");
   EXPECT_EQ(parseError<TunnelTypeDecapIp>(
                 "Value('Fwd::TunnelTypeDecapIp', ** {'tunnelType': udp, 'decapIp': 'x'})"),
             "attribute 'decapIp': not an IP prefix: \"x\"");
}

TEST(TunnelTypeDecapIp, MissingPiecesAreErrors) {
   EXPECT_EQ(parseError<TunnelTypeDecapIp>("Value('Fwd::DecapKey', ** {"),
             "expected \"Value('Fwd::TunnelTypeDecapIp', ** {\" at "
             "\"Value('Fwd::DecapKey', ** {\"");
   EXPECT_EQ(parseError<TunnelTypeDecapIp>(
                 "Value('Fwd::TunnelTypeDecapIp', ** {'tunnelType': udp,'decapIp': ''})"),
             "expected \", 'decapIp': \" at \",'decapIp': ''})\"");
   EXPECT_EQ(parseError<TunnelTypeDecapIp>(udpHostText + "x"), "text after the value: \"x\"");
}

TEST(TunnelTypeDecapIp, GeneratedValuesReadBackAndAgreeWithThemselves) {
   Support::Generate generate(14);
   std::vector<TunnelTypeDecapIp> values;
   for (int i = 0; i < 80; ++i) values.emplace_back(generate.tunnelType(), generate.prefix());
   for (TunnelTypeDecapIp const& value : values) Support::expectRoundTrip(value);
   Support::expectOrderEqualityAndHashAgree(values);
}

}  // namespace
