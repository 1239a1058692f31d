#pragma once

#include "platform/netlink/Message.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Netlink {

class AddressTable;

/// The conversation that fills a table with all that the kernel has: links first, so that an
/// address finds its own, then IPv4 addresses, then IPv6 ones. Each part is one request, and
/// answered by datagrams up to a last one.
///
/// A part that the kernel says was interrupted, because what it lists changed meanwhile, may lack
/// what did not change at all: it is forgotten and asked for again. An answer to something else, a
/// damaged one or an error ends the conversation.
///
/// Owner: `Interfaces`, or a test, with the table beside it.
/// I1: each request has a sequence number of its own; no message of another number is applied.
/// Re-entrancy: none is needed, no call runs foreign code.
/// Cost: that of the table for each message.
class Dump {
 public:
   enum class Answer : std::uint8_t {
      more,      ///< more datagrams follow
      ask,       ///< a request is due: for the next part, or once more for this one
      complete,  ///< the table has everything
      failed,    ///< it cannot go on; `failure()` says why
   };

   /// The table outlives this object.
   explicit Dump(AddressTable& table) : table_(table) {}
   Dump(Dump const&) = delete;
   Dump& operator=(Dump const&) = delete;

   /// Begins anew, with a table in which nothing is.
   void begin();
   /// The request that is due, until the next call.
   Datagram request();
   /// Takes a datagram that came to the asking socket's `port`.
   Answer take(Datagram datagram, std::uint32_t port);

   /// The system's number for the last failure.
   int failure() const noexcept { return failure_; }
   /// How many parts have been interrupted.
   std::uint64_t interruptions() const noexcept { return interruptions_; }
   std::uint32_t sequence() const noexcept { return sequence_; }

 private:
   enum class Part : std::uint8_t { links, ip4, ip6 };

   Answer partIsComplete();
   Answer fail(int why);
   void clearPart();

   AddressTable& table_;
   alignas(4) std::array<std::byte, 64> request_{};
   std::uint32_t sequence_ = 0;
   Part part_ = Part::links;
   bool interrupted_ = false;
   int failure_ = 0;
   std::uint64_t interruptions_ = 0;
};

}  // namespace Netlink
