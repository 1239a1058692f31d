#pragma once

#include "platform/journal/Recorder.h"

#include <optional>
#include <ostream>
#include <string>

namespace Agent {

/// The file that a journal goes to.
///
/// Owner: a command that runs a world; outlives the world.
/// I1: a file that holds anything but a journal is left as it is.
/// I2: a line is with the system before the machine goes on: whatever ends the process, the file
///   tells how far it had come.
class JournalFile {
 public:
   /// Without a name nothing is recorded. A journal that the file held before is gone. Throws
   /// InputError when it holds something else, or cannot be opened.
   explicit JournalFile(std::string file);
   /// A file that somebody else opened to be read and written. The descriptor stays the caller's.
   /// Throws InputError as above, and when it is no regular file.
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
