#include "mdl/TypeModule.h"

#include "mdl/Clock.h"
#include "mdl/Exception.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Mdl::TypeModule;
using Mdl::ValueType;

constexpr TypeModule::EntityType entities[] = {Mdl::Clock::type};
constexpr ValueType values[] = {ValueType::of<std::uint16_t>("Test::Port")};
constexpr char const* uses[] = {"Mdl"};

TEST(TypeModule, IsFoundExactlyWhileItExists) {
   EXPECT_EQ(TypeModule::find("Test"), nullptr);
   {
      TypeModule const module("Test", entities, values, uses);
      EXPECT_EQ(TypeModule::find("Test"), &module);
   }
   EXPECT_EQ(TypeModule::find("Test"), nullptr);
}

TEST(TypeModule, MayLeaveBeforeAnOlderOne) {
   auto* const older = new TypeModule("Older", {}, {}, {});
   TypeModule const newer("Newer", {}, {}, {});
   delete older;
   EXPECT_EQ(TypeModule::find("Older"), nullptr);
   EXPECT_EQ(TypeModule::find("Newer"), &newer);
}

TEST(TypeModule, FindsTypesByTheirQualifiedNames) {
   EXPECT_EQ(TypeModule::findEntityType("Mdl::Clock"), &Mdl::Clock::type());
   EXPECT_EQ(TypeModule::findEntityType("Clock"), nullptr);
   EXPECT_EQ(TypeModule::findValueType("Test::Port"), nullptr);
}

TEST(TypeModule, RereadsATextRepresentationThroughItsType) {
   ValueType const* const vrf = TypeModule::findValueType("L3::VrfName");
   ASSERT_NE(vrf, nullptr);
   EXPECT_EQ(vrf->reread("'red'"), Mdl::String("'red'"));
   EXPECT_THROW(vrf->reread("red"), Mdl::ParseException);
}

TEST(TypeModule, EveryModuleOfTheModelFindsThoseItUses) {
   for (char const* const name : {"Mdl", "Pkt", "L3", "Ip", "Ip6", "Tunnel::Decap", "Fwd"}) {
      TypeModule const* const module = TypeModule::find(name);
      ASSERT_NE(module, nullptr) << name;
      for (char const* const used : module->dependencies()) {
         EXPECT_NE(TypeModule::find(used), nullptr) << name << " uses " << used;
      }
   }
}

}  // namespace
