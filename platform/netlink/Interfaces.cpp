#include "platform/netlink/Interfaces.h"

#include "platform/netlink/InterfaceObserver.h"
#include "platform/netlink/NetlinkError.h"

#include <cerrno>
#include <utility>

#include <linux/rtnetlink.h>
#include <sys/epoll.h>

namespace Netlink {

namespace {

/// More than the kernel puts into one datagram.
constexpr std::size_t datagramBytes = std::size_t{1} << 16;
/// As many announcements as may have come while a list was taken. Who waited for a moment without
/// any might wait for ever on a busy host.
constexpr unsigned mostToCatchUp = 1U << 14;
/// A kernel that has failed so often in a row will not do better.
constexpr unsigned mostFailures = 5;

/// On a host that does not come to rest one order is as good as the other.
constexpr unsigned mostUnsettled = 4;

constexpr std::uint32_t groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;

Descriptor makeEpoll() {
   Descriptor epoll(::epoll_create1(EPOLL_CLOEXEC));
   if (epoll.number() < 0) {
      throw NetlinkError(NetlinkError::Kind::system, "cannot make a descriptor to wait for", errno);
   }
   return epoll;
}

/// Sets a flag while this object lives.
class Flagged {
 public:
   explicit Flagged(bool& flag) : flag_(flag) { flag_ = true; }
   Flagged(Flagged const&) = delete;
   Flagged& operator=(Flagged const&) = delete;
   ~Flagged() { flag_ = false; }

 private:
   bool& flag_;
};

}  // namespace

Interfaces::Interfaces(InterfaceObserver& observer, std::size_t receiveBytes)
    : observer_(observer), dump_(table_), epoll_(makeEpoll()), receiveBytes_(receiveBytes),
      announcements_(groups, receiveBytes), lists_(0), buffer_(datagramBytes) {
   watch(announcements_);
   watch(lists_);
}

/// A socket that is closed leaves by itself.
void Interfaces::watch(Socket const& socket) {
   epoll_event event{};
   event.events = EPOLLIN;
   if (::epoll_ctl(epoll_.number(), EPOLL_CTL_ADD, socket.fd(), &event) != 0) {
      throw NetlinkError(NetlinkError::Kind::system, "cannot wait for a socket", errno);
   }
}

void Interfaces::start() {
   phase_ = Phase::idle;
   failures_ = 0;
   unsettled_ = 0;
   beginList();
}

/// First who hears of changes, then the list: none can happen between the two.
void Interfaces::beginList() {
   announcements_ = Socket(groups, receiveBytes_);
   watch(announcements_);
   lists_ = Socket(0);
   watch(lists_);
   dump_.begin();
   lists_.send(dump_.request());
   phase_ = Phase::listing;
}

void Interfaces::listFailed(int why) {
   ++counts_.failedLists;
   if (++failures_ == mostFailures) {
      throw NetlinkError(NetlinkError::Kind::dump, "cannot list links and addresses", why);
   }
   beginList();
}

void Interfaces::read() {
   if (reading_) return;
   Flagged const flagged(reading_);
   announcementsLeft_ = announcementsAtOnce;
   listsLeft_ = listsAtOnce;
   try {
      while (step()) {
      }
   } catch (NetlinkError const&) {
      phase_ = Phase::idle;
      throw;
   }
   tell();
}

bool Interfaces::step() {
   switch (phase_) {
      case Phase::listing: return takeList();
      case Phase::catchingUp: return catchUp();
      case Phase::following: return announcementsLeft_ != 0 && takeAnnouncement();
      case Phase::idle:
      case Phase::caughtUp: break;
   }
   return false;
}

bool Interfaces::takeList() {
   if (listsLeft_ == 0) return false;
   --listsLeft_;
   auto const received = lists_.receive(buffer_);
   switch (received.kind) {
      case Socket::Kind::nothing: return false;
      case Socket::Kind::foreign: ++counts_.foreign; return true;
      case Socket::Kind::lost: listFailed(ENOBUFS); return true;
      case Socket::Kind::sound: break;
   }
   switch (dump_.take(received.bytes, lists_.port())) {
      case Dump::Answer::more: break;
      case Dump::Answer::ask: lists_.send(dump_.request()); break;
      case Dump::Answer::failed: listFailed(dump_.failure()); break;
      case Dump::Answer::complete:
         catchUpLeft_ = mostToCatchUp;
         movesBefore_ = table_.moves();
         phase_ = Phase::catchingUp;
         break;
   }
   return true;
}

/// Ends when there are no more announcements, or have been so many. When this `read` has handled
/// its share it still looks whether more wait: if not, nothing would bring about the next one.
bool Interfaces::catchUp() {
   if (announcementsLeft_ == 0 && announcements_.isReadable()) return false;
   if (catchUpLeft_ != 0 && takeAnnouncement()) {
      --catchUpLeft_;
   } else {
      caughtUp();
   }
   return true;
}

void Interfaces::caughtUp() {
   phase_ = Phase::caughtUp;
   if (table_.moves() == movesBefore_ || ++unsettled_ == mostUnsettled) return;
   ++counts_.unsettledLists;
   beginList();
}

/// False when there was none.
bool Interfaces::takeAnnouncement() {
   if (announcementsLeft_ != 0) --announcementsLeft_;
   auto const received = announcements_.receive(buffer_);
   switch (received.kind) {
      case Socket::Kind::nothing: return false;
      case Socket::Kind::foreign: ++counts_.foreign; return true;
      case Socket::Kind::sound:
         if (table_.apply(received.bytes)) return true;
         break;
      case Socket::Kind::lost: break;
   }
   ++counts_.losses;
   beginList();
   return true;
}

void Interfaces::tell() {
   if (phase_ == Phase::following) table_.tell(observer_);
   if (phase_ != Phase::caughtUp) return;
   table_.tell(observer_);
   phase_ = Phase::following;
   failures_ = 0;
   unsettled_ = 0;
   ++counts_.synchronisations;
   observer_.synchronised();
}

Interfaces::Counts Interfaces::counts() const {
   Counts counts = counts_;
   counts.interruptions = dump_.interruptions();
   counts.malformed = table_.malformed();
   return counts;
}

}  // namespace Netlink
