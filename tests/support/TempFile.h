#pragma once

#include "support/TempFolder.h"

#include <string>

namespace Support {

/// A file with a given name and content in a folder of its own, gone with this object.
class TempFile {
 public:
   TempFile(std::string const& name, std::string const& content) : path_(folder_.path(name)) {
      writeFile(path_, content);
   }

   std::string const& path() const noexcept { return path_; }

 private:
   TempFolder const folder_;
   std::string const path_;
};

}  // namespace Support
