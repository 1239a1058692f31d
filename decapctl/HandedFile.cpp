#include "decapctl/HandedFile.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace Ctl {

namespace {

[[noreturn]] void fail(std::string const& name) {
   throw std::runtime_error(name + ": " + std::strerror(errno));
}

void copyStandardInput(int to) {
   std::array<char, std::size_t{64} * 1024> bytes;
   for (;;) {
      ssize_t const count = read(STDIN_FILENO, bytes.data(), bytes.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) fail("standard input");
      if (count == 0) return;
      for (ssize_t done = 0; done < count;) {
         ssize_t const wrote =
             write(to, bytes.data() + done, static_cast<std::size_t>(count - done));
         if (wrote < 0) fail("standard input");
         done += wrote;
      }
   }
}

}  // namespace

HandedFile::HandedFile(std::string const& name) {
   if (name != "-") {
      descriptor_ = open(name.c_str(), O_RDONLY | O_CLOEXEC);
      if (descriptor_ < 0) fail(name);
      return;
   }
   descriptor_ = memfd_create("standard input", MFD_CLOEXEC);
   if (descriptor_ < 0) fail("standard input");
   copyStandardInput(descriptor_);
}

HandedFile HandedFile::written(std::string const& name) {
   constexpr mode_t everybody = 0666;  // less what the caller's mask takes away
   HandedFile file;
   // The agent looks what is there before it writes.
   file.descriptor_ = open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, everybody);
   if (file.descriptor_ < 0) fail(name);
   return file;
}

HandedFile::~HandedFile() {
   if (descriptor_ >= 0) close(descriptor_);
}

}  // namespace Ctl
