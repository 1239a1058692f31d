#include "FwdL3Unicast/DecapKey.h"
#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "mdl/TypeModule.h"
#include "mdl/Value.h"

#include <gtest/gtest.h>

namespace {

using Mdl::TypeModule;

TEST(Module, IsRegisteredWithTheModulesThatItUses) {
   TypeModule const* const module = TypeModule::find("FwdDecapGroup");
   ASSERT_NE(module, nullptr);
   EXPECT_FALSE(module->dependencies().empty());
   for (char const* const used : module->dependencies()) {
      EXPECT_NE(TypeModule::find(used), nullptr) << used;
   }
}

TEST(Module, FindsTheStateMachineAndItsRecordsByName) {
   EXPECT_EQ(TypeModule::findEntityType("Fwd::FwdDecapGroupSm"), &Fwd::FwdDecapGroupSm::type());
   EXPECT_EQ(TypeModule::findEntityType("Fwd::DecapIntfIp"), &Fwd::DecapIntfIp::type());
   EXPECT_NE(TypeModule::findEntityType("Fwd::IntfAddressType"), nullptr);
}

TEST(Module, RereadsItsValueTypes) {
   Mdl::String const key = Mdl::valueToStrep(Fwd::emptyDecapKey);
   EXPECT_EQ(TypeModule::findValueType("Fwd::DecapKey")->reread(key), key);
   EXPECT_EQ(TypeModule::findValueType("Fwd::dgRetCode")->reread("dgRcPending"),
             Mdl::String("dgRcPending"));
   EXPECT_NE(TypeModule::findValueType("Fwd::TunnelTypeDecapIp"), nullptr);
}

TEST(Module, MakesTheStateMachineByNameFromSevenArguments) {
   auto const* const type = TypeModule::findEntityType("Fwd::FwdDecapGroupSm");
   std::vector<Mdl::Ptr<Mdl::Entity>> const nothing(7);
   auto const made = type->construct(nothing);
   EXPECT_EQ(&made->fwkType(), type);
}

}  // namespace
