#include "decapctl/report/JournalReader.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace Ctl::Report {

namespace {

constexpr std::string_view header = R"(["decap-journal",1])";
constexpr char const* noLine = "this is no line of a journal";
/// No line of a journal is nearly as long; a file without line ends is not kept in memory.
constexpr std::size_t greatestLine = std::size_t{16} << 20;

enum class Got { line, part, nothing };

/// The next line without its end; a part is what stands behind the last end.
Got nextLine(std::istream& in, std::string& line, std::size_t number) {
   line.clear();
   std::streambuf& bytes = *in.rdbuf();
   using Traits = std::streambuf::traits_type;
   for (auto byte = bytes.sbumpc();; byte = bytes.sbumpc()) {
      if (Traits::eq_int_type(byte, Traits::eof())) return line.empty() ? Got::nothing : Got::part;
      if (byte == '\n') return Got::line;
      if (line.size() == greatestLine) throw JournalError(number, "the line is too long");
      line += Traits::to_char_type(byte);
   }
}

/// The bytes that pairs of hexadecimal digits stand for; nothing when they are none.
std::optional<std::string> bytesOf(std::string const& digits) {
   std::string bytes;
   for (std::size_t at = 0; at < digits.size(); at += 2) {
      unsigned value = 0;
      char const* const end = digits.data() + std::min(at + 2, digits.size());
      auto const result = std::from_chars(digits.data() + at, end, value, 16);
      if (result.ptr != end || digits.size() % 2 != 0) return std::nullopt;
      bytes += static_cast<char>(value);
   }
   return bytes;
}

/// The JSON of a line, discarded where it is none. What is nested deeper than a journal is refused
/// while it is read: whoever shows a value goes down into it by recursion.
nlohmann::json itemsOf(std::size_t number, std::string_view text) {
   // The line, a list in it, and a name in that list as its bytes.
   constexpr int deepest = 3;
   nlohmann::json::parser_callback_t const shallow = [number](int depth, auto, auto&) {
      if (depth > deepest) throw JournalError(number, noLine);
      return true;
   };
   return nlohmann::json::parse(text, shallow, false);
}

}  // namespace

JournalLine::JournalLine(std::size_t number, std::string_view text)
    : number_(number), items_(itemsOf(number, text)) {
   if (!items_.is_array() || items_.empty()) fail(noLine);
}

std::optional<double> JournalLine::time() const {
   if (!items_[0].is_number()) return std::nullopt;
   auto const time = items_[0].get<double>();
   if (!std::isfinite(time) || time < 0) fail("the line begins with no time");
   return time;
}

bool JournalLine::is(std::size_t index, std::string_view word) const {
   return index < size() && items_[index].is_string() &&
          items_[index].get_ref<std::string const&>() == word;
}

bool JournalLine::flag(std::size_t index) const {
   nlohmann::json const& value = item(index);
   return !value.is_boolean() || value.get<bool>();
}

std::string const& JournalLine::word(std::size_t index) const {
   if (!item(index).is_string()) fail("item " + std::to_string(index) + " is no word");
   return item(index).get_ref<std::string const&>();
}

std::string JournalLine::name(std::size_t index) const {
   nlohmann::json const& value = item(index);
   if (value.is_string()) return value.get<std::string>();
   if (value.is_object() && value.contains("bytes") && value["bytes"].is_string()) {
      if (auto bytes = bytesOf(value["bytes"].get_ref<std::string const&>())) return *bytes;
   }
   fail("item " + std::to_string(index) + " is no name");
}

std::string JournalLine::shown(std::size_t index) const {
   nlohmann::json const& value = item(index);
   bool const isName = value.is_string() || (value.is_object() && value.contains("bytes"));
   return isName ? name(index) : value.dump();
}

std::size_t JournalLine::count(std::size_t index) const {
   if (!item(index).is_number_unsigned()) fail("item " + std::to_string(index) + " is no number");
   return item(index).get<std::size_t>();
}

std::optional<double> JournalLine::seconds(std::size_t index) const {
   if (!item(index).is_number()) return std::nullopt;
   return item(index).get<double>();
}

nlohmann::json const& JournalLine::item(std::size_t index) const {
   if (index >= size()) fail("something is missing at its end");
   return items_[index];
}

JournalEnd readJournal(std::istream& in, std::function<void(JournalLine const&)> const& take) {
   JournalEnd end;
   std::string text;
   for (Got got = Got::line; got == Got::line;) {
      std::size_t const number = end.lines + 1;
      got = nextLine(in, text, number);
      if (number == 1 && (got != Got::line || text != header)) {
         throw JournalError(1, "this is no journal, or one of another version");
      }
      if (got != Got::nothing && end.complete) {
         throw JournalError(number, "something follows the end of the journal");
      }
      end.halfLine = got == Got::part;
      if (got != Got::line) break;
      end.lines = number;
      if (number == 1) continue;
      JournalLine const line(number, text);
      end.complete = line.is(0, "end");
      if (!end.complete) take(line);
   }
   return end;
}

}  // namespace Ctl::Report
