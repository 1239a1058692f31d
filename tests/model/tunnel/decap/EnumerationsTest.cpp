#include "support/ValueChecks.h"
#include "tunnel/decap/AddressType.h"
#include "tunnel/decap/PayloadType.h"
#include "tunnel/decap/TunnelType.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

using Tunnel::Decap::AddressType;
using Tunnel::Decap::PayloadType;
using Tunnel::Decap::TunnelType;

/// The enumeration as a table: each listed value with its name.
template <class E>
std::string listed() {
   std::string text = Mdl::enumDescriptor<E>().typeName;
   for (Mdl::Enumerator const& enumerator : Mdl::enumDescriptor<E>().enumerators) {
      text += " " + std::to_string(enumerator.value) + "=" + enumerator.name;
   }
   return text;
}

TEST(TunnelType, HasTheseNumbersAndNames) {
   EXPECT_EQ(listed<TunnelType>(), "Tunnel::Decap::TunnelType 0=unknown 1=gre 2=ipip 3=udp");
}

TEST(PayloadType, HasTheseNumbersAndNames) {
   EXPECT_EQ(listed<PayloadType>(), "Tunnel::Decap::PayloadType 0=unset 1=ip 2=mpls");
}

TEST(AddressType, HasTheseNumbersAndNames) {
   EXPECT_EQ(listed<AddressType>(), "Tunnel::Decap::AddressType 0=primary 1=all");
}

template <class E>
class DecapEnumeration : public testing::Test {};
using Enumerations = testing::Types<TunnelType, PayloadType, AddressType>;
TYPED_TEST_SUITE(DecapEnumeration, Enumerations);

TYPED_TEST(DecapEnumeration, EveryValueReadsBackAndStreamsItsText) {
   static_assert(sizeof(TypeParam) == 1);
   for (int i = 0; i < 256; ++i) {
      auto const value = static_cast<TypeParam>(i);
      Support::expectRoundTrip(value);
      EXPECT_EQ(Support::streamed(value), Mdl::valueToStrep(value).stdString());
      EXPECT_EQ(stringValue(value), Mdl::valueToStrep(value));
   }
}

}  // namespace
