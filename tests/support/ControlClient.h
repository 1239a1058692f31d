#pragma once

#include "control/Protocol.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Support {

/// A client at a control socket that waits for nothing, so that one thread may have many, and the
/// server as well.
class ControlClient {
 public:
   explicit ControlClient(std::string const& path) {
      sockaddr_un address{};
      address.sun_family = AF_UNIX;
      if (path.size() >= sizeof address.sun_path) throw std::runtime_error("a long path");
      std::memcpy(address.sun_path, path.data(), path.size());
      socket_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
      if (::connect(socket_, reinterpret_cast<sockaddr const*>(&address), sizeof address) != 0) {
         int const why = errno;
         ::close(socket_);
         throw std::runtime_error(path + ": " + std::strerror(why));
      }
   }
   ControlClient(ControlClient&& other) noexcept
       : socket_(std::exchange(other.socket_, -1)), in_(std::move(other.in_)),
         ended_(other.ended_) {}
   ControlClient& operator=(ControlClient&&) = delete;
   ~ControlClient() { hangUp(); }

   void hangUp() {
      if (socket_ >= 0) ::close(socket_);
      socket_ = -1;
   }

   /// As many of the bytes as there is room for; none once the server has hung up.
   std::size_t send(std::string_view bytes, std::vector<int> const& files = {}) {
      iovec part{const_cast<char*>(bytes.data()), bytes.size()};
      msghdr message{};
      message.msg_iov = &part;
      message.msg_iovlen = 1;
      alignas(cmsghdr) std::array<char, CMSG_SPACE(16 * sizeof(int))> control{};
      if (!files.empty()) {
         message.msg_control = control.data();
         message.msg_controllen = CMSG_SPACE(files.size() * sizeof(int));
         cmsghdr* const header = CMSG_FIRSTHDR(&message);
         header->cmsg_level = SOL_SOCKET;
         header->cmsg_type = SCM_RIGHTS;
         header->cmsg_len = CMSG_LEN(files.size() * sizeof(int));
         std::memcpy(CMSG_DATA(header), files.data(), files.size() * sizeof(int));
      }
      ssize_t const count = ::sendmsg(socket_, &message, MSG_NOSIGNAL);
      if (count < 0 && errno != EAGAIN) broken_ = true;
      return count < 0 ? 0 : static_cast<std::size_t>(count);
   }
   /// Whether the server did not take what was sent.
   bool broken() const noexcept { return broken_; }

   /// Takes in what there is.
   void look() {
      std::array<char, 64 * 1024> bytes;
      for (;;) {
         ssize_t const count = ::recv(socket_, bytes.data(), bytes.size(), 0);
         if (count > 0) in_.append(bytes.data(), static_cast<std::size_t>(count));
         if (count < 0 && errno == EINTR) continue;
         if (count == 0 || (count < 0 && errno != EAGAIN)) ended_ = true;
         if (count <= 0) return;
      }
   }
   /// The server has hung up.
   bool ended() {
      look();
      return ended_;
   }
   std::string const& received() const noexcept { return in_; }

   /// The next whole reply, if it is there.
   std::optional<Control::Reply> reply() {
      look();
      std::size_t const end = in_.find('\n');
      if (end == std::string::npos) return std::nullopt;
      auto const header = Control::headerFrom(std::string_view(in_).substr(0, end));
      if (in_.size() - end - 1 < header.length) return std::nullopt;
      Control::Reply reply{header.status, in_.substr(end + 1, header.length), header.next};
      in_.erase(0, end + 1 + header.length);
      return reply;
   }

 private:
   int socket_ = -1;
   std::string in_;
   bool ended_ = false;
   bool broken_ = false;
};

}  // namespace Support
