#pragma once

#include "platform/netlink/Interfaces.h"

#include "platform/netlink/Listener.h"
#include "platform/netlink/Messages.h"
#include "platform/netlink/NetlinkError.h"
#include "platform/netlink/OtherNetwork.h"
#include "support/Share.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>

namespace Netlink {

/// Waits until `fd` is readable, or the time has come.
inline bool waitFor(int fd, std::chrono::steady_clock::time_point deadline) {
   auto const left =
       std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
   if (left.count() <= 0) return false;
   pollfd look{fd, POLLIN, 0};
   return ::poll(&look, 1, static_cast<int>(left.count())) > 0;
}

/// An event loop around a follower, in a network of its own.
class Host {
 public:
   explicit Host(std::size_t receiveBytes = Interfaces::defaultReceiveBytes)
       : interfaces(listener, receiveBytes) {}

   /// Reads until it holds. False when it does not within some seconds.
   template <class Holds>
   bool until(Holds holds) {
      auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
      while (!holds()) {
         if (!waitFor(interfaces.fd(), deadline)) return false;
         interfaces.read();
         ++reads;
      }
      return true;
   }
   /// Reads whatever there is to read now.
   void catchUp() {
      while (waitFor(interfaces.fd(),
                     std::chrono::steady_clock::now() + std::chrono::milliseconds(1))) {
         interfaces.read();
      }
   }
   bool synchronise() {
      auto const before = listener.synchronisations();
      interfaces.start();
      return until([&] { return listener.synchronisations() > before; });
   }
   /// Whether the interface, once all is read, is told like this; empty for not there.
   bool becomes(std::string const& name, std::string const& text) {
      return until([&] { return is(name) == text; });
   }
   std::string is(std::string const& name) const {
      auto const* const state = listener.find(name);
      return state == nullptr ? std::string() : textOf(*state);
   }

   Listener listener;
   Interfaces interfaces;
   std::size_t reads = 0;
};

/// Runs `ip` once for many commands.
inline bool ipBatch(std::string const& commands) {
   Support::TempFolder const folder;
   Support::writeFile(folder.path("batch"), commands);
   return OtherNetwork::ip("-batch " + folder.path("batch"));
}

/// An interface that has no addresses but those it is given, which are usable at once.
inline void makeInterface(std::string const& name) {
   OtherNetwork::set("ipv6/conf/all/disable_ipv6", "0");
   OtherNetwork::set("ipv6/conf/default/disable_ipv6", "0");
   OtherNetwork::set("ipv6/conf/default/accept_dad", "0");
   OtherNetwork::set("ipv6/conf/default/addr_gen_mode", "1");
   if (!OtherNetwork::addInterface(name)) OtherNetwork::lacks("no kind of interface to test with");
}

/// "10.1.0.7/32", and so on.
inline std::string numbered(std::size_t n) {
   return "10.1." + std::to_string(n / 250) + "." + std::to_string(n % 250 + 1) + "/32";
}

}  // namespace Netlink
