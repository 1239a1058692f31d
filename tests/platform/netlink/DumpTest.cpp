#include "platform/netlink/Dump.h"

#include "platform/netlink/AddressTable.h"
#include "platform/netlink/Listener.h"
#include "platform/netlink/Messages.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace Netlink {
namespace {

using Answer = Netlink::Dump::Answer;

constexpr std::uint32_t port = 4711;

class Dump : public testing::Test {
 protected:
   /// A datagram that answers the latest request, in which each message carries `flags`.
   Answer answer(std::vector<Bytes> messages, std::uint16_t flags = 0) {
      for (auto& message : messages) {
         headerOf(message)->nlmsg_seq = dump.sequence();
         headerOf(message)->nlmsg_pid = port;
         headerOf(message)->nlmsg_flags = static_cast<std::uint16_t>(NLM_F_MULTI | flags);
      }
      return dump.take(together(messages), port);
   }
   /// What is asked for: the type and the family.
   std::pair<int, int> asked() {
      auto const request = dump.request();
      auto const* const header = reinterpret_cast<nlmsghdr const*>(request.data());
      EXPECT_EQ(header->nlmsg_len, request.size());
      EXPECT_EQ(header->nlmsg_flags, NLM_F_REQUEST | NLM_F_DUMP);
      EXPECT_EQ(header->nlmsg_seq, dump.sequence());
      auto const* const payload = static_cast<std::uint8_t const*>(mnl_nlmsg_get_payload(header));
      return {header->nlmsg_type, payload[0]};
   }
   Lines told() {
      table.tell(listener);
      return listener.heard();
   }

   AddressTable table;
   Netlink::Dump dump{table};
   Listener listener;
   Bytes const done = ending(NLMSG_DONE);
};

using Asked = std::pair<int, int>;

TEST_F(Dump, AsksForLinksThenForTheAddressesOfEachFamily) {
   dump.begin();
   EXPECT_EQ(asked(), Asked(RTM_GETLINK, AF_UNSPEC));
   EXPECT_EQ(answer({link({.index = 2, .name = "eth0"})}), Answer::more);
   EXPECT_EQ(answer({link({.index = 3, .name = "eth1"}), done}), Answer::ask);
   EXPECT_EQ(asked(), Asked(RTM_GETADDR, AF_INET));
   EXPECT_EQ(answer({ip4(2, "10.0.0.1/24"), done}), Answer::ask);
   EXPECT_EQ(asked(), Asked(RTM_GETADDR, AF_INET6));
   EXPECT_EQ(answer({ip6(3, "2001:db8::1/64")}), Answer::more);
   EXPECT_EQ(answer({done}), Answer::complete);
   EXPECT_EQ(told(), (Lines{"eth0 10.0.0.1/24", "eth1 v6 2001:db8::1/64"}));
   EXPECT_EQ(dump.interruptions(), 0u);
}

TEST_F(Dump, AnInterruptedPartIsForgottenAndAskedForAgain) {
   dump.begin();
   asked();
   EXPECT_EQ(answer({link({.index = 2, .name = "eth0"})}, NLM_F_DUMP_INTR), Answer::more);
   EXPECT_EQ(answer({done}), Answer::ask);
   EXPECT_EQ(asked(), Asked(RTM_GETLINK, AF_UNSPEC));
   EXPECT_EQ(answer({link({.index = 3, .name = "eth1"}), done}), Answer::ask);
   EXPECT_EQ(asked(), Asked(RTM_GETADDR, AF_INET));
   EXPECT_EQ(answer({ip4(3, "10.0.0.1/24")}), Answer::more);
   EXPECT_EQ(answer({done}, NLM_F_DUMP_INTR), Answer::ask);
   EXPECT_EQ(asked(), Asked(RTM_GETADDR, AF_INET));
   EXPECT_EQ(answer({ip4(3, "10.0.0.2/24"), done}), Answer::ask);
   EXPECT_EQ(asked(), Asked(RTM_GETADDR, AF_INET6));
   EXPECT_EQ(answer({ip6(3, "2001:db8::1/64"), done}, NLM_F_DUMP_INTR), Answer::ask);
   EXPECT_EQ(asked(), Asked(RTM_GETADDR, AF_INET6));
   EXPECT_EQ(answer({ip6(3, "2001:db8::2/64"), done}), Answer::complete);
   EXPECT_EQ(dump.interruptions(), 3u);
   EXPECT_EQ(told(), Lines{"eth1 10.0.0.2/24 v6 2001:db8::2/64"});
}

TEST_F(Dump, AnAnswerToSomethingElseEndsIt) {
   dump.begin();
   asked();
   auto message = link({.index = 2, .name = "eth0"});
   headerOf(message)->nlmsg_seq = dump.sequence() + 1;
   headerOf(message)->nlmsg_pid = port;
   EXPECT_EQ(dump.take(message, port), Answer::failed);
   EXPECT_EQ(dump.failure(), EPROTO);
   headerOf(message)->nlmsg_seq = dump.sequence();
   EXPECT_EQ(dump.take(message, port + 1), Answer::failed);
   EXPECT_EQ(told(), Lines());
   EXPECT_EQ(dump.take(message, port), Answer::more);
   EXPECT_EQ(told(), Lines{"eth0"});
}

TEST_F(Dump, AnErrorEndsItAndIsKept) {
   dump.begin();
   asked();
   EXPECT_EQ(answer({ending(NLMSG_ERROR, EPERM)}), Answer::failed);
   EXPECT_EQ(dump.failure(), EPERM);
   EXPECT_EQ(answer({ending(NLMSG_DONE, EMSGSIZE)}), Answer::failed);
   EXPECT_EQ(dump.failure(), EMSGSIZE);
   EXPECT_EQ(answer({ending(NLMSG_OVERRUN)}), Answer::failed);
   EXPECT_EQ(dump.failure(), ENOBUFS);
   // No error at all is no answer to this request.
   EXPECT_EQ(answer({ending(NLMSG_ERROR)}), Answer::failed);
   EXPECT_EQ(dump.failure(), EPROTO);
}

TEST_F(Dump, ADamagedAnswerEndsIt) {
   dump.begin();
   asked();
   auto message = link({.index = 2, .name = "eth0"});
   headerOf(message)->nlmsg_seq = dump.sequence();
   headerOf(message)->nlmsg_pid = port;
   message.resize(message.size() - 4);
   EXPECT_EQ(dump.take(message, port), Answer::failed);
   EXPECT_EQ(dump.failure(), EPROTO);
}

TEST_F(Dump, BeginsAnewWithNothing) {
   dump.begin();
   asked();
   EXPECT_EQ(answer({link({.index = 2, .name = "eth0"}), done}, NLM_F_DUMP_INTR), Answer::ask);
   asked();
   EXPECT_EQ(answer({link({.index = 2, .name = "eth0"}), done}), Answer::ask);
   asked();
   answer({ip4(2, "10.0.0.1/24")}, NLM_F_DUMP_INTR);
   dump.begin();
   EXPECT_EQ(asked(), Asked(RTM_GETLINK, AF_UNSPEC));
   EXPECT_EQ(answer({link({.index = 3, .name = "eth1"}), done}), Answer::ask);
   asked();
   EXPECT_EQ(answer({done}), Answer::ask);
   asked();
   EXPECT_EQ(answer({done}), Answer::complete);
   EXPECT_EQ(told(), Lines{"eth1"});
}

}  // namespace
}  // namespace Netlink
