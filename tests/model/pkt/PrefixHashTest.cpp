#include "pkt/IpGenPrefix.h"

#include "support/Generate.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>

namespace {

using Pkt::IpGenPrefix;

/// The prefix hash once more, in 64 bits that are cut to 32 after each step.
std::uint64_t expectedHash(std::uint64_t addr, std::uint64_t length) {
   constexpr std::uint64_t modulus = std::uint64_t{1} << 32;
   std::uint64_t h = ((addr ^ length) * 32767 + modulus - 1) % modulus;
   h = h ^ h / 4096;
   h = h * 5 % modulus;
   h = h ^ h / 16;
   h = h * 2057 % modulus;
   return h ^ h / 65536;
}

// Computed by another program: IPv4 prefixes have the same hash in every process.
TEST(PrefixHash, GivesTheRecordedNumbersForIpv4) {
   EXPECT_EQ(IpGenPrefix("0.0.0.0/0").hash(), 0xcaa3caa3u);
   EXPECT_EQ(IpGenPrefix("0.0.0.0/32").hash(), 0x5ac3ae29u);
   EXPECT_EQ(IpGenPrefix("10.0.0.1/32").hash(), 0x672057aeu);
   EXPECT_EQ(IpGenPrefix("10.1.0.0/16").hash(), 0xe710d808u);
   EXPECT_EQ(IpGenPrefix("255.255.255.255/32").hash(), 0x18243a57u);
   EXPECT_EQ(IpGenPrefix("192.0.2.0/24").hash(), 0x24ba9191u);
}

TEST(PrefixHash, OfNoFamilyIsZero) { EXPECT_EQ(IpGenPrefix().hash(), 0u); }

TEST(PrefixHash, OfIpv6StartsFromTheHashOfTheAddress) {
   for (char const* const text : {"::/0", "::/128", "2001:db8::/32", "fe80::1/64"}) {
      IpGenPrefix const prefix{Mdl::String(text)};
      EXPECT_EQ(prefix.hash(), expectedHash(prefix.ip6Addr().hash(), prefix.length())) << text;
   }
}

TEST(PrefixHash, OfGeneratedIpv4PrefixesIsAsDefined) {
   Support::Generate generate(9);
   for (int i = 0; i < 2000; ++i) {
      Pkt::IpAddr const addr = generate.ipAddr();
      std::uint32_t const length = generate.below(33);
      EXPECT_EQ(IpGenPrefix(addr, length).hash(), expectedHash(addr.value(), length))
          << addr << '/' << length;
   }
}

TEST(PrefixHash, OfDifferentHostAddressesDiffers) {
   std::set<std::uint32_t> hashes;
   for (std::uint32_t i = 0; i < 5000; ++i) {
      hashes.insert(IpGenPrefix(Pkt::IpAddr(0x0a000000 + i)).hash());
   }
   EXPECT_EQ(hashes.size(), 5000u);
}

}  // namespace
