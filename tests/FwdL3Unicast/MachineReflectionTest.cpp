#include "mdl/Exception.h"
#include "mdl/Reflection.h"
#include "support/DecapFixture.h"
#include "support/MachineChecks.h"

namespace {

using Kind = Mdl::Member::Kind;

struct Row {
   Mdl::AttributeId id;
   std::string name;
   Kind kind;

   friend bool operator==(Row const&, Row const&) = default;
   friend std::ostream& operator<<(std::ostream& out, Row const& row) {
      return out << row.id << ' ' << row.name << " kind " << static_cast<int>(row.kind);
   }
};

// Readers outside this program know members by these numbers: a row that moves breaks them.
std::vector<Row> const table = {
    {130, "acsd", Kind::scalar},
    {131, "dgConfig", Kind::scalar},
    {132, "status", Kind::scalar},
    {133, "ipStatus", Kind::scalar},
    {134, "ip6Status", Kind::scalar},
    {135, "clock", Kind::scalar},
    {136, "decapHelper", Kind::scalar},
    {137, "decapIntfIp", Kind::collection},
    {138, "decapIntfIpDel", Kind::operation},
    {139, "unprogrammedKey", Kind::collection},
    {140, "addKeyToUnprogrammed", Kind::operation},
    {141, "doMaybeScheduleReview", Kind::operation},
    {142, "doReview", Kind::operation},
    {143, "tunnelTypeDecapIpToVrf", Kind::collection},
    {144, "refCount", Kind::collection},
    {145, "updateRefCount", Kind::operation},
    {146, "reviewInterval", Kind::scalar},
    {147, "reviewQuanta", Kind::scalar},
    {148, "disableCleanupOnRestart", Kind::scalar},
    {149, "mdlDecapGroup", Kind::collection},
    {150, "decapGroup", Kind::view},
    {151, "dgConfigReadyHandled", Kind::scalar},
    {152, "handleDecapGroupConfigReady", Kind::operation},
    {153, "mdlIpIntfStatus", Kind::collection},
    {154, "ipIntfStatus", Kind::view},
    {155, "mdlIp6IntfStatus", Kind::collection},
    {156, "ip6IntfStatus", Kind::view},
    {157, "verifyData", Kind::scalar},
    {158, "handleVerify", Kind::operation},
    {159, "initialized", Kind::scalar},
    {160, "initializedAndReady", Kind::view},
    {161, "handleInitialized", Kind::operation},
};

class MachineReflection : public DecapFixture {
 protected:
   template <class T>
   T value(std::string_view name) const {
      return std::get<T>(Mdl::read(*sm, name).value);
   }

   /// "key value" of each entry.
   Texts entries(std::string_view name) const {
      Texts texts;
      for (auto const& [key, value] : Mdl::read(*sm, name).entries) {
         texts.push_back(std::get<Mdl::String>(key).stdString() + ' ' + text(value));
      }
      return texts;
   }

   static std::string text(Mdl::Reading::Value const& value) {
      if (auto const* const flag = std::get_if<bool>(&value)) return *flag ? "true" : "false";
      if (auto const* const number = std::get_if<std::uint64_t>(&value)) {
         return std::to_string(*number);
      }
      if (auto const* const string = std::get_if<Mdl::String>(&value)) return string->stdString();
      if (auto const* const entity = std::get_if<Mdl::Ptr<Mdl::Entity const>>(&value)) {
         return (*entity)->fwkType().name();
      }
      return "?";
   }

