#include "mdl/Reflection.h"
#include "support/DecapFixture.h"

#include <array>
#include <bit>
#include <cstddef>
#include <variant>

namespace {

/// A platform that offers what it must and nothing else.
class PlainHook : public Fwd::FwdDecapGroupSmHelper {
 public:
   PlainHook() : FwdDecapGroupSmHelper(Mdl::String("plain")) {}

   Fwd::dgRetCode programDecapKey(Fwd::DecapKey const& key) override {
      programmed.push_back(Sim::keyText(key));
      return Fwd::dgRcSuccess;
   }
   void removeDecapKey(Fwd::DecapKey const& key) override { removed.push_back(Sim::keyText(key)); }

   std::vector<std::string> programmed;
   std::vector<std::string> removed;
};

constexpr auto slotSize = static_cast<std::ptrdiff_t>(sizeof(void*));

/// Where a virtual operation stands in the table of its class.
template <class Function>
std::ptrdiff_t slot(Function function) {
   return std::bit_cast<std::array<std::ptrdiff_t, 2>>(function)[0];
}

class PlatformHook : public DecapFixture {};

TEST_F(PlatformHook, KeepsItsName) {
   auto const hook = Mdl::allocate<PlainHook>();
   EXPECT_EQ(hook->name(), Mdl::String("plain"));
   EXPECT_EQ(std::get<Mdl::String>(Mdl::read(*hook, 257).value), Mdl::String("plain"));
}

TEST_F(PlatformHook, IsAnEntityOfItsOwnType) {
   EXPECT_STREQ(Mdl::allocate<PlainHook>()->fwkType().name(), "Fwd::FwdDecapGroupSmHelper");
}

TEST_F(PlatformHook, ServesWithTheTwoOperationsThatItMustHave) {
   auto const hook = Mdl::allocate<PlainHook>();
   sm = Fwd::fwdDecapGroupSmFactory(acsd, config, status, ip, ip6, time.clock(), hook);
   givenGroup("red")->decapIpIs(prefix("10.1.0.0/16"));
   givenRunning();
   verifyData->doRequestVerify();
   EXPECT_TRUE(sm->dgConfigReadyHandled());
   EXPECT_EQ(hook->programmed, Texts{"udp 10.1.0.0/16 port 6080 payload ip vrf default"});

   whenDecapIpRemoved("red", "10.1.0.0/16");
   EXPECT_EQ(hook->removed, Texts{"udp 10.1.0.0/16 port 6080 payload ip vrf default"});
}

TEST_F(PlatformHook, LetsUdpKeysWaitByDefault) {
   auto const hook = Mdl::allocate<PlainHook>();
   EXPECT_TRUE(hook->waitForDstPortPayloadTypeForUdpTunnel());
   sm = Fwd::fwdDecapGroupSmFactory(acsd, config, status, ip, ip6, time.clock(), hook);
   givenGroup("red", {.port = 0})->decapIpIs(prefix("10.1.0.0/16"));
   givenRunning();
   EXPECT_EQ(hook->programmed, Texts{});
   thenCounts({});
}

TEST_F(PlatformHook, IsToldOfTheReadyConfigurationWhenItAsksForIt) {
   givenRunning();
   thenCalls({"configuration ready"});
}

// Platforms are built apart from this library: an operation that moves calls another one there.
TEST_F(PlatformHook, KeepsItsVirtualOperationsInTheirOrder) {
   using Hook = Fwd::FwdDecapGroupSmHelper;
   std::vector<std::ptrdiff_t> const slots = {slot(&Hook::name),
                                              slot(&Hook::programDecapKey),
                                              slot(&Hook::removeDecapKey),
                                              slot(&Hook::verify),
                                              slot(&Hook::decapGroupConfigReady),
                                              slot(&Hook::waitForDstPortPayloadTypeForUdpTunnel)};
   EXPECT_GT(slots.front(), slot(&Mdl::Entity::handleParent));
   for (std::size_t i = 1; i < slots.size(); ++i) {
      EXPECT_EQ(slots[i] - slots[i - 1], slotSize) << i;
   }
}

TEST_F(PlatformHook, TheMachineKeepsItsVirtualOperationsInTheirOrder) {
   EXPECT_GT(slot(&Sm::handleInitialized), slot(&Mdl::Entity::handleParent));
   EXPECT_EQ(slot(&Sm::mdlDoZombieReactors) - slot(&Sm::handleInitialized), slotSize);
}

}  // namespace
