#include "l3/VrfName.h"

#include "support/Generate.h"
#include "support/ValueChecks.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using L3::VrfName;

TEST(VrfName, DefaultVrfIsNamedDefault) {
   EXPECT_EQ(L3::VrfName::defaultVrf(), VrfName("default"));
   EXPECT_EQ(L3::VrfName::defaultVrf().name(), Mdl::String("default"));
}

TEST(VrfName, EmptyNameIsNotTheDefaultVrf) {
   EXPECT_TRUE(VrfName().empty());
   EXPECT_EQ(VrfName(), VrfName(""));
   EXPECT_NE(VrfName(), L3::VrfName::defaultVrf());
}

TEST(VrfName, ReferenceToTheDefaultVrfStays) {
   EXPECT_EQ(&L3::VrfName::defaultVrf(), &L3::VrfName::defaultVrf());
}

TEST(VrfName, OrdersByBytes) {
   EXPECT_LT(VrfName(), VrfName("a"));
   EXPECT_LT(VrfName("blue"), VrfName("red"));
   EXPECT_LT(VrfName("red"), VrfName("red1"));
}

TEST(VrfName, StreamsPlainAndIsRepresentedInQuotes) {
   EXPECT_EQ(Support::streamed(VrfName("it's")), "it's");
   EXPECT_EQ(Mdl::valueToStrep(VrfName("it's\n")), Mdl::String("'it\\'s\\n'"));
   EXPECT_EQ(Mdl::valueToStrep(VrfName()), Mdl::String("''"));
}

TEST(VrfName, GeneratedNamesReadBackAndAgreeWithThemselves) {
   Support::Generate generate(10);
   std::vector<VrfName> names;
   for (int i = 0; i < 60; ++i) names.emplace_back(generate.bytes(2));
   for (VrfName const& name : names) Support::expectRoundTrip(name);
   Support::expectOrderEqualityAndHashAgree(names);
}

}  // namespace
