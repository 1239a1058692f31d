#include "tunnel/decap/DecapGroup.h"

#include "support/Actor.h"
#include "support/CollectionFixtures.h"
#include "support/Readable.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using L3::VrfName;
using Mdl::Ptr;
using Mdl::Reading;
using Mdl::String;
using Pkt::IntfId;
using Pkt::IpGenPrefix;
using Support::Journal;
using Support::readText;
using Tunnel::Decap::AddressType;
using Tunnel::Decap::DecapExcludeIntfSet;
using Tunnel::Decap::DecapGroup;
using Tunnel::Decap::DecapIntf;
using Tunnel::Decap::DecapIntfKey;
using Tunnel::Decap::PayloadType;
using Tunnel::Decap::TunnelType;

class DecapGroupEntity : public testing::Test {
 protected:
   DecapGroupEntity() {
      listener->keysOf<IpGenPrefix>(DecapGroup::decapIpAttributeId);
      listener->keysOf<DecapIntfKey>(DecapGroup::decapIntfAttributeId);
      listener->keysOf<DecapIntfKey>(DecapGroup::decapExcludeIntfSetAttributeId);
   }

   static std::string told(std::string const& attribute, DecapIntfKey const& key) {
      return attribute + ' ' + Mdl::valueToStrep(key).stdString();
   }

   IpGenPrefix const prefix{String("10.1.0.0/16")};
   DecapIntfKey const key{IntfId(String("Ethernet1")), 1};
   Ptr<DecapGroup> group = Mdl::allocate<DecapGroup>("red");
   Ptr<Support::Listener> listener = Mdl::allocate<Support::Listener>(group);
};

TEST_F(DecapGroupEntity, StartsWithItsNameAndNothingElse) {
   EXPECT_EQ(group->name(), String("red"));
   EXPECT_TRUE(group->decapIp().empty());
   EXPECT_TRUE(group->decapIntf().empty());
   EXPECT_TRUE(group->decapExcludeIntfSet().empty());
   EXPECT_EQ(group->tunnelType(), TunnelType::unknown);
   EXPECT_EQ(group->destPort(), 0u);
   EXPECT_EQ(group->payloadType(), PayloadType::unset);
   EXPECT_EQ(group->forwardingVrf(), VrfName());
}

TEST_F(DecapGroupEntity, TellsOfDecapIpsUnder258) {
   group->decapIpIs(prefix);
   group->decapIpIs(prefix);
   EXPECT_TRUE(group->decapIp(prefix));
   group->decapIpDel(prefix);
   group->decapIpDel(prefix);
   EXPECT_FALSE(group->decapIp(prefix));
   EXPECT_EQ(listener->heard(), Journal({"258 '10.1.0.0/16'", "258 '10.1.0.0/16'"}));
}

TEST_F(DecapGroupEntity, PrefixesThatDifferInHostBitsAreTwo) {
   group->decapIpIs(prefix);
   group->decapIpIs(IpGenPrefix(String("10.1.2.3/16")));
   EXPECT_EQ(group->decapIp().size(), 2u);
}

TEST_F(DecapGroupEntity, TellsOfDecapInterfacesUnder259) {
   group->decapIntfIs(DecapIntf(key));
   group->decapIntfIs(DecapIntf(key));
   group->decapIntfIs(DecapIntf(key, AddressType::all));
   EXPECT_EQ(group->decapIntf(key).addressType(), AddressType::all);
   group->decapIntfDel(key);
   EXPECT_FALSE(group->decapIntfHas(key));
   EXPECT_EQ(listener->heard(), Journal(3, told("259", key)));
}

TEST_F(DecapGroupEntity, TheSameInterfaceStandsOnceForEachFamily) {
   DecapIntfKey const ip6Key(key.intfId(), 2);
   group->decapIntfIs(DecapIntf(key));
   group->decapIntfIs(DecapIntf(ip6Key));
   EXPECT_EQ(Support::walkedKeys(group->decapIntf()), std::vector<DecapIntfKey>({key, ip6Key}));
}

TEST_F(DecapGroupEntity, TellsOfExcludeSetsUnder260) {
   DecapExcludeIntfSet excluded{DecapIntfKey(Pkt::emptyIntfId, 1)};
   group->decapExcludeIntfSetIs(excluded);
   group->decapExcludeIntfSetIs(excluded);
   excluded.excludeIntfIs(IntfId(String("Ethernet2")));
   group->decapExcludeIntfSetIs(excluded);
   EXPECT_EQ(group->decapExcludeIntfSet(excluded.key()), excluded);
   group->decapExcludeIntfSetDel(excluded.key());
   EXPECT_TRUE(group->decapExcludeIntfSet().empty());
   EXPECT_EQ(listener->heard(), Journal(3, told("260", excluded.key())));
}

TEST_F(DecapGroupEntity, TellsOfItsScalarsUnder261To264) {
   group->tunnelTypeIs(TunnelType::udp);
   group->destPortIs(6080);
   group->payloadTypeIs(PayloadType::ip);
   group->forwardingVrfIs(VrfName("red"));
   EXPECT_EQ(listener->heard(), Journal({"261", "262", "263", "264"}));
   EXPECT_EQ(group->tunnelType(), TunnelType::udp);
   EXPECT_EQ(group->destPort(), 6080u);
   EXPECT_EQ(group->payloadType(), PayloadType::ip);
   EXPECT_EQ(group->forwardingVrf(), VrfName("red"));
}

TEST_F(DecapGroupEntity, EqualScalarsAreNoChange) {
   group->tunnelTypeIs(TunnelType::unknown);
   group->destPortIs(0);
   group->payloadTypeIs(PayloadType::unset);
   group->forwardingVrfIs(VrfName());
   EXPECT_EQ(listener->heard(), Journal());
}

TEST_F(DecapGroupEntity, IsReadByReflection) {
   group->decapIpIs(prefix);
   group->decapIntfIs(DecapIntf(key));
   group->decapExcludeIntfSetIs(DecapExcludeIntfSet(key));
   group->tunnelTypeIs(TunnelType::udp);
   group->destPortIs(6080);
   group->payloadTypeIs(PayloadType::ip);
   group->forwardingVrfIs(VrfName("a 'vrf'"));

   EXPECT_STREQ(group->fwkType().name(), "Tunnel::Decap::DecapGroup");
   EXPECT_EQ(Support::readableMembers(*group),
             Journal({"257 name", "258 decapIp", "259 decapIntf", "260 decapExcludeIntfSet",
                      "261 tunnelType", "262 destPort", "263 payloadType", "264 forwardingVrf"}));
   EXPECT_EQ(readText(*group, "name"), "red");
   EXPECT_EQ(readText(*group, "tunnelType"), "udp");
   EXPECT_EQ(readText(*group, "payloadType"), "ip");
   EXPECT_EQ(readText(*group, "forwardingVrf"), "'a \\'vrf\\''");
   EXPECT_EQ(Mdl::read(*group, "destPort").value, Reading::Value(std::uint64_t{6080}));
   EXPECT_EQ(Mdl::read(*group, "decapIp").entries,
             (Reading::Entries{{String("'10.1.0.0/16'"), true}}));
   EXPECT_EQ(Mdl::read(*group, "decapIntf").entries,
             (Reading::Entries{{Mdl::valueToStrep(key), Mdl::valueToStrep(DecapIntf(key))}}));
   EXPECT_EQ(
       Mdl::read(*group, "decapExcludeIntfSet").entries,
       (Reading::Entries{{Mdl::valueToStrep(key), Mdl::valueToStrep(DecapExcludeIntfSet(key))}}));
}

}  // namespace
