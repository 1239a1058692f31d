#pragma once

#include <string>

namespace Ctl {

/// A file that is opened with the caller's rights, to be handed to the agent.
///
/// Owner: whoever sends it.
class InputFile {
 public:
   /// Nothing.
   InputFile() noexcept = default;
   /// Opens the file; "-" is all of standard input, kept in memory. Throws std::runtime_error.
   explicit InputFile(std::string const& name);
   InputFile(InputFile&& other) noexcept : descriptor_(other.descriptor_) {
      other.descriptor_ = -1;
   }
   InputFile& operator=(InputFile&&) = delete;
   ~InputFile();

   /// -1 for nothing.
   int descriptor() const noexcept { return descriptor_; }

 private:
   int descriptor_ = -1;
};

}  // namespace Ctl
