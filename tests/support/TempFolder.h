#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Support {

/// A folder of a test's own, gone with this object.
class TempFolder {
 public:
   TempFolder() {
      std::string name = testing::TempDir() + "decap.XXXXXX";
      if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder " + name);
      path_ = std::filesystem::canonical(name);
   }
   TempFolder(TempFolder const&) = delete;
   TempFolder& operator=(TempFolder const&) = delete;
   ~TempFolder() {
      std::error_code ignored;
      std::filesystem::remove_all(path_, ignored);
   }

   std::string path() const { return path_.string(); }
   std::string path(std::string_view file) const { return (path_ / file).string(); }

 private:
   std::filesystem::path path_;
};

inline std::string readFile(std::string const& path) {
   std::ifstream file(path, std::ios::binary);
   EXPECT_TRUE(file.is_open()) << path;
   return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void writeFile(std::string const& path, std::string_view content) {
   std::ofstream file(path, std::ios::binary | std::ios::trunc);
   file << content;
   file.close();
   EXPECT_TRUE(file.good()) << path;
}

}  // namespace Support
