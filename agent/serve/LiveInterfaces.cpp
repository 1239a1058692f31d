#include "agent/serve/LiveInterfaces.h"

#include "platform/netlink/NetlinkError.h"

#include <poll.h>
#include <unistd.h>

namespace Agent {

using boost::system::error_code;
using Clock = std::chrono::steady_clock;

namespace {

constexpr unsigned warning = 4;
constexpr std::chrono::seconds pause{1};

/// Addresses that no packet may carry outside of a host (RFC 1122, 3.2.1.3; RFC 4291, 2.5.3): no
/// tunnel ends there.
bool isOfHostAlone(Pkt::IpAddrWithMask const& addr) noexcept {
   return addr.addr().value() >> 24 == 127;
}
bool isOfHostAlone(Pkt::Ip6AddrWithMask const& addr) noexcept {
   return addr.addr().high() == 0 && addr.addr().low() == 1;
}

template <class Addr>
std::vector<Addr> seenOutside(std::vector<Addr> addrs) {
   std::erase_if(addrs, [](Addr const& addr) { return isOfHostAlone(addr); });
   return addrs;
}

InterfaceConfiguration configurationOf(Netlink::InterfaceState const& state) {
   InterfaceConfiguration configuration;
   configuration.name = state.name;
   configuration.vrf = state.vrf;
   configuration.secondary = seenOutside(state.secondary);
   configuration.ipv6 = seenOutside(state.ipv6);
   if (!isOfHostAlone(state.primary)) {
      configuration.primary = state.primary;
   } else if (!configuration.secondary.empty()) {
      // The first that others can reach is the one that counts.
      configuration.primary = configuration.secondary.front();
      configuration.secondary.erase(configuration.secondary.begin());
   }
   return configuration;
}

}  // namespace

// The descriptor is the follower's; what the loop closes is a copy.
LiveInterfaces::LiveInterfaces(boost::asio::io_context& loop, Service& service)
    : service_(service), interfaces_(*this), descriptor_(loop, ::dup(interfaces_.fd())),
      retry_(loop) {}

void LiveInterfaces::fetch(std::chrono::milliseconds patience) {
   interfaces_.start();
   auto const end = Clock::now() + patience;
   while (!synchronised_) {
      auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
      if (left.count() <= 0) {
         service_.log(warning, "the system's interfaces are not known yet");
         return;
      }
      pollfd wait{interfaces_.fd(), POLLIN, 0};
      if (poll(&wait, 1, static_cast<int>(left.count())) > 0) interfaces_.read();
   }
}

void LiveInterfaces::follow() { await(); }

void LiveInterfaces::interfaceIs(Netlink::InterfaceState const& state) {
   service_.liveIs(configurationOf(state));
}

void LiveInterfaces::interfaceDel(Pkt::IntfId const& name) { service_.liveDel(name); }

void LiveInterfaces::await() {
   descriptor_.async_wait(boost::asio::posix::stream_descriptor::wait_read,
                          [this](error_code stopped) {
                             if (!stopped) read();
                          });
}

void LiveInterfaces::read() {
   try {
      interfaces_.read();
      await();
   } catch (Netlink::NetlinkError const& error) {
      service_.log(warning, std::string(error.what()) + "; trying again");
      startAgain();
   }
}

void LiveInterfaces::startAgain() {
   retry_.expires_after(pause);
   retry_.async_wait([this](error_code stopped) {
      if (stopped) return;
      try {
         interfaces_.start();
         await();
      } catch (Netlink::NetlinkError const&) {
         startAgain();
      }
   });
}

}  // namespace Agent
