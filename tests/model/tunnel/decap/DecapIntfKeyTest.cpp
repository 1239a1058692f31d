#include "tunnel/decap/DecapIntfKey.h"

#include "mdl/Hash.h"
#include "support/Generate.h"
#include "support/ValueChecks.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <vector>

namespace {

using Pkt::IntfId;
using Support::parseError;
using Tunnel::Decap::DecapIntfKey;

TEST(DecapIntfKey, IsInterfaceAndFamily) {
   DecapIntfKey const key(IntfId("Ethernet1"), 2);
   EXPECT_EQ(key.intfId(), IntfId("Ethernet1"));
   EXPECT_EQ(key.family(), 2u);
   EXPECT_EQ(key, DecapIntfKey(IntfId("Ethernet1"), 2));
   EXPECT_NE(key, DecapIntfKey(IntfId("Ethernet1"), 1));
   EXPECT_NE(key, DecapIntfKey(Pkt::emptyIntfId, 2));
}

TEST(DecapIntfKey, OrdersByInterfaceThenFamily) {
   EXPECT_LT(DecapIntfKey(Pkt::emptyIntfId, 2), DecapIntfKey(IntfId("Ethernet1"), 1));
   EXPECT_LT(DecapIntfKey(IntfId("Ethernet1"), 2), DecapIntfKey(IntfId("Ethernet2"), 1));
   EXPECT_LT(DecapIntfKey(IntfId("Ethernet1"), 1), DecapIntfKey(IntfId("Ethernet1"), 2));
}

TEST(DecapIntfKey, StringValueIsItsTraceText) {
   EXPECT_EQ(DecapIntfKey(IntfId("Ethernet1"), 1).stringValue(),
             Mdl::String(" Intf: Ethernet1 address-family: 1"));
   EXPECT_EQ(DecapIntfKey(Pkt::emptyIntfId, 2).stringValue(),
             Mdl::String(" Intf:  address-family: 2"));
}

TEST(DecapIntfKey, StreamsItsStringValueWhateverTheNumberBase) {
   std::ostringstream out;
   out << std::hex << DecapIntfKey(IntfId("Et1"), 10) << ' ' << 10;
   EXPECT_EQ(out.str(), " Intf: Et1 address-family: 10 a");
}

TEST(DecapIntfKey, RepresentationNamesTypeAndAttributes) {
   EXPECT_EQ(Mdl::valueToStrep(DecapIntfKey(IntfId("Ethernet1"), 1)),
             Mdl::String("Value('Tunnel::Decap::DecapIntfKey', ** {'intfId': 'Ethernet1', "
                         "'addressFamily': 1})"));
}

TEST(DecapIntfKey, ErrorNamesTheAttribute) {
   EXPECT_EQ(parseError<DecapIntfKey>(
                 "Value('Tunnel::Decap::DecapIntfKey', ** {'intfId': Et1, 'addressFamily': 1})"),
             "attribute 'intfId': expected \"'\" at \"Et1, 'addressFamily': 1})\"");
   EXPECT_EQ(parseError<DecapIntfKey>(
                 "Value('Tunnel::Decap::DecapIntfKey', ** {'intfId': '', 'addressFamily': x})"),
             "attribute 'addressFamily': expected a decimal number at \"x})\"");
   Support::expectNoPartIsAValue(DecapIntfKey(IntfId("Et1"), 1));
}

TEST(DecapIntfKey, HashesTellInterfaceAndFamilyApart) {
   DecapIntfKey const key(IntfId("Ethernet1"), 1);
   EXPECT_NE(key.hash(5), DecapIntfKey(IntfId("Ethernet1"), 2).hash(5));
   EXPECT_NE(key.hash(5), DecapIntfKey(IntfId("Ethernet2"), 1).hash(5));
   EXPECT_NE(key.hash(5), key.hash(6));
   EXPECT_NE(key.hash(), DecapIntfKey(IntfId("Ethernet1"), 2).hash());
   // Computed by another program; here so that a change of the hash is noticed.
   EXPECT_EQ(key.hash(), 0xc443dc86u);
}

TEST(DecapIntfKey, GeneratedKeysReadBackAndAgreeWithThemselves) {
   Support::Generate generate(11);
   std::vector<DecapIntfKey> keys;
   for (int i = 0; i < 60; ++i) keys.emplace_back(IntfId(generate.bytes(1)), generate.below(4));
   for (DecapIntfKey const& key : keys) Support::expectRoundTrip(key);
   Support::expectOrderEqualityAndHashAgree(keys);
}

}  // namespace
