#include "platform/netlink/Socket.h"

#include "platform/netlink/NetlinkError.h"

#include <algorithm>
#include <cerrno>
#include <limits>

#include <libmnl/libmnl.h>
#include <linux/netlink.h>
#include <poll.h>
#include <sys/socket.h>

namespace Netlink {

namespace {

[[noreturn]] void refused(char const* what) {
   throw NetlinkError(NetlinkError::Kind::system, what, errno);
}

/// Only a privileged process may have more than the system's limit. For others the system takes
/// the most that it gives.
void giveRoom(int socket, std::size_t bytes) {
   constexpr std::size_t most = std::numeric_limits<int>::max() / 2;
   int const wanted = static_cast<int>(std::min(bytes, most));
   if (::setsockopt(socket, SOL_SOCKET, SO_RCVBUFFORCE, &wanted, sizeof wanted) == 0) return;
   if (::setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &wanted, sizeof wanted) == 0) return;
   refused("cannot set the receive buffer");
}

}  // namespace

void Socket::Close::operator()(mnl_socket* socket) const noexcept { mnl_socket_close(socket); }

Socket::Socket(std::uint32_t groups, std::size_t receiveBytes)
    : socket_(mnl_socket_open2(NETLINK_ROUTE, SOCK_NONBLOCK | SOCK_CLOEXEC)) {
   if (!socket_) refused("cannot open a socket");
   // Before anything can arrive.
   if (receiveBytes != 0) giveRoom(fd(), receiveBytes);
   if (mnl_socket_bind(socket_.get(), groups, MNL_SOCKET_AUTOPID) < 0) {
      refused("cannot subscribe to links and addresses");
   }
}

int Socket::fd() const noexcept { return mnl_socket_get_fd(socket_.get()); }

std::uint32_t Socket::port() const noexcept { return mnl_socket_get_portid(socket_.get()); }

void Socket::send(Datagram request) {
   while (mnl_socket_sendto(socket_.get(), request.data(), request.size()) < 0) {
      if (errno != EINTR) refused("cannot send a request");
   }
}

Socket::Received Socket::receive(std::span<std::byte> buffer) {
   sockaddr_nl sender{};
   iovec part{buffer.data(), buffer.size()};
   msghdr message{};
   message.msg_name = &sender;
   message.msg_namelen = sizeof sender;
   message.msg_iov = &part;
   message.msg_iovlen = 1;
   ssize_t got = -1;
   do {
      got = ::recvmsg(fd(), &message, MSG_DONTWAIT);
   } while (got < 0 && errno == EINTR);
   if (got < 0) {
      if (errno == EAGAIN || errno == EWOULDBLOCK) return {};
      if (errno == ENOBUFS || errno == ENOMEM) return {Kind::lost, {}};
      refused("cannot read");
   }
   if (message.msg_namelen != sizeof sender || sender.nl_pid != 0) return {Kind::foreign, {}};
   if ((message.msg_flags & MSG_TRUNC) != 0) return {Kind::lost, {}};
   return {Kind::sound, Datagram(buffer).first(static_cast<std::size_t>(got))};
}

bool Socket::isReadable() const noexcept {
   pollfd look{fd(), POLLIN, 0};
   return ::poll(&look, 1, 0) != 0;
}

}  // namespace Netlink
