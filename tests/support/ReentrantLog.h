#pragma once

#include "FwdL3Unicast/DecapKey.h"
#include "platform/sim/KeyText.h"

#include <ostream>
#include <sstream>
#include <string>
#include <type_traits>

namespace Support {

/// What is done, a line each, indented by how deep in other changes it is done. Composes nothing
/// while nobody wants it, as all but one of many sequences end well.
///
/// Owner: the world that is logged.
class ReentrantLog {
 public:
   /// `text` outlives this; null for no log.
   explicit ReentrantLog(std::string* text) noexcept : text_(text) {}

   template <class... Part>
   void say(unsigned depth, Part const&... parts) {
      if (text_ == nullptr) return;
      std::ostringstream line;
      line << std::string(2 + 2 * static_cast<std::size_t>(depth), ' ');
      (put(line, parts), ...);
      *text_ += line.str() + "\n";
   }

 private:
   template <class Part>
   static void put(std::ostream& line, Part const& part) {
      if constexpr (std::is_same_v<Part, Fwd::DecapKey>) {
         line << Sim::keyText(part);
      } else if constexpr (requires { part.stringValue(); }) {
         line << part.stringValue();
      } else {
         line << part;
      }
   }

   std::string* const text_;
};

}  // namespace Support
