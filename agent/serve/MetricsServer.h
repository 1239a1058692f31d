#pragma once

#include "agent/serve/Service.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace boost::asio {
class io_context;
}

namespace Agent {

/// Where metrics are given out.
struct MetricsAddress {
   std::string host = "127.0.0.1";
   std::uint16_t port = 0;
};

/// Reads "9090", "127.0.0.1:9090" or "[::1]:9090": a port alone is one of this host only. Throws
/// std::invalid_argument.
MetricsAddress metricsAddressFrom(std::string const& text);

/// Gives out metrics over HTTP/1.1 (RFC 9112): "GET /metrics", one request a connection.
///
/// Few connections are taken at a time, requests are short and soon there, or they are dropped: the
/// machine does not notice who asks. The text is made at most once a second.
///
/// Owner: the daemon. The loop outlives it.
class MetricsServer {
 public:
   using Text = std::function<std::string()>;

   /// Listens. Throws boost::system::system_error.
   MetricsServer(boost::asio::io_context& loop, MetricsAddress const& address, Text text,
                 LogSink log);
   MetricsServer(MetricsServer const&) = delete;
   MetricsServer& operator=(MetricsServer const&) = delete;
   ~MetricsServer();

   /// The port that it listens at, where the system has chosen one.
   std::uint16_t port() const;

 private:
   class Impl;
   std::shared_ptr<Impl> const impl_;
};

}  // namespace Agent
