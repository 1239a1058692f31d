#pragma once

#include "mdl/Exception.h"

#include <cstddef>
#include <string>

namespace Journal {

/// A journal that cannot be read, and where.
class JournalError final : public Mdl::Exception {
 public:
   JournalError(std::size_t line, std::string const& reason)
       : Exception("line " + std::to_string(line) + ": " + reason), line_(line) {}

   /// From 1.
   std::size_t line() const noexcept { return line_; }

 private:
   std::size_t line_;
};

}  // namespace Journal
