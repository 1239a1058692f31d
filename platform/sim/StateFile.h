#pragma once

#include "FwdL3Unicast/DecapKey.h"
#include "mdl/Collection.h"
#include "mdl/Seconds.h"
#include "platform/sim/StateText.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace Sim {

/// The file in which a hardware table outlives its process, as the table of a chip outlives the
/// agent that wrote it.
///
///     hardware->resume(Sim::StateFile::open("hw.state"));
///
/// Each change of the table is appended as one line (see StateText.h) before the call that made it
/// returns. When the file holds many more lines than the table entries, it is written anew beside
/// itself ("hw.state.new") and put in place by a rename.
///
/// What survives:
///  - The process is killed, at any moment: every change whose call returned is in the file. The
///    one under way is in or out; a line that was begun and not ended is out.
///  - The machine loses power: what the operating system had written back, up to all of it. Files
///    written anew are flushed before they take the old one's place; single records are flushed
///    only with `syncIs(true)`, which costs a disk access for each. A file of which less came back
///    reads as an earlier table or as damaged, never as a table that there was not.
///
/// Owner: the table (`HardwareTable`).
/// I1: the file ends in a complete line, except while a call appends and after a failure that
///   could not be cleaned up; the next append cleans up first.
/// I2: after each change the file holds at most 2 * entries + `slack` lines, unless writing anew
///   failed: then it grows and is tried again when it has grown by half. `rewriteFailure()` says
///   why.
/// I3: while this object lives, nobody else who asks as it does gets the file.
/// Errors: StateFileError. When `open` throws, the file is as it was and there is no table; when
///   an append throws, the change is not recorded, now or later.
/// Cost: an append is one write of about 150 bytes, without a flush. Opening and writing anew are
///   O(lines).
class StateFile {
 public:
   using Entries = StateReader::Entries;

   static constexpr std::uint64_t slack = 1000;

   /// Opens a state file and reads it. None, or one without a byte, is the beginning of an empty
   /// table. Throws for a file that is in use, foreign, stale or damaged.
   static std::unique_ptr<StateFile> open(std::string path);

   /// Renames a file that `open` would not have to "<path>.rejected", in place of an earlier one,
   /// so that `open` begins an empty table and nothing is lost. Returns the new name. Not for
   /// foreign files: they are somebody else's. Throws when it is in use or cannot be renamed.
   static std::string setAside(std::string const& path);

   StateFile(StateFile const&) = delete;
   StateFile& operator=(StateFile const&) = delete;
   ~StateFile();

   std::string const& path() const noexcept { return path_; }

   /// The table that was read, until it is taken.
   Entries takeEntries() noexcept { return std::move(entries_); }

   /// Records a change. `key` is not looked at for `cleared`.
   void append(StateChange change, Fwd::DecapKey const& key);

   /// Writes the file anew with `entries`, the table as recorded, when there are too many lines.
   void rewriteIfLong(Entries const& entries) noexcept;

   /// Whether each record is flushed to disk before `append` returns. False at first.
   void syncIs(bool sync) noexcept { sync_ = sync; }

   std::uint64_t records() const noexcept { return records_; }
   std::uint64_t bytes() const noexcept { return bytes_; }
   /// Why the last attempt to write the file anew failed; empty when it did not.
   std::string const& rewriteFailure() const noexcept { return rewriteFailure_; }

 private:
   /// An open file, closed at the end.
   class Descriptor {
    public:
      explicit Descriptor(int number) noexcept : number_(number) {}
      Descriptor(Descriptor&& other) noexcept : number_(other.number_) { other.number_ = -1; }
      Descriptor& operator=(Descriptor&& other) noexcept;
      ~Descriptor();
      int number() const noexcept { return number_; }

    private:
      int number_;
   };

   StateFile(std::string path, Descriptor file);

   static Descriptor openLocked(std::string const& path, int flags);
   void load();
   void write(std::string_view text);
   void cutBack();
   void rewrite(Entries const& entries);
   Descriptor createBeside(std::string const& name) const;
   void writeTable(Entries const& entries);

   std::string const path_;
   std::string const place_;
   Descriptor file_;
   Entries entries_;
   std::string line_;
   std::string rewriteFailure_;
   std::uint64_t records_ = 0;
   std::uint64_t bytes_ = 0;
   std::uint64_t nextRewrite_ = 0;
   std::uint32_t checksum_ = 0;
   bool sync_ = false;
   /// Whether bytes may stand behind the last complete line.
   bool ragged_ = false;
};

}  // namespace Sim
