#include "pkt/IpGenPrefix.h"

#include "support/Generate.h"
#include "support/ValueChecks.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Pkt::Ip6Addr;
using Pkt::IpAddr;
using Pkt::IpGenPrefix;
using Support::parseError;

TEST(IpGenPrefix, IsOfNoFamilyByDefault) {
   IpGenPrefix const empty;
   EXPECT_TRUE(empty.empty());
   EXPECT_EQ(empty.family(), 0u);
   EXPECT_EQ(empty.length(), 0u);
   EXPECT_EQ(empty.ip6Addr(), Ip6Addr());
   EXPECT_EQ(empty.ipAddr(), IpAddr());
}

TEST(IpGenPrefix, TakesAnAddressOfEitherFamily) {
   IpGenPrefix const four(IpAddr("10.1.0.0"), 16);
   EXPECT_EQ(four.family(), 1u);
   EXPECT_EQ(four.ipAddr(), IpAddr("10.1.0.0"));
   EXPECT_EQ(four.ip6Addr(), Ip6Addr());
   EXPECT_EQ(four.length(), 16u);
   IpGenPrefix const six(Ip6Addr("2001:db8::"), 32);
   EXPECT_EQ(six.family(), 2u);
   EXPECT_EQ(six.ip6Addr(), Ip6Addr("2001:db8::"));
   EXPECT_EQ(six.ipAddr(), IpAddr());
   EXPECT_EQ(six.length(), 32u);
}

TEST(IpGenPrefix, AddressAloneIsItsHostPrefix) {
   EXPECT_EQ(IpGenPrefix(IpAddr("10.0.0.1")), IpGenPrefix("10.0.0.1/32"));
   EXPECT_EQ(IpGenPrefix(Ip6Addr("::1")), IpGenPrefix("::1/128"));
   EXPECT_EQ(IpGenPrefix("10.0.0.1").length(), 32u);
   EXPECT_EQ(IpGenPrefix("0.0.0.0"), IpGenPrefix(IpAddr(), 32));
   EXPECT_EQ(IpGenPrefix("::").length(), 128u);
}

TEST(IpGenPrefix, ZeroPrefixOfIpv4HasAFamily) {
   EXPECT_EQ(Pkt::ipGenPrefixV4Zero, IpGenPrefix("0.0.0.0/0"));
   EXPECT_NE(Pkt::ipGenPrefixV4Zero, IpGenPrefix());
   EXPECT_NE(Pkt::ipGenPrefixV4Zero, IpGenPrefix("::/0"));
}

TEST(IpGenPrefix, HostBitsStayAndCount) {
   IpGenPrefix const prefix("10.1.2.3/16");
   EXPECT_EQ(prefix.stringValue(), Mdl::String("10.1.2.3/16"));
   EXPECT_NE(prefix, IpGenPrefix("10.1.0.0/16"));
}

TEST(IpGenPrefix, TellsWhetherHostBitsAreSet) {
   for (char const* const text : {"10.1.0.0/16", "10.0.0.1/32", "0.0.0.0/0", "128.0.0.0/1", "::/0",
                                  "2001:db8::/32", "::1/128"}) {
      EXPECT_FALSE(IpGenPrefix(Mdl::String(text)).hasHostBits()) << text;
   }
   for (char const* const text :
        {"10.1.2.3/16", "10.0.0.1/31", "128.0.0.0/0", "64.0.0.0/1", "::1/127", "8000::/0"}) {
      EXPECT_TRUE(IpGenPrefix(Mdl::String(text)).hasHostBits()) << text;
   }
   EXPECT_FALSE(IpGenPrefix().hasHostBits());
}

TEST(IpGenPrefix, OrdersByFamilyThenAddressThenLength) {
   std::vector<IpGenPrefix> const ascending{IpGenPrefix(),
                                            IpGenPrefix("0.0.0.0/0"),
                                            IpGenPrefix("0.0.0.0/32"),
                                            IpGenPrefix("0.0.0.1/0"),
                                            IpGenPrefix("10.0.0.0/8"),
                                            IpGenPrefix("10.0.0.0/9"),
                                            IpGenPrefix("200.0.0.0/1"),
                                            IpGenPrefix("::/0"),
                                            IpGenPrefix("::/128"),
                                            IpGenPrefix("::1/0"),
                                            IpGenPrefix("ff00::/8")};
   for (std::size_t i = 0; i + 1 < ascending.size(); ++i) {
      EXPECT_LT(ascending[i], ascending[i + 1]) << ascending[i];
   }
}

