#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <functional>
#include <istream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Ctl::Report {

/// A journal that cannot be read, and where.
class JournalError final : public std::runtime_error {
 public:
   JournalError(std::size_t line, std::string const& reason)
       : std::runtime_error("line " + std::to_string(line) + ": " + reason), line_(line) {}

   /// From 1.
   std::size_t line() const noexcept { return line_; }

 private:
   std::size_t line_;
};

/// One line of a journal: a JSON array that begins with the time, or with a word. What is not as
/// asked for is a JournalError.
class JournalLine {
 public:
   /// `number` counts from 1.
   JournalLine(std::size_t number, std::string_view text);

   std::size_t number() const noexcept { return number_; }
   std::size_t size() const noexcept { return items_.size(); }
   /// The time in seconds that the line begins with, if it does.
   std::optional<double> time() const;
   /// The item is this word; false when there is no such item.
   bool is(std::size_t index, std::string_view word) const;
   bool isNull(std::size_t index) const { return index < size() && items_[index].is_null(); }
   /// True or false; anything else counts as true.
   bool flag(std::size_t index) const;
   std::string const& word(std::size_t index) const;
   /// A string, or what stands for a name that is not UTF-8: its bytes.
   std::string name(std::size_t index) const;
   /// What an item looks like, for people: words as they are, anything else as JSON.
   std::string shown(std::size_t index) const;
   std::size_t count(std::size_t index) const;
   /// A number of seconds; nothing for what is none, such as "inf".
   std::optional<double> seconds(std::size_t index) const;

   [[noreturn]] void fail(std::string const& reason) const { throw JournalError(number_, reason); }

 private:
   nlohmann::json const& item(std::size_t index) const;

   std::size_t number_;
   nlohmann::json items_;
};

/// How a journal ended.
struct JournalEnd {
   /// Lines that were read, the header and the end included.
   std::size_t lines = 0;
   /// Whether the journal has its end. One without was cut off, as by a process that was killed.
   bool complete = false;
   /// Whether the last line was being written when that happened. It is left out.
   bool halfLine = false;
};

/// Reads line by line; gives every line between the header and the end. Throws JournalError, and
/// what `take` throws; std::runtime_error when the stream cannot be read.
JournalEnd readJournal(std::istream& in, std::function<void(JournalLine const&)> const& take);

}  // namespace Ctl::Report
