#include "platform/netlink/Dump.h"

#include "platform/netlink/AddressTable.h"

#include <cerrno>

#include <libmnl/libmnl.h>
#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

namespace Netlink {

void Dump::begin() {
   part_ = Part::links;
   interrupted_ = false;
   table_.clear();
}

Datagram Dump::request() {
   request_.fill(std::byte());
   nlmsghdr* const header = mnl_nlmsg_put_header(request_.data());
   header->nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
   header->nlmsg_seq = ++sequence_;
   if (part_ == Part::links) {
      header->nlmsg_type = RTM_GETLINK;
      auto* const fixed =
          static_cast<ifinfomsg*>(mnl_nlmsg_put_extra_header(header, sizeof(ifinfomsg)));
      fixed->ifi_family = AF_UNSPEC;
      // Counters are most of what the kernel would send.
      mnl_attr_put_u32(header, IFLA_EXT_MASK, RTEXT_FILTER_SKIP_STATS);
   } else {
      header->nlmsg_type = RTM_GETADDR;
      auto* const fixed =
          static_cast<ifaddrmsg*>(mnl_nlmsg_put_extra_header(header, sizeof(ifaddrmsg)));
      fixed->ifa_family = part_ == Part::ip4 ? AF_INET : AF_INET6;
   }
   return Datagram(request_).first(header->nlmsg_len);
}

Dump::Answer Dump::take(Datagram datagram, std::uint32_t port) {
   MessageWalk walk(datagram);
   while (auto const* const message = walk.next()) {
      if (message->nlmsg_seq != sequence_ || message->nlmsg_pid != port) return fail(EPROTO);
      if ((message->nlmsg_flags & NLM_F_DUMP_INTR) != 0) interrupted_ = true;
      switch (message->nlmsg_type) {
         case NLMSG_ERROR: {
            int const why = errorOf(*message);
            return fail(why != 0 ? why : EPROTO);
         }
         case NLMSG_OVERRUN: return fail(ENOBUFS);
         case NLMSG_DONE: {
            int const why = errorOf(*message);
            return why != 0 ? fail(why) : partIsComplete();
         }
         default: table_.apply(*message);
      }
   }
   return walk.damaged() ? fail(EPROTO) : Answer::more;
}

Dump::Answer Dump::partIsComplete() {
   if (interrupted_) {
      interrupted_ = false;
      ++interruptions_;
      clearPart();
      return Answer::ask;
   }
   if (part_ == Part::ip6) return Answer::complete;
   part_ = part_ == Part::links ? Part::ip4 : Part::ip6;
   return Answer::ask;
}

void Dump::clearPart() {
   switch (part_) {
      case Part::links: table_.clear(); break;
      case Part::ip4: table_.clearIp4(); break;
      case Part::ip6: table_.clearIp6(); break;
   }
}

Dump::Answer Dump::fail(int why) {
   failure_ = why;
   return Answer::failed;
}

}  // namespace Netlink
