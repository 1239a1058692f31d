// The file that keeps a hardware table: the first byte says in pieces of which size it is read. A
// file that is read describes a table whose own file reads back to it.

#include "fuzz/Fuzz.h"
#include "platform/sim/StateFileError.h"
#include "platform/sim/StateText.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

std::vector<Fwd::DecapKey> keysOf(Sim::StateReader& reader) {
   std::vector<Fwd::DecapKey> keys;
   for (auto const& entry : reader.entries()) keys.push_back(entry.key);
   return keys;
}

std::vector<Fwd::DecapKey> readInPieces(std::string_view text, std::size_t piece) {
   Sim::StateReader reader("fuzz.state");
   for (std::size_t at = 0; at < text.size(); at += piece) reader.read(text.substr(at, piece));
   reader.finish();
   Fuzz::require(reader.soundBytes() <= text.size(), "what is sound is part of the file");
   return keysOf(reader);
}

std::string written(std::vector<Fwd::DecapKey> const& keys) {
   std::string text(Sim::stateHeader);
   std::uint32_t checksum = Sim::stateHeaderChecksum();
   for (auto const& key : keys) {
      checksum = Sim::appendStateLine(text, checksum, Sim::StateChange::written, key);
   }
   return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   if (size == 0) return 0;
   std::string_view const text = Fuzz::textOf(data + 1, size - 1);
   std::size_t const piece = std::size_t{1} + data[0];
   try {
      auto const keys = readInPieces(text, piece);
      Fuzz::require(readInPieces(text, std::max<std::size_t>(text.size(), 1)) == keys,
                    "the pieces make no difference");
      Fuzz::require(readInPieces(written(keys), piece) == keys, "a table's file reads back to it");
   } catch (Sim::StateFileError const& error) {
      Fuzz::requireOneLine(error.what());
   }
   return 0;
}
