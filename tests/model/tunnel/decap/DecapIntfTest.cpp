#include "tunnel/decap/DecapIntf.h"

#include "support/ValueChecks.h"

#include <gtest/gtest.h>

namespace {

using Tunnel::Decap::AddressType;
using Tunnel::Decap::DecapIntf;
using Tunnel::Decap::DecapIntfKey;

DecapIntfKey const key(Pkt::IntfId("Ethernet1"), 1);

TEST(DecapIntf, IsThePrimaryAddressOnlyUnlessToldOtherwise) {
   EXPECT_EQ(DecapIntf(key).key(), key);
   EXPECT_EQ(DecapIntf(key).addressType(), AddressType::primary);
}

TEST(DecapIntf, ComparesKeyAndAddressType) {
   DecapIntf intf(key);
   EXPECT_EQ(intf, DecapIntf(key, AddressType::primary));
   intf.addressTypeIs(AddressType::all);
   EXPECT_EQ(intf, DecapIntf(key, AddressType::all));
   EXPECT_NE(intf, DecapIntf(key));
   EXPECT_NE(intf, DecapIntf(DecapIntfKey(Pkt::emptyIntfId, 1), AddressType::all));
}

TEST(DecapIntf, RepresentationNestsThatOfTheKey) {
   DecapIntf const intf(key, AddressType::all);
   EXPECT_EQ(Mdl::valueToStrep(intf),
             Mdl::String("Value('Tunnel::Decap::DecapIntf', ** {'key': "
                         "Value('Tunnel::Decap::DecapIntfKey', ** {'intfId': 'Ethernet1', "
                         "'addressFamily': 1}), 'addressType': all})"));
   Support::expectRoundTrip(intf);
   Support::expectNoPartIsAValue(intf);
}

TEST(DecapIntf, ErrorNamesThePath) {
   EXPECT_EQ(Support::parseError<DecapIntf>(
                 "Value('Tunnel::Decap::DecapIntf', ** {'key': "
                 "Value('Tunnel::Decap::DecapIntfKey', ** {'intfId': 'a', 'addressFamily': -1}), "
                 "'addressType': all})"),
             "attribute 'key': attribute 'addressFamily': expected a decimal number at "
             "\"-1}), 'addressType': all})\"");
}

}  // namespace
