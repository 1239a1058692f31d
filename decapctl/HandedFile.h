#pragma once

#include <string>

namespace Ctl {

/// A file that is opened with the caller's rights, to be handed to the agent.
///
/// Owner: whoever sends it.
class HandedFile {
 public:
   /// Nothing.
   HandedFile() noexcept = default;
   /// Opens the file; "-" is all of standard input, kept in memory. Throws std::runtime_error.
   explicit HandedFile(std::string const& name);
   /// Opens a file to be written, and makes it where there is none. Throws std::runtime_error.
   static HandedFile written(std::string const& name);
   HandedFile(HandedFile&& other) noexcept : descriptor_(other.descriptor_) {
      other.descriptor_ = -1;
   }
   HandedFile& operator=(HandedFile&&) = delete;
   ~HandedFile();

   /// -1 for nothing.
   int descriptor() const noexcept { return descriptor_; }

 private:
   int descriptor_ = -1;
};

}  // namespace Ctl
