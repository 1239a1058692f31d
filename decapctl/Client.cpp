#include "decapctl/Client.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Ctl {

namespace {

/// A header is short; whoever sends more before a line's end is no agent.
constexpr std::size_t greatestHeader = 4096;

}  // namespace

Client::Client(std::string const& socket) : path_(socket) {
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if (socket.size() >= sizeof address.sun_path) {
      throw std::runtime_error(socket + ": is too long for a socket's name");
   }
   std::memcpy(address.sun_path, socket.data(), socket.size());
   socket_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
   if (socket_ < 0 ||
       connect(socket_, reinterpret_cast<sockaddr const*>(&address), sizeof address) != 0) {
      std::string const why = std::strerror(errno);
      if (socket_ >= 0) close(socket_);
      throw std::runtime_error("no agent at " + socket + ": " + why);
   }
}

Client::~Client() { close(socket_); }

Control::ReplyHeader Client::ask(Control::Request const& request, int file, Sink const& sink) {
   send(Control::encode(request), file);
   Control::ReplyHeader const header = Control::headerFrom(receiveLine());
   std::size_t left = header.length;
   while (left > 0) {
      if (in_.empty()) receive();
      std::size_t const now = std::min(left, in_.size());
      sink(std::string_view(in_).substr(0, now));
      in_.erase(0, now);
      left -= now;
   }
   return header;
}

void Client::send(std::string const& line, int file) const {
   std::size_t sent = 0;
   while (sent < line.size()) {
      iovec part{const_cast<char*>(line.data()) + sent, line.size() - sent};
      msghdr message{};
      message.msg_iov = &part;
      message.msg_iovlen = 1;
      alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
      if (file >= 0 && sent == 0) {
         message.msg_control = control.data();
         message.msg_controllen = control.size();
         cmsghdr* const header = CMSG_FIRSTHDR(&message);
         header->cmsg_level = SOL_SOCKET;
         header->cmsg_type = SCM_RIGHTS;
         header->cmsg_len = CMSG_LEN(sizeof(int));
         std::memcpy(CMSG_DATA(header), &file, sizeof file);
      }
      ssize_t const count = sendmsg(socket_, &message, MSG_NOSIGNAL);
      if (count < 0 && errno == EINTR) continue;
      // What the agent had to say before it hung up may still be there to be read.
      if (count < 0 && (errno == EPIPE || errno == ECONNRESET)) return;
      if (count < 0) throw std::runtime_error(path_ + ": " + std::strerror(errno));
      sent += static_cast<std::size_t>(count);
   }
}

void Client::receive() {
   std::array<char, std::size_t{64} * 1024> bytes;
   for (;;) {
      ssize_t const count = recv(socket_, bytes.data(), bytes.size(), 0);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) throw std::runtime_error(path_ + ": " + std::strerror(errno));
      if (count == 0) throw std::runtime_error(path_ + ": the agent has hung up");
      in_.append(bytes.data(), static_cast<std::size_t>(count));
      return;
   }
}

std::string Client::receiveLine() {
   std::size_t end = in_.find('\n');
   while (end == std::string::npos) {
      if (in_.size() > greatestHeader) throw std::runtime_error(path_ + ": that is no agent");
      receive();
      end = in_.find('\n');
   }
   std::string line = in_.substr(0, end);
   in_.erase(0, end + 1);
   return line;
}

}  // namespace Ctl
