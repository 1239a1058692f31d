#include "mdl/Value.h"

#include "mdl/Exception.h"

#include <array>
#include <exception>

namespace Mdl {

namespace {

constexpr std::size_t messageBytes = 40;  ///< how much of a text an error message shows
constexpr std::string_view hexDigits = "0123456789abcdef";

/// A byte with an escape of its own, and the letter that stands for it behind the backslash.
struct Escape {
   char byte;
   char letter;
};
constexpr std::array<Escape, 5> escapes{
    {{'\\', '\\'}, {'\'', '\''}, {'\n', 'n'}, {'\t', 't'}, {'\r', 'r'}}};

bool isPrintable(char byte) { return byte >= 0x20 && byte <= 0x7e; }

char letterOf(char byte) {
   for (Escape const& escape : escapes) {
      if (escape.byte == byte) return escape.letter;
   }
   return '\0';
}

void appendHex(std::string& out, char byte) {
   auto const value = static_cast<unsigned char>(byte);
   out += "\\x";
   out += hexDigits[value >> 4];
   out += hexDigits[value & 0xf];
}

std::string_view rest(char const* at, char const* end) {
   return {at, static_cast<std::size_t>(end - at)};
}

[[noreturn]] void expected(std::string const& what, char const* at, char const* end) {
   std::string const place =
       at == end ? std::string("the end of the text") : quotedForMessage(rest(at, end));
   throw ParseException("expected " + what + " at " + place);
}

/// Reads what follows "\x". Only bytes that have no shorter form are written so.
char parseHex(char const*& at, char const* end) {
   char const* const start = at;
   unsigned value = 0;
   for (int digit = 0; digit < 2; ++digit) {
      std::size_t const nibble = at == end ? std::string_view::npos : hexDigits.find(*at);
      if (nibble == std::string_view::npos) expected("two small hexadecimal digits", start, end);
      value = value * 16 + static_cast<unsigned>(nibble);
      ++at;
   }
   char const byte = static_cast<char>(static_cast<unsigned char>(value));
   if (isPrintable(byte) || letterOf(byte) != '\0') {
      expected("a byte that needs a hexadecimal escape", start, end);
   }
   return byte;
}

/// Reads what follows a backslash.
char parseEscape(char const*& at, char const* end) {
   if (at == end) expected("an escape", at, end);
   char const letter = *at;
   if (letter == 'x') return parseHex(++at, end);
   for (Escape const& escape : escapes) {
      if (escape.letter == letter) {
         ++at;
         return escape.byte;
      }
   }
   expected("an escape", at, end);
}

}  // namespace

void needString(char const*& at, char const* end, std::string_view literal) {
   if (!rest(at, end).starts_with(literal)) expected(quotedForMessage(literal), at, end);
   at += literal.size();
}

void needEnd(char const* at, char const* end) {
   if (at != end) throw ParseException("text after the value: " + quotedForMessage(rest(at, end)));
}

std::uint64_t parseUnsigned(char const*& at, char const* end, std::uint64_t greatest) {
   char const* const start = at;
   std::uint64_t value = 0;
   bool tooGreat = false;
   for (; at != end && *at >= '0' && *at <= '9'; ++at) {
      auto const digit = static_cast<std::uint64_t>(*at - '0');
      tooGreat = tooGreat || digit > greatest || value > (greatest - digit) / 10;
      if (!tooGreat) value = value * 10 + digit;
   }
   if (at == start) expected("a decimal number", start, end);
   std::string_view const digits = rest(start, at);
   if (digits.size() > 1 && digits.front() == '0') {
      throw ParseException("a number with a leading zero: " + quotedForMessage(digits));
   }
   if (tooGreat) {
      throw ParseException("a number greater than " + std::to_string(greatest) + ": " +
                           quotedForMessage(digits));
   }
   return value;
}

String parseQuoted(char const*& at, char const* end) {
   needString(at, end, "'");
   std::string bytes;
   while (at != end && *at != '\'') {
      if (*at == '\\') {
         ++at;
         bytes += parseEscape(at, end);
      } else if (isPrintable(*at)) {
         bytes += *at++;
      } else {
         expected("an escape for an unprintable byte", at, end);
      }
   }
   needString(at, end, "'");
   return String(bytes);
}

std::string_view parsePlainQuoted(char const*& at, char const* end) {
   needString(at, end, "'");
   std::size_t const length = rest(at, end).find('\'');
   if (length == std::string_view::npos) expected("a closing quote", end, end);
   std::string_view const text(at, length);
   at += length + 1;
   return text;
}

bool parseBool(char const*& at, char const* end) {
   bool const value = rest(at, end).starts_with("true");
   if (!value && !rest(at, end).starts_with("false")) expected("true or false", at, end);
   at += value ? 4 : 5;
   return value;
}

void rethrowFromDeserializeAttr(char const* name) {
   try {
      throw;
   } catch (ParseException const& error) {
      throw ParseException(std::string("attribute '") + name + "': " + error.what());
   }
}

void appendQuoted(std::string& out, std::string_view text) {
   out += '\'';
   for (char const byte : text) {
      if (char const letter = letterOf(byte); letter != '\0') {
         out += '\\';
         out += letter;
      } else if (isPrintable(byte)) {
         out += byte;
      } else {
         appendHex(out, byte);
      }
   }
   out += '\'';
}

std::string quotedForMessage(std::string_view text) {
   std::string shown = "\"";
   for (char const byte : text.substr(0, messageBytes)) {
      if (isPrintable(byte)) {
         shown += byte;
      } else {
         appendHex(shown, byte);
      }
   }
   shown += text.size() > messageBytes ? "...\"" : "\"";
   return shown;
}

}  // namespace Mdl
