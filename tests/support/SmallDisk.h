#pragma once

#include <csignal>
#include <cstdint>

#include <sys/resource.h>

namespace Support {

/// A disk on which no file grows beyond so many bytes, while this object lives.
class SmallDisk {
 public:
   explicit SmallDisk(std::uint64_t bytes) : action_(std::signal(SIGXFSZ, SIG_IGN)) {
      ::getrlimit(RLIMIT_FSIZE, &before_);
      rlimit limit = before_;
      limit.rlim_cur = bytes;
      ::setrlimit(RLIMIT_FSIZE, &limit);
   }
   SmallDisk(SmallDisk const&) = delete;
   SmallDisk& operator=(SmallDisk const&) = delete;
   ~SmallDisk() {
      ::setrlimit(RLIMIT_FSIZE, &before_);
      std::signal(SIGXFSZ, action_);
   }

 private:
   void (*action_)(int);
   rlimit before_{};
};

}  // namespace Support
