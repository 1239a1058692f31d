#include "agent/Progress.h"

#include <iostream>
#include <limits>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace Agent {

Progress::Progress(std::ostream* out, std::string what, std::uint64_t total)
    : out_(out), what_(std::move(what)), total_(total),
      next_(out == nullptr ? std::numeric_limits<std::uint64_t>::max() : firstShown) {}

Progress::~Progress() {
   if (width_ != 0) *out_ << '\r' << std::string(width_, ' ') << '\r' << std::flush;
}

void Progress::show(std::uint64_t done) {
   std::string line = what_ + ": ";
   if (total_ != 0) {
      line += std::to_string(done >= total_ ? 100 : done * 100 / total_) + " %";
   } else {
      line += std::to_string(done);
   }
   if (line.size() < width_) line.resize(width_, ' ');
   width_ = line.size();
   *out_ << '\r' << line << std::flush;
   next_ = done + (total_ > firstShown ? total_ / 100 : firstShown);
}

std::ostream* terminal() { return ::isatty(STDERR_FILENO) == 1 ? &std::cerr : nullptr; }

}  // namespace Agent
