#include "pkt/AddrWithMask.h"

#include "pkt/Ip6AddrWithMask.h"
#include "pkt/IpAddrWithMask.h"
#include "support/Generate.h"
#include "support/ValueChecks.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Pkt::Ip6AddrWithMask;
using Pkt::IpAddrWithMask;
using Support::parseError;

TEST(AddrWithMask, HoldsAddressAndLength) {
   IpAddrWithMask const addr("10.0.0.1/24");
   EXPECT_EQ(addr.addr(), Pkt::IpAddr("10.0.0.1"));
   EXPECT_EQ(addr.length(), 24u);
   EXPECT_EQ(addr, IpAddrWithMask(Pkt::IpAddr("10.0.0.1"), 24));
   EXPECT_NE(addr, IpAddrWithMask("10.0.0.1/25"));
}

TEST(AddrWithMask, ZeroAddressSaysNoneWhateverTheLength) {
   EXPECT_TRUE(IpAddrWithMask().isZero());
   EXPECT_TRUE(IpAddrWithMask("0.0.0.0/24").isZero());
   EXPECT_FALSE(IpAddrWithMask("10.0.0.1/0").isZero());
   EXPECT_TRUE(Ip6AddrWithMask().isZero());
   EXPECT_FALSE(Ip6AddrWithMask("::1/128").isZero());
}

TEST(AddrWithMask, BareAddressHasItsFullLength) {
   EXPECT_EQ(IpAddrWithMask("10.0.0.1").length(), 32u);
   EXPECT_EQ(Ip6AddrWithMask("2001:db8::1").length(), 128u);
}

TEST(AddrWithMask, OrdersByAddressThenLength) {
   EXPECT_LT(IpAddrWithMask("10.0.0.1/32"), IpAddrWithMask("10.0.0.2/8"));
   EXPECT_LT(IpAddrWithMask("10.0.0.1/8"), IpAddrWithMask("10.0.0.1/24"));
   EXPECT_LT(Ip6AddrWithMask("::1/128"), Ip6AddrWithMask("::2/64"));
}

TEST(AddrWithMask, StreamsPlainAndIsRepresentedInQuotes) {
   EXPECT_EQ(Support::streamed(IpAddrWithMask("10.0.0.1/24")), "10.0.0.1/24");
   EXPECT_EQ(Mdl::valueToStrep(IpAddrWithMask()), Mdl::String("'0.0.0.0/0'"));
   EXPECT_EQ(Mdl::valueToStrep(Ip6AddrWithMask("2001:db8:0::1/64")),
             Mdl::String("'2001:db8::1/64'"));
}

TEST(AddrWithMask, LengthBeyondTheAddressIsRefused) {
   EXPECT_EQ(parseError<IpAddrWithMask>("'10.0.0.1/33'"),
             "prefix length greater than 32: \"10.0.0.1/33\"");
   EXPECT_EQ(parseError<Ip6AddrWithMask>("'::1/129'"),
             "prefix length greater than 128: \"::1/129\"");
   try {
      static_cast<void>(IpAddrWithMask(Pkt::IpAddr(), 33));
      FAIL();
   } catch (Mdl::RangeException const& error) {
      EXPECT_STREQ(error.what(), "IPv4 address: prefix length 33 is greater than 32");
   }
   EXPECT_THROW(static_cast<void>(Ip6AddrWithMask(Pkt::Ip6Addr(), 129)), Mdl::RangeException);
}

TEST(AddrWithMask, OtherTextsAreRefused) {
   for (char const* const text : {"10.0.0.1/", "10.0.0.1/x", "10.0.0.1/024", "10.0.0.1/-1", "/24",
                                  "", "10.0.0/24", "::1/24", "10.0.0.1/24/24"}) {
      EXPECT_EQ(parseError<IpAddrWithMask>(std::string("'") + text + "'").substr(0, 20),
                "not an IPv4 address:")
          << text;
   }
   EXPECT_EQ(parseError<Ip6AddrWithMask>("'10.0.0.1/24'"), "not an IPv6 address: \"10.0.0.1\"");
}

TEST(AddrWithMask, GeneratedValuesReadBackAndAgreeWithThemselves) {
   Support::Generate generate(7);
   std::vector<IpAddrWithMask> four;
   std::vector<Ip6AddrWithMask> six;
   for (int i = 0; i < 60; ++i) {
      four.push_back(generate.ipAddrWithMask());
      six.push_back(generate.ip6AddrWithMask());
      Support::expectRoundTrip(four.back());
      Support::expectRoundTrip(six.back());
   }
   Support::expectOrderEqualityAndHashAgree(four);
   Support::expectOrderEqualityAndHashAgree(six);
}

}  // namespace
