#include "platform/journal/Line.h"

#include <algorithm>
#include <charconv>

namespace Journal {

std::string_view const header = R"(["decap-journal",1])";

namespace {

constexpr char const* bytesKey = "bytes";

bool isUtf8(nlohmann::json const& text) {
   try {
      text.dump();
      return true;
   } catch (nlohmann::json::type_error const&) {
      return false;
   }
}

std::string hexadecimal(std::string_view bytes) {
   constexpr char const* digits = "0123456789abcdef";
   std::string result;
   for (char const byte : bytes) {
      auto const value = static_cast<unsigned char>(byte);
      result += digits[value >> 4];
      result += digits[value & 15];
   }
   return result;
}

}  // namespace

nlohmann::json nameJson(std::string_view name) {
   nlohmann::json text(name);
   if (isUtf8(text)) return text;
   return {{bytesKey, hexadecimal(name)}};
}

nlohmann::json secondsJson(Mdl::Seconds seconds) {
   if (seconds == Mdl::never) return "inf";
   return seconds;
}

Line::Line(std::size_t number, std::string_view text)
    : number_(number), items_(nlohmann::json::parse(text, nullptr, false)) {
   if (!items_.is_array()) fail("this is no line of a journal");
}

bool Line::is(std::size_t index, std::string_view word) const {
   return index < size() && items_[index].is_string() &&
          items_[index].get_ref<std::string const&>() == word;
}

nlohmann::json const& Line::item(std::size_t index) const {
   if (index >= size()) fail("something is missing at its end");
   return items_[index];
}

Mdl::Seconds Line::seconds(std::size_t index) const {
   if (is(index, "inf")) return Mdl::never;
   if (!item(index).is_number()) fail("item " + std::to_string(index) + " is no time");
   return item(index).get<double>();
}

std::uint32_t Line::number(std::size_t index, std::uint32_t greatest) const {
   if (!item(index).is_number_unsigned()) fail("item " + std::to_string(index) + " is no number");
   auto const value = item(index).get<std::uint64_t>();
   if (value > greatest) {
      fail("item " + std::to_string(index) + " is greater than " + std::to_string(greatest));
   }
   return static_cast<std::uint32_t>(value);
}

bool Line::flag(std::size_t index) const {
   if (!item(index).is_boolean())
      fail("item " + std::to_string(index) + " is neither true nor false");
   return item(index).get<bool>();
}

std::string Line::word(std::size_t index) const {
   if (!item(index).is_string()) fail("item " + std::to_string(index) + " is no word");
   return item(index).get<std::string>();
}

Mdl::String Line::nameOf(nlohmann::json const& item) const try {
   if (item.is_string()) return Mdl::String(item.get_ref<std::string const&>());
   if (!item.is_object() || !item.contains(bytesKey) || !item[bytesKey].is_string()) {
      fail("a name is expected");
   }
   std::string const& digits = item[bytesKey].get_ref<std::string const&>();
   std::string bytes;
   for (std::size_t at = 0; at < digits.size(); at += 2) {
      unsigned value = 0;
      char const* const end = digits.data() + std::min(at + 2, digits.size());
      auto const result = std::from_chars(digits.data() + at, end, value, 16);
      if (result.ptr != end || digits.size() % 2 != 0) fail("a name's bytes are expected");
      bytes += static_cast<char>(value);
   }
   return Mdl::String(bytes);
} catch (Mdl::RangeException const& error) {
   fail(error.what());
}

}  // namespace Journal
