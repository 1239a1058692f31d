#pragma once

#include "mdl/Exception.h"

#include <cstdint>
#include <string>
#include <system_error>

namespace Netlink {

/// The host's interfaces cannot be followed. The text is one line: what was tried, and the system's
/// word on why not.
class NetlinkError final : public Mdl::Exception {
 public:
   enum class Kind : std::uint8_t {
      system,  ///< the system gives no socket, or none that can be read
      dump,    ///< the kernel does not list its links or addresses, asked repeatedly
   };

   /// `code` is the system's error number.
   NetlinkError(Kind kind, std::string const& what, int code)
       : Exception("netlink: " + what + ": " + std::generic_category().message(code)), kind_(kind),
         code_(code) {}

   Kind kind() const noexcept { return kind_; }
   int code() const noexcept { return code_; }

 private:
   Kind kind_;
   int code_;
};

}  // namespace Netlink
