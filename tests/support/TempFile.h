#pragma once

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>

#include <stdlib.h>

namespace Support {

/// A file with a given name and content in a directory of its own, gone with this object.
class TempFile {
 public:
   TempFile(std::string const& name, std::string const& content) {
      std::string pattern = (std::filesystem::temp_directory_path() / "decap-XXXXXX").string();
      if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no directory for a file");
      folder_ = pattern;
      path_ = (folder_ / name).string();
      std::ofstream(path_, std::ios::binary) << content;
   }
   TempFile(TempFile const&) = delete;
   TempFile& operator=(TempFile const&) = delete;
   ~TempFile() {
      std::error_code ignored;
      std::filesystem::remove_all(folder_, ignored);
   }

   std::string const& path() const noexcept { return path_; }

 private:
   std::filesystem::path folder_;
   std::string path_;
};

}  // namespace Support
