#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Control {

// How client and agent speak over the control socket: the client sends a request, a line of JSON;
// the agent answers with a header, a line of JSON, and so many bytes of text as the header says.
// A connection may carry any number of requests, one after the other.

/// The longest request line, its end included. A longer one ends the connection.
inline constexpr std::size_t greatestRequest = std::size_t{64} * 1024;
/// The most rows of a table that one request gives; a client asks again for those behind them.
inline constexpr std::size_t greatestRows = 10'000;
inline constexpr char const* defaultSocket = "/run/decap-agent/control.sock";

/// How a command ended; also what the client exits with.
enum class Status : int {
   ok = 0,
   found = 1,    ///< done, and there is something to see: a difference, a finding
   refused = 2,  ///< the command or its input cannot be used; nothing has changed
   failed = 3,   ///< anything else
};

/// What a client asks. Rows beyond `rows` are left out, those before `from` as well.
struct Request {
   std::vector<std::string> words;
   bool json = false;
   std::size_t rows = 40;
   std::size_t from = 0;
   /// The name of the file that comes along as a descriptor; empty for none.
   std::string file;

   friend bool operator==(Request const&, Request const&) = default;
};

struct ReplyHeader {
   Status status = Status::ok;
   std::size_t length = 0;
   /// The `from` of the next page; 0 when this was the last one.
   std::size_t next = 0;

   friend bool operator==(ReplyHeader const&, ReplyHeader const&) = default;
};

struct Reply {
   Status status = Status::ok;
   std::string text;
   std::size_t next = 0;
};

/// A line that is not of this protocol.
class ProtocolError : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
};

/// One line, with its end.
std::string encode(Request const& request);
std::string encode(ReplyHeader const& header);
/// The line may or may not have its end. Both throw ProtocolError.
Request requestFrom(std::string_view line);
ReplyHeader headerFrom(std::string_view line);

}  // namespace Control
