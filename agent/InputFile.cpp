#include "agent/InputFile.h"

#include "agent/InputError.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace Agent {

namespace {

struct Close {
   void operator()(std::FILE* file) const noexcept {
      if (file != stdin) std::fclose(file);
   }
};

}  // namespace

std::string readInputFile(std::string const& file, std::size_t greatest) {
   std::unique_ptr<std::FILE, Close> const in(file == "-" ? stdin : std::fopen(file.c_str(), "rb"));
   if (!in) throw InputError(file, std::string("cannot be opened: ") + std::strerror(errno));
   std::string content;
   std::size_t constexpr block = 1 << 16;
   for (;;) {
      std::size_t const had = content.size();
      if (had > greatest) {
         throw InputError(file, "is longer than " + std::to_string(greatest) + " bytes");
      }
      content.resize(had + block);
      std::size_t const got = std::fread(content.data() + had, 1, block, in.get());
      content.resize(had + got);
      if (got < block) break;
   }
   if (std::ferror(in.get()) != 0) {
      throw InputError(file, std::string("cannot be read: ") + std::strerror(errno));
   }
   return content;
}

}  // namespace Agent
