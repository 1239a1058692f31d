#pragma once

#include "agent/serve/Service.h"
#include "platform/netlink/InterfaceObserver.h"
#include "platform/netlink/Interfaces.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <optional>

namespace Agent {

/// Shows a service the interfaces of the system, from the event loop.
///
/// Owner: the daemon. Service and loop outlive it.
/// I1: what the service is shown is what the system had when it was last listened to. While the
///   system cannot be listened to, what was shown stays, and the attempt is repeated.
class LiveInterfaces final : private Netlink::InterfaceObserver {
 public:
   LiveInterfaces(boost::asio::io_context& loop, Service& service);
   LiveInterfaces(LiveInterfaces const&) = delete;
   LiveInterfaces& operator=(LiveInterfaces const&) = delete;
   ~LiveInterfaces() override = default;

   /// Has the system's interfaces shown once, so that a machine that starts afterwards knows them.
   /// Gives up waiting after `patience`, with a line in the log: they will come later.
   void fetch(std::chrono::milliseconds patience);
   /// From now on changes are shown as they come.
   void follow();

   Netlink::Interfaces::Counts counts() const { return interfaces_.counts(); }

 private:
   void interfaceIs(Netlink::InterfaceState const& state) override;
   void interfaceDel(Pkt::IntfId const& name) override;
   void synchronised() override { synchronised_ = true; }

   void await();
   void read();
   void startAgain();

   Service& service_;
   Netlink::Interfaces interfaces_;
   boost::asio::posix::stream_descriptor descriptor_;
   boost::asio::steady_timer retry_;
   bool synchronised_ = false;
};

}  // namespace Agent
