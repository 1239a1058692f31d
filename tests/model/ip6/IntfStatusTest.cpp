#include "ip6/IntfStatus.h"

#include "support/Actor.h"
#include "support/CollectionFixtures.h"
#include "support/Readable.h"

#include <gtest/gtest.h>

#include <variant>
#include <vector>

namespace {

using Ip6::AddressInfo;
using Ip6::IntfStatus;
using L3::VrfName;
using Mdl::Ptr;
using Mdl::Reading;
using Mdl::String;
using Pkt::IntfId;
using Pkt::Ip6AddrWithMask;
using Support::Journal;
using Support::readText;

class Ip6IntfStatus : public testing::Test {
 protected:
   Ip6IntfStatus() { listener->keysOf<Ip6AddrWithMask>(IntfStatus::addrAttributeId); }

   Ip6AddrWithMask const one{String("2001:db8::1/64")};
   Ip6AddrWithMask const two{String("2001:db8::2/64")};
   Ptr<IntfStatus> status = Mdl::allocate<IntfStatus>(IntfId("Ethernet1"), VrfName("red"));
   Ptr<Support::Listener> listener = Mdl::allocate<Support::Listener>(status);
};

TEST_F(Ip6IntfStatus, StartsWithItsInterfaceAndVrfAndNoAddress) {
   EXPECT_EQ(status->intfId(), IntfId("Ethernet1"));
   EXPECT_EQ(status->vrf(), VrfName("red"));
   EXPECT_TRUE(status->addr().empty());
}

TEST_F(Ip6IntfStatus, WithoutAVrfHasTheEmptyNameAndNotTheDefaultOne) {
   auto const plain = Mdl::allocate<IntfStatus>(IntfId("Ethernet1"));
   EXPECT_EQ(plain->vrf(), VrfName());
   EXPECT_NE(plain->vrf(), VrfName::defaultVrf());
}

TEST_F(Ip6IntfStatus, TellsOfEachAddressUnder260) {
   status->addrIs(two, AddressInfo());
   status->addrIs(two, AddressInfo());
   status->addrIs(one, AddressInfo());
   EXPECT_EQ(Support::walkedKeys(status->addr()), std::vector<Ip6AddrWithMask>({two, one}));
   status->addrDel(two);
   status->addrDel(two);
   EXPECT_FALSE(status->addrHas(two));
   EXPECT_TRUE(status->addrHas(one));
   EXPECT_EQ(listener->heard(),
             Journal({"260 '2001:db8::2/64'", "260 '2001:db8::1/64'", "260 '2001:db8::2/64'"}));
}

TEST_F(Ip6IntfStatus, AddressesOfAnotherLengthAreOthers) {
   status->addrIs(one, AddressInfo());
   status->addrIs(Ip6AddrWithMask(String("2001:db8::1/128")), AddressInfo());
   EXPECT_EQ(status->addr().size(), 2u);
}

TEST_F(Ip6IntfStatus, AMoveToAnotherVrfIsNotTold) {
   status->vrfIs(VrfName("blue"));
   EXPECT_EQ(status->vrf(), VrfName("blue"));
   EXPECT_EQ(listener->heard(), Journal());
}

TEST_F(Ip6IntfStatus, IsReadByReflection) {
   status->addrIs(one, AddressInfo());
   EXPECT_STREQ(status->fwkType().name(), "Ip6::IntfStatus");
   EXPECT_EQ(Support::readableMembers(*status), Journal({"257 intfId", "258 vrf", "260 addr"}));
   EXPECT_EQ(readText(*status, "intfId"), "'Ethernet1'");
   EXPECT_EQ(readText(*status, "vrf"), "'red'");
   EXPECT_EQ(Mdl::read(*status, "addr").entries,
             (Reading::Entries{{String("'2001:db8::1/64'"), std::monostate()}}));
}

}  // namespace
