#include "agent/serve/MetricsServer.h"

#include "agent/serve/Metrics.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http.hpp>

#include <charconv>
#include <chrono>
#include <optional>
#include <stdexcept>
#include <utility>

namespace Agent {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using boost::system::error_code;
using Tcp = asio::ip::tcp;
using Clock = std::chrono::steady_clock;

namespace {

constexpr std::size_t mostConnections = 16;
constexpr std::size_t greatestHeader = std::size_t{8} * 1024;
constexpr std::chrono::seconds patience{10};
constexpr std::chrono::seconds freshness{1};

}  // namespace

MetricsAddress metricsAddressFrom(std::string const& text) {
   std::size_t const colon = text.rfind(':');
   MetricsAddress address;
   std::string port = text;
   if (colon != std::string::npos) {
      address.host = text.substr(0, colon);
      port = text.substr(colon + 1);
      if (address.host.size() > 2 && address.host.front() == '[' && address.host.back() == ']') {
         address.host = address.host.substr(1, address.host.size() - 2);
      }
   }
   auto const [end, error] = std::from_chars(port.data(), port.data() + port.size(), address.port);
   error_code bad;
   asio::ip::make_address(address.host, bad);
   if (error != std::errc() || end != port.data() + port.size() || bad) {
      throw std::invalid_argument("'" + text + "' is no port, and no address with a port");
   }
   return address;
}

class MetricsServer::Impl : public std::enable_shared_from_this<Impl> {
 public:
   Impl(asio::io_context& loop, MetricsAddress const& address, Text text, LogSink log)
       : text_(std::move(text)), log_(std::move(log)), acceptor_(loop), pause_(loop) {
      Tcp::endpoint const endpoint(asio::ip::make_address(address.host), address.port);
      acceptor_.open(endpoint.protocol());
      acceptor_.set_option(Tcp::acceptor::reuse_address(true));
      acceptor_.bind(endpoint);
      acceptor_.listen();
   }

   void begin() { accept(); }
   /// Nothing new, and no more text. Handlers that are due are still called: each keeps this object
   /// until it is done.
   void end() {
      ending_ = true;
      error_code ignored;
      acceptor_.close(ignored);
      pause_.cancel();
   }

   std::uint16_t port() const { return acceptor_.local_endpoint().port(); }

 private:
   /// One connection and its one request.
   struct Exchange : std::enable_shared_from_this<Exchange> {
      Exchange(std::shared_ptr<Impl> server, Tcp::socket socket)
          : owner(std::move(server)), stream(std::move(socket)) {
         ++owner->connections_;
      }
      ~Exchange() {
         --owner->connections_;
         owner->accept();
      }

      void begin() {
         parser.header_limit(greatestHeader);
         parser.body_limit(0);
         stream.expires_after(patience);
         http::async_read(stream, buffer, parser,
                          [self = shared_from_this()](error_code error, std::size_t) {
                             if (!error) self->answer();
                          });
      }
      void answer() {
         // What the text tells of may be gone as well.
         if (owner->ending_) return;
         auto const& request = parser.get();
         response.version(request.version());
         response.keep_alive(false);
         bool const read =
             request.method() == http::verb::get || request.method() == http::verb::head;
         if (!read) {
            response.result(http::status::method_not_allowed);
            response.set(http::field::allow, "GET, HEAD");
         } else if (request.target() == "/metrics") {
            response.set(http::field::content_type, metricsType);
            response.body() = owner->fresh();
         } else {
            response.result(http::status::not_found);
            response.set(http::field::content_type, "text/plain");
            response.body() = "Metrics are at /metrics\n";
         }
         response.prepare_payload();
         if (request.method() == http::verb::head) response.body().clear();
         stream.expires_after(patience);
         http::async_write(stream, response, [self = shared_from_this()](error_code, std::size_t) {
            error_code ignored;
            self->stream.socket().shutdown(Tcp::socket::shutdown_send, ignored);
         });
      }

      std::shared_ptr<Impl> const owner;
      beast::tcp_stream stream;
      beast::flat_buffer buffer{greatestHeader};
      http::request_parser<http::empty_body> parser;
      http::response<http::string_body> response;
   };

   void accept() {
      if (ending_ || accepting_ || connections_ >= mostConnections) return;
      accepting_ = true;
      acceptor_.async_accept(
          [this, self = shared_from_this()](error_code error, Tcp::socket socket) {
             if (ending_ || error == asio::error::operation_aborted) return;
             accepting_ = false;
             if (error) {
                log_(4, "metrics cannot be given out: " + error.message());
                pause_.expires_after(std::chrono::seconds(1));
                pause_.async_wait([this, self](error_code stopped) {
                   if (!stopped) accept();
                });
                return;
             }
             std::make_shared<Exchange>(self, std::move(socket))->begin();
             accept();
          });
   }

   std::string const& fresh() {
      if (!made_ || Clock::now() - *made_ > freshness) {
         last_ = text_();
         made_ = Clock::now();
      }
      return last_;
   }

   Text const text_;
   LogSink const log_;
   Tcp::acceptor acceptor_;
   asio::steady_timer pause_;
   std::size_t connections_ = 0;
   bool accepting_ = false;
   bool ending_ = false;
   std::string last_;
   std::optional<Clock::time_point> made_;
};

MetricsServer::MetricsServer(asio::io_context& loop, MetricsAddress const& address, Text text,
                             LogSink log)
    : impl_(std::make_shared<Impl>(loop, address, std::move(text), std::move(log))) {
   impl_->begin();
}

MetricsServer::~MetricsServer() { impl_->end(); }

std::uint16_t MetricsServer::port() const { return impl_->port(); }

}  // namespace Agent
