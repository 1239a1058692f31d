#pragma once

#include "pkt/IntfId.h"
#include "platform/netlink/AddressTable.h"
#include "platform/netlink/Descriptor.h"
#include "platform/netlink/Dump.h"
#include "platform/netlink/Socket.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Netlink {

class InterfaceObserver;

/// Follows the interfaces of this host, their VRFs and their addresses, out of an event loop:
///
///     Netlink::Interfaces interfaces(observer);
///     interfaces.start();
///     for (;;) {  // poll() until interfaces.fd() is readable
///        interfaces.read();
///     }
///
/// AddressTable.h says what is told of an interface, InterfaceObserver.h how.
///
/// There are two sockets. The kernel announces changes at one of them, and lists what there is at
/// the other. While a list is under way the announcements are left unread in the kernel, in order,
/// and are applied once the list is complete; the last word on each address is then the kernel's
/// last word, whatever moment the list was made at. The kernel makes lists without a lock that
/// would put them in order with announcements, so one socket for both might have an address listed
/// behind the news that it is gone, for ever. Nor does a list suffer from a flood of announcements:
/// what is asked for waits until there is room, what is announced is lost.
///
/// That is noticed, and followed by a new list, whose differences from what was told are told. For
/// each list both sockets are new. One at which announcements were lost loses more of them, without
/// another word, until somebody has emptied it; and one over which a list has failed may still have
/// answers in it. What was announced before the list was asked for is in the list.
///
/// One thing an announcement that is older than the list can spoil is the order of IPv4 addresses,
/// and with it which of them is primary: an address that went and came back before others came is
/// taken out and put behind them. When announcements move addresses in a new list it is made once
/// more, a few times at most.
///
/// The descriptor to wait for stands for both sockets.
///
/// Owner: the agent, with the observer, which outlives it.
/// I1: between `start()` and `synchronised()`, and from a loss to the `synchronised()` after it,
///   nothing is told: half a list would look like interfaces that are gone.
/// I2: a `read` that leaves something to do leaves the descriptor readable, too.
/// I3: an interface is told at most once a `read`, as it is at the end of it.
/// Re-entrancy: a `read` out of the observer does nothing; `start` and the end of this object may
///   not be called there.
/// Errors: NetlinkError. What is followed stays as it was told, and nothing happens any more until
///   `start` is called again; it tells the differences. An exception of the observer leaves `read`,
///   and the next one, which need not wait for the descriptor, goes on with what is left to tell.
/// Cost: a `read` handles at most `announcementsAtOnce` announcements or `listsAtOnce` datagrams of
///   a list, of about 32 kB each. Three descriptors, 64 kB, and the table.
class Interfaces {
 public:
   /// Room for announcements in the kernel: some thousands. Without privileges it may be less.
   static constexpr std::size_t defaultReceiveBytes = std::size_t{4} << 20;
   static constexpr unsigned announcementsAtOnce = 256;
   static constexpr unsigned listsAtOnce = 8;

   /// Subscribes to changes of the network namespace that the calling thread is in, and stays in.
   explicit Interfaces(InterfaceObserver& observer, std::size_t receiveBytes = defaultReceiveBytes);
   Interfaces(Interfaces const&) = delete;
   Interfaces& operator=(Interfaces const&) = delete;

   /// Asks for all that there is; `read` takes the answer. Also to begin anew at any time.
   void start();
   /// Readable when `read` has something to do.
   int fd() const noexcept { return epoll_.number(); }
   void read();

   /// Whether an interface of the name is there and administratively up, by what was read so far:
   /// while a list is under way, by its beginning.
   bool isUp(Pkt::IntfId const& name) const { return table_.isUp(name); }

   /// What has happened, for those who wonder why interfaces are late.
   struct Counts {
      std::uint64_t synchronisations = 0;  ///< complete lists
      std::uint64_t losses = 0;            ///< how often announcements were lost
      std::uint64_t interruptions = 0;     ///< parts of a list that changed meanwhile
      std::uint64_t failedLists = 0;       ///< lists that were begun anew after an error
      std::uint64_t unsettledLists = 0;    ///< lists that were begun anew for the sake of the order
      std::uint64_t malformed = 0;         ///< messages that could not be understood
      std::uint64_t foreign = 0;           ///< datagrams of other processes
   };
   Counts counts() const;

 private:
   enum class Phase : std::uint8_t {
      idle,        ///< not started, or failed
      listing,     ///< taking the list
      catchingUp,  ///< applying announcements since the list was asked for
      caughtUp,    ///< to tell all of it
      following,   ///< applying announcements and telling
   };

   void watch(Socket const& socket);
   void beginList();
   void listFailed(int why);
   /// Each handles a datagram at most, and says whether to go on.
   bool step();
   bool takeList();
   bool catchUp();
   void caughtUp();
   bool takeAnnouncement();
   void tell();

   InterfaceObserver& observer_;
   AddressTable table_;
   Dump dump_;
   Descriptor epoll_;
   std::size_t receiveBytes_;
   Socket announcements_;
   Socket lists_;
   std::vector<std::byte> buffer_;
   Phase phase_ = Phase::idle;
   bool reading_ = false;
   /// What this `read` may still handle.
   unsigned announcementsLeft_ = 0;
   unsigned listsLeft_ = 0;
   /// How many more announcements are awaited before what the list said is told.
   unsigned catchUpLeft_ = 0;
   /// In a row.
   unsigned failures_ = 0;
   unsigned unsettled_ = 0;
   /// The table's, when the list was complete.
   std::uint64_t movesBefore_ = 0;
   Counts counts_;
};

}  // namespace Netlink
