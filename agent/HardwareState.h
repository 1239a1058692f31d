#pragma once

#include <cstddef>
#include <ostream>
#include <string>

namespace Agent {

class World;

/// The file in which a run finds the hardware table and leaves it: how it begins, how it ends.
///
///     HardwareState state("hw.state", true);
///     if (!state.open(world, err)) return ExitCode::badInput;
///     ... run ...
///     if (!state.close(world, err)) return ExitCode::failure;
///
/// Owner: a command that runs a world; it outlives neither.
class HardwareState {
 public:
   /// Without a file nothing is opened or closed. With `keep` the entries stay in hardware when the
   /// machine goes, for the next run.
   HardwareState(std::string file, bool keep);

   /// Gives the world the table that the file holds. A table that cannot be used, of another
   /// version or damaged, is set aside: one line to `err`, and the run begins with an empty one.
   /// False, with one line to `err` and the file untouched, when the file cannot be had: somebody
   /// uses it, it is something else, the system refuses.
   bool open(World& world, std::ostream& err);

   /// Stops the machine. False, with one line to `err`, when the file does not tell the whole end.
   bool close(World& world, std::ostream& err);

   /// Empty without one.
   std::string const& file() const noexcept { return file_; }
   bool kept() const noexcept { return keep_; }
   void keepIs(bool keep) noexcept { keep_ = keep; }
   /// Where the table is that could not be used; empty when there was none.
   std::string const& setAside() const noexcept { return setAside_; }
   /// The entries in the file once it is closed.
   std::size_t left() const noexcept { return left_; }

 private:
   std::string file_;
   bool keep_ = false;
   std::string setAside_;
   std::size_t left_ = 0;
};

}  // namespace Agent
