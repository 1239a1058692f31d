#include "FwdL3Unicast/DecapKey.h"

#include "support/GenerateKey.h"
#include "support/ValueChecks.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <string>

namespace {

using Fwd::DecapKey;
using L3::VrfName;
using Pkt::IpGenPrefix;
using Support::parseError;
using Tunnel::Decap::PayloadType;
using Tunnel::Decap::TunnelType;

DecapKey const udpKey(IpGenPrefix("0.0.0.0/32"), IpGenPrefix("10.1.0.0/16"), TunnelType::udp, 65535,
                      PayloadType::mpls, VrfName("customer's"));

std::string const udpText =
    "Value('Fwd::DecapKey', ** {'srcIp': '0.0.0.0/32', 'dstIp': '10.1.0.0/16', 'tunnelType': udp, "
    "'destPort': 65535, 'payloadType': mpls, 'forwardingVrf': 'customer\\'s'})";

/// The text of `udpKey` with one piece of it replaced.
std::string withReplaced(std::string const& piece, std::string const& replacement) {
   std::string text = udpText;
   return text.replace(text.find(piece), piece.size(), replacement);
}

TEST(DecapKeyText, RepresentationNamesTypeAndAttributes) {
   EXPECT_EQ(Mdl::valueToStrep(udpKey).stdString(), udpText);
   EXPECT_EQ(Mdl::valueToStrep(DecapKey()).stdString(),
             "Value('Fwd::DecapKey', ** {'srcIp': '', 'dstIp': '', 'tunnelType': unknown, "
             "'destPort': 0, 'payloadType': unset, 'forwardingVrf': ''})");
   EXPECT_EQ(Mdl::valueToStrep(Fwd::emptyDecapKey).stdString(),
             "Value('Fwd::DecapKey', ** {'srcIp': '0.0.0.0/0', 'dstIp': '0.0.0.0/0', "
             "'tunnelType': ipip, 'destPort': 0, 'payloadType': unset, 'forwardingVrf': ''})");
}

TEST(DecapKeyText, ValuesOutsideTheirEnumerationsAreNumbers) {
   DecapKey const key(IpGenPrefix(), IpGenPrefix("2001:db8::1"), static_cast<TunnelType>(9), 0,
                      static_cast<PayloadType>(77), VrfName());
   EXPECT_EQ(Mdl::valueToStrep(key).stdString(),
             "Value('Fwd::DecapKey', ** {'srcIp': '', 'dstIp': '2001:db8::1/128', 'tunnelType': 9, "
             "'destPort': 0, 'payloadType': 77, 'forwardingVrf': ''})");
   Support::expectRoundTrip(key);
}

TEST(DecapKeyText, StreamWritesTheRepresentationWhateverTheNumberBase) {
   std::ostringstream out;
   out << std::hex << udpKey << ' ' << 255;
   EXPECT_EQ(out.str(), udpText + " ff");
}

TEST(DecapKeyText, StringValueNamesThreeAttributes) {
   EXPECT_EQ(udpKey.stringValue(),
             Mdl::String(" src:0.0.0.0/32, dst: 10.1.0.0/16, tunnelType: udp"));
   EXPECT_EQ(DecapKey().stringValue(), Mdl::String(" src:, dst: , tunnelType: unknown"));
   DecapKey const ipv6(IpGenPrefix("::"), IpGenPrefix("2001:db8::10"), static_cast<TunnelType>(16),
                       0, PayloadType::unset, VrfName());
   EXPECT_EQ(ipv6.stringValue(), Mdl::String(" src:::/128, dst: 2001:db8::10/128, tunnelType: 16"));
}

TEST(DecapKeyText, StringValueLeavesACallersStreamAlone) {
   std::ostringstream out;
   out << udpKey.stringValue() << ' ' << 255;
   EXPECT_EQ(out.str(), " src:0.0.0.0/32, dst: 10.1.0.0/16, tunnelType: udp 255");
}

TEST(DecapKeyText, GeneratedKeysReadBack) {
   Support::Generate generate(13);
   for (int i = 0; i < 1000; ++i) Support::expectRoundTrip(Support::decapKey(generate));
   Support::expectRoundTrip(DecapKey());
   Support::expectRoundTrip(Fwd::invalidDecapKey);
   Support::expectRoundTrip(Fwd::emptyDecapKey);
}

TEST(DecapKeyText, NoPartOfARepresentationIsAKey) {
   Support::expectNoPartIsAValue(udpKey);
   Support::expectNoPartIsAValue(Fwd::invalidDecapKey);
}

TEST(DecapKeyText, TextBehindTheKeyIsAnError) {
   EXPECT_EQ(parseError<DecapKey>(udpText + " "), "text after the value: \" \"");
}

TEST(DecapKeyText, EveryLiteralPieceIsDemanded) {
   EXPECT_EQ(parseError<DecapKey>(withReplaced("Value(", "value(")),
             "expected \"Value('Fwd::DecapKey', ** {\" at "
             "\"value('Fwd::DecapKey', ** {'srcIp': '0.0...\"");
   for (char const* const piece : {"'srcIp': ", ", 'dstIp': ", ", 'tunnelType': ", ", 'destPort': ",
                                   ", 'payloadType': ", ", 'forwardingVrf': ", "})"}) {
      EXPECT_TRUE(parseError<DecapKey>(withReplaced(piece, "?"))
                      .starts_with("expected \"" + std::string(piece) + "\" at \"?"))
          << piece;
   }
}

TEST(DecapKeyText, AttributesStandInTheirOrder) {
   std::string const swapped =
       "Value('Fwd::DecapKey', ** {'dstIp': '', 'srcIp': '', 'tunnelType': unknown, "
       "'destPort': 0, 'payloadType': unset, 'forwardingVrf': ''})";
   EXPECT_EQ(parseError<DecapKey>(swapped),
             "expected \"'srcIp': \" at \"'dstIp': '', 'srcIp': '', 'tunnelType': ...\"");
}

TEST(DecapKeyText, ErrorInsideAValueNamesTheAttribute) {
   EXPECT_EQ(parseError<DecapKey>(withReplaced("'0.0.0.0/32'", "'0.0.0/32'")),
             "attribute 'srcIp': not an IP prefix: \"0.0.0/32\"");
   EXPECT_EQ(parseError<DecapKey>(withReplaced("'10.1.0.0/16'", "'10.1.0.0/36'")),
             "attribute 'dstIp': prefix length greater than 32: \"10.1.0.0/36\"");
   EXPECT_EQ(parseError<DecapKey>(withReplaced("udp", "tcp")),
             "attribute 'tunnelType': \"tcp\" is no value of Tunnel::Decap::TunnelType");
   EXPECT_EQ(parseError<DecapKey>(withReplaced("65535", "65536")),
             "attribute 'destPort': a number greater than 65535: \"65536\"");
   EXPECT_EQ(parseError<DecapKey>(withReplaced("mpls", "2")),
             "attribute 'payloadType': \"2\" is no value of Tunnel::Decap::PayloadType");
   EXPECT_EQ(parseError<DecapKey>(withReplaced("'customer\\'s'", "red")),
             "attribute 'forwardingVrf': expected \"'\" at \"red})\"");
}

}  // namespace
