#include "platform/sim/StateText.h"

#include "mdl/Value.h"
#include "platform/sim/StateFileError.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Sim {

namespace {

constexpr std::string_view headerStem = "decap hardware table, version ";
constexpr std::size_t checksumDigits = 8;

constexpr auto crcTable = [] {
   std::array<std::uint32_t, 256> table{};
   for (std::uint32_t i = 0; i < table.size(); ++i) {
      std::uint32_t value = i;
      for (int bit = 0; bit < 8; ++bit) value = value >> 1 ^ (value % 2 != 0 ? 0xedb88320u : 0u);
      table[i] = value;
   }
   return table;
}();

/// The CRC-32 of IEEE 802.3, continued over `text`.
std::uint32_t extended(std::uint32_t checksum, std::string_view text) noexcept {
   std::uint32_t value = ~checksum;
   for (char const byte : text) {
      value = value >> 8 ^ crcTable[(value ^ static_cast<unsigned char>(byte)) & 0xff];
   }
   return ~value;
}

std::array<char, checksumDigits> digits(std::uint32_t checksum) noexcept {
   std::array<char, checksumDigits> text{};
   for (std::size_t i = 0; i < text.size(); ++i) {
      text[i] = "0123456789abcdef"[checksum >> 4 * (text.size() - 1 - i) & 0xf];
   }
   return text;
}

/// Whether the line's checksum fits its body. `checksum` becomes the one to continue from.
bool fits(std::string_view line, std::uint32_t& checksum) noexcept {
   if (line.size() <= checksumDigits || line[checksumDigits] != ' ') return false;
   checksum = extended(checksum, line.substr(checksumDigits + 1));
   auto const expected = digits(checksum);
   return line.starts_with(std::string_view(expected.data(), expected.size()));
}

}  // namespace

std::string_view const stateHeader = "decap hardware table, version 1\n";

std::uint32_t stateHeaderChecksum() noexcept { return extended(0, stateHeader); }

std::uint32_t appendStateLine(std::string& out, std::uint32_t checksum, StateChange change,
                              Fwd::DecapKey const& key) {
   std::size_t const start = out.size();
   out.append(checksumDigits, '0');
   out += ' ';
   switch (change) {
      case StateChange::written: out += "+ "; break;
      case StateChange::erased: out += "- "; break;
      case StateChange::cleared: out += "clear"; break;
   }
   if (change != StateChange::cleared) key.appendStrep(out);
   std::uint32_t const next =
       extended(checksum, std::string_view(out).substr(start + checksumDigits + 1));
   auto const text = digits(next);
   std::ranges::copy(text, out.begin() + static_cast<std::ptrdiff_t>(start));
   out += '\n';
   return next;
}

StateReader::StateReader(std::string path)
    : path_(std::move(path)), checksum_(stateHeaderChecksum()) {}

void StateReader::read(std::string_view piece) {
   pending_ += piece;
   std::string_view rest = pending_;
   for (auto end = rest.find('\n'); end != rest.npos; end = rest.find('\n')) {
      readLine(rest.substr(0, end));
      ++line_;
      offset_ += end + 1;
      rest.remove_prefix(end + 1);
   }
   pending_.erase(0, pending_.size() - rest.size());
   // A stranger's file may have no line end for long.
   if (line_ == 0 && pending_.size() >= stateHeader.size()) checkHeader(pending_, false);
}

void StateReader::finish() {
   if (pending_.empty()) return;
   if (line_ == 0) checkHeader(pending_, false);
   std::uint32_t checksum = checksum_;
   std::string_view const tail = pending_;
   if (fits(tail.substr(0, tail.size() - 1), checksum)) damaged("the line end is changed");
   bool const printable =
       std::ranges::all_of(tail, [](char byte) { return byte >= 0x20 && byte <= 0x7e; });
   // Blocks that were never written, after a loss of power, read as zeros.
   if (!printable) damaged("the last line holds what no record does");
}

void StateReader::readLine(std::string_view line) {
   if (line_ == 0) {
      checkHeader(line, true);
      return;
   }
   if (!fits(line, checksum_)) damaged("the checksum does not fit the line and those before it");
   apply(line.substr(checksumDigits + 1));
}

/// Throws unless the line is the header. One that is not complete never is.
void StateReader::checkHeader(std::string_view line, bool complete) const {
   std::string_view const header = stateHeader.substr(0, stateHeader.size() - 1);
   if (complete && line == header) return;
   if (!complete && header.starts_with(line)) damaged("the file ends inside its header");
   if (!line.starts_with(headerStem)) {
      throw StateFileError(StateFileError::Kind::foreign, path_, 1, 0,
                           "not a hardware table: the first line is " +
                               Mdl::quotedForMessage(line) + " and not " +
                               Mdl::quotedForMessage(header));
   }
   throw StateFileError(
       StateFileError::Kind::stale, path_, 1, 0,
       "a hardware table of version " + Mdl::quotedForMessage(line.substr(headerStem.size())) +
           "; only version " + Mdl::quotedForMessage(header.substr(headerStem.size())) +
           " can be read");
}

void StateReader::apply(std::string_view body) {
   if (body == "clear") {
      entries_.clear();
   } else if (body.starts_with("+ ")) {
      Fwd::DecapKey const key = parseKey(body.substr(2));
      if (entries_.contains(key)) damaged("an entry is written that is there already");
      entries_.insertOrAssign(key, 0.0);
   } else if (body.starts_with("- ")) {
      if (!entries_.erase(parseKey(body.substr(2))))
         damaged("an entry is removed that is not there");
   } else {
      damaged("neither +, - nor clear");
   }
}

Fwd::DecapKey StateReader::parseKey(std::string_view text) const try {
   char const* at = text.data();
   char const* const end = at + text.size();
   Fwd::DecapKey key(at, end);
   Mdl::needEnd(at, end);
   return key;
} catch (Mdl::ParseException const& exception) {
   damaged(exception.what());
}

void StateReader::damaged(std::string_view reason) const {
   throw StateFileError(StateFileError::Kind::damaged, path_, line_ + 1, offset_, reason);
}

}  // namespace Sim
