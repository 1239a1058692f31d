// Collections of keys keep what keys have in common once; what they show is what they were given.

#include "FwdL3Unicast/DecapKey.h"
#include "mdl/Collection.h"
#include "support/FailingNew.h"
#include "support/GenerateKey.h"
#include "support/Share.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace {

using Fwd::DecapKey;
using Fwd::SharedValues;
using Tunnel::Decap::PayloadType;
using Tunnel::Decap::TunnelType;

DecapKey keyOf(std::uint32_t values, std::uint32_t destination) {
   return DecapKey(Pkt::IpGenPrefix(Pkt::IpAddr()), Pkt::IpGenPrefix(Pkt::IpAddr(destination)),
                   TunnelType::udp, 6080, PayloadType::ip,
                   values == 0 ? L3::VrfName() : L3::VrfName("vrf" + std::to_string(values)));
}

TEST(SharedValues, KeysThatDifferInTheirDestinationShareANumber) {
   SharedValues shared;
   std::uint32_t const number = shared.take(keyOf(1, 1));
   EXPECT_EQ(shared.take(keyOf(1, 2)), number);
   EXPECT_NE(shared.take(keyOf(2, 2)), number);
   EXPECT_EQ(shared.take(keyOf(1, 3)), number);
   EXPECT_EQ(shared.inUse(), 2U);
   EXPECT_EQ(shared.keyOf(number, keyOf(0, 9).dstIp()), keyOf(1, 9));
}

TEST(SharedValues, EachValueMakesAnother) {
   SharedValues shared;
   auto const destination = Pkt::IpGenPrefix(Pkt::IpAddr(1));
   auto const any = Pkt::IpGenPrefix(Pkt::IpAddr());
   std::vector<DecapKey> const keys = {
       DecapKey(),
       DecapKey(any, destination, TunnelType::udp, 1, PayloadType::ip, L3::VrfName("a")),
       DecapKey(destination, destination, TunnelType::udp, 1, PayloadType::ip, L3::VrfName("a")),
       DecapKey(any, destination, TunnelType::gre, 1, PayloadType::ip, L3::VrfName("a")),
       DecapKey(any, destination, TunnelType::udp, 2, PayloadType::ip, L3::VrfName("a")),
       DecapKey(any, destination, TunnelType::udp, 1, PayloadType::mpls, L3::VrfName("a")),
       DecapKey(any, destination, TunnelType::udp, 1, PayloadType::ip, L3::VrfName("b"))};
   for (std::size_t i = 0; i < keys.size(); ++i) {
      std::uint32_t const number = shared.take(keys[i]);
      EXPECT_EQ(shared.inUse(), i + 1);
      for (std::size_t j = 0; j < keys.size(); ++j) {
         EXPECT_EQ(shared.isSame(number, keys[j]), i == j) << i << " " << j;
      }
   }
}

TEST(SharedValues, AreGivenUpWithTheirLastUse) {
   SharedValues shared;
   std::map<std::uint32_t, std::pair<std::uint32_t, int>> expected;  // values, number and uses
   Support::Generate generate(2);
   for (std::uint32_t i = 0; i < Support::shareOf(50000); ++i) {
      std::uint32_t const values = generate.below(i / 10000 % 2 == 0 ? 300 : 12);
      auto const known = expected.find(values);
      if (generate.oneIn(2)) {
         std::uint32_t const number = shared.take(keyOf(values, i));
         if (known == expected.end()) {
            for (auto const& other : expected) ASSERT_NE(other.second.first, number);
            expected[values] = {number, 1};
         } else {
            EXPECT_EQ(number, known->second.first);
            ++known->second.second;
         }
      } else if (known != expected.end()) {
         shared.drop(known->second.first);
         if (--known->second.second == 0) expected.erase(known);
      }
      ASSERT_EQ(shared.inUse(), expected.size());
   }
   for (auto const& [values, use] : expected) {
      EXPECT_TRUE(shared.isSame(use.first, keyOf(values, 0)));
   }
}

TEST(DecapKeyForm, AnyKeysComeAndGo) {
   Mdl::Collection<DecapKey, std::uint32_t> keys;
   std::map<DecapKey, std::uint32_t> expected;
   Support::Generate generate(4);
   std::vector<DecapKey> known;
   for (std::uint32_t i = 0; i < Support::shareOf(30000); ++i) {
      if (known.empty() || generate.oneIn(8)) known.push_back(Support::decapKey(generate));
      DecapKey const& key = known[generate.below(static_cast<std::uint32_t>(known.size()))];
      if (generate.oneIn(2)) {
         keys.insertOrAssign(key, i);
         expected[key] = i;
      } else {
         auto const gone = keys.extract(key);
         ASSERT_EQ(gone.has_value(), expected.erase(key) != 0);
         EXPECT_EQ(gone ? gone->key : key, key);
      }
   }
   keys.checkInvariants();
   auto at = expected.begin();
   for (auto const& entry : keys.walkSorted()) {
      ASSERT_EQ(entry.key, at->first);
      ASSERT_EQ(entry.value, at->second);
      ++at;
   }
   EXPECT_EQ(at, expected.end());
}

TEST(DecapKeyForm, AKeyThatFindsNoMemoryLeavesNoTrace) {
   Mdl::Collection<DecapKey, std::uint32_t> keys;
   for (std::uint32_t number = 0; number < 200; ++number) {
      DecapKey const narrow = keyOf(number / 2, number);
      DecapKey const key =
          number % 3 != 0 ? narrow
                          : DecapKey(narrow.srcIp(), Pkt::IpGenPrefix(Pkt::Ip6Addr("2001:db8::1")),
                                     narrow.tunnelType(), narrow.destPort(), narrow.payloadType(),
                                     narrow.forwardingVrf());
      for (int successes = 0; !keys.contains(key); ++successes) {
         {
            Support::FailingNew const failing(successes, 1);
            try {
               keys.insertOrAssign(key, number);
            } catch (std::bad_alloc const&) {
            }
         }
         keys.checkInvariants();
      }
      ASSERT_EQ(keys.size(), number + 1U);
   }
}

TEST(DecapKeyForm, AKeyAndItsFlagTakeTwelveBytesAndItsHashFour) {
   Mdl::Collection<DecapKey, bool> keys;
   for (std::uint32_t i = 0; i < 1024; ++i) keys.insertOrAssign(keyOf(1, i), true);
   EXPECT_LE(keys.bytes(), 1024 * (12 + 4 + 13) + 512);
}

}  // namespace