   template <class Call>
   static std::string reflectionError(Call const& call) {
      try {
         call();
      } catch (Mdl::ReflectionException const& error) {
         return error.what();
      }
      return "no ReflectionException";
   }
};

TEST_F(MachineReflection, NamesTheType) {
   givenMachine();
   EXPECT_STREQ(Sm::type().name(), "Fwd::FwdDecapGroupSm");
   EXPECT_EQ(&sm->fwkType(), &Sm::type());
}

TEST_F(MachineReflection, NumbersItsMembersInOrderOfDeclarationFrom130) {
   std::vector<Row> found;
   for (auto const& member : Sm::type().members()) {
      found.push_back({member.id, member.name, member.kind});
   }
   EXPECT_EQ(found, table);
}

TEST_F(MachineReflection, FindsEveryMemberByIdAndByName) {
   for (auto const& row : table) {
      Mdl::Member const* const byId = Sm::type().member(row.id);
      ASSERT_NE(byId, nullptr) << row;
      EXPECT_EQ(byId->name, row.name);
      EXPECT_EQ(Sm::type().member(row.name), byId);
   }
   EXPECT_EQ(Sm::type().member(129), nullptr);
   EXPECT_EQ(Sm::type().member(162), nullptr);
   EXPECT_EQ(Sm::type().member("initialised"), nullptr);
}

TEST_F(MachineReflection, ReadsTheSameByIdAndByName) {
   givenGroup("red")->decapIpIs(prefix("10.1.0.0/16"));
   givenInterface("et1", "10.9.0.1/24");
   givenInterface6("et1", {"2001:db8::1/64"});
   givenRunning();
   for (auto const& row : table) {
      if (row.kind == Kind::operation) continue;
      auto const byId = Mdl::read(*sm, row.id);
      auto const byName = Mdl::read(*sm, row.name);
      EXPECT_EQ(byId.value, byName.value) << row;
      EXPECT_EQ(byId.entries, byName.entries) << row;
      bool const holdsEntries = row.kind == Kind::collection || row.name == "decapGroup" ||
                                row.name == "ipIntfStatus" || row.name == "ip6IntfStatus";
      EXPECT_EQ(std::holds_alternative<std::monostate>(byId.value), holdsEntries) << row;
   }
}

TEST_F(MachineReflection, ReadsTheInputsAsEntities) {
   givenMachine();
   using Entity = Mdl::Ptr<Mdl::Entity const>;
   EXPECT_EQ(value<Entity>("acsd"), acsd);
   EXPECT_EQ(value<Entity>("dgConfig"), config);
   EXPECT_EQ(value<Entity>("status"), status);
   EXPECT_EQ(value<Entity>("ipStatus"), ip);
   EXPECT_EQ(value<Entity>("ip6Status"), ip6);
   EXPECT_EQ(value<Entity>("clock"), time.clock());
   EXPECT_EQ(value<Entity>("decapHelper"), hardware);
   EXPECT_EQ(value<Entity>("verifyData"), verifyData);
}

TEST_F(MachineReflection, ReadsMissingInputsAsNull) {
   sm = Fwd::fwdDecapGroupSmFactory(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
   for (auto const* const name : {"acsd", "dgConfig", "status", "ipStatus", "ip6Status", "clock",
                                  "decapHelper", "verifyData"}) {
      EXPECT_FALSE(value<Mdl::Ptr<Mdl::Entity const>>(name)) << name;
   }
}

TEST_F(MachineReflection, ReadsTheScalars) {
   givenMachine();
   EXPECT_EQ(value<double>("reviewInterval"), 0.1);
   EXPECT_EQ(value<double>("reviewQuanta"), 0.01);
   EXPECT_FALSE(value<bool>("disableCleanupOnRestart"));
   EXPECT_FALSE(value<bool>("dgConfigReadyHandled"));
   EXPECT_FALSE(value<bool>("initialized"));

   sm->disableCleanupOnRestartIs(true);
   EXPECT_TRUE(value<bool>("disableCleanupOnRestart"));
   sm->initializedIs(true);
   EXPECT_TRUE(value<bool>("initialized"));
   EXPECT_FALSE(value<bool>("dgConfigReadyHandled"));

   sm->reviewIntervalIs(2.5);
   sm->reviewQuantaIs(1.5);
   sm->disableCleanupOnRestartIs(false);
   givenRunning();
   EXPECT_EQ(value<double>("reviewInterval"), 2.5);
   EXPECT_EQ(value<double>("reviewQuanta"), 1.5);
   EXPECT_FALSE(value<bool>("disableCleanupOnRestart"));
   EXPECT_TRUE(value<bool>("dgConfigReadyHandled"));
   EXPECT_TRUE(value<bool>("initialized"));
}

TEST_F(MachineReflection, ReadsInitializedAndReadyFromBothConditions) {
   givenMachine();
   EXPECT_FALSE(value<bool>("initializedAndReady"));
   sm->initializedIs(true);
   EXPECT_FALSE(value<bool>("initializedAndReady"));
   config->readyIs(true);
   EXPECT_TRUE(value<bool>("initializedAndReady"));
   sm->initializedIs(false);
   EXPECT_FALSE(value<bool>("initializedAndReady"));
}

TEST_F(MachineReflection, ReadsInitializedAndReadyWithoutAConfigurationAsFalse) {
   sm = Fwd::fwdDecapGroupSmFactory(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
   EXPECT_FALSE(value<bool>("initializedAndReady"));
}

TEST_F(MachineReflection, ReadsTheCollectionsWithTheirKeys) {
   hardware->script().forPrefix(prefix("10.2.0.0/16"), Sim::Answer::of(Fwd::dgRcNotReady));
   givenGroup("red")->decapIpIs(prefix("10.1.0.0/16"));
   givenGroup("blue", {.vrf = "blue"})->decapIpIs(prefix("10.2.0.0/16"));
   givenInterface("et1", "10.9.0.1/24");
   givenInterface6("et2", {"2001:db8::1/64"});
   givenRunning();
   sm->decapIntfIpIs(intf("et1"));

   std::string const red = Support::rep(key("10.1.0.0/16"));
   std::string const blue = Support::rep(key("10.2.0.0/16", {.vrf = "blue"}));
   std::string const pair =
       Support::rep(Fwd::TunnelTypeDecapIp(TunnelType::udp, prefix("10.1.0.0/16")));
   EXPECT_EQ(entries("refCount"), (Texts{red + " 1", blue + " 1"}));
   EXPECT_EQ(entries("unprogrammedKey"), Texts{blue + " true"});
   EXPECT_EQ(entries("tunnelTypeDecapIpToVrf"), Texts{pair + " 'default'"});
   EXPECT_EQ(entries("decapIntfIp"), Texts{"'et1' Fwd::DecapIntfIp"});
   Texts const groupsRead{"red Tunnel::Decap::DecapGroup", "blue Tunnel::Decap::DecapGroup"};
   Texts const ipRead{"'et1' Ip::IpIntfStatus"};
   Texts const ip6Read{"'et2' Ip6::IntfStatus"};
   for (auto const* const name : {"mdlDecapGroup", "decapGroup"}) {
      EXPECT_EQ(entries(name), groupsRead) << name;
   }
   for (auto const* const name : {"mdlIpIntfStatus", "ipIntfStatus"}) {
      EXPECT_EQ(entries(name), ipRead) << name;
   }
   for (auto const* const name : {"mdlIp6IntfStatus", "ip6IntfStatus"}) {
      EXPECT_EQ(entries(name), ip6Read) << name;
   }
}

TEST_F(MachineReflection, ViewsGiveTheEntityThatEachReactorWatches) {
   auto const red = givenGroup("red");
   auto const et1 = givenInterface("et1", "10.9.0.1/24");
   auto const et2 = givenInterface6("et2", {"2001:db8::1/64"});
   givenMachine();
   using Entity = Mdl::Ptr<Mdl::Entity const>;
   auto const watched = [&](std::string_view view) {
      auto const entriesOfView = Mdl::read(*sm, view).entries;
      return entriesOfView.size() == 1 ? std::get<Entity>(entriesOfView[0].second) : Entity();
   };
   EXPECT_EQ(watched("decapGroup"), red);
   EXPECT_EQ(watched("ipIntfStatus"), et1);
   EXPECT_EQ(watched("ip6IntfStatus"), et2);
   EXPECT_EQ(entries("decapGroup"), Texts{"red Tunnel::Decap::DecapGroup"});
}

TEST_F(MachineReflection, RefusesToReadWhatItDoesNotHave) {
   givenMachine();
   for (auto const& error : {reflectionError([&] { Mdl::read(*sm, "colour"); }),
                             reflectionError([&] { Mdl::read(*sm, "doReview"); })}) {
      EXPECT_NE(error.find("Fwd::FwdDecapGroupSm"), std::string::npos) << error;
   }
   EXPECT_NE(reflectionError([&] { Mdl::read(*sm, "colour"); }).find("colour"), std::string::npos);
   EXPECT_NE(reflectionError([&] { Mdl::read(*sm, "doReview"); }).find("doReview"),
             std::string::npos);
   EXPECT_NE(reflectionError([&] { Mdl::read(*sm, Mdl::AttributeId{999}); }).find("999"),
             std::string::npos);
}

// A member is found by its number and by its name; what it can do is the same either way.
TEST_F(MachineReflection, KnowsOfEveryMemberWhatItCanDo) {
   for (auto const& row : table) {
      Mdl::Member const& member = *Sm::type().member(row.id);
      bool const isOperation = row.kind == Kind::operation;
      EXPECT_EQ(member.read == nullptr, isOperation) << row;
      EXPECT_EQ(member.invoke != nullptr, isOperation) << row;
      unsigned const arguments =
          row.name == "updateRefCount"                                         ? 2
          : row.name == "decapIntfIpDel" || row.name == "addKeyToUnprogrammed" ? 1
                                                                               : 0;
      EXPECT_EQ(member.arguments, arguments) << row;
   }
}

}  // namespace
