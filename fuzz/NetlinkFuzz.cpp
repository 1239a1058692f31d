// What a kernel announces and lists. The input is a sequence of steps: a byte says which one, two
// say how many bytes follow, and these are a datagram. One follower is told after each step and one
// at the end; both then hold the same interfaces, and neither was told anything twice.

#include "fuzz/Fuzz.h"
#include "platform/netlink/AddressTable.h"
#include "platform/netlink/Dump.h"
#include "platform/netlink/InterfaceObserver.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <vector>

#include <linux/netlink.h>

namespace {

using Netlink::Datagram;
using Netlink::InterfaceState;

void requireSound(InterfaceState const& state) {
   Fuzz::require(!state.name.empty(), "an interface has a name");
   Fuzz::require(!state.vrf.empty(), "an interface is in a VRF");
   std::set<Pkt::IpAddrWithMask> const secondary(state.secondary.begin(), state.secondary.end());
   Fuzz::require(secondary.size() == state.secondary.size(), "a secondary address is told once");
   for (auto const& address : secondary) Fuzz::require(!address.isZero(), "an address is not zero");
   Fuzz::require(state.primary.isZero() || !secondary.contains(state.primary),
                 "the primary address is no secondary one");
   Fuzz::require(std::is_sorted(state.ipv6.begin(), state.ipv6.end()), "IPv6 addresses ascend");
}

/// Holds what it was told.
class Holder final : public Netlink::InterfaceObserver {
 public:
   void interfaceIs(InterfaceState const& state) override {
      requireSound(state);
      auto const [entry, isNew] = held_.try_emplace(state.name, state);
      Fuzz::require(isNew || entry->second != state, "what is told differs");
      entry->second = state;
   }
   void interfaceDel(Pkt::IntfId const& name) override {
      Fuzz::require(held_.erase(name) == 1, "only what was told is gone");
   }
   void synchronised() override {}

   std::map<Pkt::IntfId, InterfaceState> const& held() const { return held_; }

 private:
   std::map<Pkt::IntfId, InterfaceState> held_;
};

class Follower {
 public:
   void announce(Datagram datagram) { static_cast<void>(table_.apply(datagram)); }
   void begin() {
      dump_.begin();
      dump_.request();
   }
   /// An answer to the latest request, whatever the messages say.
   void list(std::vector<std::byte> datagram) {
      Netlink::MessageWalk walk(datagram);
      while (auto const* const message = walk.next()) {
         nlmsghdr header = *message;
         header.nlmsg_seq = dump_.sequence();
         header.nlmsg_pid = port;
         auto const at = reinterpret_cast<std::byte const*>(message) - datagram.data();
         std::memcpy(datagram.data() + at, &header, sizeof header);
      }
      if (dump_.take(datagram, port) == Netlink::Dump::Answer::ask) dump_.request();
   }
   void tell() { table_.tell(holder_); }
   std::map<Pkt::IntfId, InterfaceState> const& held() const { return holder_.held(); }

 private:
   static constexpr std::uint32_t port = 1;

   Netlink::AddressTable table_;
   Netlink::Dump dump_{table_};
   Holder holder_;
};

void step(Follower& follower, unsigned kind, std::vector<std::byte> const& datagram) {
   switch (kind % 4) {
      case 0:
      case 1: follower.announce(datagram); break;
      case 2: follower.list(datagram); break;
      default: follower.begin(); break;
   }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   Follower often;
   Follower once;
   while (size >= 3) {
      unsigned const kind = data[0];
      auto const length = std::min<std::size_t>(data[1] + 256U * data[2], size - 3);
      // Bytes of their own, so that a step beyond them is noticed.
      std::vector<std::byte> datagram(length);
      std::transform(data + 3, data + 3 + length, datagram.begin(),
                     [](std::uint8_t byte) { return std::byte{byte}; });
      data += 3 + length;
      size -= 3 + length;
      step(often, kind, datagram);
      often.tell();
      step(once, kind, datagram);
   }
   once.tell();
   Fuzz::require(often.held() == once.held(), "how often one is told makes no difference");
   return 0;
}
