#include "pkt/Ip6Addr.h"

#include "support/Generate.h"
#include "support/ValueChecks.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using Pkt::Ip6Addr;

Ip6Addr const documentation({0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1});

TEST(Ip6Addr, ReadsTheFormsOfRfc4291) {
   for (char const* const text :
        {"2001:db8:0:0:0:0:0:1", "2001:0db8:0000:0000:0000:0000:0000:0001", "2001:DB8::1",
         "2001:db8::0:1", "2001:db8:0::0:1", "2001:db8:0:0::1", "2001:db8::0.0.0.1",
         "2001:db8:0:0:0:0:0.0.0.1", "2001:db8:0:0:0:0::1"}) {
      EXPECT_EQ(Ip6Addr(Mdl::String(text)), documentation) << text;
   }
}

/// Examples of RFC 5952, sections 4 and 5, and the corners of "::".
TEST(Ip6Addr, WritesTheFormOfRfc5952) {
   std::vector<std::pair<char const*, char const*>> const texts{
       {"::", "::"},
       {"::1", "::1"},
       {"1::", "1::"},
       {"0:0:0:0:0:0:0:1", "::1"},
       {"2001:0DB8:0:0:0:0:0:1", "2001:db8::1"},
       {"2001:db8:0:1:1:1:1:1", "2001:db8:0:1:1:1:1:1"},
       {"2001:0:0:1:0:0:0:1", "2001:0:0:1::1"},
       {"2001:db8:0:0:1:0:0:1", "2001:db8::1:0:0:1"},
       {"1:0:0:2:0:0:0:0", "1:0:0:2::"},
       {"0:0:1:2:3:4:5:0", "::1:2:3:4:5:0"},
       {"0:1:2:3:4:5:0:0", "0:1:2:3:4:5::"},
       {"0:0:0:0:0:ff00:102:304", "::ff00:102:304"},
       {"0:1:0:2:0:3:0:4", "0:1:0:2:0:3:0:4"},
       {"ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"},
       {"::ffff:c000:0201", "::ffff:192.0.2.1"},
       {"::ffff:0:0", "::ffff:0.0.0.0"},
       {"1::ffff:c000:201", "1::ffff:c000:201"},
       {"0:1::ffff:c000:201", "0:1::ffff:c000:201"},
       {"::1:ffff:c000:201", "::1:ffff:c000:201"},
       {"::192.0.2.1", "::c000:201"},
       {"64:ff9b::192.0.2.33", "64:ff9b::c000:221"},
       {"fe80::1", "fe80::1"},
   };
   for (auto const& [text, canonical] : texts) {
      EXPECT_EQ(Ip6Addr(Mdl::String(text)).stringValue(), Mdl::String(canonical)) << text;
   }
}

TEST(Ip6Addr, RefusesOtherTexts) {
   for (char const* const text : {"",
                                  ":",
                                  ":::",
                                  "1",
                                  "1:2:3:4:5:6:7",
                                  "1:2:3:4:5:6:7:8:9",
                                  "1::2::3",
                                  ":1:2:3:4:5:6:7:8",
                                  "1:2:3:4:5:6:7:8:",
                                  "1:2:3:4:5:6:7:",
                                  ":2:3:4:5:6:7:8",
                                  "1:::2",
                                  "::1:",
                                  ":1::",
                                  "12345::",
                                  "g::",
                                  "1:2:3:4:5:6:7::8",
                                  "1::2:3:4:5:6:7:8",
                                  "::1.2.3",
                                  "::1.2.3.256",
                                  "::1.2.3.4:5",
                                  "1.2.3.4::",
                                  "1.2.3.4",
                                  "1:2:3:4:5:6:7:1.2.3.4",
                                  "1:2:3:4:5:6:7:8:1.2.3.4",
                                  "::01.2.3.4",
                                  "fe80::1%1",
                                  "[::1]",
                                  "::1/128",
                                  " ::1",
                                  "::1 ",
                                  "::-1",
                                  "::0x1"}) {
      EXPECT_EQ(Ip6Addr::tryFromText(text), std::nullopt) << text;
      try {
         static_cast<void>(Ip6Addr::fromText(text));
         ADD_FAILURE() << text;
      } catch (Mdl::ParseException const& error) {
         EXPECT_EQ(error.what(), std::string("not an IPv6 address: \"") + text + "\"");
      }
   }
}

TEST(Ip6Addr, LinkLocalIsItsTenBitPrefix) {
   EXPECT_TRUE(Ip6Addr("fe80::").isLinkLocal());
   EXPECT_TRUE(Ip6Addr("fe80::1").isLinkLocal());
   EXPECT_TRUE(Ip6Addr("febf:ffff::1").isLinkLocal());
   EXPECT_FALSE(Ip6Addr("fe7f:ffff::1").isLinkLocal());
   EXPECT_FALSE(Ip6Addr("fec0::1").isLinkLocal());
   EXPECT_FALSE(Ip6Addr("::fe80").isLinkLocal());
   EXPECT_FALSE(Ip6Addr("::").isLinkLocal());
}

TEST(Ip6Addr, ZeroIsTheUnspecifiedAddress) {
   EXPECT_TRUE(Ip6Addr().isZero());
   EXPECT_TRUE(Ip6Addr("::").isZero());
   EXPECT_FALSE(Ip6Addr("::1").isZero());
   EXPECT_FALSE(Ip6Addr("8000::").isZero());
}

TEST(Ip6Addr, OrdersByBytesAsTheyAreSent) {
   EXPECT_LT(Ip6Addr("::1"), Ip6Addr("::100"));
   EXPECT_LT(Ip6Addr("7fff::"), Ip6Addr("8000::"));
   EXPECT_LT(Ip6Addr("::ffff:ffff"), Ip6Addr("1::"));
}

TEST(Ip6Addr, HashTakesTheSeedOfTheProcessUnlessGivenOne) {
   EXPECT_EQ(documentation.hash(), documentation.hash(Mdl::hashSeed32()));
   // Computed by another program; here so that a change of the hash is noticed.
   EXPECT_EQ(documentation.hash(9), 0xffb9c9d8u);
}

TEST(Ip6Addr, StreamsTheSameTextWhateverTheNumberBase) {
   std::ostringstream out;
   out << std::oct << Ip6Addr("2001:db8::ffff:10") << ' ' << 8;
   EXPECT_EQ(out.str(), "2001:db8::ffff:10 10");
}

TEST(Ip6Addr, IsRepresentedInQuotes) {
   EXPECT_EQ(Mdl::valueToStrep(documentation), Mdl::String("'2001:db8::1'"));
   EXPECT_EQ(Support::parseError<Ip6Addr>("2001:db8::1"), "expected \"'\" at \"2001:db8::1\"");
   Support::expectNoPartIsAValue(documentation);
}

TEST(Ip6Addr, GeneratedAddressesReadBackAndAgreeWithThemselves) {
   Support::Generate generate(6);
   std::vector<Ip6Addr> addresses;
   for (int i = 0; i < 60; ++i) addresses.push_back(generate.ip6Addr());
   Support::expectOrderEqualityAndHashAgree(addresses);
   for (int i = 0; i < 2000; ++i) {
      Ip6Addr const addr = generate.ip6Addr();
      Support::expectRoundTrip(addr);
      EXPECT_EQ(Ip6Addr(addr.stringValue()), addr);
   }
}

}  // namespace
