#include "support/DecapFixture.h"

namespace {

/// The derivation of one key.
class DeriveKey : public DecapFixture {
 protected:
   DeriveKey() {
      givenGroup("red", {TunnelType::ipip, 1, PayloadType::mpls, "green"});
      givenMachine();
   }

   Fwd::DecapKey derived(std::string_view text, Pkt::IntfId const& interfaceId) {
      return reactor("red")->createDecapKey(prefix(text), interfaceId, TunnelType::udp, 6080,
                                            PayloadType::ip, vrf("blue"));
   }
   Fwd::DecapKey derived(std::string_view text) { return derived(text, Fwd::emptyIntfId); }

   static Fwd::DecapKey expected(std::string_view source, std::string_view destination) {
      return {prefix(source), prefix(destination), TunnelType::udp,
              6080,           PayloadType::ip,     vrf("blue")};
   }

   Texts records() const {
      Texts found;
      for (auto const& entry : sm->decapIntfIp()) {
         found.push_back(entry.key.name().stdString() + ' ' +
                         entry.value->primaryIp().stringValue().stdString() + ' ' +
                         entry.value->virtualIp().stringValue().stdString());
      }
      return found;
   }
};

TEST_F(DeriveKey, TakesAnIpv4PrefixAsItIs) {
   EXPECT_EQ(derived("10.1.0.0/16"), expected("0.0.0.0/32", "10.1.0.0/16"));
   EXPECT_EQ(derived("10.1.2.3/16"), expected("0.0.0.0/32", "10.1.2.3/16"));
   EXPECT_EQ(derived("0.0.0.0/1"), expected("0.0.0.0/32", "0.0.0.0/1"));
}

TEST_F(DeriveKey, TakesAnIpv6PrefixAsItIs) {
   EXPECT_EQ(derived("2001:db8::/32"), expected("::/128", "2001:db8::/32"));
   EXPECT_EQ(derived("::/1"), expected("::/128", "::/1"));
}

TEST_F(DeriveKey, HasNoDestinationForAPrefixOfLengthZero) {
   for (auto const* const text : {"0.0.0.0/0", "10.0.0.0/0", "::/0", ""}) {
      EXPECT_EQ(derived(text), expected("::/128", "")) << text;
   }
}

TEST_F(DeriveKey, CopiesTypePortPayloadAndVrfFromTheArguments) {
   auto const made = reactor("red")->createDecapKey(prefix("10.1.0.0/16"), Fwd::emptyIntfId,
                                                    static_cast<TunnelType>(77), 65535,
                                                    static_cast<PayloadType>(88), L3::VrfName());
   EXPECT_EQ(made,
             Fwd::DecapKey(prefix("0.0.0.0/32"), prefix("10.1.0.0/16"), static_cast<TunnelType>(77),
                           65535, static_cast<PayloadType>(88), L3::VrfName()));
}

TEST_F(DeriveKey, TakesThePrimaryAddressOfAnInterfaceAndNotThePrefix) {
   givenInterface("et1", "10.9.0.1/24");
   EXPECT_EQ(derived("10.1.0.0/16", intf("et1")), expected("0.0.0.0/32", "10.9.0.1/32"));
   EXPECT_EQ(derived("::/0", intf("et1")), expected("0.0.0.0/32", "10.9.0.1/32"));
   EXPECT_EQ(records(), Texts{"et1 10.9.0.1 0.0.0.0"});
}

TEST_F(DeriveKey, RecordsTheAddressInTheInterfacesRecord) {
   givenInterface("et1", "10.9.0.1/24");
   auto const record = sm->decapIntfIpIs(intf("et1"));
   record->primaryIpIs(prefix("10.7.7.7/32").ipAddr());
   record->virtualIpIs(prefix("10.8.8.8/32").ipAddr());
   derived("", intf("et1"));
   EXPECT_EQ(sm->decapIntfIp(intf("et1")), record);
   EXPECT_EQ(records(), Texts{"et1 10.9.0.1 10.8.8.8"});
}

TEST_F(DeriveKey, HasNoDestinationForAnInterfaceWithoutIpv4Status) {
   givenInterface6("et6", {"2001:db8::1/64"});
   EXPECT_EQ(derived("10.1.0.0/16", intf("et1")), expected("::/128", ""));
   EXPECT_EQ(derived("10.1.0.0/16", intf("et6")), expected("::/128", ""));
   EXPECT_EQ(records(), Texts{});
}

TEST_F(DeriveKey, HasNoDestinationForAnInterfaceWithoutAnyIpv4Status) {
   sm = Fwd::fwdDecapGroupSmFactory(acsd, config, status, nullptr, ip6, time.clock(), hardware);
   EXPECT_EQ(derived("10.1.0.0/16", intf("et1")), expected("::/128", ""));
   EXPECT_EQ(derived("10.1.0.0/16"), expected("0.0.0.0/32", "10.1.0.0/16"));
}

TEST_F(DeriveKey, RecordsNothingForAPrefix) {
   givenInterface("et1", "10.9.0.1/24");
   derived("10.9.0.1/32");
   EXPECT_EQ(records(), Texts{});
}

}  // namespace
