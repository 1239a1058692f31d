#include "agent/serve/ControlSession.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>

#include <array>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

namespace Agent {

using boost::system::error_code;
using Control::Reply;
using Control::Status;

namespace {

constexpr unsigned info = 6;
constexpr std::size_t block = std::size_t{16} * 1024;
/// Descriptors taken in with one message. A client sends one; the others are closed.
constexpr std::size_t mostDescriptors = 8;

}  // namespace

ControlSession::ControlSession(Socket socket, Host const& host)
    : socket_(std::move(socket)), timer_(socket_.get_executor()), host_(host) {}

ControlSession::~ControlSession() { closeFile(); }

void ControlSession::begin() {
   within(host_.limits.idle);
   read();
}

void ControlSession::dismiss(std::string const& why) { write({Status::refused, why + '\n'}, true); }

void ControlSession::read() {
   socket_.async_wait(Socket::wait_read, [self = shared_from_this()](error_code error) {
      if (error) {
         self->close();
      } else if (!self->closed_) {
         self->readable();
      }
   });
}

void ControlSession::readable() {
   std::array<char, block> bytes;
   alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int) * mostDescriptors)> control;
   iovec part{bytes.data(), bytes.size()};
   msghdr message{};
   message.msg_iov = &part;
   message.msg_iovlen = 1;
   message.msg_control = control.data();
   message.msg_controllen = control.size();
   ssize_t const count =
       recvmsg(socket_.native_handle(), &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
   if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
      read();
      return;
   }
   if (count <= 0) {
      close();
      return;
   }
   takeDescriptors(&message);
   // From its first byte on, whatever comes meanwhile.
   if (in_.empty()) within(host_.limits.request);
   in_.append(bytes.data(), static_cast<std::size_t>(count));
   examine();
}

void ControlSession::takeDescriptors(void* message) {
   auto* const header = static_cast<msghdr*>(message);
   for (cmsghdr* part = CMSG_FIRSTHDR(header); part != nullptr; part = CMSG_NXTHDR(header, part)) {
      if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) continue;
      std::size_t const count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
      for (std::size_t i = 0; i < count; ++i) {
         closeFile();
         std::memcpy(&file_, CMSG_DATA(part) + i * sizeof(int), sizeof(int));
      }
   }
}

/// Obeys the first line of what has come, if it is all there.
void ControlSession::examine() {
   std::size_t const end = in_.find('\n');
   if (end == std::string::npos || end >= Control::greatestRequest) {
      if (in_.size() >= Control::greatestRequest) {
         write({Status::refused, "a request is not so long\n"}, true);
      } else {
         read();
      }
      return;
   }
   try {
      request_ = Control::requestFrom(std::string_view(in_).substr(0, end));
   } catch (Control::ProtocolError const& error) {
      write({Status::refused, std::string(error.what()) + '\n'}, true);
      return;
   }
   in_.erase(0, end + 1);
   timer_.cancel();
   host_.obey(shared_from_this());
}

void ControlSession::reply(Reply const& reply) {
   if (!isForLater()) closeFile();
   if (!closed_) write(reply, false);
}

void ControlSession::write(Reply const& reply, bool last) {
   out_ = Control::encode(Control::ReplyHeader{reply.status, reply.text.size(), reply.next}) +
          reply.text;
   within(host_.limits.reply);
   boost::asio::async_write(
       socket_, boost::asio::buffer(out_),
       [self = shared_from_this(), last](error_code error, std::size_t) {
          self->out_ = {};
          if (error || last) {
             self->close();
          } else if (!self->closed_) {
             // The next request may have come together with this one.
             self->within(self->in_.empty() ? self->host_.limits.idle : self->host_.limits.request);
             self->examine();
          }
       });
}

void ControlSession::close() {
   if (closed_) return;
   closed_ = true;
   auto const self = shared_from_this();
   error_code ignored;
   timer_.cancel();
   socket_.close(ignored);
   host_.left(*this);
}

void ControlSession::closeFile() {
   if (file_ >= 0) ::close(file_);
   file_ = -1;
}

/// What is under way now ends within this time, or the client is dropped.
void ControlSession::within(std::chrono::milliseconds time) {
   timer_.expires_after(time);
   timer_.async_wait([weak = weak_from_this()](error_code error) {
      auto const self = weak.lock();
      if (error || !self || self->closed_) return;
      self->host_.log(info, "a client is dropped: it was silent for too long");
      self->close();
   });
}

}  // namespace Agent
