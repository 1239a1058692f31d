#include "mdl/Hash.h"

#include "mdl/String.h"
#include "support/Generate.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstdint>
#include <string>

namespace {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

// The numbers below were computed by another program from the description of the hash. They are
// here because a hash that changes unnoticed takes its measured quality and speed with it.

TEST(Hash, GivesTheRecordedNumbers) {
   EXPECT_EQ(Mdl::Hash(0).result(), 0x6c2b07adu);
   EXPECT_EQ(Mdl::Hash(1).result(), 0xd9dae358u);
   EXPECT_EQ(Mdl::Hash(7).mix(u8{1}).result(), 0x5210bb59u);
   EXPECT_EQ(Mdl::Hash(7).mix(u16{1}).result(), 0x7cc51aeau);
   EXPECT_EQ(Mdl::Hash(7).mix(u32{1}).result(), 0x9e192ed3u);
   EXPECT_EQ(Mdl::Hash(7).mix(u64{1}).result(), 0xeaa2059eu);
   EXPECT_EQ(Mdl::Hash(0x12345678).mix(u32{1}).mix(u32{2}).mix(u16{3}).result(), 0x0181eaf6u);
}

TEST(Hash, GivesTheRecordedNumbersForStrings) {
   EXPECT_EQ(Mdl::hashString("", 0), 0x81886c43u);
   EXPECT_EQ(Mdl::hashString("a", 0), 0xdff5bcb5u);
   EXPECT_EQ(Mdl::hashString("default", 0), 0x5ea12c30u);
   EXPECT_EQ(Mdl::hashString("Ethernet1", 0), 0x278e5f2au);
   EXPECT_EQ(Mdl::hashString("exactly8", 0), 0xa9bec8a3u);
   EXPECT_EQ(Mdl::hashString("a text of more than sixteen bytes", 0), 0x0f6c43d2u);
   EXPECT_EQ(Mdl::hashString("default", 5), 0x67142d96u);
}

TEST(Mixer32, GivesTheRecordedNumbers) {
   EXPECT_EQ(Mdl::Mixer32().result(), 0u);
   EXPECT_EQ(Mdl::Mixer32().mix(0).result(), 0xe6546b64u);
   EXPECT_EQ(Mdl::Mixer32().mix(1).mix(2).mix(3).result(), 0x2d345c0eu);
}

TEST(Hash, OrderOfAttributesCounts) {
   EXPECT_NE(Mdl::Hash(0).mix(u32{1}).mix(u32{2}).result(),
             Mdl::Hash(0).mix(u32{2}).mix(u32{1}).result());
   EXPECT_NE(Mdl::Mixer32().mix(1).mix(2).result(), Mdl::Mixer32().mix(2).mix(1).result());
}

TEST(Hash, BorderBetweenTextsCounts) {
   EXPECT_NE(Mdl::Hash(0).mix("ab").mix("c").result(), Mdl::Hash(0).mix("a").mix("bc").result());
   EXPECT_NE(Mdl::Hash(0).mix("").result(), Mdl::Hash(0).result());
   EXPECT_NE(Mdl::Hash(0).mix(std::string("\0", 1)).result(), Mdl::Hash(0).mix("").result());
}

TEST(Hash, StringHashIsTheSameEveryTime) {
   Mdl::String const name("default");
   u32 const first = name.hash(0);
   EXPECT_EQ(name.hash(0), first);
   EXPECT_EQ(Mdl::String(name).hash(0), first);
   EXPECT_EQ(Mdl::String("default").hash(0), first);
}

TEST(Hash, SeedOfTheProcessIsDrawnOnce) {
   u32 const seed = Mdl::hashSeed32();
   EXPECT_NE(seed, 0u);
   EXPECT_EQ(Mdl::hashSeed32(), seed);
}

/// Flips each bit of random inputs; each bit of the result must turn about every other time. With
/// 4000 samples a fair bit stays within 0.45..0.55 by more than six standard deviations.
template <class HashOf>
void expectAvalanche(HashOf const& hashOf) {
   constexpr int samples = 4000;
   Support::Generate generate(2);
   for (u32 inputBit = 0; inputBit < 32; ++inputBit) {
      std::array<int, 32> turned{};
      for (int i = 0; i < samples; ++i) {
         u32 const input = generate.word();
         u32 const difference = hashOf(input) ^ hashOf(input ^ (1u << inputBit));
         for (u32 bit = 0; bit < 32; ++bit) turned[bit] += static_cast<int>(difference >> bit & 1);
      }
      for (u32 bit = 0; bit < 32; ++bit) {
         EXPECT_GT(turned[bit], samples * 45 / 100) << inputBit << " -> " << bit;
         EXPECT_LT(turned[bit], samples * 55 / 100) << inputBit << " -> " << bit;
      }
   }
}

TEST(Hash, EveryInputBitReachesEveryResultBit) {
   expectAvalanche([](u32 input) { return Mdl::Hash(0).mix(input).result(); });
}

TEST(Hash, EverySeedBitReachesEveryResultBit) {
   expectAvalanche([](u32 input) { return Mdl::Hash(input).mix(u32{5}).result(); });
}

TEST(Hash, EveryBitOfATextReachesEveryResultBit) {
   expectAvalanche([](u32 input) {
      auto const bytes = std::bit_cast<std::array<char, sizeof(input)>>(input);
      return Mdl::Hash(0).mix(std::string_view(bytes.data(), bytes.size())).result();
   });
}

/// Counting up is what configurations do. 65536 of such inputs in 65536 buckets leave, by chance,
/// 36.8 % of them empty; a hash that clusters leaves more, one that only shifts leaves none.
TEST(Hash, CountingUpFillsBucketsLikeChanceByHighAndLowBits) {
   constexpr u32 count = 65536;
   for (u32 const shift : {0u, 16u}) {
      std::array<bool, count> used{};
      u32 empty = count;
      for (u32 i = 0; i < count; ++i) {
         bool& bucket = used[Mdl::Hash(3).mix(i << 8).result() >> shift & 0xffff];
         if (!bucket) --empty;
         bucket = true;
      }
      EXPECT_NEAR(empty, count * 0.368, count * 0.01) << shift;
   }
}

}  // namespace