TEST(IpGenPrefix, StreamsPlainWhateverTheNumberBase) {
   std::ostringstream out;
   out << std::hex << IpGenPrefix("10.20.0.0/16") << ' ' << IpGenPrefix("2001:db8::/32") << ' '
       << IpGenPrefix() << '|' << 16;
   EXPECT_EQ(out.str(), "10.20.0.0/16 2001:db8::/32 |10");
}

TEST(IpGenPrefix, IsRepresentedInQuotes) {
   EXPECT_EQ(Mdl::valueToStrep(IpGenPrefix("10.1.0.0/16")), Mdl::String("'10.1.0.0/16'"));
   EXPECT_EQ(Mdl::valueToStrep(IpGenPrefix("::/128")), Mdl::String("'::/128'"));
   EXPECT_EQ(Mdl::valueToStrep(IpGenPrefix()), Mdl::String("''"));
}

TEST(IpGenPrefix, LengthBeyondTheAddressIsRefused) {
   EXPECT_EQ(parseError<IpGenPrefix>("'10.0.0.0/33'"),
             "prefix length greater than 32: \"10.0.0.0/33\"");
   EXPECT_EQ(parseError<IpGenPrefix>("'::/129'"), "prefix length greater than 128: \"::/129\"");
   try {
      static_cast<void>(IpGenPrefix(Ip6Addr(), 129));
      FAIL();
   } catch (Mdl::RangeException const& error) {
      EXPECT_STREQ(error.what(), "IP prefix: prefix length 129 is greater than 128");
   }
   EXPECT_THROW(static_cast<void>(IpGenPrefix(IpAddr(), 33)), Mdl::RangeException);
}

TEST(IpGenPrefix, OtherTextsAreRefused) {
   for (char const* const text :
        {" ", "/", "/0", "10.0.0.0/", "10.0.0.0/+8", "10.0.0.0/08", "10.0.0.0/8 ", "10.0.0/8",
         "10.0.0.0/8/8", "10.0.0.0/1000", "10.0.0.0/4294967304", "::/x", "default", "10.0.0.0-8"}) {
      EXPECT_EQ(parseError<IpGenPrefix>(std::string("'") + text + "'"),
                std::string("not an IP prefix: \"") + text + "\"");
   }
}

TEST(IpGenPrefix, RepresentationNeedsItsQuotes) {
   EXPECT_EQ(parseError<IpGenPrefix>("10.1.0.0/16"), "expected \"'\" at \"10.1.0.0/16\"");
   EXPECT_EQ(parseError<IpGenPrefix>("'10.1.0.0/16"),
             "expected a closing quote at the end of the text");
   EXPECT_EQ(parseError<IpGenPrefix>("'10.1.0.0/16' "), "text after the value: \" \"");
   Support::expectNoPartIsAValue(IpGenPrefix("10.1.0.0/16"));
}

TEST(IpGenPrefix, GeneratedPrefixesReadBackAndAgreeWithThemselves) {
   Support::Generate generate(8);
   std::vector<IpGenPrefix> prefixes;
   for (int i = 0; i < 80; ++i) prefixes.push_back(generate.prefix());
   Support::expectOrderEqualityAndHashAgree(prefixes);
   for (int i = 0; i < 2000; ++i) {
      IpGenPrefix const prefix = generate.prefix();
      Support::expectRoundTrip(prefix);
      EXPECT_EQ(IpGenPrefix(prefix.stringValue()), prefix);
   }
}

TEST(IpGenPrefix, SeededHashTellsAllPartsApart) {
   std::uint32_t const seed = 9;
   EXPECT_NE(IpGenPrefix("10.0.0.0/8").hash(seed), IpGenPrefix("10.0.0.0/9").hash(seed));
   EXPECT_NE(IpGenPrefix("10.0.0.0/8").hash(seed), IpGenPrefix("10.0.0.1/8").hash(seed));
   EXPECT_NE(IpGenPrefix("0.0.0.0/0").hash(seed), IpGenPrefix("::/0").hash(seed));
   EXPECT_NE(IpGenPrefix("10.0.0.0/8").hash(seed), IpGenPrefix("10.0.0.0/8").hash(seed + 1));
   // Computed by another program; here so that a change of the hash is noticed.
   EXPECT_EQ(IpGenPrefix("10.1.0.0/16").hash(seed), 0xbd472c41u);
}

}  // namespace
