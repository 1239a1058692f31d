#pragma once

#include "mdl/Exception.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Sim {

/// A state file cannot be used, or a change of the table cannot be recorded in it. The text is one
/// line: file, line and byte offset where they mean something, reason.
class StateFileError final : public Mdl::Exception {
 public:
   enum class Kind : std::uint8_t {
      system,   ///< the operating system refused: no such folder, not permitted, disk full
      inUse,    ///< another process, or another table of this one, has it open
      foreign,  ///< not a state file at all; its content is somebody else's
      stale,    ///< a state file of another version
      damaged,  ///< a state file that was cut short or changed
   };

   /// `line` counts from 1, `offset` is where it begins; a line of 0 means the file as a whole.
   StateFileError(Kind kind, std::string_view path, std::uint64_t line, std::uint64_t offset,
                  std::string_view reason)
       : Exception(text(path, line, offset, reason)), kind_(kind), line_(line), offset_(offset) {}
   StateFileError(Kind kind, std::string_view path, std::string_view reason)
       : StateFileError(kind, path, 0, 0, reason) {}

   Kind kind() const noexcept { return kind_; }
   std::uint64_t line() const noexcept { return line_; }
   std::uint64_t offset() const noexcept { return offset_; }

 private:
   static std::string text(std::string_view path, std::uint64_t line, std::uint64_t offset,
                           std::string_view reason) {
      std::string all(path);
      if (line != 0) all += ":" + std::to_string(line) + ": byte " + std::to_string(offset);
      return all.append(": ").append(reason);
   }

   Kind kind_;
   std::uint64_t line_;
   std::uint64_t offset_;
};

}  // namespace Sim
