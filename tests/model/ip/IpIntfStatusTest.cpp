#include "ip/IpIntfStatus.h"

#include "support/Actor.h"
#include "support/Readable.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using Ip::IpIntfStatus;
using L3::VrfName;
using Mdl::Ptr;
using Mdl::Reading;
using Mdl::String;
using Pkt::IntfId;
using Pkt::IpAddr;
using Pkt::IpAddrWithMask;
using Support::Journal;
using Support::readText;

class IpIntfStatusEntity : public testing::Test {
 protected:
   IpIntfStatusEntity() {
      listener->keysOf<IpAddrWithMask>(IpIntfStatus::activeSecondaryWithMaskAttributeId);
   }

   static IpAddrWithMask address(char const* text) { return IpAddrWithMask(String(text)); }

   Ptr<IpIntfStatus> status = Mdl::allocate<IpIntfStatus>(IntfId("Ethernet1"), VrfName("red"));
   Ptr<Support::Listener> listener = Mdl::allocate<Support::Listener>(status);
};

TEST_F(IpIntfStatusEntity, StartsWithItsInterfaceAndVrfAndNoAddress) {
   EXPECT_EQ(status->intfId(), IntfId("Ethernet1"));
   EXPECT_EQ(status->vrf(), VrfName("red"));
   EXPECT_TRUE(status->addrWithMask().isZero());
   EXPECT_TRUE(status->activeSecondaryWithMask().empty());
   EXPECT_FALSE(status->virtualAddr());
   EXPECT_TRUE(status->virtualIp().isZero());
}

TEST_F(IpIntfStatusEntity, WithoutAVrfHasTheEmptyNameAndNotTheDefaultOne) {
   auto const plain = Mdl::allocate<IpIntfStatus>(IntfId("Ethernet1"));
   EXPECT_EQ(plain->vrf(), VrfName());
   EXPECT_NE(plain->vrf(), VrfName::defaultVrf());
}

TEST_F(IpIntfStatusEntity, TellsOfItsPrimaryAddressUnder259) {
   status->addrWithMaskIs(address("10.0.0.1/24"));
   status->addrWithMaskIs(address("10.0.0.1/24"));
   status->addrWithMaskIs(address("10.0.0.1/25"));
   EXPECT_EQ(status->addrWithMask(), address("10.0.0.1/25"));
   EXPECT_EQ(listener->heard(), Journal({"259", "259"}));
}

TEST_F(IpIntfStatusEntity, TellsOfEachSecondaryAddressUnder260) {
   status->activeSecondaryWithMaskIs(address("10.0.0.2/24"));
   status->activeSecondaryWithMaskIs(address("10.0.0.2/24"));
   status->activeSecondaryWithMaskIs(address("10.0.0.1/24"));
   EXPECT_TRUE(status->activeSecondaryWithMask(address("10.0.0.2/24")));
   status->activeSecondaryWithMaskDelAll();
   EXPECT_EQ(listener->heard(), Journal({"260 '10.0.0.2/24'", "260 '10.0.0.1/24'",
                                         "260 '10.0.0.2/24'", "260 '10.0.0.1/24'"}));
}

TEST_F(IpIntfStatusEntity, ItsSecondaryAddressesWalkInAscendingOrder) {
   for (char const* const text : {"10.0.0.9/24", "10.0.0.10/24", "9.0.0.1/8", "10.0.0.9/16"}) {
      status->activeSecondaryWithMaskIs(address(text));
   }
   std::vector<IpAddrWithMask> walked;
   for (auto const& entry : status->activeSecondaryWithMask().walkSorted()) {
      walked.push_back(entry.key);
   }
   EXPECT_EQ(walked,
             (std::vector<IpAddrWithMask>{address("9.0.0.1/8"), address("10.0.0.9/16"),
                                          address("10.0.0.9/24"), address("10.0.0.10/24")}));
}

TEST_F(IpIntfStatusEntity, TellsOfTheVirtualFlagUnder261) {
   status->virtualAddrIs(true);
   status->virtualAddrIs(true);
   status->virtualAddrIs(false);
   EXPECT_EQ(listener->heard(), Journal({"261", "261"}));
}

TEST_F(IpIntfStatusEntity, ItsVirtualAddressIsThePrimaryOneWhileItIsFlagged) {
   status->addrWithMaskIs(address("10.0.0.1/24"));
   EXPECT_TRUE(status->virtualIp().isZero());
   status->virtualAddrIs(true);
   EXPECT_EQ(status->virtualIp(), IpAddr("10.0.0.1"));
   status->virtualAddrIs(false);
   EXPECT_TRUE(status->virtualIp().isZero());
}

TEST_F(IpIntfStatusEntity, AMoveToAnotherVrfIsNotTold) {
   status->vrfIs(VrfName("blue"));
   EXPECT_EQ(status->vrf(), VrfName("blue"));
   EXPECT_EQ(listener->heard(), Journal());
}

TEST_F(IpIntfStatusEntity, IsReadByReflection) {
   status->addrWithMaskIs(address("10.0.0.1/24"));
   status->activeSecondaryWithMaskIs(address("10.0.0.2/24"));
   status->virtualAddrIs(true);
   EXPECT_STREQ(status->fwkType().name(), "Ip::IpIntfStatus");
   EXPECT_EQ(Support::readableMembers(*status),
             Journal({"257 intfId", "258 vrf", "259 addrWithMask", "260 activeSecondaryWithMask",
                      "261 virtualAddr"}));
   EXPECT_EQ(readText(*status, "intfId"), "'Ethernet1'");
   EXPECT_EQ(readText(*status, "vrf"), "'red'");
   EXPECT_EQ(readText(*status, "addrWithMask"), "'10.0.0.1/24'");
   EXPECT_EQ(Mdl::read(*status, "activeSecondaryWithMask").entries,
             (Reading::Entries{{String("'10.0.0.2/24'"), true}}));
   EXPECT_EQ(Mdl::read(*status, "virtualAddr").value, Reading::Value(true));
}

}  // namespace
