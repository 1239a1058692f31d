#include "decapctl/report/Text.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace Ctl::Report {

namespace {

std::string printed(char const* format, double value) {
   std::array<char, 64> text;
   int const length = std::snprintf(text.data(), text.size(), format, value);
   return {text.data(), static_cast<std::size_t>(length)};
}

unsigned byteAt(std::string_view text, std::size_t at) {
   return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

/// How many bytes the character there has; 0 when it is none (RFC 3629).
std::size_t characterAt(std::string_view text, std::size_t at, unsigned& code) {
   unsigned const first = byteAt(text, at);
   std::size_t const length = first < 0x80                    ? 1
                              : first >= 0xc2 && first < 0xe0 ? 2
                              : first >= 0xe0 && first < 0xf0 ? 3
                              : first >= 0xf0 && first < 0xf5 ? 4
                                                              : 0;
   constexpr std::array<unsigned, 5> bits = {0, 0x7f, 0x1f, 0x0f, 0x07};
   constexpr std::array<unsigned, 5> least = {0, 0, 0x80, 0x800, 0x10000};
   code = first & bits[length];
   for (std::size_t i = 1; i < length; ++i) {
      unsigned const next = byteAt(text, at + i);
      if ((next & 0xc0) != 0x80) return 0;
      code = code << 6 | (next & 0x3f);
   }
   bool const isCharacter =
       code >= least[length] && code <= 0x10ffff && (code < 0xd800 || code > 0xdfff);
   return isCharacter ? length : 0;
}

/// Controls, what turns the direction of text, and what is no character at all.
bool isShownAsBytes(unsigned code) {
   return code < 0x20 || (code >= 0x7f && code < 0xa0) || code == 0x2028 || code == 0x2029 ||
          code == 0x200e || code == 0x200f || (code >= 0x202a && code <= 0x202e) ||
          (code >= 0x2066 && code <= 0x2069) || code == 0xfeff || (code & 0xfffe) == 0xfffe;
}

void appendByte(std::string& result, unsigned byte) {
   constexpr char const* digits = "0123456789abcdef";
   result += "\\x";
   result += digits[byte >> 4];
   result += digits[byte & 15];
}

}  // namespace

std::string escaped(std::string_view text) {
   std::string result;
   for (std::size_t at = 0; at < text.size();) {
      unsigned code = 0;
      std::size_t const length = characterAt(text, at, code);
      if (length == 0 || isShownAsBytes(code)) {
         std::size_t const end = at + (length == 0 ? 1 : length);
         while (at < end) appendByte(result, byteAt(text, at++));
         continue;
      }
      switch (code) {
         case '&': result += "&amp;"; break;
         case '<': result += "&lt;"; break;
         case '>': result += "&gt;"; break;
         case '"': result += "&quot;"; break;
         case '\'': result += "&#39;"; break;
         default: result += text.substr(at, length);
      }
      at += length;
   }
   return result;
}

std::string counted(std::uint64_t number) {
   std::string text = std::to_string(number);
   for (auto at = static_cast<std::ptrdiff_t>(text.size()) - 3; at > 0; at -= 3) {
      text.insert(static_cast<std::size_t>(at), ",");
   }
   return text;
}

std::string counted(std::uint64_t number, std::string const& one, std::string const& several) {
   return counted(number) + ' ' + (number == 1 ? one : several);
}

std::string duration(double seconds) {
   if (seconds < 1e-9) return "0 s";
   if (seconds < 0.9995e-3) return printed("%.3g µs", seconds * 1e6);
   if (seconds < 0.9995) return printed("%.3g ms", seconds * 1e3);
   if (seconds < 99.95) return printed("%.3g s", seconds);
   if (seconds < 7200) {
      double const whole = std::round(seconds);
      return printed("%.0f min ", std::floor(whole / 60)) +
             printed("%02.0f s", std::fmod(whole, 60));
   }
   double const minutes = std::round(seconds / 60);
   if (minutes < 60 * 100) {
      return printed("%.0f h ", std::floor(minutes / 60)) +
             printed("%02.0f min", std::fmod(minutes, 60));
   }
   return printed("%.4g days", seconds / 86400);
}

std::string coordinate(double value) {
   std::string text = printed("%.1f", value);
   if (text.ends_with(".0")) text.resize(text.size() - 2);
   return text == "-0" ? "0" : text;
}

std::string moment(double seconds) {
   return plain(seconds < 1 ? std::round(seconds * 1e6) / 1e6 : seconds) + " s";
}

std::string plain(double value) { return printed("%.6g", value); }

}  // namespace Ctl::Report
