#include "platform/sim/StateText.h"

#include "support/StateFiles.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Sim {
namespace {

using Support::readState;
using Support::StateFileText;
using Support::udpKey;
using Texts = std::vector<std::string>;

std::vector<std::string> lines(std::string const& text) {
   std::vector<std::string> found;
   for (std::size_t start = 0; start < text.size();) {
      auto const end = text.find('\n', start);
      found.push_back(text.substr(start, end + 1 - start));
      start = end + 1;
   }
   return found;
}

std::string joined(std::vector<std::string> const& parts) {
   std::string text;
   for (auto const& part : parts) text += part;
   return text;
}

// Files that are out there must stay readable: whoever changes this text gives it another version.
TEST(StateText, IsWhatFilesOutThereHold) {
   StateFileText file;
   file.written(udpKey("10.1.0.0/16", "red")).erased(udpKey("10.1.0.0/16", "red")).cleared();
   EXPECT_EQ(file.text(),
             "decap hardware table, version 1\n"
             "6ba57d99 + Value('Fwd::DecapKey', ** {'srcIp': '0.0.0.0/32', 'dstIp': '10.1.0.0/16', "
             "'tunnelType': udp, 'destPort': 6080, 'payloadType': ip, 'forwardingVrf': 'red'})\n"
             "47b84277 - Value('Fwd::DecapKey', ** {'srcIp': '0.0.0.0/32', 'dstIp': '10.1.0.0/16', "
             "'tunnelType': udp, 'destPort': 6080, 'payloadType': ip, 'forwardingVrf': 'red'})\n"
             "eb2b2b05 clear\n");
}

TEST(StateText, TellsTheTableInTheOrderOfWriting) {
   StateFileText file;
   file.written(udpKey("10.1.0.0/16")).written(udpKey("10.2.0.0/16", "red"));
   file.written(udpKey("2001:db8::/32")).erased(udpKey("10.1.0.0/16"));
   file.written(udpKey("10.1.0.0/16"));
   EXPECT_EQ(readState(file.text()).table,
             (Texts{"udp 10.2.0.0/16 port 6080 payload ip vrf red",
                    "udp 2001:db8::/32 port 6080 payload ip vrf default",
                    "udp 10.1.0.0/16 port 6080 payload ip vrf default"}));
}

TEST(StateText, ClearingEmptiesTheTable) {
   StateFileText file;
   file.written(udpKey("10.1.0.0/16")).cleared().written(udpKey("10.2.0.0/16"));
   EXPECT_EQ(readState(file.text()).table,
             (Texts{"udp 10.2.0.0/16 port 6080 payload ip vrf default"}));
}

TEST(StateText, KeepsKeysThatNoOperatorWouldWrite) {
   std::string const vrf("two\nlines, a ' quote, a zero \0 and \xff", 37);
   Fwd::DecapKey const key(
       Pkt::IpGenPrefix(), Pkt::IpGenPrefix(), static_cast<Tunnel::Decap::TunnelType>(77), 65535,
       static_cast<Tunnel::Decap::PayloadType>(200), L3::VrfName(Mdl::String(vrf)));
   StateFileText file;
   file.written(key);
   StateReader reader("hw.state");
   reader.read(file.text());
   reader.finish();
   EXPECT_TRUE(reader.entries().contains(key));
}

TEST(StateText, ReadsTheSameInPiecesOfAnySize) {
   StateFileText file;
   file.written(udpKey("10.1.0.0/16")).written(udpKey("10.2.0.0/16")).erased(udpKey("10.1.0.0/16"));
   for (std::size_t piece = 1; piece <= file.text().size(); ++piece) {
      EXPECT_EQ(readState(file.text(), piece).table,
                (Texts{"udp 10.2.0.0/16 port 6080 payload ip vrf default"}))
          << piece;
   }
}

TEST(StateText, SeesALineThatIsLostDoubledOrMoved) {
   StateFileText file;
   // All of them would make sense by themselves.
   file.written(udpKey("10.1.0.0/16")).cleared().cleared().written(udpKey("10.2.0.0/16"));
   auto const all = lines(file.text());
   EXPECT_TRUE(readState(joined({all[0], all[1], all[2], all[4]})).error);
   EXPECT_TRUE(readState(joined({all[0], all[1], all[2], all[2], all[3], all[4]})).error);
   EXPECT_TRUE(readState(joined({all[0], all[2], all[1], all[3], all[4]})).error);
   EXPECT_TRUE(readState(joined({all[0], all[4]})).error);
   EXPECT_FALSE(readState(joined(all)).error);
}

TEST(StateText, RefusesWhatNoTableCanHaveDone) {
   auto const again = readState(
       StateFileText().written(udpKey("10.1.0.0/16")).written(udpKey("10.1.0.0/16")).text());
   ASSERT_TRUE(again.error);
   EXPECT_EQ(again.error->line(), 3u);
   EXPECT_NE(std::string(again.error->what()).find("there already"), std::string::npos);

   auto const never = readState(StateFileText().erased(udpKey("10.1.0.0/16")).text());
   ASSERT_TRUE(never.error);
   EXPECT_NE(std::string(never.error->what()).find("not there"), std::string::npos);
}

// Lines whose checksum is right, and which no program of this version has written.
TEST(StateText, RefusesALineThatSaysNothing) {
   std::string const key =
       "Value('Fwd::DecapKey', ** {'srcIp': '0.0.0.0/32', 'dstIp': '10.1.0.0/16', "
       "'tunnelType': udp, 'destPort': 6080, 'payloadType': ip, 'forwardingVrf': 'red'})";
   std::string portTooBig = key;
   portTooBig.replace(key.find("6080"), 4, "66080");
   struct Case {
      std::string line;
      char const* reason;
   };
   for (auto const& [line, reason] :
        {Case{"0564981e + " + key + "x", "x"}, Case{"bbf09331 ! " + key, "neither +, - nor clear"},
         Case{"cc9d72cd cleared", "neither +, - nor clear"},
         Case{"64fe4ff5 + " + portTooBig, "destPort"},
         Case{"4569f1e1 ", "neither +, - nor clear"}}) {
      auto const read = readState(std::string(stateHeader) + line + "\n");
      ASSERT_TRUE(read.error) << line;
      EXPECT_EQ(read.error->line(), 2u);
      EXPECT_EQ(read.error->offset(), stateHeader.size());
      std::string const text = read.error->what();
      EXPECT_EQ(text.find("checksum"), text.npos) << text;
      EXPECT_NE(text.find(reason), text.npos) << text;
   }
}

}  // namespace
}  // namespace Sim
