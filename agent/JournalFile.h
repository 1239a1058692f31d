#pragma once

#include "platform/journal/Recorder.h"

#include <optional>
#include <ostream>
#include <string>

namespace Agent {

/// The file that a journal goes to.
///
/// Owner: a command that runs a world; outlives the world.
/// I1: a line is with the system before the machine goes on: whatever ends the process, the file
///   tells how far it had come.
class JournalFile {
 public:
   /// Without a name nothing is recorded. What the file held before is gone. Throws InputError when
   /// it cannot be opened.
   explicit JournalFile(std::string file);
   /// A file that somebody else opened for writing; what it held before is gone. The descriptor
   /// stays the caller's. Throws InputError when it is no regular file or cannot be written.
   JournalFile(std::string file, int descriptor);
   JournalFile(JournalFile const&) = delete;
   JournalFile& operator=(JournalFile const&) = delete;
   ~JournalFile();

   /// Null when nothing is recorded.
   Journal::Recorder* recorder() noexcept { return recorder_ ? &*recorder_ : nullptr; }

   /// Whether the descriptor is of the file that is written here.
   bool isWrittenTo(int descriptor) const noexcept;

   /// Writes the end. False, with one line to `err`, when the file does not have everything.
   bool close(std::ostream& err);

 private:
   void begin();
   void write(std::string const& line);

   std::string const file_;
   int descriptor_ = -1;
   std::optional<Journal::Recorder> recorder_;
};

}  // namespace Agent
