#pragma once

#include <cstdint>
#include <ostream>
#include <string>

namespace Agent {

/// One line on a terminal that says how far a long piece of work has come, and goes when the work
/// is done.
///
/// Short work shows nothing: the line appears from `firstShown` units on. Without a terminal the
/// object does nothing.
///
/// Owner: the code that does the work.
/// Cost: a comparison a step; a line is written at most a hundred times.
class Progress {
 public:
   /// Work below this many units (bytes, entries) is not worth a line.
   static constexpr std::uint64_t firstShown = 1 << 20;

   /// `out` is null where nobody watches. `total` may be 0 when it is not known.
   Progress(std::ostream* out, std::string what, std::uint64_t total);
   Progress(Progress const&) = delete;
   Progress& operator=(Progress const&) = delete;
   /// Wipes the line.
   ~Progress();

   /// `done` units of the total are done now.
   void at(std::uint64_t done) {
      if (done >= next_) show(done);
   }

 private:
   void show(std::uint64_t done);

   std::ostream* const out_;
   std::string const what_;
   std::uint64_t const total_;
   std::uint64_t next_;
   std::size_t width_ = 0;
};

/// The error stream when a terminal shows it, otherwise null.
std::ostream* terminal();

}  // namespace Agent
