#include "agent/InputError.h"

#include <algorithm>
#include <utility>

namespace Agent {

namespace {

std::string compose(std::string const& file, TextPosition position, std::string const& place,
                    std::string const& reason) {
   std::string line = printable(file);
   if (position.line != 0) line += ':' + std::to_string(position.line);
   if (position.column != 0) line += ':' + std::to_string(position.column);
   if (!place.empty()) line += ": " + place;
   return line + ": " + reason;
}

}  // namespace

TextPosition positionAt(std::string_view text, std::size_t offset) noexcept {
   std::string_view const before = text.substr(0, std::min(offset, text.size()));
   auto const lines = std::count(before.begin(), before.end(), '\n');
   std::size_t const lineStart = before.rfind('\n') + 1;  // npos + 1 is 0: the first line
   return {static_cast<std::size_t>(lines) + 1, before.size() - lineStart + 1};
}

InputError::InputError(std::string const& file, TextPosition position, std::string place,
                       std::string reason)
    : Exception(compose(file, position, place, reason)), position_(position),
      place_(std::move(place)), reason_(std::move(reason)) {}

InputError::~InputError() = default;
ValueError::~ValueError() = default;

std::string printable(std::string_view text) {
   std::string result(text);
   for (char& c : result) {
      auto const byte = static_cast<unsigned char>(c);
      if (byte < 0x20 || byte == 0x7f) c = '?';
   }
   return result;
}

}  // namespace Agent
