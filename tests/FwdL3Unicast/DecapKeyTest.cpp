#include "FwdL3Unicast/DecapKey.h"

#include "support/GenerateKey.h"
#include "support/ValueChecks.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <unordered_set>
#include <vector>

namespace {

using Fwd::DecapKey;
using L3::VrfName;
using Pkt::IpGenPrefix;
using Tunnel::Decap::PayloadType;
using Tunnel::Decap::TunnelType;

/// The attributes in their order, to be changed one by one.
struct Parts {
   IpGenPrefix srcIp{"0.0.0.0/32"};
   IpGenPrefix dstIp{"10.1.0.0/16"};
   TunnelType tunnelType = TunnelType::udp;
   std::uint16_t destPort = 6080;
   PayloadType payloadType = PayloadType::ip;
   VrfName forwardingVrf{"default"};

   DecapKey key() const {
      return DecapKey(srcIp, dstIp, tunnelType, destPort, payloadType, forwardingVrf);
   }
};

/// Each differs from the unchanged key in one attribute, and is greater there; in their order.
std::vector<DecapKey> changedInOneAttribute() {
   std::vector<Parts> parts(6);
   parts[0].srcIp = IpGenPrefix("0.0.0.1/32");
   parts[1].dstIp = IpGenPrefix("10.1.0.0/17");
   parts[2].tunnelType = static_cast<TunnelType>(200);
   parts[3].destPort = 40000;
   parts[4].payloadType = static_cast<PayloadType>(200);
   parts[5].forwardingVrf = VrfName("red");
   std::vector<DecapKey> keys;
   for (Parts const& changed : parts) keys.push_back(changed.key());
   return keys;
}

// Whether the sentinels are there before the constructors of other files run.
bool const sentinelsAreThereAtLoadTime =
    Fwd::invalidDecapKey.dstIp() == Pkt::ipGenPrefixV4Zero &&
    Fwd::emptyDecapKey.tunnelType() == static_cast<TunnelType>(2);

TEST(DecapKey, HoldsItsSixAttributes) {
   DecapKey const key = Parts().key();
   EXPECT_EQ(key.srcIp(), IpGenPrefix("0.0.0.0/32"));
   EXPECT_EQ(key.dstIp(), IpGenPrefix("10.1.0.0/16"));
   EXPECT_EQ(key.tunnelType(), TunnelType::udp);
   EXPECT_EQ(key.destPort(), 6080);
   EXPECT_EQ(key.payloadType(), PayloadType::ip);
   EXPECT_EQ(key.forwardingVrf(), VrfName("default"));
}

TEST(DecapKey, DefaultIsAllZero) {
   DecapKey const zero;
   EXPECT_EQ(zero, DecapKey(IpGenPrefix(), IpGenPrefix(), static_cast<TunnelType>(0), 0,
                            static_cast<PayloadType>(0), VrfName()));
   EXPECT_EQ(zero.dstIp().family(), 0u);
}

TEST(DecapKey, CopySharesTheNameOfTheVrf) {
   DecapKey const original = Parts().key();
   DecapKey const copy = original;
   EXPECT_EQ(copy, original);
   EXPECT_EQ(copy.forwardingVrf().name().charPtr(), original.forwardingVrf().name().charPtr());
}

TEST(DecapKey, SentinelsDifferInTheTunnelTypeOnly) {
   EXPECT_EQ(Fwd::invalidDecapKey,
             DecapKey(IpGenPrefix("0.0.0.0/0"), IpGenPrefix("0.0.0.0/0"),
                      static_cast<TunnelType>(0), 0, PayloadType::unset, VrfName()));
   EXPECT_EQ(Fwd::emptyDecapKey,
             DecapKey(IpGenPrefix("0.0.0.0/0"), IpGenPrefix("0.0.0.0/0"),
                      static_cast<TunnelType>(2), 0, PayloadType::unset, VrfName()));
   EXPECT_NE(Fwd::invalidDecapKey, Fwd::emptyDecapKey);
   EXPECT_LT(Fwd::invalidDecapKey, Fwd::emptyDecapKey);
}

TEST(DecapKey, SentinelsAreThereAtLoadTime) { EXPECT_TRUE(sentinelsAreThereAtLoadTime); }

// Deliberate: the sentinels' prefixes have a family, so "no key" is not false. Callers compare.
TEST(DecapKey, OnlyTheDefaultKeyIsFalse) {
   EXPECT_FALSE(static_cast<bool>(DecapKey()));
   EXPECT_TRUE(static_cast<bool>(Fwd::invalidDecapKey));
   EXPECT_TRUE(static_cast<bool>(Fwd::emptyDecapKey));
   for (DecapKey const& key :
        {DecapKey({}, {}, TunnelType::gre, 0, PayloadType::unset, {}),
         DecapKey({}, {}, TunnelType::unknown, 1, PayloadType::unset, {}),
         DecapKey({}, {}, TunnelType::unknown, 0, PayloadType::ip, {}),
         DecapKey({}, {}, TunnelType::unknown, 0, PayloadType::unset, VrfName("red"))}) {
      EXPECT_TRUE(static_cast<bool>(key)) << key;
   }
}

TEST(DecapKey, EveryAttributeDecidesEquality) {
   EXPECT_EQ(Parts().key(), Parts().key());
   for (DecapKey const& changed : changedInOneAttribute()) EXPECT_NE(Parts().key(), changed);
}

TEST(DecapKey, EarlierAttributesDecideTheOrder) {
   std::vector<DecapKey> const changed = changedInOneAttribute();
   for (std::size_t i = 0; i < changed.size(); ++i) {
      EXPECT_LT(Parts().key(), changed[i]) << i;
      // Greater in an earlier attribute weighs more than greater in a later one.
      if (i > 0) {
         EXPECT_LT(changed[i], changed[i - 1]) << i;
      }
   }
}

TEST(DecapKey, OrdersEnumerationsAndPortAsUnsignedNumbers) {
   Parts low;
   Parts high;
   low.destPort = 1;
   high.destPort = 65535;
   EXPECT_LT(low.key(), high.key());
   high.destPort = low.destPort;
   low.tunnelType = static_cast<TunnelType>(127);
   high.tunnelType = static_cast<TunnelType>(128);
   EXPECT_LT(low.key(), high.key());
}

TEST(DecapKey, GeneratedKeysAgreeWithThemselves) {
   Support::Generate generate(12);
   std::vector<DecapKey> keys;
   for (int i = 0; i < 80; ++i) keys.push_back(Support::decapKey(generate));
   keys.insert(keys.end(), {DecapKey(), Fwd::invalidDecapKey, Fwd::emptyDecapKey, keys[0]});
   Support::expectOrderEqualityAndHashAgree(keys);
}

TEST(DecapKey, ServesAsAKeyOfStandardContainers) {
   std::unordered_set<DecapKey> const keys{Parts().key(), DecapKey(), Parts().key()};
   EXPECT_EQ(keys.size(), 2u);
}

}  // namespace
