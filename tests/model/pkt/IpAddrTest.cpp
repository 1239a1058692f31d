#include "pkt/IpAddr.h"

#include "support/Generate.h"
#include "support/ValueChecks.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <vector>

namespace {

using Pkt::IpAddr;

TEST(IpAddr, FirstOctetIsMostSignificant) {
   EXPECT_EQ(IpAddr("10.0.0.1").value(), 0x0a000001u);
   EXPECT_EQ(IpAddr("255.254.253.252").value(), 0xfffefdfcu);
}

TEST(IpAddr, ZeroSaysNone) {
   EXPECT_TRUE(IpAddr().isZero());
   EXPECT_TRUE(IpAddr("0.0.0.0").isZero());
   EXPECT_FALSE(IpAddr("0.0.0.1").isZero());
}

TEST(IpAddr, WritesADottedQuad) {
   EXPECT_EQ(IpAddr(0).stringValue(), Mdl::String("0.0.0.0"));
   EXPECT_EQ(IpAddr(0xffffffff).stringValue(), Mdl::String("255.255.255.255"));
   EXPECT_EQ(Mdl::valueToStrep(IpAddr(0x0a000001)), Mdl::String("'10.0.0.1'"));
}

TEST(IpAddr, StreamsDecimalsWhateverTheNumberBase) {
   std::ostringstream out;
   out << std::hex << IpAddr("10.20.30.40") << ' ' << 10;
   EXPECT_EQ(out.str(), "10.20.30.40 a");
}

TEST(IpAddr, OrdersByNumber) {
   EXPECT_LT(IpAddr("9.255.255.255"), IpAddr("10.0.0.0"));
   EXPECT_LT(IpAddr("127.0.0.1"), IpAddr("128.0.0.0"));
}

TEST(IpAddr, RefusesOtherTexts) {
   for (char const* const text :
        {"", "1", "1.2.3", "1.2.3.4.5", "1.2.3.", ".1.2.3", "1..2.3", "256.1.1.1", "1.1.1.1000",
         "01.2.3.4", "1.2.3.00", "1.2.3.4 ", " 1.2.3.4", "1.2.3.-4", "+1.2.3.4", "0x1.2.3.4",
         "1.2.3.4/32", "a.b.c.d"}) {
      EXPECT_EQ(IpAddr::tryFromText(text), std::nullopt) << text;
      try {
         static_cast<void>(IpAddr::fromText(text));
         ADD_FAILURE() << text;
      } catch (Mdl::ParseException const& error) {
         EXPECT_EQ(error.what(), std::string("not an IPv4 address: \"") + text + "\"");
      }
   }
}

TEST(IpAddr, TakesNoTextBehindANul) {
   EXPECT_EQ(IpAddr::tryFromText(std::string_view("1.2.3.4\0", 8)), std::nullopt);
}

TEST(IpAddr, RepresentationErrorsSayWhatIsMissing) {
   EXPECT_EQ(Support::parseError<IpAddr>("10.0.0.1"), "expected \"'\" at \"10.0.0.1\"");
   EXPECT_EQ(Support::parseError<IpAddr>("'10.0.0.1"),
             "expected a closing quote at the end of the text");
   EXPECT_EQ(Support::parseError<IpAddr>("'10.0.1'"), "not an IPv4 address: \"10.0.1\"");
   Support::expectNoPartIsAValue(IpAddr("10.0.0.1"));
}

TEST(IpAddr, GeneratedAddressesReadBackAndAgreeWithThemselves) {
   Support::Generate generate(5);
   std::vector<IpAddr> addresses;
   for (int i = 0; i < 60; ++i) addresses.push_back(generate.ipAddr());
   for (IpAddr const addr : addresses) {
      Support::expectRoundTrip(addr);
      EXPECT_EQ(IpAddr(addr.stringValue()), addr);
   }
   Support::expectOrderEqualityAndHashAgree(addresses);
}

}  // namespace
