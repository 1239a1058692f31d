#include "mdl/Exception.h"
#include "mdl/Reflection.h"
#include "support/DecapFixture.h"

#include <array>
#include <span>

namespace {

/// The machine made from a list of entities, as one without its types makes it.
class MachineFromArguments : public DecapFixture {
 protected:
   using Arguments = std::array<Mdl::Ptr<Mdl::Entity>, 7>;

   /// The arguments of construction, as a caller without types has them.
   Arguments arguments() const { return {acsd, config, status, ip, ip6, time.clock(), hardware}; }

   static Mdl::Ptr<Sm> constructed(std::span<Mdl::Ptr<Mdl::Entity> const> list) {
      return Mdl::dynamicPtrCast<Sm>(Sm::type().construct(list));
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

TEST_F(MachineFromArguments, ConstructsFromItsSevenArguments) {
   givenGroup("red");
   auto const list = arguments();
   sm = constructed(list);
   ASSERT_TRUE(sm);
   EXPECT_TRUE(sm->hasNotificationActive());
   EXPECT_EQ(sm->acsd(), acsd);
   EXPECT_EQ(sm->dgConfig(), config);
   EXPECT_EQ(sm->status(), status);
   EXPECT_EQ(sm->ipStatus(), ip);
   EXPECT_EQ(sm->ip6Status(), ip6);
   EXPECT_EQ(sm->clock(), time.clock());
   EXPECT_EQ(sm->decapHelper(), hardware);
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenRunning();
   thenHardware({"udp 10.1.0.0/16 port 6080 payload ip vrf default"});
}

TEST_F(MachineFromArguments, ConstructsFromNullsOnly) {
   sm = constructed(Arguments());
   ASSERT_TRUE(sm);
   EXPECT_FALSE(sm->mdlDgConfig());
}

TEST_F(MachineFromArguments, RefusesAListOfAnotherLength) {
   auto const list = arguments();
   auto const machines = Sm::type().allocationsEver();
   EXPECT_THROW(Sm::type().construct(std::span(list).first(6)), Mdl::ReflectionException);
   EXPECT_THROW(Sm::type().construct({}), Mdl::ReflectionException);
   std::vector<Mdl::Ptr<Mdl::Entity>> eight(list.begin(), list.end());
   eight.emplace_back(config);
   EXPECT_THROW(Sm::type().construct(eight), Mdl::ReflectionException);
   EXPECT_EQ(Sm::type().allocationsEver(), machines);
}

TEST_F(MachineFromArguments, RefusesAnArgumentOfAnotherTypeAndNamesItsPlace) {
   std::array<std::string, 7> const wanted = {"Fwd::FwdCommonSmData",
                                              "Tunnel::Decap::Config",
                                              "Tunnel::Decap::Hardware::Status",
                                              "Ip::Status",
                                              "Ip6::Status",
                                              "Mdl::Clock",
                                              "Fwd::FwdDecapGroupSmHelper"};
   for (std::size_t place = 0; place < wanted.size(); ++place) {
      auto list = arguments();
      list[place] = verifyData;
      auto const error = reflectionError([&] { Sm::type().construct(list); });
      EXPECT_NE(error.find(wanted[place]), std::string::npos) << error;
      EXPECT_NE(error.find("Fwd::VerifyData"), std::string::npos) << error;
      EXPECT_NE(error.find(std::to_string(place + 1)), std::string::npos) << error;
   }
}

}  // namespace
