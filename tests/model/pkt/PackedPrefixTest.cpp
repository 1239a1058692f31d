// Collections of prefixes keep them in six bytes, an IPv6 address beside; what they show is what
// they were given.

#include "mdl/Collection.h"
#include "pkt/IpGenPrefix.h"
#include "support/FailingNew.h"
#include "support/Generate.h"
#include "support/Share.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <new>
#include <utility>
#include <vector>

namespace {

using Pkt::IpGenPrefix;
using Prefixes = Mdl::Collection<IpGenPrefix, std::uint32_t>;

std::vector<IpGenPrefix> everyLength() {
   std::vector<IpGenPrefix> prefixes{IpGenPrefix()};
   Pkt::Ip6Addr const wide("2001:db8:1:2:3:4:5:6");
   Pkt::IpAddr const narrow(0x0a010203U);
   for (std::uint32_t length = 0; length <= 32; ++length) prefixes.emplace_back(narrow, length);
   for (std::uint32_t length = 0; length <= 128; ++length) prefixes.emplace_back(wide, length);
   return prefixes;
}

TEST(PackedPrefix, EveryFamilyAndLengthComesBackAsItWas) {
   Prefixes prefixes;
   std::uint32_t number = 0;
   for (auto const& prefix : everyLength()) prefixes.insertOrAssign(prefix, number++);
   EXPECT_EQ(prefixes.size(), everyLength().size());
   number = 0;
   for (auto const& entry : prefixes) {
      EXPECT_EQ(entry.key, everyLength()[number]);
      EXPECT_EQ(entry.value, number++);
   }
   for (auto const& prefix : everyLength()) {
      auto const gone = prefixes.extract(prefix);
      ASSERT_TRUE(gone);
      EXPECT_EQ(gone->key, prefix);
   }
   EXPECT_TRUE(prefixes.empty());
}

TEST(PackedPrefix, PrefixesThatDifferInOnePlaceAreOthers) {
   Mdl::KeyForm<IpGenPrefix> form;
   auto const all = everyLength();
   for (auto const& prefix : all) {
      auto const kept = form.keep(prefix);
      for (auto const& other : all) EXPECT_EQ(form.isSame(kept, other), prefix == other);
   }
   Pkt::Ip6Addr::Bytes bytes = Pkt::Ip6Addr("2001:db8::1").bytes();
   auto const kept = form.keep(IpGenPrefix(Pkt::Ip6Addr(bytes), 64));
   for (auto& byte : bytes) {
      byte ^= 1U;
      EXPECT_FALSE(form.isSame(kept, IpGenPrefix(Pkt::Ip6Addr(bytes), 64)));
      byte ^= 1U;
   }
   EXPECT_TRUE(form.isSame(kept, IpGenPrefix(Pkt::Ip6Addr(bytes), 64)));
}

TEST(PackedPrefix, AnIpv4PrefixAndItsFlagTakeEightBytesAndItsHashFour) {
   Mdl::Collection<IpGenPrefix, bool> prefixes;
   for (std::uint32_t i = 0; i < 1024; ++i) {
      prefixes.insertOrAssign(IpGenPrefix(Pkt::IpAddr(i)), true);
   }
   EXPECT_LE(prefixes.bytes(), 1024 * (8 + 4 + 13) + 512);
}

/// Collections that copy, move and change hands, against a map.
TEST(PackedPrefix, ManyComeAndGo) {
   Prefixes prefixes;
   std::map<IpGenPrefix, std::uint32_t> expected;
   Support::Generate generate(1);
   std::vector<IpGenPrefix> known;
   for (std::uint32_t i = 0; i < Support::shareOf(50000); ++i) {
      if (known.empty() || generate.oneIn(8)) known.push_back(generate.prefix());
      IpGenPrefix const prefix = known[generate.below(static_cast<std::uint32_t>(known.size()))];
      if (generate.oneIn(2)) {
         prefixes.insertOrAssign(prefix, i);
         expected[prefix] = i;
      } else {
         EXPECT_EQ(prefixes.erase(prefix), expected.erase(prefix) != 0);
      }
      if (generate.oneIn(500)) {
         Prefixes moved(std::move(prefixes));
         prefixes = std::move(moved);
      }
      if (generate.oneIn(5000)) {
         prefixes.clear();
         expected.clear();
      }
   }
   prefixes.checkInvariants();
   ASSERT_EQ(prefixes.size(), expected.size());
   auto at = expected.begin();
   for (auto const& entry : prefixes.walkSorted()) {
      EXPECT_EQ(entry.key, at->first);
      EXPECT_EQ(entry.value, at->second);
      ++at;
   }
}

TEST(PackedPrefix, AnAddressGoesWithItsPrefix) {
   Mdl::KeyForm<IpGenPrefix> form;
   IpGenPrefix const stays(Pkt::Ip6Addr("2001:db8::1"));
   IpGenPrefix const goes(Pkt::Ip6Addr("2001:db8::2"));
   auto const kept = form.keep(stays);
   Support::FailingNew const failing(0);
   for (int i = 0; i < 1000; ++i) {
      auto const other = form.keep(goes);
      ASSERT_EQ(form.take(other), goes);
   }
   EXPECT_EQ(form.show(kept), stays);
}

TEST(PackedPrefix, AnAddressThatFindsNoMemoryLeavesNoTrace) {
   Prefixes prefixes;
   for (std::uint32_t number = 0; number < 300; ++number) {
      Pkt::Ip6Addr::Bytes bytes{};
      bytes[0] = static_cast<std::uint8_t>(number);
      bytes[1] = static_cast<std::uint8_t>(number >> 8);
      IpGenPrefix const prefix{Pkt::Ip6Addr(bytes)};
      for (int successes = 0; !prefixes.contains(prefix); ++successes) {
         {
            Support::FailingNew const failing(successes, 1);
            try {
               prefixes.insertOrAssign(prefix, number);
            } catch (std::bad_alloc const&) {
            }
         }
         prefixes.checkInvariants();
      }
      EXPECT_EQ(prefixes.size(), number + 1U);
   }
}

}  // namespace
