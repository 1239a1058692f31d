#include "agent/Prefixes.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

Pkt::IpGenPrefix prefix(char const* text) { return Pkt::IpGenPrefix::fromText(text); }

bool covered(char const* outer, char const* inner) { return covers(prefix(outer), prefix(inner)); }

TEST(Prefixes, CoverWhatIsInside) {
   EXPECT_TRUE(covered("10.0.0.0/8", "10.1.2.3"));
   EXPECT_TRUE(covered("10.1.0.0/16", "10.1.0.0/16"));
   EXPECT_TRUE(covered("0.0.0.0/0", "255.255.255.255"));
   EXPECT_TRUE(covered("2001:db8::/33", "2001:db8:7fff::/48"));
   EXPECT_TRUE(covered("2001:db8::1", "2001:db8::1"));
   EXPECT_TRUE(covered("::/0", "2001:db8::/32"));
}

TEST(Prefixes, DoNotCoverWhatIsOutsideOrAround) {
   EXPECT_FALSE(covered("10.0.0.0/8", "11.0.0.0"));
   EXPECT_FALSE(covered("10.1.0.0/16", "10.0.0.0/8"));
   EXPECT_FALSE(covered("10.1.0.0/17", "10.1.128.0/24"));
   EXPECT_FALSE(covered("2001:db8::/33", "2001:db8:8000::/48"));
   EXPECT_FALSE(covered("2001:db8::1", "2001:db8::2"));
   EXPECT_FALSE(covered("0.0.0.0/0", "::1")) << "families are apart";
}

TEST(Prefixes, AreShortenedToPrefixesAroundThem) {
   EXPECT_EQ(shortened(prefix("10.255.255.255"), 9), prefix("10.128.0.0/9"));
   EXPECT_EQ(shortened(prefix("10.255.255.255"), 32), prefix("10.255.255.255"));
   EXPECT_EQ(shortened(prefix("10.255.255.255"), 0), prefix("0.0.0.0/0"));
   EXPECT_EQ(shortened(prefix("2001:db8:ffff::1"), 33), prefix("2001:db8:8000::/33"));
   EXPECT_EQ(shortened(prefix("2001:db8:ffff::1"), 0), prefix("::/0"));
   for (std::uint32_t length = 0; length <= 128; ++length) {
      EXPECT_TRUE(covers(shortened(prefix("2001:db8:ffff::1"), length), prefix("2001:db8:ffff::1")))
          << length;
   }
}

TEST(Prefixes, OfFullLengthAreAddresses) {
   EXPECT_TRUE(isAddress(prefix("10.0.0.1")));
   EXPECT_TRUE(isAddress(prefix("::1")));
   EXPECT_FALSE(isAddress(prefix("10.0.0.0/31")));
   EXPECT_FALSE(isAddress(prefix("2001:db8::/32")));
}

}  // namespace
}  // namespace Agent
