#include "platform/sim/KeyText.h"

#include <gtest/gtest.h>

namespace Sim {
namespace {

using Tunnel::Decap::PayloadType;
using Tunnel::Decap::TunnelType;

Fwd::DecapKey key(TunnelType type, std::uint16_t port, PayloadType payload, char const* vrf) {
   return {{},      Pkt::IpGenPrefix::fromText("10.1.0.0/16"),
           type,    port,
           payload, L3::VrfName(Mdl::String(vrf))};
}

TEST(KeyText, NamesPortAndPayloadOfUdpEvenWhereTheyAreNotSet) {
   EXPECT_EQ(keyText(key(TunnelType::udp, 6635, PayloadType::mpls, "red")),
             "udp 10.1.0.0/16 port 6635 payload mpls vrf red");
   EXPECT_EQ(keyText(key(TunnelType::udp, 0, PayloadType::unset, "red")),
             "udp 10.1.0.0/16 port 0 payload unset vrf red");
}

TEST(KeyText, LeavesOutWhatOtherTunnelsDoNotHave) {
   EXPECT_EQ(keyText(key(TunnelType::gre, 0, PayloadType::unset, "default")),
             "gre 10.1.0.0/16 vrf default");
   EXPECT_EQ(keyText(key(TunnelType::ipip, 7, PayloadType::ip, "default")),
             "ipip 10.1.0.0/16 port 7 payload ip vrf default");
}

TEST(KeyText, ShowsThatThereIsNoVrfOrNoDestination) {
   EXPECT_EQ(keyText(key(TunnelType::gre, 0, PayloadType::unset, "")), "gre 10.1.0.0/16 vrf \"\"");
   EXPECT_EQ(keyText(Fwd::DecapKey()), "unknown (no destination) vrf \"\"");
}

TEST(KeyText, EveryAnswerHasAWordThatReadsBack) {
   for (int number = 0; number <= 6; ++number) {
      auto const code = static_cast<Fwd::dgRetCode>(number);
      EXPECT_EQ(answerFromText(answerText(code)), code) << number;
   }
}

TEST(KeyText, AnAnswerWithoutANameIsItsNumber) {
   EXPECT_EQ(answerText(static_cast<Fwd::dgRetCode>(200)), "200");
   EXPECT_FALSE(answerFromText("200"));
   EXPECT_FALSE(answerFromText("dgRcSuccess"));
}

}  // namespace
}  // namespace Sim
