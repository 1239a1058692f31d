#include "FwdL3Unicast/FwdDecapGroup.h"

#include <iostream>

class Hardware final : public Fwd::FwdDecapGroupSmHelper {
 public:
   Hardware() : FwdDecapGroupSmHelper("example") {}
   Fwd::dgRetCode programDecapKey(Fwd::DecapKey const& key) override {
      std::cout << "program " << key << '\n';
      return Fwd::dgRcSuccess;
   }
   void removeDecapKey(Fwd::DecapKey const& key) override { std::cout << "remove " << key << '\n'; }
};

int main() {
   auto const config = Mdl::allocate<Tunnel::Decap::Config>();
   auto const machine = Fwd::fwdDecapGroupSmFactory(
       Mdl::allocate<Fwd::FwdCommonSmData>(), config,
       Mdl::allocate<Tunnel::Decap::Hardware::Status>(), Mdl::allocate<Ip::Status>(),
       Mdl::allocate<Ip6::Status>(), Mdl::allocate<Mdl::Clock>(), Mdl::allocate<Hardware>());
   auto const group = Mdl::allocate<Tunnel::Decap::DecapGroup>("red");
   group->tunnelTypeIs(Tunnel::Decap::TunnelType::gre);
   group->forwardingVrfIs(L3::VrfName::defaultVrf());
   group->decapIpIs(Pkt::IpGenPrefix("10.1.0.0/16"));
   config->decapGroupIs(group);
   machine->initializedIs(true);
   config->readyIs(true);                               // programs 10.1.0.0/16
   group->decapIpDel(Pkt::IpGenPrefix("10.1.0.0/16"));  // removes it
}
