#pragma once

#include "FwdL3Unicast/DecapKey.h"
#include "mdl/Collection.h"
#include "mdl/Seconds.h"

#include <cstdint>
#include <string>
#include <string_view>

/// The text of a state file: a header line, then one line for each change of the table.
///
///     decap hardware table, version 1
///     5f0c3a91 + Value('Fwd::DecapKey', ** {'srcIp': '0.0.0.0/0', 'dstIp': '10.1.0.0/16', ...})
///     91d27e04 - Value('Fwd::DecapKey', ** {'srcIp': '0.0.0.0/0', 'dstIp': '10.1.0.0/16', ...})
///     0b64f7aa clear
///
/// The eight digits are the CRC-32 of the rest of the line, continued from that of the line before
/// and begun with the header: a changed byte shows, and so does a line that is lost, doubled or
/// moved.
namespace Sim {

/// With its line end.
extern std::string_view const stateHeader;

/// What a line of a state file says.
enum class StateChange : std::uint8_t { written, erased, cleared };

/// Appends to `out` the line for a change and returns the checksum to continue from. `checksum` is
/// that of the line before, `stateHeaderChecksum()` for the first. The key of `cleared` is not
/// looked at.
std::uint32_t appendStateLine(std::string& out, std::uint32_t checksum, StateChange change,
                              Fwd::DecapKey const& key);
std::uint32_t stateHeaderChecksum() noexcept;

/// Reads a state file's text, in pieces of any size, into the table that it describes.
///
/// The end of the text: a process that is killed while it appends leaves a last line without its
/// line end. That is a normal end. The change was under way and did not happen; the line is left
/// out, and `soundBytes()` says how much of the file to keep. Everything else that is not as it
/// was written is damage, also a last line whose very line end was changed. What cannot be seen is
/// a file cut exactly between two lines: it is the table as it was at that time.
///
/// Owner: whoever reads. For one text.
/// Errors: StateFileError with line and offset. What was read is void then.
/// Cost: O(bytes); memory by the table's content and one piece.
class StateReader {
 public:
   using Entries = Mdl::Collection<Fwd::DecapKey, Mdl::Seconds>;

   /// `path` is for messages only.
   explicit StateReader(std::string path);

   void read(std::string_view piece);
   /// After the last piece.
   void finish();

   /// The keys in the order of writing. Their times are 0: the clock they were measured on is gone.
   Entries& entries() noexcept { return entries_; }
   /// The lines behind the header.
   std::uint64_t records() const noexcept { return line_ == 0 ? 0 : line_ - 1; }
   /// The length of header and complete lines, 0 for a text without a byte.
   std::uint64_t soundBytes() const noexcept { return offset_; }
   /// Of the last complete line.
   std::uint32_t checksum() const noexcept { return checksum_; }

 private:
   void readLine(std::string_view line);
   void checkHeader(std::string_view line, bool complete) const;
   void apply(std::string_view body);
   Fwd::DecapKey parseKey(std::string_view text) const;
   [[noreturn]] void damaged(std::string_view reason) const;

   std::string path_;
   std::string pending_;
   Entries entries_;
   /// Complete lines, and where they end.
   std::uint64_t line_ = 0;
   std::uint64_t offset_ = 0;
   std::uint32_t checksum_;
};

}  // namespace Sim
