#pragma once

#include "platform/netlink/Message.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

struct mnl_socket;

namespace Netlink {

/// A socket to the kernel's routing tables. It never blocks and is closed in a child that runs
/// another program.
///
/// Owner: `Interfaces`.
/// Re-entrancy: none is needed, no call runs foreign code.
/// Errors: NetlinkError, when the system gives no socket or none that works.
/// Cost: a descriptor, and what the kernel keeps for it until it is read.
class Socket {
 public:
   /// Opens it, with room for `receiveBytes` (0: as the system has it), and has it hear of what is
   /// sent to `groups`, a set of RTMGRP_ bits.
   explicit Socket(std::uint32_t groups, std::size_t receiveBytes = 0);

   int fd() const noexcept;
   /// The address by which the kernel answers it.
   std::uint32_t port() const noexcept;

   void send(Datagram request);

   enum class Kind : std::uint8_t {
      nothing,  ///< there is none at present
      sound,    ///< one of the kernel's, in `bytes`
      foreign,  ///< one of another process's, which is none of ours to read
      lost,     ///< the kernel had no room for some before those that are still there, or for the
                ///< end of this one
   };
   struct Received {
      Kind kind = Kind::nothing;
      Datagram bytes;
   };
   /// Takes a datagram, if there is one, into `buffer`.
   Received receive(std::span<std::byte> buffer);
   /// Whether `receive` would find anything.
   bool isReadable() const noexcept;

 private:
   struct Close {
      void operator()(mnl_socket* socket) const noexcept;
   };

   std::unique_ptr<mnl_socket, Close> socket_;
};

}  // namespace Netlink
