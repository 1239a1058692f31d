#pragma once

#include "agent/serve/ControlServer.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>

#include <functional>
#include <memory>
#include <string>

namespace Agent {

/// One client at the control socket.
///
/// Owner: whatever it waits for, and the server's list. It ends when its socket is closed.
/// I1: it either reads a request, waits for its reply, or writes the reply.
/// I2: at most one descriptor that the client sent is kept, until the request that names
///   it is answered.
class ControlSession : public std::enable_shared_from_this<ControlSession> {
 public:
   using Socket = boost::asio::local::stream_protocol::socket;

   /// What the server does for its sessions.
   struct Host {
      /// A request is complete; `reply` is called for it some time later.
      std::function<void(std::shared_ptr<ControlSession> const&)> obey;
      std::function<void(ControlSession&)> left;
      LogSink log;
      ControlLimits limits;
   };

   ControlSession(Socket socket, Host const& host);
   ~ControlSession();

   int descriptor() { return socket_.native_handle(); }
   void begin();
   /// Tells the client something before anything was asked, and ends.
   void dismiss(std::string const& why);
   /// The request to obey.
   Control::Request const& request() const noexcept { return request_; }
   /// What came along with it, -1 for nothing.
   int file() const noexcept { return isForLater() ? -1 : file_; }
   void reply(Control::Reply const& reply);
   void close();

 private:
   void read();
   void readable();
   void takeDescriptors(void* message);
   void examine();
   void write(Control::Reply const& reply, bool last);
   /// A descriptor may arrive with the bytes before the request that names it.
   bool isForLater() const noexcept { return request_.file.empty() && !in_.empty(); }
   void closeFile();
   void within(std::chrono::milliseconds time);

   Socket socket_;
   boost::asio::steady_timer timer_;
   Host const& host_;
   std::string in_;
   std::string out_;
   Control::Request request_;
   int file_ = -1;
   bool closed_ = false;
};

}  // namespace Agent
